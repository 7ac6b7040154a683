// The tellar command. Here stand its options and what an error looks like; each subcommand has
// a file of its own.

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <limits>
#include <map>
#include <mutex>
#include <new>
#include <string>

#include <CLI/CLI.hpp>
#include <OxLoggingHost/OxLoggerGlue.h>
#include <OxTellarSDK/PluginManager.h>

#include "AttributeText.h"
#include "Convert.h"
#include "Ops.h"
#include "Output.h"
#include "Terminal.h"
#include "Walk.h"

namespace TellarTool {

namespace {

constexpr int kBadInput = 2;
constexpr std::size_t kMostThreads = 256;

constexpr const char* kExamples = R"(Examples:
  tellar walk examples/garden.json
  tellar convert scene.json scene.oxop
  tellar ops Array
"tellar walk --help" and so on tell more.)";

constexpr const char* kWalkExamples = R"(Examples:
  tellar walk examples/garden.json                  the scene as a tree
  tellar walk scene.oxop --at /root/world --depth 2
  tellar walk model.gltf --attrs=xform --xform      any scene file, with transforms
  tellar walk scene.json --json --attrs > locations.json
  tellar walk examples/million.json --stats --quiet --threads 2)";

constexpr const char* kConvertExamples = R"(Examples:
  tellar convert scene.json scene.oxop --compress
  tellar convert scene.oxop scene.json              to look at it, or change it by hand)";

constexpr const char* kOpsExamples = R"(Examples:
  tellar ops
  tellar ops Array                                  its inputs and arguments
  tellar ops --json)";

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
            if (first.text.empty() && message.level >= OxLogLevel::error) first.text = message.text;
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

/// What may be behind an error that does not tell: an op type that is missed may be in a
/// plug-in that could not be loaded, and the library logs why it has no client.
std::string Explain(const std::string& error) {
    const auto refused = OxPluginManager::PluginManager::refused();
    if (error.find("no op type") != std::string::npos && !refused.empty())
        return error + " (plug-in passed over: " + refused.front().file + ": " +
               refused.front().reason + ")";
    const std::string logged = FirstLoggedError::getText();
    return logged.empty() ? error : error + " (" + logged + ")";
}

/// One line, whatever is in the message.
int Fail(const std::string& message) {
    std::string line = "tellar: ";
    std::string flat = message;
    for (char& c : flat)
        if (c == '\n' || c == '\r' || c == '\t') c = ' ';
    while (!flat.empty() && flat.back() == ' ')
        flat.pop_back();
    AppendPrintable(line, flat);
    line += '\n';
    // What there was up to the error goes first; if it cannot be delivered, the error still can.
    std::fflush(stdout);
    std::fputs(line.c_str(), stderr);
    return kBadInput;
}

CLI::App* AddWalk(CLI::App& app, WalkOptions& options) {
    CLI::App* walk = app.add_subcommand("walk", "Print the locations of a scene as a tree");
    walk->add_option("SCENE", options.scene,
                     "An op file, an op-tree description (attribute stream or JSON), or any scene "
                     "file that the op type SceneImport reads")
        ->option_text(" ");
    walk->add_option("--at", options.start, "Start at this location instead of /root")
        ->option_text("PATH");
    walk->add_option("--depth", options.depth, "Go no more than this many levels down")
        ->check(CLI::Range(0, std::numeric_limits<int>::max()))
        ->option_text("N");
    walk->add_option("--attrs", options.attributes,
                     "Print all attributes, or one by its dotted name (write --attrs=NAME)")
        ->expected(0, 1)
        ->option_text("[NAME]");
    walk->add_flag("--xform", options.worldMatrix, "Print world matrices, at time 0");
    walk->add_flag("--json", options.json, "Print one JSON document instead of a tree");
    walk->add_option("--threads", options.threads,
                     "Walk with this many threads; the output is the same")
        ->check(CLI::Range(std::size_t(1), kMostThreads))
        ->option_text("N");
    const std::map<std::string, Variant> variants = {
        {"sync", Variant::Sync}, {"async", Variant::Async}, {"thread-aware", Variant::ThreadAware}};
    walk->add_option_function<std::string>(
            "--variant",
            [&options, variants](const std::string& name) { options.variant = variants.at(name); },
            "Kind of producers to walk with: sync, async or thread-aware (the default). Async "
            "ones cook nothing themselves: the scene is cooked by a sync walk first")
        ->check(CLI::IsMember({"sync", "async", "thread-aware"}))
        ->option_text("KIND");
    walk->add_flag("--stats", options.stats,
                   "Print number of locations, time, rate and peak memory at the end (to standard "
                   "error with --json)");
    walk->add_flag("--quiet", options.quiet, "Print no locations");
    walk->footer(kWalkExamples);
    return walk;
}

CLI::App* AddConvert(CLI::App& app, ConvertOptions& options) {
    CLI::App* convert = app.add_subcommand("convert", "Write an op tree in another form");
    convert
        ->add_option("IN", options.in,
                     "An op file or an op-tree description (attribute stream or JSON)")
        ->required()
        ->option_text(" ");
    convert
        ->add_option("OUT", options.out,
                     "The file to write; its extension tells the form: .json, .oxattr (attribute "
                     "stream) or .oxop (op file)")
        ->required()
        ->option_text(" ");
    convert
        ->add_option("--to", options.to, "The form, whatever the extension: json, attributes, ops")
        ->check(CLI::IsMember({"json", "attributes", "ops"}))
        ->option_text("FORM");
    convert->add_flag("--compress", options.compress, "Compress an attribute stream or op file");
    convert->footer(kConvertExamples);
    return convert;
}

CLI::App* AddOps(CLI::App& app, OpsOptions& options) {
    CLI::App* ops = app.add_subcommand("ops", "Tell which op types there are and what they take");
    ops->add_option("TYPE", options.type, "Tell about this one")->option_text(" ");
    ops->add_flag("--json", options.json, "Print JSON");
    ops->footer(kOpsExamples);
    return ops;
}

/// The one subcommand given. Only then are its options meant.
void Run(const CLI::App* given, const CLI::App* walk, const WalkOptions& walkOptions,
         const CLI::App* convert, const ConvertOptions& convertOptions,
         const OpsOptions& opsOptions) {
    if (given == walk) {
        // An optional value that follows an option is taken for its value.
        if (walkOptions.scene.empty())
            throw std::runtime_error(walk->count("--attrs") > 0
                                         ? "walk: no SCENE is given (write --attrs=NAME, or "
                                           "--attrs behind the scene)"
                                         : "walk: no SCENE is given");
        RunWalk(walkOptions);
    } else if (given == convert) {
        RunConvert(convertOptions);
    } else {
        RunOps(opsOptions);
    }
}

int Main(int argc, char** argv) {
    CLI::App app("Looks into 3D scenes that are graphs of operations.", "tellar");
    app.set_version_flag("--version", "tellar " TELLAR_VERSION);
    app.require_subcommand(1);
    app.footer(kExamples);
    WalkOptions walkOptions;
    ConvertOptions convertOptions;
    OpsOptions opsOptions;
    const CLI::App* const walk = AddWalk(app, walkOptions);
    const CLI::App* const convert = AddConvert(app, convertOptions);
    AddOps(app, opsOptions);
    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& wanted) { // --help and --version
        return app.exit(wanted);
    } catch (const CLI::ParseError& error) {
        return Fail(error.what());
    }
    IgnoreClosedPipes();
    FirstLoggedError::capture();
    try {
        Run(app.get_subcommands().front(), walk, walkOptions, convert, convertOptions, opsOptions);
        return 0;
    } catch (const OutputClosed&) {
        return 0;
    } catch (const std::bad_alloc&) {
        return Fail("out of memory");
    } catch (const std::exception& error) {
        return Fail(Explain(error.what()));
    }
}

} // namespace

} // namespace TellarTool

int main(int argc, char** argv) {
    return TellarTool::Main(argc, argv);
}
