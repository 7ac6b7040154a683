/* The op type "Faulty", which misuses the functions for a cook in the way that its argument "fault"
   names. It makes one location without attributes. */

#define _POSIX_C_SOURCE 200809L /* threads */

#include <pthread.h>
#include <stdint.h>
#include <string.h>

#include <OxTellarSDK/OpTypeSuite.h>
#include <OxTellarSDK/OxPluginApi.h>

typedef struct Cook {
    OxCookStruct* cook;
    const OxCookSuite* cooks;
} Cook;

static void* askInThread(void* user) {
    const Cook* cook = user;
    cook->cooks->getNumberOfInputs(cook->cook);
    return NULL;
}

static void useInOtherThread(OxCookStruct* cook, const OxCookSuite* cooks) {
    Cook passed = {cook, cooks};
    pthread_t thread;
    if (pthread_create(&thread, NULL, askInThread, &passed) == 0) pthread_join(thread, NULL);
}

static void leakInput(OxCookStruct* cook, const OxCookSuite* cooks) {
    OxErrorStruct* error = NULL;
    cooks->getInput(cook, 0, "/root", &error);
    cooks->values->releaseError(error);
}

/* From one cook to the next. */
static const char* keptPath;

static void passKeptPath(const OxCookSuite* cooks) {
    cooks->values->release(cooks->values->createString(&keptPath, 1, 1, NULL));
}

static int32_t cookFaulty(OxCookStruct* cook, const OxCookSuite* cooks, const void* state,
                          OxErrorStruct** error) {
    OxAttributeStruct* args = cooks->getArgs(cook);
    OxAttributeStruct* name = cooks->values->getChildByName(args, "fault", NULL);
    const char* fault = cooks->values->getString(name, 0.0f, 0, NULL, NULL);
    (void)state;
    if (fault && strcmp(fault, "use in another thread") == 0) useInOtherThread(cook, cooks);
    if (fault && strcmp(fault, "leak an input") == 0) leakInput(cook, cooks);
    if (fault && strcmp(fault, "keep the path") == 0) keptPath = cooks->getPath(cook);
    if (fault && strcmp(fault, "use the kept path") == 0) passKeptPath(cooks);
    cooks->values->release(name);
    cooks->values->release(args);
    return cooks->setAttributes(cook, NULL, error);
}

static const OxOpDescription* describe(void) {
    static const OxOpArgument argument = {"fault", "string", "What it does wrong."};
    static const OxOpDescription description = {
        sizeof(OxOpDescription), 1, "Faulty", "Misuses its host.", &argument, 1, "none"};
    return &description;
}

static const void* getSuite(void) {
    static const OxOpTypePluginSuite_v2 suite = {
        .size = sizeof(OxOpTypePluginSuite_v2),
        .version = OX_OP_TYPE_API_VERSION,
        .getDescription = describe,
        .cook = cookFaulty,
    };
    return &suite;
}

static const OxPluginRecord_v1 kRecord = {OX_PLUGIN_RECORD_VERSION,
                                          "Faulty",
                                          OX_OP_TYPE_API,
                                          OX_OP_TYPE_API_VERSION,
                                          1,
                                          0,
                                          getSuite,
                                          NULL,
                                          NULL};

unsigned int OxGetPluginCount(void) {
    return 1;
}

const OxPluginRecord_v1* OxGetPlugin(unsigned int index) {
    return index == 0 ? &kRecord : NULL;
}
