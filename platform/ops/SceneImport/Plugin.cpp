// The exported functions of the module.

#include <OxTellarSDK/OpType.h>
#include <OxTellarSDK/OxPluginApi.h>

#include "SceneFile.h"
#include "SceneImport.h"

namespace {

const void* GetSuite() {
    static const OxOpTypePluginSuite_v1 suite = {TellarSceneImport::SceneImportOpType};
    return &suite;
}

int SetHost(OxPluginHost*) {
    return 0;
}

void Flush() {
    TellarSceneImport::DropUnusedSceneFiles();
}

const OxPluginRecord_v1 kRecord = {OX_PLUGIN_RECORD_VERSION,
                                   "SceneImport",
                                   OxOpType::kPluginApiName,
                                   1,
                                   1,
                                   0,
                                   GetSuite,
                                   SetHost,
                                   Flush};

} // namespace

extern "C" OX_PLUGIN_EXPORT unsigned int OxGetPluginCount(void) {
    return 1;
}

extern "C" OX_PLUGIN_EXPORT const OxPluginRecord_v1* OxGetPlugin(unsigned int index) {
    return index == 0 ? &kRecord : nullptr;
}
