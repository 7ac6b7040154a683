// Loads well; then every function in its records throws: texts, numbers, exceptions without a text.
#include <OxTellarSDK/OxPluginApi.h>

#include "Thrown.h"

namespace {

using Throw = void(const char*);

template <Throw* Function>
const void* GetSuite() {
    Function("no suite today");
    return nullptr;
}
template <Throw* Function>
int SetHost(OxPluginHost*) {
    Function("no host today");
    return 0;
}
template <Throw* Function>
void Flush() {
    Function("no flush today");
}

template <Throw* Function>
constexpr OxPluginRecord_v1 Record(const char* name) {
    return {OX_PLUGIN_RECORD_VERSION, name,           "TestThrowing", 1, 0, 0, GetSuite<Function>,
            SetHost<Function>,        Flush<Function>};
}

const OxPluginRecord_v1 records[] = {Record<ThrowText>("thrower"), Record<ThrowNumber>("number"),
                                     Record<ThrowSilent>("silent")};

} // namespace

unsigned int OxGetPluginCount() {
    return 3;
}

const OxPluginRecord_v1* OxGetPlugin(unsigned int index) {
    return &records[index];
}
