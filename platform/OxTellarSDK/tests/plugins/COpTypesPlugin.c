/* Op types in C: sound ones, and some with one fault each. */
#include <stdlib.h>
#include <string.h>

#include <OxTellarSDK/AttributeSuite.h>
#include <OxTellarSDK/OpTypeSuite.h>
#include <OxTellarSDK/OxPluginApi.h>

#define DESCRIPTION(name)                                                                          \
    { sizeof(OxOpDescription), 1, name, "A type for tests.", NULL, 0, "one" }

static const OxAttributeSuite_v1* values(void) {
    return OxGetBuiltInAttributeSuite();
}

/* ---- TestCMaker: the location has the attribute "answer" with the argument "value", the note of
   the parent as "parent", the children "a" and "b" below "/root", and keeps its path as a note. */

static int liveStates = 0;

OX_PLUGIN_EXPORT int CountLiveStates(void) {
    return __atomic_load_n(&liveStates, __ATOMIC_SEQ_CST);
}

static int32_t PrepareMaker(const OxCookSuite* cooks, OxAttributeStruct* args, int64_t inputs,
                            void** state, OxErrorStruct** error) {
    (void)cooks;
    OxAttributeStruct* value = values()->getChildByName(args, "value");
    const int32_t* ints = values()->getIntSample(value, 0.0f, NULL);
    int32_t* kept = malloc(sizeof(int32_t));
    (void)inputs;
    (void)error;
    *kept = ints ? *ints : -1;
    __atomic_add_fetch(&liveStates, 1, __ATOMIC_SEQ_CST);
    *state = kept;
    values()->release(value);
    return *kept != 13; /* fails without an error */
}

static void ReleaseMaker(void* state) {
    __atomic_sub_fetch(&liveStates, 1, __ATOMIC_SEQ_CST);
    free(state);
}

static int32_t CookMaker(OxCookStruct* cook, const OxCookSuite* cooks, const void* state,
                         OxErrorStruct** error) {
    static const char* const kNames[] = {"answer", "parent"};
    static const char* const kChildren[] = {"a", "b"};
    const char* path = cooks->getPath(cook);
    OxAttributeStruct* children[] = {values()->createInt(state, 1, 1), cooks->getParentNote(cook)};
    OxAttributeStruct* attributes = values()->createGroup(kNames, children, 2, 1);
    OxAttributeStruct* note = values()->createString(&path, 1, 1);
    OxAttributeStruct* names = values()->createString(kChildren, 2, 1);
    int32_t isDone = cooks->setAttributes(cook, attributes, error);
    if (isDone && strcmp(path, "/root") == 0)
        isDone = cooks->setPotentialChildren(cook, names, error);
    cooks->setNote(cook, note);
    values()->release(children[0]);
    values()->release(children[1]);
    values()->release(attributes);
    values()->release(note);
    values()->release(names);
    return isDone;
}

static const OxOpDescription* DescribeMaker(void) {
    static const OxOpArgument arguments[] = {{"value", "int", "Any number."}};
    static const OxOpDescription description = {
        sizeof(OxOpDescription), 7, "TestCMaker", "Makes locations.", arguments, 1, "none"};
    return &description;
}

/* ---- TestCPass: passes the input on, or its error. */

static int32_t CookPass(OxCookStruct* cook, const OxCookSuite* cooks, const void* state,
                        OxErrorStruct** error) {
    OxLocationDataStruct* data = cooks->getInput(cook, 0, cooks->getPath(cook), error);
    (void)state;
    if (!data) return 0;
    cooks->retainLocationData(data);
    cooks->releaseLocationData(data);
    if (cooks->doesLocationExist(data)) cooks->pass(cook, data);
    cooks->releaseLocationData(data);
    return cooks->getNumberOfInputs(cook) == 1;
}

static const OxOpDescription* DescribePass(void) {
    static const OxOpDescription description = DESCRIPTION("TestCPass");
    return &description;
}

/* ---- TestCWrong: sets attributes that are not a group, and gives the error on. */

static int32_t CookWrong(OxCookStruct* cook, const OxCookSuite* cooks, const void* state,
                         OxErrorStruct** error) {
    const int32_t number = 1;
    OxAttributeStruct* value = values()->createInt(&number, 1, 1);
    const int32_t isDone = cooks->setAttributes(cook, value, error);
    (void)state;
    values()->release(value);
    return isDone;
}

static const OxOpDescription* DescribeWrong(void) {
    static const OxOpDescription description = DESCRIPTION("TestCWrong");
    return &description;
}

/* ---- Tables with a fault each. */

static const OxOpDescription* DescribeNothing(void) {
    return NULL;
}

#define SUITE(size, getDescription, prepare, release, cook)                                        \
    { size, OX_OP_TYPE_API_VERSION, getDescription, prepare, release, cook }

static const OxOpTypePluginSuite_v2 suites[] = {
    SUITE(sizeof(OxOpTypePluginSuite_v2), DescribeMaker, PrepareMaker, ReleaseMaker, CookMaker),
    SUITE(sizeof(OxOpTypePluginSuite_v2), DescribePass, NULL, NULL, CookPass),
    SUITE(sizeof(OxOpTypePluginSuite_v2), DescribeWrong, NULL, NULL, CookWrong),
    SUITE(8, DescribePass, NULL, NULL, CookPass),
    SUITE(sizeof(OxOpTypePluginSuite_v2), DescribeNothing, NULL, NULL, CookPass),
    SUITE(sizeof(OxOpTypePluginSuite_v2), DescribePass, NULL, NULL, NULL),
};

static const void* GetMaker(void) {
    return &suites[0];
}
static const void* GetPass(void) {
    return &suites[1];
}
static const void* GetWrong(void) {
    return &suites[2];
}
static const void* GetSmall(void) {
    return &suites[3];
}
static const void* GetUndescribed(void) {
    return &suites[4];
}
static const void* GetCookless(void) {
    return &suites[5];
}

#define RECORD(name, getSuite)                                                                     \
    { OX_PLUGIN_RECORD_VERSION, name, OX_OP_TYPE_API, OX_OP_TYPE_API_VERSION, 1, 0, getSuite, 0, 0 }

static const OxPluginRecord_v1 records[] = {
    RECORD("TestCMaker", GetMaker),
    RECORD("TestCPass", GetPass),
    RECORD("TestCWrong", GetWrong),
    RECORD("TestCSmall", GetSmall),
    RECORD("TestCUndescribed", GetUndescribed),
    RECORD("TestCCookless", GetCookless),
};

unsigned int OxGetPluginCount(void) {
    return sizeof(records) / sizeof(records[0]);
}

const OxPluginRecord_v1* OxGetPlugin(unsigned int index) {
    return &records[index];
}
