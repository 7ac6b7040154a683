/* The op type "Unsound", which breaks the part of its contract that the environment variable
   TELLAR_TEST_FAULT names. It passes its input on otherwise. */

#define _POSIX_C_SOURCE 200809L /* threads */

#include <fcntl.h>
#include <pthread.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include <OxTellarSDK/OpTypeSuite.h>
#include <OxTellarSDK/OxPluginApi.h>

/* ---- What the faults share ------------------------------------------------------------------- */

/* The argument "n"; -1 when there is none or it is not an int. */
static int32_t NumberOf(const OxAttributeSuite_v4* values, OxAttributeStruct* args) {
    OxAttributeStruct* value = args ? values->getChildByName(args, "n", NULL) : NULL;
    int32_t number = -1;
    if (value && (values->getType(value) != kAttributeTypeInt ||
                  values->readInts(value, 0.0f, kOxNearest, &number, 1, NULL) != 1))
        number = -1;
    values->release(value);
    return number;
}

static int32_t Fail(const OxAttributeSuite_v4* values, const char* text, OxErrorStruct** error) {
    OxErrorFacts facts = {0};
    facts.code = kOxErrorValue;
    facts.text = text;
    *error = values->createError(&facts);
    return 0;
}

static int32_t PassInput(OxCookStruct* cook, const OxCookSuite* cooks, const void* state,
                         OxErrorStruct** error) {
    OxLocationDataStruct* data = cooks->getInput(cook, 0, cooks->getPath(cook), error);
    (void)state;
    if (!data) return 0;
    cooks->pass(cook, data);
    cooks->releaseLocationData(data);
    return 1;
}

/* The input with the attribute "n" at /root. */
static int32_t PassWithNumber(OxCookStruct* cook, const OxCookSuite* cooks, int32_t number,
                              OxErrorStruct** error) {
    const OxAttributeSuite_v4* values = cooks->values;
    int32_t isDone = PassInput(cook, cooks, NULL, error);
    if (!isDone || strcmp(cooks->getPath(cook), "/root") != 0) return isDone;
    OxAttributeStruct* value = values->createInt(&number, 1, 1, error);
    OxAttributeStruct* attributes = value ? values->withChild(NULL, "n", value, error) : NULL;
    isDone = attributes && cooks->setAttributes(cook, attributes, error);
    values->release(attributes);
    values->release(value);
    return isDone;
}

/* ---- The faults ------------------------------------------------------------------------------ */

static int32_t CrashWithoutArguments(const OxCookSuite* cooks, OxAttributeStruct* args,
                                     int64_t inputs, void** state, OxErrorStruct** error) {
    (void)cooks, (void)inputs, (void)state, (void)error;
    if (!args) abort();
    return 1;
}

static int32_t CrashOnZero(const OxCookSuite* cooks, OxAttributeStruct* args, int64_t inputs,
                           void** state, OxErrorStruct** error) {
    (void)inputs, (void)state, (void)error;
    if (NumberOf(cooks->values, args) == 0) abort();
    return 1;
}

static int32_t FailWithoutText(const OxCookSuite* cooks, OxAttributeStruct* args, int64_t inputs,
                               void** state, OxErrorStruct** error) {
    (void)inputs, (void)state, (void)error;
    return NumberOf(cooks->values, args) != 0;
}

static int32_t HangWithoutInputs(const OxCookSuite* cooks, OxAttributeStruct* args, int64_t inputs,
                                 void** state, OxErrorStruct** error) {
    (void)cooks, (void)args, (void)state, (void)error;
    while (inputs == 0)
        pause();
    return 1;
}

/* Keeps a file open, and some memory. */
static int32_t LeaveThingsBehind(const OxCookSuite* cooks, OxAttributeStruct* args, int64_t inputs,
                                 void** state, OxErrorStruct** error) {
    static void* volatile kept;
    void** block = malloc(64);
    (void)args, (void)inputs, (void)state;
    if (!block || open("/dev/null", O_RDONLY) < 0)
        return Fail(cooks->values, "there is nothing left to be leaked", error);
    *block = kept;
    kept = block;
    return 1;
}

static int32_t CookEveryPath(OxCookStruct* cook, const OxCookSuite* cooks, const void* state,
                             OxErrorStruct** error) {
    (void)state;
    return cooks->setAttributes(cook, NULL, error);
}

/* /root/world exists even if the input, and so its parent, does not. */
static int32_t CookWithoutParent(OxCookStruct* cook, const OxCookSuite* cooks, const void* state,
                                 OxErrorStruct** error) {
    if (strcmp(cooks->getPath(cook), "/root/world") == 0)
        return cooks->setAttributes(cook, NULL, error);
    return PassInput(cook, cooks, state, error);
}

/* "/root/worldx" is another name of "/root/world". */
static int32_t CookOtherNames(OxCookStruct* cook, const OxCookSuite* cooks, const void* state,
                              OxErrorStruct** error) {
    if (strcmp(cooks->getPath(cook), "/root/worldx") != 0)
        return PassInput(cook, cooks, state, error);
    OxLocationDataStruct* data = cooks->getInput(cook, 0, "/root/world", error);
    if (!data) return 0;
    cooks->pass(cook, data);
    cooks->releaseLocationData(data);
    return 1;
}

/* An answer that changes when the location is evicted. */
static int32_t CookFreshness(OxCookStruct* cook, const OxCookSuite* cooks, const void* state,
                             OxErrorStruct** error) {
    (void)state;
    return PassWithNumber(cook, cooks, cooks->isFresh(cook), error);
}

static pthread_t mainThread;

/* Another answer in other threads than the one that loaded the library. */
static int32_t CookThread(OxCookStruct* cook, const OxCookSuite* cooks, const void* state,
                          OxErrorStruct** error) {
    (void)state;
    return PassWithNumber(cook, cooks, pthread_equal(mainThread, pthread_self()) != 0, error);
}

/* A location that cannot be cooked does not exist. */
static int32_t HideErrors(OxCookStruct* cook, const OxCookSuite* cooks, const void* state,
                          OxErrorStruct** error) {
    if (PassInput(cook, cooks, state, error)) return 1;
    cooks->values->releaseError(*error);
    *error = NULL;
    return 1;
}

static int32_t ReplaceErrors(OxCookStruct* cook, const OxCookSuite* cooks, const void* state,
                             OxErrorStruct** error) {
    if (PassInput(cook, cooks, state, error)) return 1;
    cooks->values->releaseError(*error);
    *error = NULL;
    return Fail(cooks->values, "something went wrong", error);
}

static int32_t LeakInput(OxCookStruct* cook, const OxCookSuite* cooks, const void* state,
                         OxErrorStruct** error) {
    OxErrorStruct* ignored = NULL;
    cooks->getInput(cook, 0, "/root", &ignored);
    cooks->values->releaseError(ignored);
    return PassInput(cook, cooks, state, error);
}

/* ---- The plug-in ----------------------------------------------------------------------------- */

typedef int32_t (*PrepareFunction)(const OxCookSuite* cooks, OxAttributeStruct* args,
                                   int64_t inputs, void** state, OxErrorStruct** error);
typedef int32_t (*CookFunction)(OxCookStruct* cook, const OxCookSuite* cooks, const void* state,
                                OxErrorStruct** error);

typedef struct Fault {
    const char* name;
    PrepareFunction prepare;
    CookFunction cook;
} Fault;

static const Fault kFaults[] = {
    {"crash without arguments", CrashWithoutArguments, PassInput},
    {"crash on zero", CrashOnZero, PassInput},
    {"fail without text", FailWithoutText, PassInput},
    {"hang without inputs", HangWithoutInputs, PassInput},
    {"leave things behind", LeaveThingsBehind, PassInput},
    {"cook every path", NULL, CookEveryPath},
    {"cook without parent", NULL, CookWithoutParent},
    {"cook other names", NULL, CookOtherNames},
    {"cook freshness", NULL, CookFreshness},
    {"cook thread", NULL, CookThread},
    {"hide errors", NULL, HideErrors},
    {"replace errors", NULL, ReplaceErrors},
    {"leak input", NULL, LeakInput},
};

static int IsFault(const char* name) {
    const char* fault = getenv("TELLAR_TEST_FAULT");
    return fault && strcmp(fault, name) == 0;
}

static const OxOpDescription* Describe(void) {
    static const OxOpArgument arguments[] = {{"n", "int", "Any number. Default: none."},
                                             {"n", "number", ""}};
    static OxOpDescription description = {
        sizeof(OxOpDescription), 1, "Unsound", "Breaks its contract.", arguments, 1, "one"};
    if (IsFault("describe badly")) {
        description.version = 0;
        description.summary = "";
        description.argumentCount = 2;
    }
    return &description;
}

static const void* GetSuite(void) {
    static OxOpTypePluginSuite_v2 suite = {
        .size = sizeof(OxOpTypePluginSuite_v2),
        .version = OX_OP_TYPE_API_VERSION,
        .getDescription = Describe,
        .cook = PassInput,
    };
    for (size_t i = 0; i < sizeof kFaults / sizeof kFaults[0]; ++i) {
        if (!IsFault(kFaults[i].name)) continue;
        suite.prepare = kFaults[i].prepare;
        suite.cook = kFaults[i].cook;
    }
    if (IsFault("no cook")) suite.cook = NULL;
    if (IsFault("other version")) suite.version = 7;
    return &suite;
}

static const OxPluginRecord_v1 kRecord = {OX_PLUGIN_RECORD_VERSION,
                                          "Unsound",
                                          OX_OP_TYPE_API,
                                          OX_OP_TYPE_API_VERSION,
                                          1,
                                          0,
                                          GetSuite,
                                          NULL,
                                          NULL};

unsigned int OxGetPluginCount(void) {
    mainThread = pthread_self();
    return 1;
}

const OxPluginRecord_v1* OxGetPlugin(unsigned int index) {
    return index == 0 ? &kRecord : NULL;
}
