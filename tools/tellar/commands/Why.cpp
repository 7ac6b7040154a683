#include "Subcommands.h"

#include <memory>
#include <optional>
#include <string>

#include <CLI/CLI.hpp>
#include <OxTellarProducers/LocationHistory.h>

#include "DotDrawing.h"
#include "HistoryDrawing.h"
#include "HistoryJson.h"
#include "HistoryText.h"
#include "HistoryWords.h"
#include "Output.h"
#include "ProblemsFound.h"
#include "Scene.h"
#include "SceneOptions.h"
#include "Terminal.h"

namespace TellarTool {

namespace {

constexpr const char* kExamples = R"(Examples:
  tellar why examples/garden.json --at /root/world/garden/lights/sun
  tellar why examples/garden.json --at /root/world/garden/lights/sun --attr light.angle
  tellar why examples/garden.json --at /root/world/garden/benches    why it is not there
  tellar why shot.oxop --at /root/world/hero --attr material --json
  tellar why shot.oxop --at /root/world/hero --png hero.png
The exit status is 1 when the location or the attribute is not there.)";

struct WhyOptions {
    std::string scene;
    std::string location;
    std::string attribute;
    std::optional<std::string> png;
    bool json = false;
    bool dot = false;
    bool all = false;
};

std::string Print(const TELLAR::LocationHistory& history, const Scene& scene,
                  const WhyOptions& options) {
    if (options.dot) return HistoryDrawing(history, scene.getClient()->getOp());
    if (options.json) return HistoryJson(history);
    return HistoryText(history, {options.all, HasColours()});
}

void RunWhy(const WhyOptions& options) {
    CheckLocationPath("--at", options.location);
    const Scene scene(options.scene);
    const TELLAR::LocationHistory history =
        TELLAR::GetLocationHistory(scene.getClient(), options.location, options.attribute);
    if (options.png)
        WriteDotPicture(HistoryDrawing(history, scene.getClient()->getOp()), *options.png);
    else
        WriteOutput(Print(history, scene, options));
    FlushOutput();
    if (!IsThere(history)) throw ProblemsFound();
}

} // namespace

void AddWhyCommand(CLI::App& app) {
    const auto options = std::make_shared<WhyOptions>();
    CLI::App& command = *app.add_subcommand(
        "why", "Tell where a location or a value comes from, or why it is not there");
    AddScene(command, options->scene)->required();
    AddLocation(command, options->location, "The location");
    command
        .add_option("--attr", options->attribute,
                    "The dotted name of an attribute; without it, the location as a whole")
        ->option_text("NAME");
    command.add_flag("--all", options->all,
                     "Print a line for every op of a long history, and all that it changed");
    CLI::Option* const json = command.add_flag("--json", options->json, "Print JSON");
    CLI::Option* const dot = command.add_flag(
        "--dot", options->dot,
        "Print a drawing of the op graph in the language of Graphviz, the way taken in colour");
    CLI::Option* const png =
        command
            .add_option("--png", options->png,
                        "Draw it into this PNG file, by Graphviz's program \"dot\"")
            ->option_text("FILE");
    dot->excludes(json);
    png->excludes(json)->excludes(dot);
    command.footer(kExamples);
    command.callback([options] { RunWhy(*options); });
}

} // namespace TellarTool
