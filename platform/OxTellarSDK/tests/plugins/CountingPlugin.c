/* Claims to hold TEST_COUNT plug-ins; asked for one of them, it would crash. */
#include <OxTellarSDK/OxPluginApi.h>

#include <stdlib.h>

unsigned int OxGetPluginCount(void) {
    return TEST_COUNT;
}

const OxPluginRecord_v1* OxGetPlugin(unsigned int index) {
    (void)index;
    abort();
}
