#include "Renderers.h"

#include <algorithm>
#include <filesystem>
#include <stdexcept>
#include <system_error>
#include <vector>

#include <OxTellarSDK/PluginManager.h>

namespace TellarTool {

using OxPluginManager::PluginManager;

namespace {

constexpr const char* kFolderName = "tellar-renderers";

/// A list of the renderers as a clause: there are "a" and "b".
std::string WhatThereIs() {
    std::vector<std::string> names;
    PluginManager::getPluginNames(OX_RENDERER_API, names, OX_RENDERER_API_VERSION);
    if (names.empty()) return "there are none";
    std::sort(names.begin(), names.end());
    std::string text = names.size() > 1 ? "there are " : "there is ";
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (i > 0) text += i + 1 < names.size() ? ", " : " and ";
        text += '"' + names[i] + '"';
    }
    return text;
}

} // namespace

void AddRendererFolder() {
    const std::string folder = PluginManager::installedFolder(kFolderName);
    std::error_code ignored;
    if (std::filesystem::is_directory(folder, ignored)) PluginManager::addSearchPath(folder);
}

Renderer FindRenderer(const std::string& name) {
    const auto plugin = PluginManager::getPlugin(name, OX_RENDERER_API, OX_RENDERER_API_VERSION);
    if (!plugin)
        throw std::runtime_error("--renderer: there is no renderer \"" + name + "\"; " +
                                 WhatThereIs());
    const auto* const suite =
        static_cast<const OxRendererPluginSuite_v1*>(PluginManager::getPluginSuite(plugin));
    if (!suite || !suite->render)
        throw std::runtime_error("--renderer: the plug-in \"" + name + "\" (" +
                                 PluginManager::getPluginPath(plugin) + ") has no functions");
    return {name, suite};
}

} // namespace TellarTool
