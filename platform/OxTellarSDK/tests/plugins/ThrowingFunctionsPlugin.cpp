// Loads well; then every function in its record throws.
#include <stdexcept>

#include <OxTellarSDK/OxPluginApi.h>

namespace {

const void* getSuite() {
    throw std::runtime_error("no suite today");
}
int setHost(OxPluginHost*) {
    throw std::runtime_error("no host today");
}
void flush() {
    throw std::runtime_error("no flush today");
}

const OxPluginRecord_v1 record = {
    OX_PLUGIN_RECORD_VERSION, "thrower", "TestThrowing", 1, 0, 0, getSuite, setHost, flush};

} // namespace

unsigned int OxGetPluginCount() {
    return 1;
}

const OxPluginRecord_v1* OxGetPlugin(unsigned int) {
    return &record;
}
