// The plug-in's records: "lantern" as a renderer of version 1 and of version 2.

#include <OxPluginHost/OxPluginHost.h>
#include <OxTellarSDK/OxPluginApi.h>

#include "Entries.h"

namespace lantern {
namespace {

const OxPluginRecord_v1 kVersion2 = {OX_PLUGIN_RECORD_VERSION,
                                     "lantern",
                                     OX_RENDERER_API,
                                     OX_RENDERER_API_VERSION_2,
                                     1,
                                     0,
                                     GetSuite2,
                                     SetHost,
                                     nullptr};
const OxPluginRecord_v1 kVersion1 = {OX_PLUGIN_RECORD_VERSION,
                                     "lantern",
                                     OX_RENDERER_API,
                                     OX_RENDERER_API_VERSION,
                                     1,
                                     0,
                                     GetSuite1,
                                     SetHost,
                                     nullptr};

} // namespace
} // namespace lantern

unsigned int OxGetPluginCount(void) {
    return 2;
}

const OxPluginRecord_v1* OxGetPlugin(unsigned int index) {
    if (index == 0) return &lantern::kVersion2;
    return index == 1 ? &lantern::kVersion1 : nullptr;
}
