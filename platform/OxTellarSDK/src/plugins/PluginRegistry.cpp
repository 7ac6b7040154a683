#include "PluginRegistry.h"

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <utility>

#include "NamedLogger.h"
#include "PluginCall.h"
#include "SharedLibrary.h"
#include "files/FolderFiles.h"

namespace OxPluginManager {

namespace {

namespace fs = std::filesystem;

const NamedLogger kLogger("PluginManager");

// No library holds that many: a larger number is not a count.
constexpr unsigned int kMaximumCount = 1024;

std::string inQuotes(const std::string& text) {
    return '"' + text + '"';
}

// Absolute and without trailing slash, so that one folder has one spelling.
std::string folderPath(const std::string& path) {
    std::error_code ignored;
    const fs::path absolute = fs::absolute(path, ignored).lexically_normal();
    return (absolute.has_filename() ? absolute : absolute.parent_path()).string();
}

std::vector<std::string> moduleFilesIn(const std::string& folder, std::error_code& code) {
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

// What is wrong with a record; empty when it can be used.
std::string faultOf(PluginHandle record) {
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

// Loads a file and assigns the plug-ins in it. Returns what is wrong with the file, empty
// when nothing is: a library with one bad record is not trusted with the others.
std::string readPlugins(const std::string& file, std::vector<PluginEntry>& plugins) {
    std::error_code ignored;
    // Opening a named pipe might wait for ever.
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
        const std::string fault = thrown.empty() ? faultOf(record) : "OxGetPlugin " + thrown;
        if (!fault.empty()) return "plug-in " + std::to_string(index) + ": " + fault;
        plugins.push_back({record, record->name, record->apiName, record->apiVersion, file});
    }
    return {};
}

// Why a plug-in does not accept the host; empty when it does.
std::string hostRefusal(const PluginEntry& plugin, OxPluginHost* host) {
    if (!plugin.record->setHost) return {};
    int status = 0;
    const std::string thrown = ExceptionFrom([&] { status = plugin.record->setHost(host); });
    if (!thrown.empty()) return "setHost " + thrown;
    return status == 0 ? "" : "it does not accept the host (status " + std::to_string(status) + ')';
}

void WarnAbout(const PluginEntry& plugin, const std::string& what, LogPlace place = {}) {
    kLogger.warn({"Plug-in \"{}\" of \"{}\": {}", place}, plugin.name, plugin.file, what);
}

template <typename Value>
void appendOnce(std::vector<Value>& values, const Value& value) {
    if (std::find(values.begin(), values.end(), value) == values.end()) values.push_back(value);
}

// Keeps `isActive` set while it lives.
class ScopedFlag {
public:
    explicit ScopedFlag(bool& isActive) : isActive(isActive) { isActive = true; }
    ~ScopedFlag() { isActive = false; }
    ScopedFlag(const ScopedFlag&) = delete;
    ScopedFlag& operator=(const ScopedFlag&) = delete;

private:
    bool& isActive;
};

} // namespace

PluginRegistry::PluginRegistry(const std::vector<std::string>& firstFolders,
                               const std::string& builtInFolder)
    : builtInFolder(builtInFolder.empty() ? std::string() : folderPath(builtInFolder)) {
    for (const std::string& folder : firstFolders)
        addFolderOnce(folder);
}

std::vector<std::string> PluginRegistry::pluginNames(const std::string& apiName,
                                                     unsigned int apiVersion) {
    discover();
    const std::shared_lock<std::shared_mutex> lock(tables);
    std::vector<std::string> names;
    for (const PluginEntry& entry : entries) {
        if (entry.apiName == apiName && entry.apiVersion == apiVersion) names.push_back(entry.name);
    }
    return names;
}

PluginHandle PluginRegistry::plugin(const std::string& name, const std::string& apiName,
                                    unsigned int apiVersion) {
    discover();
    const std::shared_lock<std::shared_mutex> lock(tables);
    const PluginEntry* entry = find(name, apiName, apiVersion);
    return entry ? entry->record : nullptr;
}

const void* PluginRegistry::pluginSuite(PluginHandle plugin) const {
    const PluginEntry* entry = entryOf(plugin);
    if (!entry) return nullptr;
    const void* suite = nullptr;
    const std::string thrown = ExceptionFrom([&] { suite = plugin->getSuite(); });
    if (!thrown.empty()) WarnAbout(*entry, "getSuite " + thrown);
    return suite;
}

std::string PluginRegistry::pluginPath(PluginHandle plugin) const {
    const std::shared_lock<std::shared_mutex> lock(tables);
    const PluginEntry* entry = find(plugin);
    return entry ? entry->file : std::string();
}

std::vector<std::string> PluginRegistry::apiNames() {
    discover();
    const std::shared_lock<std::shared_mutex> lock(tables);
    std::vector<std::string> names;
    for (const PluginEntry& entry : entries)
        appendOnce(names, entry.apiName);
    return names;
}

std::vector<unsigned int> PluginRegistry::apiVersions(const std::string& apiName) {
    discover();
    const std::shared_lock<std::shared_mutex> lock(tables);
    std::vector<unsigned int> versions;
    for (const PluginEntry& entry : entries) {
        if (entry.apiName == apiName) appendOnce(versions, entry.apiVersion);
    }
    std::sort(versions.begin(), versions.end());
    return versions;
}

void PluginRegistry::refuse(PluginHandle plugin, const std::string& reason) {
    if (const PluginEntry* entry = entryOf(plugin))
        refuse(entry->file, "plug-in " + inQuotes(entry->name) + ": " + reason);
}

void PluginRegistry::flush(PluginHandle plugin) const {
    const PluginEntry* entry = entryOf(plugin);
    if (!entry || !plugin->flush) return;
    const std::string thrown = ExceptionFrom([plugin] { plugin->flush(); });
    if (!thrown.empty()) WarnAbout(*entry, "flush " + thrown);
}

void PluginRegistry::addFolder(const std::string& path) {
    const std::unique_lock<std::shared_mutex> lock(tables);
    addFolderOnce(path);
}

std::vector<std::string> PluginRegistry::folders() const {
    const std::shared_lock<std::shared_mutex> lock(tables);
    std::vector<std::string> folders = folderList;
    if (!isBuiltInListed && !builtInFolder.empty()) appendOnce(folders, builtInFolder);
    return folders;
}

std::vector<RefusedPlugin> PluginRegistry::refusedPlugins() {
    discover();
    const std::shared_lock<std::shared_mutex> lock(tables);
    return refusedList;
}

void PluginRegistry::setHost(OxPluginHost* newHost) {
    const std::lock_guard<std::recursive_mutex> lock(loading);
    {
        const std::unique_lock<std::shared_mutex> tablesLock(tables);
        host = newHost;
    }
    for (const PluginEntry* entry : snapshot()) {
        const std::string refusal = hostRefusal(*entry, newHost);
        if (!refusal.empty()) WarnAbout(*entry, refusal);
    }
}

void PluginRegistry::discover() {
    if (isUpToDate.load(std::memory_order_acquire)) return;
    const std::lock_guard<std::recursive_mutex> lock(loading);
    // This very thread is loading, and a plug-in or a log sink asks: what is there is all
    // there is for it. The loop below also takes up folders that are added meanwhile.
    if (isDiscovering) return;
    const ScopedFlag discovering(isDiscovering);
    while (const std::optional<std::string> folder = nextFolder()) {
        loadFolder(*folder);
        // Not before: when there is no memory for what is in it, the next query tries again.
        const std::unique_lock<std::shared_mutex> tablesLock(tables);
        ++searchedFolders;
    }
}

std::optional<std::string> PluginRegistry::nextFolder() {
    const std::unique_lock<std::shared_mutex> lock(tables);
    if (!isBuiltInListed) {
        addFolderOnce(builtInFolder);
        isBuiltInListed = true;
    }
    if (searchedFolders < folderList.size()) return folderList[searchedFolders];
    isUpToDate.store(true, std::memory_order_release);
    return std::nullopt;
}

void PluginRegistry::loadFolder(const std::string& folder) {
    std::error_code code;
    const std::vector<std::string> files = moduleFilesIn(folder, code);
    const bool isAbsent = code == std::errc::no_such_file_or_directory;
    if (code && !(isAbsent && folder == builtInFolder)) refuse(folder, code.message());
    for (const std::string& file : files)
        loadFile(file);
}

void PluginRegistry::loadFile(const std::string& file) {
    std::vector<PluginEntry> plugins;
    const std::string fault = readPlugins(file, plugins);
    if (!fault.empty()) {
        refuse(file, fault);
        return;
    }
    for (const PluginEntry& plugin : plugins)
        add(plugin);
}

void PluginRegistry::add(const PluginEntry& entry) {
    OxPluginHost* currentHost = nullptr;
    std::string earlierFile;
    {
        const std::shared_lock<std::shared_mutex> lock(tables);
        const PluginEntry* earlier = find(entry.name, entry.apiName, entry.apiVersion);
        if (earlier) earlierFile = earlier->file;
        currentHost = host;
    }
    if (earlierFile == entry.file) return; // its folder is searched again
    if (!earlierFile.empty()) {
        kLogger.info("Plug-in \"{}\" of \"{}\" is hidden by the one of \"{}\"", entry.name,
                     entry.file, earlierFile);
        return;
    }
    const std::string refusal = currentHost ? hostRefusal(entry, currentHost) : std::string();
    if (!refusal.empty()) {
        refuse(entry.file, "plug-in " + inQuotes(entry.name) + ": " + refusal);
        return;
    }
    const std::unique_lock<std::shared_mutex> lock(tables);
    entries.push_back(entry);
}

void PluginRegistry::refuse(const std::string& file, const std::string& reason) {
    {
        const std::unique_lock<std::shared_mutex> lock(tables);
        const auto known =
            std::find_if(refusedList.begin(), refusedList.end(), [&](const RefusedPlugin& plugin) {
                return plugin.file == file && plugin.reason == reason;
            });
        if (known != refusedList.end()) return; // its folder is searched again
        refusedList.push_back({file, reason});
    }
    kLogger.warn("Passed over \"{}\": {}", file, reason);
}

// From here on: the caller holds `tables`, except for entryOf() and snapshot().

void PluginRegistry::addFolderOnce(const std::string& path) {
    if (path.empty()) return;
    const std::size_t folderCount = folderList.size();
    appendOnce(folderList, folderPath(path));
    if (folderList.size() > folderCount) isUpToDate.store(false, std::memory_order_release);
}

const PluginEntry* PluginRegistry::find(PluginHandle plugin) const {
    const auto found =
        std::find_if(entries.begin(), entries.end(),
                     [plugin](const PluginEntry& entry) { return entry.record == plugin; });
    return found != entries.end() ? &*found : nullptr;
}

const PluginEntry* PluginRegistry::find(const std::string& name, const std::string& apiName,
                                        unsigned int apiVersion) const {
    const auto found = std::find_if(entries.begin(), entries.end(), [&](const PluginEntry& entry) {
        return entry.apiVersion == apiVersion && entry.name == name && entry.apiName == apiName;
    });
    return found != entries.end() ? &*found : nullptr;
}

const PluginEntry* PluginRegistry::entryOf(PluginHandle plugin) const {
    const std::shared_lock<std::shared_mutex> lock(tables);
    return find(plugin);
}

std::vector<const PluginEntry*> PluginRegistry::snapshot() const {
    const std::shared_lock<std::shared_mutex> lock(tables);
    std::vector<const PluginEntry*> pointers;
    for (const PluginEntry& entry : entries)
        pointers.push_back(&entry);
    return pointers;
}

} // namespace OxPluginManager
