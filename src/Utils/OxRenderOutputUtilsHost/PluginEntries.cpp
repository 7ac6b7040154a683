#include "RenderOutputEntries.h"

#include <algorithm>

#include <OxTellarProducers/OxScenegraphLocationDelegateCache.h>
#include <OxTellarSDK/PluginManager.h>

namespace TELLAR::RenderOutputUtilsHost {

namespace {

using OxAttribute::StringAttribute;
using OxPluginManager::PluginManager;

/// Asks each plug-in of the API, in every version, to drop its caches.
void FlushPlugins(const std::string& apiName) {
    std::vector<std::string> names;
    PluginManager::getApiNames(names);
    if (std::find(names.begin(), names.end(), apiName) == names.end()) return;
    std::vector<unsigned int> versions;
    PluginManager::getPluginApiVersions(apiName, versions);
    for (const unsigned int version : versions) {
        PluginManager::getPluginNames(apiName, names, version);
        for (const std::string& name : names)
            PluginManager::flushSpecificPluginCache(
                PluginManager::getPlugin(name, apiName, version));
    }
}

void FlushRuntimePluginCaches() {
    Enter("flushRuntimePluginCaches", [] { FlushPlugins("TellarRuntime"); });
}

OxScenegraphLocationDelegatePluginSuite_v1* GetDelegate(const char* locationType,
                                                        const char* rendererName) {
    return Enter("getLocationDelegate", [&] {
        return OxScenegraphLocationDelegateCache::getPluginSuite(Text(locationType),
                                                                 Text(rendererName));
    });
}

OxAttributeStruct* GetDelegateTypes(const char* rendererName) {
    return Enter("getLocationTypesWithDelegates", [&] {
        std::vector<std::string> types;
        OxScenegraphLocationDelegateCache::getLocationTypesWithDelegates(types, Text(rendererName));
        return StringAttribute(types, 1).detach();
    });
}

} // namespace

void FillPluginSlots(Suite& suite) {
    TELLAR_SET_SLOT(suite, 1, flushRuntimePluginCaches, FlushRuntimePluginCaches);
    TELLAR_SET_SLOT(suite, 45, getLocationDelegate, GetDelegate);
    TELLAR_SET_SLOT(suite, 46, getLocationTypesWithDelegates, GetDelegateTypes);
}

} // namespace TELLAR::RenderOutputUtilsHost
