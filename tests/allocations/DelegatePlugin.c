/* A location delegate that goes on without whatever there is no memory for. */

#include <stddef.h>

#include <OxPluginHost/OxPluginHost.h>
#include <OxTellarProducers/OxScenegraphLocationDelegatePluginSuite.h>
#include <OxTellarSDK/AttributeSuite.h>
#include <OxTellarSDK/OxPluginApi.h>

static const OxPluginHost* host;

static int setHost(struct OxPluginHost* newHost) {
    host = newHost;
    return 0;
}

static OxAttributeStruct* text(const char* value) {
    const OxAttributeSuite_v1* attributes = host->getSuite("AttributeHost", 1);
    return attributes ? attributes->createString(&value, 1, 1) : NULL;
}

static OxLocationDelegateInstance create(void) {
    return NULL;
}

static void destroy(OxLocationDelegateInstance instance) {
    (void)instance;
}

static OxAttributeStruct* noReplacement(OxLocationDelegateInstance instance,
                                        OxSgIteratorStruct* location) {
    (void)instance;
    (void)location;
    return NULL;
}

static OxAttributeStruct* renderer(OxLocationDelegateInstance instance) {
    (void)instance;
    return text("lantern");
}

static OxAttributeStruct* types(OxLocationDelegateInstance instance) {
    (void)instance;
    return text("sphere");
}

static const OxScenegraphLocationDelegatePluginSuite_v1 suite = {create, destroy, noReplacement,
                                                                 renderer, types};

static const void* getSuite(void) {
    return &suite;
}

static const OxPluginRecord_v1 record = {OX_PLUGIN_RECORD_VERSION,
                                         "sphere",
                                         OX_LOCATION_DELEGATE_API,
                                         OX_LOCATION_DELEGATE_API_VERSION,
                                         1,
                                         0,
                                         getSuite,
                                         setHost,
                                         NULL};

unsigned int OxGetPluginCount(void) {
    return 1;
}

const OxPluginRecord_v1* OxGetPlugin(unsigned int index) {
    return index == 0 ? &record : NULL;
}
