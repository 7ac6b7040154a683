#ifndef TELLAR_TOOL_RENDERERRUN_H
#define TELLAR_TOOL_RENDERERRUN_H

#include <functional>
#include <string>

#include <OxTellarProducers/OxRendererPluginSuite.h>

#include "Renderers.h"

namespace CLI {
class App;
}

namespace TellarTool {

/// What the subcommands that have a renderer work have in common.
struct RendererOptions {
    std::string picture;
    std::string renderer = kDefaultRenderer;
    bool isVerbose = false;
};

void AddRendererOptions(CLI::App& command, RendererOptions& options);

/// Throws std::runtime_error naming -o when no picture could be written there.
void CheckPicture(const RendererOptions& options);

/// Has a renderer work: `work` passes the listener on and returns an OxRenderStatus. Meanwhile
/// progress and messages go to standard error, the latter with what the library logs; the paths of
/// the pictures go to standard output at the end. SIGINT and SIGTERM ask the renderer to stop.
///
/// Throws Stopped when it did, and std::runtime_error with the renderer's last error when it
/// failed.
void RunRenderer(const RendererOptions& options,
                 const std::function<int(const OxRenderListener_v1& listener)>& work);

} // namespace TellarTool

#endif
