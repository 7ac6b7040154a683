#include <OxTellarProducers/OxScenegraphLocationDelegateCache.h>

#include <atomic>
#include <map>
#include <mutex>
#include <string_view>

#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/PluginManager.h>

using OxAttribute::Attribute;
using OxAttribute::StringAttribute;
using OxPluginManager::PluginManager;

namespace TELLAR {

namespace {

using Suite = OxScenegraphLocationDelegatePluginSuite_v1;
using SuitesByType = std::map<std::string, Suite*>;

/// The tables are written under the lock before the flag is set, and never again: they are read
/// without it.
struct Delegates {
    std::map<std::string, SuitesByType> byRenderer;
    SuitesByType forAllRenderers;
    std::atomic<bool> isInitialized{false};
    std::mutex lock;
};

Delegates& GetDelegates() {
    static auto* const delegates = new Delegates;
    return *delegates;
}

/// Null when the renderer has none.
const SuitesByType* FindSuites(const std::string& rendererName) {
    const Delegates& delegates = GetDelegates();
    if (rendererName.empty()) return &delegates.forAllRenderers;
    const auto found = delegates.byRenderer.find(rendererName);
    return found == delegates.byRenderer.end() ? nullptr : &found->second;
}

Suite* FindDelegate(const std::string& pluginName) {
    const auto plugin = PluginManager::getPlugin(pluginName, OX_LOCATION_DELEGATE_API,
                                                 OX_LOCATION_DELEGATE_API_VERSION);
    return static_cast<Suite*>(const_cast<void*>(PluginManager::getPluginSuite(plugin)));
}

/// A table with holes among the entries that are called here is as good as none.
bool IsUsable(const Suite* suite) {
    return suite && suite->create && suite->getSupportedRenderer &&
           suite->getSupportedLocationTypes;
}

StringAttribute Taken(OxAttributeStruct* attribute) {
    return Attribute::CreateAndSteal(attribute);
}

} // namespace

void OxScenegraphLocationDelegateCache::populate() {
    Delegates& delegates = GetDelegates();
    if (delegates.isInitialized) return;
    std::vector<std::string> names;
    PluginManager::getPluginNames(OX_LOCATION_DELEGATE_API, names,
                                  OX_LOCATION_DELEGATE_API_VERSION);
    for (const std::string& name : names) {
        Suite* const suite = FindDelegate(name);
        if (!IsUsable(suite)) continue;
        const OxLocationDelegateInstance instance = suite->create();
        const StringAttribute types = Taken(suite->getSupportedLocationTypes(instance));
        const std::string renderer =
            Taken(suite->getSupportedRenderer(instance)).getValue("", false);
        SuitesByType& suites =
            renderer.empty() ? delegates.forAllRenderers : delegates.byRenderer[renderer];
        for (const std::string_view type : types.getNearestSample(0.0f))
            suites.emplace(type, suite);
    }
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
    const SuitesByType* const suites = FindSuites(rendererName);
    if (!suites) return nullptr;
    const auto found = suites->find(locationType);
    return found == suites->end() ? nullptr : found->second;
}

void OxScenegraphLocationDelegateCache::getLocationTypesWithDelegates(
    std::vector<std::string>& out, const std::string& rendererName) {
    out.clear();
    initializeCache();
    const SuitesByType* const suites = FindSuites(rendererName);
    if (!suites) return;
    for (const auto& entry : *suites)
        out.push_back(entry.first);
}

} // namespace TELLAR
