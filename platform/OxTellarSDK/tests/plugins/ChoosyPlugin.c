/* Two plug-ins of the API "TestChoosy": "choosy" accepts no host, "easy" any. */
#include <OxTellarSDK/OxPluginApi.h>

static const void* getSuite(void) {
    return 0;
}

static int refuseHost(struct OxPluginHost* host) {
    (void)host;
    return 3;
}

static int acceptHost(struct OxPluginHost* host) {
    (void)host;
    return 0;
}

static const OxPluginRecord_v1 records[] = {
    {OX_PLUGIN_RECORD_VERSION, "choosy", "TestChoosy", 1, 0, 0, getSuite, refuseHost, 0},
    {OX_PLUGIN_RECORD_VERSION, "easy", "TestChoosy", 1, 0, 0, getSuite, acceptHost, 0},
};

unsigned int OxGetPluginCount(void) {
    return 2;
}

const OxPluginRecord_v1* OxGetPlugin(unsigned int index) {
    return &records[index];
}
