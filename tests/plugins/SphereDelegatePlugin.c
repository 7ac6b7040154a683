/* Delegates for the renderer "lantern", among others that leave out what a delegate should have. */

#include "DelegateForTests.h"

#include <OxTellarProducers/OxRenderOutputUtilsHostSuite.h>

typedef OxScenegraphLocationDelegatePluginSuite_v1 Suite;
typedef OxLocationDelegateInstance Instance;

static OxAttributeStruct* lantern(Instance instance) {
    return textOf(instance, "lantern");
}

/* Takes over spheres and balls, as a point each. */
static OxAttributeStruct* sphereTypes(Instance instance) {
    const char* const types[] = {"sphere", "ball"};
    return textsOf(instance, types, 2);
}

static OxAttributeStruct* pointInPlace(Instance instance, OxSgIteratorStruct* location) {
    const OxAttributeSuite_v1* attributes = attributeSuite();
    const char* const typeName = "type";
    const char* const groupName = "a";
    OxAttributeStruct* const type = textOf(instance, "pointcloud");
    OxAttributeStruct* const group = attributes->createGroup(&typeName, &type, 1, 0);
    OxAttributeStruct* const replacement = attributes->createGroup(&groupName, &group, 1, 0);
    (void)location;
    attributes->release(group);
    attributes->release(type);
    return replacement;
}

static const Suite sphere = {createDelegate, destroyDelegate, pointInPlace, lantern, sphereTypes};

static const void* getSphere(void) {
    return &sphere;
}

/* Comes too late for balls, and names disks twice. */
static OxAttributeStruct* lateTypes(Instance instance) {
    const char* const types[] = {"disk", "ball", "disk"};
    return textsOf(instance, types, 3);
}

static const Suite late = {createDelegate, destroyDelegate, noReplacement, lantern, lateTypes};

static const void* getLate(void) {
    return &late;
}

/* Looks for other delegates while it is made, and serves nothing. */
static Instance createAsking(void) {
    const OxRenderOutputUtilsHostSuite_v3* const utils =
        delegateHost->getSuite(OX_RENDER_OUTPUT_UTILS_HOST_SUITE, 3);
    OxAttributeStruct* const types = utils->getLocationTypesWithDelegates("lantern");
    delegateCalls.foundTypes = (int)attributeSuite()->getNumberOfValues(types);
    attributeSuite()->release(types);
    delegateCalls.foundDisk = utils->getLocationDelegate("disk", "lantern") != NULL;
    delegateCalls.foundCone = utils->getLocationDelegate("cone", "lantern") != NULL;
    return createDelegate();
}

static const Suite asking = {createAsking, destroyDelegate, noReplacement, lantern, noAttribute};

static const void* getAsking(void) {
    return &asking;
}

static const void* getNull(void) {
    return NULL;
}

static const Suite withoutEntries = {NULL, NULL, NULL, NULL, NULL};

static const void* getWithoutEntries(void) {
    return &withoutEntries;
}

static OxAttributeStruct* holeTypes(Instance instance) {
    return textOf(instance, "hole");
}

static const Suite withoutCreate = {NULL, destroyDelegate, noReplacement, lantern, holeTypes};

static const void* getWithoutCreate(void) {
    return &withoutCreate;
}

static const Suite withoutRenderer = {createDelegate, destroyDelegate, noReplacement, NULL,
                                      holeTypes};

static const void* getWithoutRenderer(void) {
    return &withoutRenderer;
}

static const Suite withoutTypes = {createDelegate, destroyDelegate, noReplacement, lantern, NULL};

static const void* getWithoutTypes(void) {
    return &withoutTypes;
}

/* What the library never calls may be missing. */
static OxAttributeStruct* coneTypes(Instance instance) {
    return textOf(instance, "cone");
}

static const Suite withoutTheRest = {createDelegate, NULL, NULL, lantern, coneTypes};

static const void* getWithoutTheRest(void) {
    return &withoutTheRest;
}

/* Keeps nothing: its instance is null. */
static Instance createNull(void) {
    return NULL;
}

static OxAttributeStruct* torusTypes(Instance instance) {
    return instance ? NULL : textOf(&delegateCalls, "torus");
}

static OxAttributeStruct* lanternWithoutInstance(Instance instance) {
    return instance ? NULL : textOf(&delegateCalls, "lantern");
}

static const Suite withoutInstance = {createNull, destroyDelegate, noReplacement,
                                      lanternWithoutInstance, torusTypes};

static const void* getWithoutInstance(void) {
    return &withoutInstance;
}

/* Renderers of whose delegates nothing is left. */
static OxAttributeStruct* candle(Instance instance) {
    return textOf(instance, "candle");
}

static const Suite noTypes = {createDelegate, destroyDelegate, noReplacement, candle, noAttribute};

static const void* getNoTypes(void) {
    return &noTypes;
}

static const Suite numberTypes = {createDelegate, destroyDelegate, noReplacement, candle,
                                  numberAttribute};

static const void* getNumberTypes(void) {
    return &numberTypes;
}

static const Suite nullTypes = {createDelegate, destroyDelegate, noReplacement, candle,
                                nullAttribute};

static const void* getNullTypes(void) {
    return &nullTypes;
}

static int setHost(struct OxPluginHost* host) {
    return setDelegateHost(host, "TestSphereDelegateCalls");
}

static const OxPluginRecord_v1 records[] = {
    {OX_PLUGIN_RECORD_VERSION, "null suite", OX_LOCATION_DELEGATE_API, 1, 1, 0, getNull, setHost,
     NULL},
    {OX_PLUGIN_RECORD_VERSION, "without entries", OX_LOCATION_DELEGATE_API, 1, 1, 0,
     getWithoutEntries, setHost, NULL},
    {OX_PLUGIN_RECORD_VERSION, "without create", OX_LOCATION_DELEGATE_API, 1, 1, 0,
     getWithoutCreate, setHost, NULL},
    {OX_PLUGIN_RECORD_VERSION, "without renderer", OX_LOCATION_DELEGATE_API, 1, 1, 0,
     getWithoutRenderer, setHost, NULL},
    {OX_PLUGIN_RECORD_VERSION, "without types", OX_LOCATION_DELEGATE_API, 1, 1, 0, getWithoutTypes,
     setHost, NULL},
    {OX_PLUGIN_RECORD_VERSION, "sphere", OX_LOCATION_DELEGATE_API, 1, 1, 0, getSphere, setHost,
     NULL},
    {OX_PLUGIN_RECORD_VERSION, "late", OX_LOCATION_DELEGATE_API, 1, 1, 0, getLate, setHost, NULL},
    {OX_PLUGIN_RECORD_VERSION, "asking", OX_LOCATION_DELEGATE_API, 1, 1, 0, getAsking, setHost,
     NULL},
    {OX_PLUGIN_RECORD_VERSION, "without the rest", OX_LOCATION_DELEGATE_API, 1, 1, 0,
     getWithoutTheRest, setHost, NULL},
    {OX_PLUGIN_RECORD_VERSION, "without instance", OX_LOCATION_DELEGATE_API, 1, 1, 0,
     getWithoutInstance, setHost, NULL},
    {OX_PLUGIN_RECORD_VERSION, "no types", OX_LOCATION_DELEGATE_API, 1, 1, 0, getNoTypes, setHost,
     NULL},
    {OX_PLUGIN_RECORD_VERSION, "number types", OX_LOCATION_DELEGATE_API, 1, 1, 0, getNumberTypes,
     setHost, NULL},
    {OX_PLUGIN_RECORD_VERSION, "null types", OX_LOCATION_DELEGATE_API, 1, 1, 0, getNullTypes,
     setHost, NULL},
};

unsigned int OxGetPluginCount(void) {
    return sizeof records / sizeof records[0];
}

const OxPluginRecord_v1* OxGetPlugin(unsigned int index) {
    return &records[index];
}
