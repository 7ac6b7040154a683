#ifndef TELLAR_TOOL_RENDERERS_H
#define TELLAR_TOOL_RENDERERS_H

#include <string>

#include <OxTellarProducers/OxRendererPluginSuite.h>

namespace TellarTool {

/// The renderer when --renderer is not given.
constexpr const char* kDefaultRenderer = "lantern";

struct Renderer {
    std::string name;
    const OxRendererPluginSuite_v1* suite = nullptr; ///< lives as long as the process
};

/// Adds the installation's folder of renderers, if there is one, to the plug-in path. Only commands
/// that use renderers do so, because the libraries that renderers load are large.
void AddRendererFolder();

/// Throws std::runtime_error with the names of all renderers when there is none of this name.
Renderer FindRenderer(const std::string& name);

} // namespace TellarTool

#endif
