// The tellar command: what all of its subcommands have in common, above all what an error looks
// like. Each of them has a file of its own.

#include <cstdlib>
#include <exception>
#include <mutex>
#include <new>
#include <string>

#include <CLI/CLI.hpp>
#include <OxLoggingHost/OxLoggerGlue.h>
#include <OxTellarSDK/PluginManager.h>

#include "NoMemory.h"
#include "Output.h"
#include "StopSignals.h"
#include "Subcommands.h"
#include "Terminal.h"

namespace TellarTool {

namespace {

constexpr int kProblemsFound = 1;
constexpr int kStopped = 128; // and the number of the signal

constexpr const char* kExamples = R"(Examples:
  tellar walk examples/garden.json
  tellar camera examples/garden.json
  tellar render examples/garden.json -o garden.png
  tellar convert scene.json scene.oxop
  tellar ops Array
"tellar walk --help" and so on tell more.)";

/// Keeps the first error that the library logs instead of printing it, for the command's own
/// error to end with. Messages stay where they are when OX_LOG_LEVEL asks for them.
class FirstLoggedError {
public:
    static void capture() {
        const char* level = std::getenv("OX_LOG_LEVEL");
        if (level && *level) return;
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
    /// Never destroyed: threads of the library may log to the end.
    static FirstLoggedError& get() {
        static auto* const first = new FirstLoggedError;
        return *first;
    }

    std::mutex lock;
    std::string text; // guarded by lock
};

/// Whether the error is about something that a plug-in would have.
bool IsAboutPlugins(const std::string& error) {
    return error.find("no op type") != std::string::npos ||
           error.find("there is no renderer") != std::string::npos;
}

/// What may be behind an error that does not tell: what is missed may be in a plug-in that could
/// not be loaded, and the library logs why it has no client.
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

int Main(int argc, char** argv) {
    CLI::App app("Looks into 3D scenes that are graphs of operations.", "tellar");
    app.set_version_flag("--version", "tellar " TELLAR_VERSION);
    app.require_subcommand(1);
    app.footer(kExamples);
    AddWalkCommand(app);
    AddCameraCommand(app);
    AddProjectCommand(app);
    AddProceduralCommand(app);
    AddMaterialCommand(app);
    AddTexturesCommand(app);
    AddRenderCommand(app);
    AddStitchCommand(app);
    AddTilePathCommand(app);
    AddConvertCommand(app);
    AddOpsCommand(app);
    AddDelegatesCommand(app);
    AddDoctorCommand(app);
    IgnoreClosedPipes();
    FirstLoggedError::capture();
    try {
        app.parse(argc, argv); // and runs the subcommand
        return 0;
    } catch (const CLI::Success& wanted) { // --help and --version
        return app.exit(wanted);
    } catch (const CLI::ParseError& error) {
        return Fail(error.what());
    } catch (const ProblemsFound&) {
        return kProblemsFound;
    } catch (const Stopped& stopped) {
        WriteErrorLine("stopped; no picture was written");
        return kStopped + stopped.signal;
    } catch (const OutputClosed&) {
        return 0;
    } catch (const std::bad_alloc&) {
        throw;
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
    } catch (const std::bad_alloc&) { // also when there was none for telling of an error
        TellarTool::WriteNoMemoryLine();
    }
    TellarTool::LetNoMemoryEnd();
    return status;
}
