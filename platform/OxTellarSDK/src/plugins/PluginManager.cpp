#include <OxTellarSDK/PluginManager.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <memory>

#include <OxTellarSDK/StringUtil.h>

#include "PluginRegistry.h"
#include "SharedLibrary.h"
#include "files/PathList.h"

namespace OxPluginManager {

namespace {

constexpr const char* kPathVariable = "OX_PLUGIN_PATH";
constexpr const char* kBuiltInFolderName = "tellar-plugins";

// Something of this library whose address tells the loader which library this is.
const char libraryAnchor = 0;

std::vector<std::string> environmentFolders() {
    const char* path = std::getenv(kPathVariable);
    if (!path) return {};
    return OxStringUtil::split(path, std::string(1, TellarInternal::kPathListSeparator));
}

// The host that was set last; the registry may be made after that, when there was no memory for it.
std::atomic<OxPluginHost*> processHost{nullptr};

PluginRegistry& registry() {
    static PluginRegistry* const registry = [] {
        auto made = std::make_unique<PluginRegistry>(
            environmentFolders(), PluginManager::installedFolder(kBuiltInFolderName));
        made->setHost(processHost);
        return made.release();
    }();
    return *registry;
}

} // namespace

void PluginManager::getPluginNames(const std::string& apiName, std::vector<std::string>& names,
                                   unsigned int apiVersion) {
    names = registry().pluginNames(apiName, apiVersion);
}

PluginHandle PluginManager::getPlugin(const std::string& name, const std::string& apiName,
                                      unsigned int apiVersion) {
    return registry().plugin(name, apiName, apiVersion);
}

const void* PluginManager::getPluginSuite(PluginHandle plugin) {
    return registry().pluginSuite(plugin);
}

std::string PluginManager::getPluginPath(PluginHandle plugin) {
    return registry().pluginPath(plugin);
}

void PluginManager::getApiNames(std::vector<std::string>& names) {
    names = registry().apiNames();
}

void PluginManager::getPluginApiVersions(const std::string& apiName,
                                         std::vector<unsigned int>& versions) {
    versions = registry().apiVersions(apiName);
}

void PluginManager::flushSpecificPluginCache(PluginHandle plugin) {
    registry().flush(plugin);
}

void PluginManager::addSearchPath(const std::string& path) {
    registry().addFolder(path);
}

std::vector<std::string> PluginManager::searchPaths() {
    return registry().folders();
}

std::string PluginManager::installedFolder(const std::string& name) {
    const std::filesystem::path library = SharedLibrary::fileContaining(&libraryAnchor);
    if (library.empty()) return {};
    return (library.parent_path() / name).string();
}

std::vector<RefusedPlugin> PluginManager::refused() {
    return registry().refusedPlugins();
}

void PluginManager::refuse(PluginHandle plugin, const std::string& reason) {
    registry().refuse(plugin, reason);
}

void PluginManager::setHost(OxPluginHost* host) {
    processHost = host;
    registry().setHost(host);
}

} // namespace OxPluginManager
