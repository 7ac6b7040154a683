#include "Subcommands.h"

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "PictureTarget.h"
#include "Plugins.h"
#include "RendererOptions.h"
#include "RendererRun.h"
#include "Renderers.h"

namespace TellarTool {

namespace {

constexpr const char* kExamples = R"(Examples:
  for r in 0 1; do for c in 0 1; do
    tellar render shot.oxop -o shot.exr --tile $c,$r,2,2
  done; done
  tellar stitch tile_*.shot.exr -o shot.exr)";

struct StitchOptions {
    std::vector<std::string> tiles;
    RendererOptions renderer;
};

void RunStitch(const StitchOptions& options) {
    CheckPicture(options.renderer);
    SetUpPluginHost();
    AddRendererFolder();
    const Renderer renderer(options.renderer.renderer);
    if (!renderer.canStitch())
        throw std::runtime_error("--renderer: the pictures of \"" + renderer.getName() +
                                 "\" cannot be put together");
    const PictureTarget target(options.renderer.picture);
    RendererTask task;
    task.work = [&](const OxRenderListener_v1& listener) {
        return renderer.stitch(options.tiles, target.getPath(), listener);
    };
    task.deliver = [&target](const std::string& written) { target.deliver(written); };
    RunRenderer(renderer.getName(), options.renderer.isVerbose, {task});
}

} // namespace

void AddStitchCommand(CLI::App& app) {
    const auto options = std::make_shared<StitchOptions>();
    CLI::App& command = *app.add_subcommand("stitch", "Put the tiles of a picture together");
    command.add_option("TILES", options->tiles, "The files of all tiles")
        ->required()
        ->option_text("...");
    AddRendererOptions(command, options->renderer);
    command.footer(kExamples);
    command.callback([options] { RunStitch(*options); });
}

} // namespace TellarTool
