#include "Plugins.h"

#include <stdexcept>

#include <OxPluginHost/OxPluginHost.h>
#include <OxTellarProducers/OxTellarProducersInitialize.h>
#include <OxTellarSDK/PluginManager.h>

namespace TellarTool {

using OxPluginManager::PluginManager;

namespace {

void AppendPlugins(std::vector<FoundPlugin>& plugins, const std::string& apiName,
                   unsigned int version) {
    std::vector<std::string> names;
    PluginManager::getPluginNames(apiName, names, version);
    for (const std::string& name : names) {
        const auto plugin = PluginManager::getPlugin(name, apiName, version);
        plugins.push_back({name, apiName, version, PluginManager::getPluginPath(plugin)});
    }
}

} // namespace

void SetUpPluginHost() {
    const int status = OxTellarProducersInitialize(OxGetPluginHost());
    if (status != 0)
        throw std::runtime_error("the plug-in host does not take the library's suites (status " +
                                 std::to_string(status) + ")");
}

std::vector<FoundPlugin> GetPlugins() {
    std::vector<std::string> apiNames;
    PluginManager::getApiNames(apiNames);
    std::vector<FoundPlugin> plugins;
    for (const std::string& apiName : apiNames) {
        std::vector<unsigned int> versions;
        PluginManager::getPluginApiVersions(apiName, versions);
        for (const unsigned int version : versions)
            AppendPlugins(plugins, apiName, version);
    }
    return plugins;
}

} // namespace TellarTool
