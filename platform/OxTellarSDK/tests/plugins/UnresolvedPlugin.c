/* Calls a function that no library has. */
#include <OxTellarSDK/OxPluginApi.h>

unsigned int TellarTestFunctionThatNobodyHas(void);

unsigned int OxGetPluginCount(void) {
    return TellarTestFunctionThatNobodyHas();
}

const OxPluginRecord_v1* OxGetPlugin(unsigned int index) {
    (void)index;
    return 0;
}
