// The tellar command: adds all subcommands, runs the one that is given, and turns its errors into
// one line and an exit status.

#include <exception>
#include <mutex>
#include <new>
#include <string>
#include <system_error>
#include <vector>

#include <CLI/CLI.hpp>
#include <OxLoggingHost/OxLoggerGlue.h>
#include <OxTellarSDK/PluginManager.h>

#include "MemoryOption.h"
#include "NoMemory.h"
#include "Output.h"
#include "Process.h"
#include "StopSignals.h"
#include "Subcommands.h"
#include "Terminal.h"
#include "UsageHint.h"

namespace TellarTool {

namespace {

constexpr int kProblemsFound = 1;
constexpr int kStopped = 128; // the exit status adds the number of the signal

constexpr const char* kExamples = R"(Examples:
  tellar walk examples/garden.json
  tellar camera examples/garden.json
  tellar render examples/garden.json -o garden.png
  tellar convert scene.json scene.oxop
  tellar ops Array
"tellar help walk" and so on tell more.)";

/// Keeps the first error that the library logs, which the command's own error then ends with.
/// Does nothing when the user asks for log messages.
class FirstLoggedError {
public:
    static void capture() {
        if (AreLogMessagesWanted()) return;
        OxLoggingSetSink([](const OxLogMessage& message) {
            FirstLoggedError& first = get();
            const std::lock_guard<std::mutex> guard(first.lock);
            if (!first.text.empty() || message.level < OxLogLevel::error) return;
            try {
                first.text = message.text;
            } catch (const std::bad_alloc&) { // the command's own error is enough
            }
        });
    }

    static std::string getText() {
        FirstLoggedError& first = get();
        const std::lock_guard<std::mutex> guard(first.lock);
        return first.text;
    }

private:
    /// Never destroyed, because threads of the library may log until the process ends.
    static FirstLoggedError& get() {
        static auto* const first = new FirstLoggedError;
        return *first;
    }

    std::mutex lock;
    std::string text; // guarded by lock
};

/// Whether a missing plug-in can be the reason of the error.
bool IsAboutPlugins(const std::string& error) {
    return error.find("no op type") != std::string::npos ||
           error.find("there is no renderer") != std::string::npos;
}

/// Adds a likely reason: a plug-in that could not be loaded, or the first error that the library
/// logged.
std::string Explain(const std::string& error) {
    const auto refused = OxPluginManager::PluginManager::refused();
    if (IsAboutPlugins(error) && !refused.empty())
        return error + " (plug-in passed over: " + refused.front().file + ": " +
               refused.front().reason + ")";
    const std::string logged = FirstLoggedError::getText();
    return logged.empty() ? error : error + " (" + logged + ")";
}

int Fail(const std::string& message) {
    WriteErrorLine(message);
    return kBadInput;
}

void AddCommands(CLI::App& app) {
    AddWalkCommand(app);
    AddCheckCommand(app);
    AddCameraCommand(app);
    AddProjectCommand(app);
    AddProceduralCommand(app);
    AddMaterialCommand(app);
    AddTexturesCommand(app);
    AddWhyCommand(app);
    AddRenderCommand(app);
    AddReplayCommand(app);
    AddSettingsCommand(app);
    AddStitchCommand(app);
    AddTilePathCommand(app);
    AddConvertCommand(app);
    AddDiffCommand(app);
    AddDepsCommand(app);
    AddPackCommand(app);
    AddUsdCommand(app);
    AddOpsCommand(app);
    AddDelegatesCommand(app);
    AddProfileCommand(app);
    AddConformCommand(app);
    AddDoctorCommand(app);
    AddHelpCommands(app);
    AddMemoryOption(app);
}

/// Returns the exit status. Throws std::bad_alloc.
int Main(int argc, char** argv) {
    CLI::App app("Looks into 3D scenes that are graphs of operations.", "tellar");
    app.set_version_flag("--version", "tellar " TELLAR_VERSION);
    app.require_subcommand(1);
    app.footer(kExamples);
    AddCommands(app);
    IgnoreClosedPipes();
    FirstLoggedError::capture();
    try {
        app.parse(argc, argv); // runs the subcommand
        return 0;
    } catch (const CLI::Success& wanted) { // --help and --version
        return app.exit(wanted);
    } catch (const CLI::ParseError& error) {
        const std::vector<std::string> arguments(argv + 1, argv + argc);
        const std::string complaint = ComplaintAboutSubcommand(app, arguments);
        if (!complaint.empty()) return Fail(complaint);
        return Fail(error.what() + HintAboutOptions(app, arguments));
    } catch (const ProblemsFound&) {
        return kProblemsFound;
    } catch (const Stopped& stopped) {
        WriteErrorLine("stopped; " + stopped.outcome);
        return kStopped + stopped.signal;
    } catch (const OutputClosed&) {
        return 0;
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::system_error& error) {
        const bool isThread = error.code() == std::errc::resource_unavailable_try_again;
        return Fail(Explain((isThread ? "no more threads can be started: " : "") +
                            std::string(error.what())));
    } catch (const std::exception& error) {
        return Fail(Explain(error.what()));
    }
}

} // namespace

} // namespace TellarTool

int main(int argc, char** argv) {
    TellarTool::LetNoMemoryThrow();
    int status = TellarTool::kBadInput;
    try {
        status = TellarTool::Main(argc, argv);
    } catch (const std::bad_alloc&) { // may also be thrown while an error was being printed
        TellarTool::WriteNoMemoryLine();
    }
    TellarTool::LetNoMemoryEnd();
    return status;
}
