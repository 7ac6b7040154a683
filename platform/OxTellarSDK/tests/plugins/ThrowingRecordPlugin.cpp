// Throws when it is asked for a record. TEST_THROW says how.
#include <OxTellarSDK/OxPluginApi.h>

#include "Thrown.h"

unsigned int OxGetPluginCount() {
    return 1;
}

const OxPluginRecord_v1* OxGetPlugin(unsigned int) {
    TEST_THROW("no record");
}
