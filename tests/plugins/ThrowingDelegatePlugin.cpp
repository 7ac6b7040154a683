// A delegate for the renderer "candle" that breaks the rule against exceptions: it throws the first
// four times that it is asked for an instance, an exception without a text the second time and a
// number the third.
#include "DelegateForTests.h"

#include <atomic>
#include <exception>
#include <stdexcept>

namespace {

class SilentException : public std::exception {
public:
    const char* what() const noexcept override { return nullptr; }
};

OxLocationDelegateInstance CreateAtLast() {
    static std::atomic<int> calls{0};
    const int call = ++calls;
    if (call == 2) throw SilentException();
    if (call == 3) throw 7;
    if (call <= 4) throw std::runtime_error("no delegate yet");
    return createDelegate();
}

OxAttributeStruct* Candle(OxLocationDelegateInstance instance) {
    return textOf(instance, "candle");
}

OxAttributeStruct* FlameTypes(OxLocationDelegateInstance instance) {
    return textOf(instance, "flame");
}

const OxScenegraphLocationDelegatePluginSuite_v1 suite = {CreateAtLast, destroyDelegate,
                                                          noReplacement, Candle, FlameTypes};

const void* GetSuite() {
    return &suite;
}

int SetHost(OxPluginHost* host) {
    return setDelegateHost(host, "TestThrowingDelegateCalls");
}

const OxPluginRecord_v1 record = {OX_PLUGIN_RECORD_VERSION,
                                  "throwing",
                                  OX_LOCATION_DELEGATE_API,
                                  OX_LOCATION_DELEGATE_API_VERSION,
                                  1,
                                  0,
                                  GetSuite,
                                  SetHost,
                                  nullptr};

} // namespace

unsigned int OxGetPluginCount() {
    return 1;
}

const OxPluginRecord_v1* OxGetPlugin(unsigned int) {
    return &record;
}
