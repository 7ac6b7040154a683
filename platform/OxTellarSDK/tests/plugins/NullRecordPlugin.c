/* Promises two plug-ins and delivers none. */
#include <OxTellarSDK/OxPluginApi.h>

unsigned int OxGetPluginCount(void) {
    return 2;
}

const OxPluginRecord_v1* OxGetPlugin(unsigned int index) {
    (void)index;
    return 0;
}
