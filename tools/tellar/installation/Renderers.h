#ifndef TELLAR_TOOL_RENDERERS_H
#define TELLAR_TOOL_RENDERERS_H

#include <string>

#include <OxTellarProducers/OxRendererPluginSuite.h>

namespace TellarTool {

/// What --renderer means when it is not given.
constexpr const char* kDefaultRenderer = "lantern";

struct Renderer {
    std::string name;
    const OxRendererPluginSuite_v1* suite = nullptr; ///< lives as long as the process
};

/// Has the plug-in manager search the folder with the renderers of the installation, if there is
/// one. What they need is large, so it is not searched by every subcommand.
void AddRendererFolder();

/// Throws std::runtime_error naming the renderers that there are when there is none of this name.
Renderer FindRenderer(const std::string& name);

} // namespace TellarTool

#endif
