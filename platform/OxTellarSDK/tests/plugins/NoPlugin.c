/* A library like any other, which is no plug-in. */
#include <OxTellarSDK/OxPluginApi.h>

OX_PLUGIN_EXPORT int TellarTestNoPlugin(void);

int TellarTestNoPlugin(void) {
    return 1;
}
