#ifndef TELLAR_TOOL_RENDERERRUN_H
#define TELLAR_TOOL_RENDERERRUN_H

#include <functional>
#include <string>

#include <OxTellarProducers/OxRendererPluginSuite.h>

namespace TellarTool {

/// Has a renderer work: `work` passes the listener on and returns an OxRenderStatus. Meanwhile
/// progress and messages go to standard error, the latter with what the library logs; the paths of
/// the pictures go to standard output at the end. SIGINT and SIGTERM ask the renderer to stop.
///
/// Throws Stopped when it did, and std::runtime_error with the renderer's last error when it
/// failed.
void RunRenderer(const std::string& renderer, bool isVerbose,
                 const std::function<int(const OxRenderListener_v1& listener)>& work);

} // namespace TellarTool

#endif
