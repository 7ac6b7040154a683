#ifndef TELLAR_TOOL_RENDEREROPTIONS_H
#define TELLAR_TOOL_RENDEREROPTIONS_H

#include <string>

#include "Renderers.h"

namespace CLI {
class App;
}

namespace TellarTool {

/// The options of commands that run a renderer.
struct RendererOptions {
    std::string picture;
    std::string renderer = kDefaultRenderer;
    bool isVerbose = false;
};

// The options of the following must outlive the parsing. An empty name of the renderer stands for a
// recorded one.

/// The required option -o, and those of AddRenderer.
void AddRendererOptions(CLI::App& command, RendererOptions& options);
/// The options --renderer and --verbose.
void AddRenderer(CLI::App& command, RendererOptions& options);

/// Throws std::runtime_error naming the option when no picture could be written there.
void CheckPicture(const RendererOptions& options, const std::string& option = "-o");

} // namespace TellarTool

#endif
