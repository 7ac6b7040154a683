// Throws, and no std::exception at that, when it is asked for a record.
#include <OxTellarSDK/OxPluginApi.h>

unsigned int OxGetPluginCount() {
    return 1;
}

const OxPluginRecord_v1* OxGetPlugin(unsigned int) {
    throw 7;
}
