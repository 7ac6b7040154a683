// Throws when it is asked how many plug-ins it holds. TEST_THROW says how.
#include <OxTellarSDK/OxPluginApi.h>

#include "Thrown.h"

unsigned int OxGetPluginCount() {
    TEST_THROW("no licence");
}

const OxPluginRecord_v1* OxGetPlugin(unsigned int) {
    return nullptr;
}
