// The exported functions of the module.

#include <filesystem>
#include <string>
#include <system_error>

#if !defined(_WIN32)
#include <dlfcn.h>
#endif

#include <OxTellarSDK/OpType.h>
#include <OxTellarSDK/OxPluginApi.h>

#include "SceneFile.h"
#include "SceneImport.h"
#include "isolation/ReaderProcess.h"

namespace {

/// The program that is installed beside this library. Empty if the system does not know where the
/// library is.
std::string FindReaderProgram() {
#if !defined(_WIN32)
    Dl_info library = {};
    if (dladdr(reinterpret_cast<const void*>(&OxGetPluginCount), &library) == 0 ||
        !library.dli_fname)
        return {};
    const auto folder = std::filesystem::path(library.dli_fname).parent_path();
    std::error_code error;
    return std::filesystem::absolute(folder / TELLAR_SCENE_READER_NAME, error).string();
#else
    return {};
#endif
}

const void* GetSuite() {
    static const OxOpTypePluginSuite_v3 suite = {TellarSceneImport::SceneImportOpType};
    return &suite;
}

// The path of the library may be relative to the working directory, which the host may change
// later.
int SetHost(OxPluginHost*) {
    TellarSceneImport::SetReaderProgram(FindReaderProgram());
    return 0;
}

void Flush() {
    TellarSceneImport::DropUnusedSceneFiles();
}

const OxPluginRecord_v1 kRecord = {OX_PLUGIN_RECORD_VERSION,
                                   "SceneImport",
                                   OxOpType::kPluginApiName,
                                   OxOpType::kPluginApiVersion,
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
    if (index != 0) return nullptr;
    // Programs call this as soon as the library is loaded. Its path may be relative to the working
    // directory, which may change later.
    TellarSceneImport::SetReaderProgram(FindReaderProgram());
    return &kRecord;
}
