#include "PluginRegistry.h"

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <utility>

#include "NamedLogger.h"
#include "PluginCall.h"
#include "text/MessageText.h"

namespace OxPluginManager {

namespace {

namespace fs = std::filesystem;

const NamedLogger kLogger("PluginManager");

/// The path as an absolute one without trailing slash, so that one folder has one spelling.
std::string FolderPath(const std::string& path) {
    std::error_code ignored;
    const fs::path absolute = fs::absolute(path, ignored).lexically_normal();
    return (absolute.has_filename() ? absolute : absolute.parent_path()).string();
}

void WarnAbout(const PluginEntry& plugin, const std::string& what, LogPlace place = {}) {
    kLogger.warn({"Plug-in \"{}\" of \"{}\": {}", place}, plugin.name, plugin.file, what);
}

template <typename Value>
void AppendOnce(std::vector<Value>& values, const Value& value) {
    if (std::find(values.begin(), values.end(), value) == values.end()) values.push_back(value);
}

/// Keeps `isActive` true while it lives.
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
    : builtInFolder(builtInFolder.empty() ? std::string() : FolderPath(builtInFolder)) {
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
        AppendOnce(names, entry.apiName);
    return names;
}

std::vector<unsigned int> PluginRegistry::apiVersions(const std::string& apiName) {
    discover();
    const std::shared_lock<std::shared_mutex> lock(tables);
    std::vector<unsigned int> versions;
    for (const PluginEntry& entry : entries) {
        if (entry.apiName == apiName) AppendOnce(versions, entry.apiVersion);
    }
    std::sort(versions.begin(), versions.end());
    return versions;
}

void PluginRegistry::refuse(PluginHandle plugin, const std::string& reason) {
    if (const PluginEntry* entry = entryOf(plugin))
        refuse(entry->file, "plug-in " + TellarInternal::Quoted(entry->name) + ": " + reason);
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
    if (!isBuiltInListed && !builtInFolder.empty()) AppendOnce(folders, builtInFolder);
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
        const std::string refusal = HostRefusal(*entry, newHost);
        if (!refusal.empty()) WarnAbout(*entry, refusal);
    }
}

void PluginRegistry::discover() {
    if (isUpToDate.load(std::memory_order_acquire)) return;
    const std::lock_guard<std::recursive_mutex> lock(loading);
    // This thread is loading, and a plug-in or a log sink asks. It gets the plug-ins that are
    // loaded so far. The loop below also loads folders that are added meanwhile.
    if (isDiscovering) return;
    const ScopedFlag discovering(isDiscovering);
    while (const std::optional<std::string> folder = nextFolder()) {
        loadFolder(*folder);
        // Count the folder last. If there is no memory for its plug-ins, the next query tries
        // again.
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
    const std::vector<std::string> files = ModuleFilesIn(folder, code);
    const bool isAbsent = code == std::errc::no_such_file_or_directory;
    if (code && !(isAbsent && folder == builtInFolder)) refuse(folder, code.message());
    for (const std::string& file : files)
        loadFile(file);
}

void PluginRegistry::loadFile(const std::string& file) {
    std::vector<PluginEntry> plugins;
    const std::string fault = ReadPlugins(file, plugins);
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
    const std::string refusal = currentHost ? HostRefusal(entry, currentHost) : std::string();
    if (!refusal.empty()) {
        refuse(entry.file, "plug-in " + TellarInternal::Quoted(entry.name) + ": " + refusal);
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

// The caller of the following functions holds `tables`, except for entryOf() and snapshot().

void PluginRegistry::addFolderOnce(const std::string& path) {
    if (path.empty()) return;
    const std::size_t folderCount = folderList.size();
    AppendOnce(folderList, FolderPath(path));
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
