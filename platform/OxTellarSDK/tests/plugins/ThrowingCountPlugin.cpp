// Throws when it is asked how many plug-ins it holds.
#include <stdexcept>

#include <OxTellarSDK/OxPluginApi.h>

unsigned int OxGetPluginCount() {
    throw std::runtime_error("no licence");
}

const OxPluginRecord_v1* OxGetPlugin(unsigned int) {
    return nullptr;
}
