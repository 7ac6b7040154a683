// Throws while it is loaded.
#include <stdexcept>

#include <OxTellarSDK/OxPluginApi.h>

namespace {

int Fail() {
    throw std::runtime_error("no licence");
}
const int number = Fail();

} // namespace

unsigned int OxGetPluginCount() {
    return static_cast<unsigned int>(number);
}

const OxPluginRecord_v1* OxGetPlugin(unsigned int) {
    return nullptr;
}
