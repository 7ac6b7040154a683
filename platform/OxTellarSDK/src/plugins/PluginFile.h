#ifndef OXTELLARSDK_PLUGINFILE_H
#define OXTELLARSDK_PLUGINFILE_H

#include <string>
#include <system_error>
#include <vector>

#include <OxTellarSDK/PluginManager.h>

namespace OxPluginManager {

/// A plug-in that passed all checks. The texts are copies, so that later changes of the record do
/// not matter.
struct PluginEntry {
    PluginHandle record = nullptr;
    std::string name;
    std::string apiName;
    unsigned int apiVersion = 0;
    std::string file;
};

/// The loadable modules in a folder, in alphabetical order. Assigns the system's reason to `code`
/// when the folder cannot be read.
std::vector<std::string> ModuleFilesIn(const std::string& folder, std::error_code& code);

/// Loads a file and appends its plug-ins. Returns the file's fault, or an empty text. When one
/// record has a fault, the others of the file are not to be used either.
std::string ReadPlugins(const std::string& file, std::vector<PluginEntry>& plugins);

/// Gives the host to a plug-in. Returns why the plug-in does not accept it, or an empty text.
std::string HostRefusal(const PluginEntry& plugin, OxPluginHost* host);

} // namespace OxPluginManager

#endif
