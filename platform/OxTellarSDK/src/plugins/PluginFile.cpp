#include "PluginFile.h"

#include <algorithm>
#include <filesystem>
#include <utility>

#include "PluginCall.h"
#include "SharedLibrary.h"
#include "files/FolderFiles.h"

namespace OxPluginManager {

namespace {

namespace fs = std::filesystem;

// No library has that many plug-ins, so a larger number is a fault.
constexpr unsigned int kMaximumCount = 1024;

/// The fault of a record; empty when the record can be used.
std::string FaultOf(PluginHandle record) {
    if (!record) return "its record is null";
    if (record->recordVersion != OX_PLUGIN_RECORD_VERSION) {
        return "its record has version " + std::to_string(record->recordVersion) + ", not " +
               std::to_string(OX_PLUGIN_RECORD_VERSION);
    }
    if (!record->name || !*record->name) return "it has no name";
    if (!record->apiName || !*record->apiName) return "it has no API name";
    if (!record->getSuite) return "it has no getSuite function";
    return {};
}

} // namespace

std::vector<std::string> ModuleFilesIn(const std::string& folder, std::error_code& code) {
    std::vector<std::string> files;
    for (std::string& file : TellarInternal::FolderFiles(folder, code)) {
        std::error_code ignored;
        const fs::path path = file;
        const bool isModule = path.extension() == kModuleSuffix;
        if (isModule && !fs::is_directory(path, ignored)) files.push_back(std::move(file));
    }
    std::sort(files.begin(), files.end());
    return files;
}

std::string ReadPlugins(const std::string& file, std::vector<PluginEntry>& plugins) {
    std::error_code ignored;
    // Opening a named pipe could wait forever.
    if (!fs::is_regular_file(file, ignored)) return "not a regular file";
    std::string reason;
    const SharedLibrary library = SharedLibrary::load(file, reason);
    if (!library.isLoaded()) return reason;
    auto* const getCount = library.function<decltype(OxGetPluginCount)>("OxGetPluginCount");
    auto* const getPlugin = library.function<decltype(OxGetPlugin)>("OxGetPlugin");
    if (!getCount) return "it exports no OxGetPluginCount";
    if (!getPlugin) return "it exports no OxGetPlugin";

    unsigned int count = 0;
    const std::string failure = ExceptionFrom([&] { count = getCount(); });
    if (!failure.empty()) return "OxGetPluginCount " + failure;
    if (count > kMaximumCount) {
        return "it claims to hold " + std::to_string(count) + " plug-ins, more than " +
               std::to_string(kMaximumCount);
    }
    for (unsigned int index = 0; index < count; ++index) {
        PluginHandle record = nullptr;
        const std::string thrown = ExceptionFrom([&] { record = getPlugin(index); });
        const std::string fault = thrown.empty() ? FaultOf(record) : "OxGetPlugin " + thrown;
        if (!fault.empty()) return "plug-in " + std::to_string(index) + ": " + fault;
        plugins.push_back({record, record->name, record->apiName, record->apiVersion, file});
    }
    return {};
}

std::string HostRefusal(const PluginEntry& plugin, OxPluginHost* host) {
    if (!plugin.record->setHost) return {};
    int status = 0;
    const std::string thrown = ExceptionFrom([&] { status = plugin.record->setHost(host); });
    if (!thrown.empty()) return "setHost " + thrown;
    return status == 0 ? "" : "it does not accept the host (status " + std::to_string(status) + ')';
}

} // namespace OxPluginManager
