#include <OxTellarProducers/OxScenegraphLocationDelegateCache.h>

#include <atomic>
#include <mutex>

#include <OxTellarSDK/PluginManager.h>

#include "LocationDelegates.h"

using OxPluginManager::PluginManager;

namespace TELLAR {

namespace {

using Suite = OxScenegraphLocationDelegatePluginSuite_v1;

/// The table is written under the lock before the flag is set, and never again: it is read
/// without it.
struct Delegates {
    LocationDelegates table;
    std::atomic<bool> isInitialized{false};
    std::mutex lock;
};

Delegates& GetDelegates() {
    static auto* const delegates = new Delegates;
    return *delegates;
}

Suite* FindDelegate(const std::string& pluginName) {
    const auto plugin = PluginManager::getPlugin(pluginName, OX_LOCATION_DELEGATE_API,
                                                 OX_LOCATION_DELEGATE_API_VERSION);
    return static_cast<Suite*>(const_cast<void*>(PluginManager::getPluginSuite(plugin)));
}

} // namespace

void OxScenegraphLocationDelegateCache::populate() {
    Delegates& delegates = GetDelegates();
    if (delegates.isInitialized) return;
    std::vector<std::string> names;
    PluginManager::getPluginNames(OX_LOCATION_DELEGATE_API, names,
                                  OX_LOCATION_DELEGATE_API_VERSION);
    for (const std::string& name : names)
        delegates.table.add(FindDelegate(name));
    delegates.isInitialized = true;
}

void OxScenegraphLocationDelegateCache::initializeCache() {
    Delegates& delegates = GetDelegates();
    if (delegates.isInitialized) return;
    const std::lock_guard<std::mutex> guard(delegates.lock);
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
