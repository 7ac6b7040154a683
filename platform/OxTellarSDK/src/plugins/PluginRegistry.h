#ifndef OXTELLARSDK_PLUGINREGISTRY_H
#define OXTELLARSDK_PLUGINREGISTRY_H

#include <atomic>
#include <deque>
#include <mutex>
#include <optional>
#include <shared_mutex>
#include <string>
#include <vector>

#include <OxTellarSDK/PluginManager.h>

#include "PluginFile.h"

namespace OxPluginManager {

/// Finds, loads and keeps plug-ins. PluginManager is the one of the process; its comments describe
/// the functions. Any number of threads may call them at once.
class PluginRegistry {
public:
    /// Searches `firstFolders` first, then the folders added before the first query, then
    /// `builtInFolder`, and last the folders added later. `builtInFolder` may be missing on disk,
    /// or empty for none.
    PluginRegistry(const std::vector<std::string>& firstFolders, const std::string& builtInFolder);
    PluginRegistry(const PluginRegistry&) = delete;
    PluginRegistry& operator=(const PluginRegistry&) = delete;

    std::vector<std::string> pluginNames(const std::string& apiName, unsigned int apiVersion);
    PluginHandle plugin(const std::string& name, const std::string& apiName,
                        unsigned int apiVersion);
    const void* pluginSuite(PluginHandle plugin) const;
    std::string pluginPath(PluginHandle plugin) const;
    std::vector<std::string> apiNames();
    std::vector<unsigned int> apiVersions(const std::string& apiName);
    void refuse(PluginHandle plugin, const std::string& reason);
    void flush(PluginHandle plugin) const;
    void addFolder(const std::string& path);
    std::vector<std::string> folders() const;
    std::vector<RefusedPlugin> refusedPlugins();
    void setHost(OxPluginHost* host);

private:
    void discover();
    std::optional<std::string> nextFolder();
    void loadFolder(const std::string& folder);
    void loadFile(const std::string& file);
    void add(const PluginEntry& entry);
    void refuse(const std::string& file, const std::string& reason);
    void addFolderOnce(const std::string& path);
    const PluginEntry* find(PluginHandle plugin) const;
    const PluginEntry* find(const std::string& name, const std::string& apiName,
                            unsigned int apiVersion) const;
    const PluginEntry* entryOf(PluginHandle plugin) const;
    std::vector<const PluginEntry*> snapshot() const;

    // Two locks, taken in this order:
    // - `loading` is held while plug-ins are loaded or given a host. Code of plug-ins runs under
    //   it, and may call this object again, so it is recursive. It guards `isDiscovering`.
    // - `tables` guards the rest. No code of plug-ins or log sinks runs under it.
    std::recursive_mutex loading;
    bool isDiscovering = false;

    mutable std::shared_mutex tables;
    // The first `searchedFolders` folders have been loaded. The first query adds the built-in one.
    std::vector<std::string> folderList;
    std::size_t searchedFolders = 0;
    const std::string builtInFolder;
    bool isBuiltInListed = false;
    // In the order found. Entries do not change or move, so a pointer to one is valid without the
    // lock. A process has some dozens of them, so a linear search is fast enough.
    std::deque<PluginEntry> entries;
    std::vector<RefusedPlugin> refusedList;
    OxPluginHost* host = nullptr;

    // True when every listed folder has been loaded, so that a query need not wait for `loading`.
    // Changed under `tables` only.
    std::atomic<bool> isUpToDate{false};
};

} // namespace OxPluginManager

#endif
