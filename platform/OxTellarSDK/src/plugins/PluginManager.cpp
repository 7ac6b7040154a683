#include <OxTellarSDK/PluginManager.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <memory>

#include <OxTellarSDK/StringUtil.h>
#include <OxTellarSDK/SuiteFilter.h>

#include "PluginRegistry.h"
#include "SharedLibrary.h"
#include "files/PathList.h"

namespace OxPluginManager {

namespace {

constexpr const char* kPathVariable = "OX_PLUGIN_PATH";
constexpr const char* kBuiltInFolderName = "tellar-plugins";

// Its address tells the loader which library this is.
const char libraryAnchor = 0;

std::vector<std::string> EnvironmentFolders() {
    const char* path = std::getenv(kPathVariable);
    if (!path) return {};
    return OxStringUtil::split(path, std::string(1, TellarInternal::kPathListSeparator));
}

// The host that was set last. The registry may be made later, when memory was short before.
std::atomic<OxPluginHost*> processHost{nullptr};

PluginRegistry& GetRegistry() {
    static PluginRegistry* const registry = [] {
        auto made = std::make_unique<PluginRegistry>(
            EnvironmentFolders(), PluginManager::installedFolder(kBuiltInFolderName));
        made->setHost(processHost);
        return made.release();
    }();
    return *registry;
}

} // namespace

void PluginManager::getPluginNames(const std::string& apiName, std::vector<std::string>& names,
                                   unsigned int apiVersion) {
    names = GetRegistry().pluginNames(apiName, apiVersion);
}

PluginHandle PluginManager::getPlugin(const std::string& name, const std::string& apiName,
                                      unsigned int apiVersion) {
    return GetRegistry().plugin(name, apiName, apiVersion);
}

const void* PluginManager::getPluginSuite(PluginHandle plugin) {
    const void* const suite = GetRegistry().pluginSuite(plugin);
    if (!suite) return nullptr;
    return FilteredSuite({plugin->name, plugin->apiName, plugin->apiVersion, suite});
}

std::string PluginManager::getPluginPath(PluginHandle plugin) {
    return GetRegistry().pluginPath(plugin);
}

void PluginManager::getApiNames(std::vector<std::string>& names) {
    names = GetRegistry().apiNames();
}

void PluginManager::getPluginApiVersions(const std::string& apiName,
                                         std::vector<unsigned int>& versions) {
    versions = GetRegistry().apiVersions(apiName);
}

void PluginManager::flushSpecificPluginCache(PluginHandle plugin) {
    GetRegistry().flush(plugin);
}

void PluginManager::addSearchPath(const std::string& path) {
    GetRegistry().addFolder(path);
}

std::vector<std::string> PluginManager::searchPaths() {
    return GetRegistry().folders();
}

std::string PluginManager::installedFolder(const std::string& name) {
    const std::filesystem::path library = SharedLibrary::fileContaining(&libraryAnchor);
    if (library.empty()) return {};
    return (library.parent_path() / name).string();
}

std::vector<RefusedPlugin> PluginManager::refused() {
    return GetRegistry().refusedPlugins();
}

void PluginManager::refuse(PluginHandle plugin, const std::string& reason) {
    GetRegistry().refuse(plugin, reason);
}

void PluginManager::setHost(OxPluginHost* host) {
    processHost = host;
    GetRegistry().setHost(host);
}

} // namespace OxPluginManager
