#ifndef TELLAR_TOOL_RENDERERRUN_H
#define TELLAR_TOOL_RENDERERRUN_H

#include <functional>
#include <string>

#include <OxTellarProducers/OxRendererPluginSuite.h>

namespace TellarTool {

/// Runs a renderer: `work` calls it with the listener and returns its OxRenderStatus. Meanwhile
/// progress, the renderer's messages and the library's warnings and errors go to standard error.
/// The paths of the pictures go to standard output at the end. SIGINT asks the renderer to write the
/// picture so far, SIGTERM to stop.
///
/// Throws Stopped when the renderer has stopped for a signal, and std::runtime_error with the
/// renderer's last error when it has failed.
void RunRenderer(const std::string& renderer, bool isVerbose,
                 const std::function<int(const OxRenderListener_v1& listener)>& work);

} // namespace TellarTool

#endif
