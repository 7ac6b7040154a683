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

namespace OxPluginManager {

/// A plug-in that passed all checks. The texts are copies, so that nothing a plug-in does
/// to its record later can matter here.
struct PluginEntry {
    PluginHandle record = nullptr;
    std::string name;
    std::string apiName;
    unsigned int apiVersion = 0;
    std::string file;
};

/// Finds, loads and keeps plug-ins: what PluginManager is for the whole process, with the
/// folders given by the owner. The functions are those of PluginManager, and as safe from
/// any thread. Must outlive every use of it.
class PluginRegistry {
public:
    /// `firstFolders` are searched before those added later, `builtInFolder` after what
    /// was added before the first query. The latter may be empty for none, or absent.
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
    // - `loading` is held while plug-ins are loaded or given a host, foreign code running
    //   under it. The thread that holds it may come back from inside a plug-in, hence
    //   recursive. It guards `isDiscovering`.
    // - `tables` guards the rest. No foreign code, which includes log sinks, runs under it.
    std::recursive_mutex loading;
    bool isDiscovering = false;

    mutable std::shared_mutex tables;
    // The folders before `searchedFolders` have been taken up for loading. The built-in
    // one joins the list, once, when the first query begins.
    std::vector<std::string> folderList;
    std::size_t searchedFolders = 0;
    const std::string builtInFolder;
    bool isBuiltInListed = false;
    // In the order found; entries neither change nor move nor go, so a pointer to one is
    // good without the lock. A process has some dozens: searching them beats any index.
    std::deque<PluginEntry> entries;
    std::vector<RefusedPlugin> refusedList;
    OxPluginHost* host = nullptr;

    // Whether every folder listed has been loaded, so that a query need not wait for
    // `loading`. Changed under `tables` only.
    std::atomic<bool> isUpToDate{false};
};

} // namespace OxPluginManager

#endif
