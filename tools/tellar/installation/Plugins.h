#ifndef TELLAR_TOOL_PLUGINS_H
#define TELLAR_TOOL_PLUGINS_H

#include <string>
#include <vector>

namespace TellarTool {

/// Makes the host with the library's suites that plug-ins are given as they are loaded; to be
/// called before anything asks for a plug-in that needs it. Throws std::runtime_error.
void SetUpPluginHost();

struct FoundPlugin {
    std::string name;
    std::string apiName;
    unsigned int apiVersion = 0;
    std::string file; ///< the library that it is in
};

/// All that can be used, by API and version in the order found.
std::vector<FoundPlugin> GetPlugins();

} // namespace TellarTool

#endif
