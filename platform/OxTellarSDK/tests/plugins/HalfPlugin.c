/* Exports one of the two functions of a plug-in library. */
#include <OxTellarSDK/OxPluginApi.h>

unsigned int OxGetPluginCount(void) {
    return 1;
}
