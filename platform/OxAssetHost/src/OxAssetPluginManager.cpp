#include <OxAssetHost/OxAssetPluginManager.h>

#include <mutex>
#include <utility>

#include "DefaultAssetPlugin.h"

namespace {

using PluginPointer = std::shared_ptr<const OxAssetPlugin>;

// The plug-in in use. Never null; replaced and copied under the lock, destroyed outside of it.
struct DefaultPlugin {
    std::mutex mutex;
    PluginPointer plugin;
};

const PluginPointer& BuiltInPlugin() {
    static const auto* const plugin =
        new PluginPointer(std::make_shared<const DefaultAssetPlugin>());
    return *plugin;
}

DefaultPlugin& GetDefaultPlugin() {
    static auto* const current = new DefaultPlugin{{}, BuiltInPlugin()};
    return *current;
}

} // namespace

OxAssetPlugin::~OxAssetPlugin() = default;

std::shared_ptr<const OxAssetPlugin> OxAssetPluginManager::getDefaultAssetPlugin() {
    DefaultPlugin& current = GetDefaultPlugin();
    const std::lock_guard<std::mutex> lock(current.mutex);
    return current.plugin;
}

void OxAssetPluginManager::setDefaultAssetPlugin(std::shared_ptr<const OxAssetPlugin> plugin) {
    if (!plugin) plugin = BuiltInPlugin();
    DefaultPlugin& current = GetDefaultPlugin();
    const std::lock_guard<std::mutex> lock(current.mutex);
    // The parameter now holds the previous plug-in and destroys it after the lock is released,
    // because its destructor may ask for the default plug-in.
    current.plugin.swap(plugin);
}
