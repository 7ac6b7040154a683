#include "Subcommands.h"

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <system_error>
#include <vector>

#include <CLI/CLI.hpp>

#include "Choice.h"
#include "NumberOption.h"
#include "NumberText.h"
#include "Process.h"

namespace TellarTool {

namespace {

namespace fs = std::filesystem;

constexpr const char* kExamples = R"(Examples:
  tellar usd import shot.usdc shot.oxop
  tellar usd import kit.usda kit.oxop --variant /Kit:size=large --purpose default,proxy
  tellar usd export examples/garden.json garden.usdc
The Python package tellar does the work: pip install "tellar[usd]".)";

// The package may be missing for this Python, and tells by itself when usd-core is.
constexpr const char* kProgram = R"(
import importlib.util
import sys
if importlib.util.find_spec("tellar") is None:
    sys.stderr.write("tellar: the Python package tellar is missing for " + sys.executable
                     + ": pip install \"tellar[usd]\"\n")
    sys.exit(2)
try:
    from tellar.usd.__main__ import main
except ImportError as error:
    sys.stderr.write("tellar: the Python package tellar cannot be used by " + sys.executable + ": "
                     + str(error) + "\n")
    sys.exit(2)
sys.exit(main(sys.argv[1:]))
)";

struct UsdOptions {
    std::string direction;
    std::string in;
    std::string out;
    std::vector<std::string> variants;
    std::vector<std::string> masks;
    std::vector<std::string> purposes;
    std::string load;
    std::string location;
    std::optional<float> frame;
    std::optional<float> framesPerSecond;
    std::string frames;
    std::optional<int> jobs;
};

class Arguments {
public:
    explicit Arguments(const UsdOptions& options)
        : all{"-c", kProgram, options.direction, options.in, options.out} {
        add("--variant", options.variants);
        add("--population-mask", options.masks);
        add("--purpose", options.purposes);
        add("--load", options.load);
        add("--at", options.location);
        add("--frames", options.frames);
        add("--frame", options.frame);
        add("--fps", options.framesPerSecond);
        if (options.jobs) all.push_back("--jobs=" + std::to_string(*options.jobs));
    }

    const std::vector<std::string>& get() const { return all; }

private:
    void add(const std::string& name, const std::string& value) {
        if (!value.empty()) all.push_back(name + '=' + value);
    }
    void add(const std::string& name, const std::vector<std::string>& values) {
        for (const std::string& value : values)
            add(name, value);
    }
    void add(const std::string& name, const std::optional<float>& value) {
        if (value) add(name, NumberText(*value));
    }

    std::vector<std::string> all;
};

std::string EnvironmentText(const char* name) {
    const char* const text = std::getenv(name);
    return text ? text : "";
}

/// The interpreter that the package was installed for, if the package started this command.
std::string Python() {
    const std::string told = EnvironmentText("TELLAR_PYTHON");
    return told.empty() ? "python3" : told;
}

/// Lets Python find the package that this command is a part of, or that was built with it.
void ShowPackage() {
    const fs::path folder = fs::path(ProgramPath()).parent_path();
    for (const fs::path& candidate : {folder.parent_path().parent_path(), folder / "../python"}) {
        std::error_code error;
        if (!fs::exists(candidate / "tellar" / "usd" / "__init__.py", error)) continue;
        const std::string others = EnvironmentText("PYTHONPATH");
        SetEnvironment("PYTHONPATH", fs::weakly_canonical(candidate, error).string() +
                                         (others.empty() ? "" : ':' + others));
        return;
    }
}

void AddImportOptions(CLI::App& command, UsdOptions& options) {
    command
        .add_option("--variant", options.variants,
                    "Import: choose a variant (/Kit:size=large); may be repeated")
        ->allow_extra_args(false)
        ->option_text("PRIM:SET=NAME");
    command
        .add_option("--population-mask", options.masks,
                    "Import: only this prim and what is below it; may be "
                    "repeated")
        ->allow_extra_args(false)
        ->option_text("PATH");
    command
        .add_option("--purpose", options.purposes,
                    "Import: prims of these purposes (default, render, proxy, guide); default and "
                    "render unless given")
        ->delimiter(',')
        ->option_text("NAME,...");
    command.add_option("--load", options.load, "Import: which payloads; all of them unless given")
        ->check(Choice({"all", "none"}))
        ->option_text("all|none");
    command
        .add_option("--at", options.location,
                    "Import: the location of the stage, /root/world unless given. Export: the "
                    "location to write, with all below it; /root unless given")
        ->option_text("LOCATION");
    AddNumber(command, "--frame", options.frame,
              "Import: the time code that becomes time 0, 0 unless given");
    AddNumber(command, "--fps", options.framesPerSecond,
              "Import: frames a second; as the stage says unless given");
    command
        .add_option("--jobs", options.jobs,
                    "Import: how many processes read a large stage; as many as there are "
                    "processors, and at most 8, unless given")
        ->check(CLI::Range(1, 64))
        ->option_text("N");
}

} // namespace

void AddUsdCommand(CLI::App& app) {
    const auto options = std::make_shared<UsdOptions>();
    CLI::App& command = *app.add_subcommand("usd", "Exchange scenes with USD, by way of Python");
    command.add_option("DIRECTION", options->direction, "import or export")
        ->required()
        ->check(Choice({"import", "export"}))
        ->option_text(" ");
    command
        .add_option("IN", options->in,
                    "import: a .usd, .usda, .usdc or .usdz file; export: any scene")
        ->required()
        ->option_text(" ");
    command
        .add_option("OUT", options->out,
                    "import: the .oxop or .json file to write; export: a .usd, .usda, .usdc or "
                    ".usdz file")
        ->required()
        ->option_text(" ");
    AddImportOptions(command, *options);
    command
        .add_option("--frames", options->frames,
                    "Export: the frames that the file says it has; those with samples unless given")
        ->option_text("A:B");
    command.footer(kExamples);
    command.callback([options] {
        ShowPackage();
        BecomeProgram(Python(), Arguments(*options).get());
    });
}

} // namespace TellarTool
