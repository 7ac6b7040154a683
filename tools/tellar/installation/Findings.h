#ifndef TELLAR_TOOL_FINDINGS_H
#define TELLAR_TOOL_FINDINGS_H

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include <OxTellarSDK/OpType.h>
#include <OxTellarSDK/PluginManager.h>

#include "LoadedLibraries.h"
#include "Plugins.h"

namespace TellarTool {

/// A name and its value.
using Setting = std::pair<std::string, std::string>;

/// Everything that `tellar doctor` prints about an installation.
struct Findings {
    std::vector<LoadedLibrary> libraries;
    std::vector<std::string> pluginFolders;
    std::vector<FoundPlugin> plugins;
    std::vector<OxPluginManager::RefusedPlugin> refused;
    std::vector<const OxOpType::Description*> opTypes;
    std::vector<std::string> configurationFiles; // only those that are used
    std::vector<Setting> configuration;
    std::vector<Setting> environment;
    std::string resolutionFile; // empty: the built-in formats alone
    std::size_t resolutionCount = 0;
    std::vector<std::string> problems; // sentences
};

/// Examines the installation that this process runs from: loads the plug-ins and reads the
/// configuration again. From then on warnings and errors are collected instead of printed. Throws
/// std::runtime_error when there is no plug-in host.
Findings Examine();

} // namespace TellarTool

#endif
