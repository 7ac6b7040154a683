#include <OxTellarProducers/OxScenegraphLocationDelegateCache.h>

#include <atomic>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <OxTellarSDK/PluginManager.h>

#include "LocationDelegates.h"

using OxPluginManager::PluginManager;

namespace TELLAR {

namespace {

using Suite = OxScenegraphLocationDelegatePluginSuite_v1;

/// The table is written under the lock before the flag is set, and never again: it is read
/// without it.
/// The thread that writes it may read it in between, for a delegate that is being added.
struct Delegates {
    LocationDelegates table;
    std::atomic<bool> isInitialized{false};
    std::mutex lock;
    std::atomic<std::thread::id> populatingThread{};
};

Delegates& GetDelegates() {
    static auto* const delegates = new Delegates;
    return *delegates;
}

std::vector<std::string> NamesOfPlugins() {
    std::vector<std::string> names;
    PluginManager::getPluginNames(OX_LOCATION_DELEGATE_API, names,
                                  OX_LOCATION_DELEGATE_API_VERSION);
    return names;
}

/// While it lives, the calling thread populates the table.
class PopulatingScope {
public:
    explicit PopulatingScope(Delegates& delegates) : guard(delegates.lock), owner(delegates) {
        owner.populatingThread = std::this_thread::get_id();
    }
    ~PopulatingScope() { owner.populatingThread = std::thread::id(); }
    PopulatingScope(const PopulatingScope&) = delete;
    PopulatingScope& operator=(const PopulatingScope&) = delete;

private:
    const std::lock_guard<std::mutex> guard;
    Delegates& owner;
};

Suite* FindDelegate(const std::string& pluginName) {
    const auto plugin = PluginManager::getPlugin(pluginName, OX_LOCATION_DELEGATE_API,
                                                 OX_LOCATION_DELEGATE_API_VERSION);
    return static_cast<Suite*>(const_cast<void*>(PluginManager::getPluginSuite(plugin)));
}

} // namespace

void OxScenegraphLocationDelegateCache::populate() {
    Delegates& delegates = GetDelegates();
    if (delegates.isInitialized) return;
    for (const std::string& name : NamesOfPlugins())
        delegates.table.add(FindDelegate(name));
    delegates.isInitialized = true;
}

void OxScenegraphLocationDelegateCache::initializeCache() {
    Delegates& delegates = GetDelegates();
    if (delegates.isInitialized) return;
    if (delegates.populatingThread == std::this_thread::get_id()) return;
    // Loads the plug-ins before the lock is taken: one that asks for delegates while another thread
    // loads it would wait here for that thread.
    NamesOfPlugins();
    const PopulatingScope scope(delegates);
    populate(); // does nothing when another thread was faster
}

bool OxScenegraphLocationDelegateCache::isCacheInitialized() {
    return GetDelegates().isInitialized;
}

Suite* OxScenegraphLocationDelegateCache::getPluginSuite(const std::string& locationType,
                                                         const std::string& rendererName) {
    initializeCache();
    return GetDelegates().table.find(locationType, rendererName);
}

void OxScenegraphLocationDelegateCache::getLocationTypesWithDelegates(
    std::vector<std::string>& out, const std::string& rendererName) {
    out.clear();
    initializeCache();
    out = GetDelegates().table.types(rendererName);
}

} // namespace TELLAR
