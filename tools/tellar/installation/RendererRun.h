#ifndef TELLAR_TOOL_RENDERERRUN_H
#define TELLAR_TOOL_RENDERERRUN_H

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <OxTellarProducers/OxRendererPluginSuite.h>

namespace TellarTool {

/// Prints the path of a picture, in one line of standard output.
void PrintPicturePath(const std::string& picture);

/// A part of a renderer's work that stands for itself, such as one of several frames.
struct RendererTask {
    /// Shown beside the progress; may be empty.
    std::string name;
    /// Calls the renderer with the listener and returns its OxRenderStatus.
    std::function<int(const OxRenderListener_v1& listener)> work;
    /// Asked by any thread while the work goes on, and once more after it. A text cancels the work,
    /// of which no picture is delivered, and is the error. May be empty.
    std::function<std::optional<std::string>()> failure = nullptr;
    /// Returns what a warning of the renderer does not tell, or nothing. Called for each warning
    /// that is shown, on any thread. May be empty.
    std::function<std::string(const std::string& warning)> explain = nullptr;
    /// Called with the path of each picture of the task once the work has returned.
    std::function<void(const std::string& picture)> deliver = PrintPicturePath;
};

/// Runs the tasks of a renderer one by one. Meanwhile the progress of all of them together, the
/// renderer's messages and the library's warnings and errors go to standard error. SIGINT asks the
/// renderer to write the picture so far, SIGTERM to stop. The first task that fails or is stopped
/// is the last one.
///
/// Throws Stopped when the renderer has stopped for a signal, and std::runtime_error with the
/// renderer's last error when it has failed, or with the text of RendererTask::failure.
void RunRenderer(const std::string& renderer, bool isVerbose,
                 const std::vector<RendererTask>& tasks);

} // namespace TellarTool

#endif
