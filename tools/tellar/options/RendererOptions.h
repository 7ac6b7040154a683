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

/// `options` must outlive the parsing. An empty name of the renderer stands for a recorded one.
void AddRendererOptions(CLI::App& command, RendererOptions& options);

/// Throws std::runtime_error naming -o when no picture could be written there.
void CheckPicture(const RendererOptions& options);

} // namespace TellarTool

#endif
