/* Delegates for every renderer. Spheres are claimed by one for a single renderer, too. */

#include "DelegateForTests.h"

typedef OxScenegraphLocationDelegatePluginSuite_v1 Suite;
typedef OxLocationDelegateInstance Instance;

static OxAttributeStruct* forestTypes(Instance instance) {
    const char* const types[] = {"tree", "sphere"};
    return textsOf(instance, types, 2);
}

static const Suite forest = {createDelegate, destroyDelegate, noReplacement, noAttribute,
                             forestTypes};

static const void* getForest(void) {
    return &forest;
}

/* Every renderer by an empty name; comes too late for trees. */
static OxAttributeStruct* emptyName(Instance instance) {
    return textOf(instance, "");
}

static OxAttributeStruct* groveTypes(Instance instance) {
    const char* const types[] = {"tree", "shrub"};
    return textsOf(instance, types, 2);
}

static const Suite grove = {createDelegate, destroyDelegate, noReplacement, emptyName, groveTypes};

static const void* getGrove(void) {
    return &grove;
}

/* Every renderer by an attribute that is no text. */
static OxAttributeStruct* stoneTypes(Instance instance) {
    return textOf(instance, "stone");
}

static const Suite stone = {createDelegate, destroyDelegate, noReplacement, nullAttribute,
                            stoneTypes};

static const void* getStone(void) {
    return &stone;
}

static OxAttributeStruct* pebbleTypes(Instance instance) {
    return textOf(instance, "pebble");
}

static const Suite pebble = {createDelegate, destroyDelegate, noReplacement, numberAttribute,
                             pebbleTypes};

static const void* getPebble(void) {
    return &pebble;
}

/* An API version that nobody asks for. */
static OxAttributeStruct* futureTypes(Instance instance) {
    return textOf(instance, "future");
}

static const Suite future = {createDelegate, destroyDelegate, noReplacement, noAttribute,
                             futureTypes};

static const void* getFuture(void) {
    return &future;
}

static int setHost(struct OxPluginHost* host) {
    return setDelegateHost(host, "TestForestDelegateCalls");
}

static const OxPluginRecord_v1 records[] = {
    {OX_PLUGIN_RECORD_VERSION, "forest", OX_LOCATION_DELEGATE_API, 1, 1, 0, getForest, setHost,
     NULL},
    {OX_PLUGIN_RECORD_VERSION, "grove", OX_LOCATION_DELEGATE_API, 1, 1, 0, getGrove, setHost, NULL},
    {OX_PLUGIN_RECORD_VERSION, "stone", OX_LOCATION_DELEGATE_API, 1, 1, 0, getStone, setHost, NULL},
    {OX_PLUGIN_RECORD_VERSION, "pebble", OX_LOCATION_DELEGATE_API, 1, 1, 0, getPebble, setHost,
     NULL},
    {OX_PLUGIN_RECORD_VERSION, "future", OX_LOCATION_DELEGATE_API, 2, 1, 0, getFuture, setHost,
     NULL},
};

unsigned int OxGetPluginCount(void) {
    return sizeof records / sizeof records[0];
}

const OxPluginRecord_v1* OxGetPlugin(unsigned int index) {
    return &records[index];
}
