#include <OxTellarProducers/OxScenegraphLocationDelegateCache.h>

#include <atomic>
#include <mutex>

#include <OxTellarSDK/PluginManager.h>

#include "LocationDelegates.h"

using OxPluginManager::PluginManager;

namespace TELLAR {

namespace {

using Suite = LocationDelegates::Suite;

/// The table is written under the lock until the flag is set, and read without it after that. A
/// delegate that is being added may read it too, on the thread that holds the lock.
struct Delegates {
    LocationDelegates table;
    std::atomic<bool> isInitialized{false};
    std::recursive_mutex lock;
    bool isBeingWritten = false;
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

} // namespace

void OxScenegraphLocationDelegateCache::populate() {
    Delegates& delegates = GetDelegates();
    for (const std::string& name : NamesOfPlugins()) {
        const auto plugin = PluginManager::getPlugin(name, OX_LOCATION_DELEGATE_API,
                                                     OX_LOCATION_DELEGATE_API_VERSION);
        delegates.table.add(
            static_cast<Suite*>(const_cast<void*>(PluginManager::getPluginSuite(plugin))));
    }
    delegates.isInitialized = true;
}

void OxScenegraphLocationDelegateCache::initializeCache() {
    Delegates& delegates = GetDelegates();
    if (delegates.isInitialized) return;
    // Load the plug-ins before the lock is taken. Otherwise a plug-in that asks for delegates while
    // it is loaded by another thread would wait here for a thread that waits for it.
    NamesOfPlugins();
    const std::lock_guard<std::recursive_mutex> guard(delegates.lock);
    if (delegates.isInitialized || delegates.isBeingWritten) return;
    struct ClearAtEnd {
        bool& flag;
        ~ClearAtEnd() { flag = false; }
    } const clear{delegates.isBeingWritten = true};
    populate();
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
