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

/// Adds the option --strict.
void AddStrict(CLI::App& command, bool& isStrict);

/// Prints a line unless it was printed before.
void PrintWarning(const std::string& line);

/// Throws ProblemsFound if `isStrict` and there were any warnings.
void EndIfStrict(bool isStrict);

/// Prints the warnings about a scene: those of its op types, and the messages that the library logs
/// while this object lives, unless the user asks for log messages. Logged messages wait until the
/// warnings of the op types are printed, because they may be about the same files and say less.
/// Nothing is printed when the command fails.
class SceneWarnings {
public:
    explicit SceneWarnings(bool isStrict);
    ~SceneWarnings();
    SceneWarnings(const SceneWarnings&) = delete;
    SceneWarnings& operator=(const SceneWarnings&) = delete;

    /// Prints the warnings of the op types, each of which may cook `mostLocations`. Then throws
    /// ProblemsFound if there were any warnings and --strict is given.
    void check(const Scene& scene, std::uint64_t mostLocations = UINT64_MAX);

    /// Prints the waiting messages. Throws as check does.
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
