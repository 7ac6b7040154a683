// A delegate for the renderer "candle" that breaks the rule against exceptions: it throws the first
// two times that it is asked for an instance.
#include "DelegateForTests.h"

#include <atomic>
#include <stdexcept>

namespace {

OxLocationDelegateInstance createAtLast() {
    static std::atomic<int> calls{0};
    if (++calls <= 2) throw std::runtime_error("no delegate yet");
    return createDelegate();
}

OxAttributeStruct* candle(OxLocationDelegateInstance instance) {
    return textOf(instance, "candle");
}

OxAttributeStruct* flameTypes(OxLocationDelegateInstance instance) {
    return textOf(instance, "flame");
}

const OxScenegraphLocationDelegatePluginSuite_v1 suite = {createAtLast, destroyDelegate,
                                                          noReplacement, candle, flameTypes};

const void* getSuite() {
    return &suite;
}

int setHost(OxPluginHost* host) {
    return setDelegateHost(host, "TestThrowingDelegateCalls");
}

const OxPluginRecord_v1 record = {OX_PLUGIN_RECORD_VERSION,
                                  "throwing",
                                  OX_LOCATION_DELEGATE_API,
                                  OX_LOCATION_DELEGATE_API_VERSION,
                                  1,
                                  0,
                                  getSuite,
                                  setHost,
                                  nullptr};

} // namespace

unsigned int OxGetPluginCount() {
    return 1;
}

const OxPluginRecord_v1* OxGetPlugin(unsigned int) {
    return &record;
}
