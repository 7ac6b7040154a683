#ifndef TELLAR_TOOL_PLUGINS_H
#define TELLAR_TOOL_PLUGINS_H

#include <string>
#include <vector>

namespace TellarTool {

/// Registers the library's suites with the host that plug-ins get when they are loaded. Call
/// this before the first plug-in that needs them is loaded. Throws std::runtime_error.
void SetUpPluginHost();

struct FoundPlugin {
    std::string name;
    std::string apiName;
    unsigned int apiVersion = 0;
    std::string file; ///< its library
};

/// All plug-ins that can be used, grouped by API and version, in the order found.
std::vector<FoundPlugin> GetPlugins();

} // namespace TellarTool

#endif
