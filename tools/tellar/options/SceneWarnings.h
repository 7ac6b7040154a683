#ifndef TELLAR_TOOL_SCENEWARNINGS_H
#define TELLAR_TOOL_SCENEWARNINGS_H

#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

#include <OxLoggingHost/OxLoggerGlue.h>

#include "Scene.h"

namespace CLI {
class App;
}

namespace TellarTool {

/// The option --strict.
void AddStrict(CLI::App& command, bool& isStrict);

/// Prints a line unless it was printed before.
void PrintWarning(const std::string& line);

/// Throws ProblemsFound if there were any warnings and they are errors.
void EndIfStrict(bool isStrict);

/// The warnings about a scene: what its op types say of its ops, and, while this object lives, what
/// the library logs unless the user asks for log messages. The latter wait until the former are
/// printed, because they may be about the same files and say less. Nothing is printed when the
/// command fails.
class SceneWarnings {
public:
    explicit SceneWarnings(bool isStrict);
    ~SceneWarnings();
    SceneWarnings(const SceneWarnings&) = delete;
    SceneWarnings& operator=(const SceneWarnings&) = delete;

    /// Asks the op types, each for no more than so many locations, and prints. Then throws
    /// ProblemsFound if there were any warnings and --strict is given.
    void check(const Scene& scene, std::uint64_t mostLocations = UINT64_MAX);

    /// Prints what waits. Throws as check does.
    void finish();

private:
    void take(const OxLogMessage& message);
    void printWaiting();

    const bool isStrict;
    const bool isListening;
    OxLogSink previous;
    std::mutex lock;
    std::vector<std::string> waiting; // guarded by lock
};

} // namespace TellarTool

#endif
