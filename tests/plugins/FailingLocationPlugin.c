/* The op type "TestFailsAt": passes its input on, and fails at the location of the argument
   "location". */

#include <string.h>

#include <OxTellarSDK/OpTypeSuite.h>
#include <OxTellarSDK/OxPluginApi.h>

static int fail(const OxCookSuite* cooks, OxErrorStruct** error) {
    OxErrorFacts facts = {0};
    facts.code = kOxErrorValue;
    facts.text = "this location fails";
    facts.attribute = "location";
    *error = cooks->values->createError(&facts);
    return 0;
}

static int32_t cook(OxCookStruct* cook, const OxCookSuite* cooks, const void* state,
                    OxErrorStruct** error) {
    const OxAttributeSuite_v4* values = cooks->values;
    const char* path = cooks->getPath(cook);
    OxAttributeStruct* args = cooks->getArgs(cook);
    OxAttributeStruct* location = values->getChildByName(args, "location", NULL);
    const char* failing = values->getString(location, 0.0f, 0, NULL, NULL);
    const int isFailing = failing && strcmp(path, failing) == 0;
    OxLocationDataStruct* data = isFailing ? NULL : cooks->getInput(cook, 0, path, error);
    (void)state;
    if (data) cooks->pass(cook, data);
    cooks->releaseLocationData(data);
    values->release(location);
    values->release(args);
    return isFailing ? fail(cooks, error) : data != NULL;
}

static const OxOpDescription* getDescription(void) {
    static const OxOpArgument arguments[] = {{"location", "string", "The location that fails."}};
    static const OxOpDescription description = {
        sizeof(OxOpDescription), 1, "TestFailsAt", "Fails at one location.", arguments, 1, "one"};
    return &description;
}

static const void* getSuite(void) {
    static const OxOpTypePluginSuite_v2 suite = {
        sizeof(OxOpTypePluginSuite_v2), OX_OP_TYPE_API_VERSION, getDescription, NULL, NULL, cook};
    return &suite;
}

static const OxPluginRecord_v1 record = {OX_PLUGIN_RECORD_VERSION,
                                         "TestFailsAt",
                                         OX_OP_TYPE_API,
                                         OX_OP_TYPE_API_VERSION,
                                         1,
                                         0,
                                         getSuite,
                                         0,
                                         0};

unsigned int OxGetPluginCount(void) {
    return 1;
}

const OxPluginRecord_v1* OxGetPlugin(unsigned int index) {
    return index == 0 ? &record : NULL;
}
