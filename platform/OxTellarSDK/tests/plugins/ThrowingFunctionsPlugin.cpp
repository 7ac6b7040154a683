// Loads well; then every function in its records throws: texts, numbers, exceptions without a text.
#include <OxTellarSDK/OxPluginApi.h>

#include "Thrown.h"

namespace {

using Throw = void(const char*);

template <Throw* Function>
const void* getSuite() {
    Function("no suite today");
    return nullptr;
}
template <Throw* Function>
int setHost(OxPluginHost*) {
    Function("no host today");
    return 0;
}
template <Throw* Function>
void flush() {
    Function("no flush today");
}

template <Throw* Function>
constexpr OxPluginRecord_v1 record(const char* name) {
    return {OX_PLUGIN_RECORD_VERSION, name,           "TestThrowing", 1, 0, 0, getSuite<Function>,
            setHost<Function>,        flush<Function>};
}

const OxPluginRecord_v1 records[] = {record<throwText>("thrower"), record<throwNumber>("number"),
                                     record<throwSilent>("silent")};

} // namespace

unsigned int OxGetPluginCount() {
    return 3;
}

const OxPluginRecord_v1* OxGetPlugin(unsigned int index) {
    return &records[index];
}
