/* A good record in front of a faulty one: TEST_FAULT says which fault it has. */
#include <OxTellarSDK/OxPluginApi.h>

static const void* getSuite(void) {
    return 0;
}

static const OxPluginRecord_v1 good = {
    OX_PLUGIN_RECORD_VERSION, "good", "TestFaulty", 1, 0, 0, getSuite, 0, 0};

enum { wrongVersion, noName, emptyName, noApiName, noSuite };
static const OxPluginRecord_v1 faulty[] = {
    {2, "faulty", "TestFaulty", 1, 0, 0, getSuite, 0, 0},
    {OX_PLUGIN_RECORD_VERSION, 0, "TestFaulty", 1, 0, 0, getSuite, 0, 0},
    {OX_PLUGIN_RECORD_VERSION, "", "TestFaulty", 1, 0, 0, getSuite, 0, 0},
    {OX_PLUGIN_RECORD_VERSION, "faulty", 0, 1, 0, 0, getSuite, 0, 0},
    {OX_PLUGIN_RECORD_VERSION, "faulty", "TestFaulty", 1, 0, 0, 0, 0, 0},
};

unsigned int OxGetPluginCount(void) {
    return 2;
}

const OxPluginRecord_v1* OxGetPlugin(unsigned int index) {
    return index == 0 ? &good : &faulty[TEST_FAULT];
}
