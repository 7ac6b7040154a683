#include "Subcommands.h"

#include <algorithm>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>
#include <OxPluginHost/OxPluginHost.h>
#include <OxTellarProducers/OxScenegraphIteratorHostSuite.h>
#include <OxTellarProducers/OxSgIterator.h>

#include "ChosenSettings.h"
#include "NumberOption.h"
#include "NumberText.h"
#include "Plugins.h"
#include "RendererOptions.h"
#include "RendererRun.h"
#include "Renderers.h"
#include "Scene.h"
#include "SceneOptions.h"

namespace TellarTool {

namespace {

using TELLAR::GeometryProducer;

constexpr const char* kExamples = R"(Examples:
  tellar render examples/garden.json -o garden.png
  tellar render shot.oxop -o shot.exr --frame 12 --resolution hd_1080 --samples 256
  tellar render shot.oxop -o shot.exr --tile 0,1,2,2     one of four, then: tellar stitch
  tellar render examples/garden.json -o garden.txt --renderer example)";

constexpr std::int32_t kMostSamples = 1000000;
constexpr std::int32_t kMostThreads = 1024;

struct RenderOptions {
    std::string scene;
    ChosenSettings chosen;
    std::optional<float> frame; // absent: 0
    std::int32_t samples = 0;   // 0: the choice of the scene or the renderer
    std::int32_t threads = 0;   // 0: one for each processor
    RendererOptions renderer;
};

/// Owns a handle for plug-ins onto a location.
class LocationHandle {
public:
    explicit LocationHandle(const GeometryProducer::Ptr& location)
        : suite(*static_cast<const OxScenegraphIteratorHostSuite_v3*>(
              OxGetPluginHost()->getSuite(OX_SCENEGRAPH_ITERATOR_HOST_SUITE, 3))),
          handle(TELLAR::OxGeometryProducerToHandle(location)) {
        suite.retainIterator(handle);
    }
    ~LocationHandle() { suite.releaseIterator(handle); }
    LocationHandle(const LocationHandle&) = delete;
    LocationHandle& operator=(const LocationHandle&) = delete;

    OxSgIteratorStruct* get() const { return handle; }

private:
    const OxScenegraphIteratorHostSuite_v3& suite;
    OxSgIteratorStruct* const handle;
};

void RunRender(const RenderOptions& options) {
    CheckPicture(options.renderer);
    CheckChosen(options.chosen);
    SetUpPluginHost();
    AddRendererFolder();
    const Renderer renderer = FindRenderer(options.renderer.renderer);
    const Scene scene = WithChosen(Scene(options.scene), options.chosen);
    const LocationHandle root(scene.threadAware("/root"));
    RunRenderer(renderer.name, options.renderer.isVerbose,
                [&](const OxRenderListener_v1& listener) {
                    OxRenderJob_v1 job{};
                    job.root = root.get();
                    job.picture = options.renderer.picture.c_str();
                    job.frame = options.frame.value_or(0);
                    job.samples = options.samples;
                    job.threads = options.threads;
                    job.listener = listener;
                    return renderer.suite->render(&job);
                });
}

void CheckTilePlace(const std::string& what, std::int32_t place, std::int32_t count) {
    if (count < 1)
        throw CLI::ValidationError("--tile",
                                   "there cannot be " + std::to_string(count) + ' ' + what + 's');
    if (place < 0 || place >= count)
        throw CLI::ValidationError("--tile", "there is no " + what + ' ' + std::to_string(place) +
                                                 ": they count from 0 to " +
                                                 std::to_string(count - 1));
}

std::vector<std::int32_t> TileFromText(const std::string& text) {
    auto tile = NumberList<std::int32_t>("--tile", text, {4}, "C,R,CS,RS, such as 0,1,2,2");
    CheckTilePlace("column", tile[0], tile[2]);
    CheckTilePlace("row", tile[1], tile[3]);
    return tile;
}

void CheckCropRange(float least, float most) {
    if (least >= 0 && least < most && most <= 1) return;
    throw CLI::ValidationError("--crop", NumberText(least) + " to " + NumberText(most) +
                                             " is no range within 0 to 1");
}

std::vector<float> CropFromText(const std::string& text) {
    auto crop =
        NumberList<float>("--crop", text, {4}, "XMIN,XMAX,YMIN,YMAX, such as 0.25,0.75,0,1");
    CheckCropRange(crop[0], crop[1]);
    CheckCropRange(crop[2], crop[3]);
    return crop;
}

} // namespace

void AddRenderCommand(CLI::App& app) {
    const auto options = std::make_shared<RenderOptions>();
    ChosenSettings& chosen = options->chosen;
    CLI::App& command = *app.add_subcommand("render", "Draw the picture of a scene");
    AddScene(command, options->scene)->required();
    AddRendererOptions(command, options->renderer);
    command
        .add_option("--camera", chosen.camera, "Look through this camera instead of the scene's")
        ->option_text("PATH");
    command.add_option("--resolution", chosen.resolution, "The picture's size, by its name")
        ->option_text("NAME");
    AddNumber(command, "--frame", options->frame, "The time of the picture, 0 unless given");
    command
        .add_option_function<std::string>(
            "--tile", [&chosen](const std::string& text) { chosen.tile = TileFromText(text); },
            "Draw one tile of the picture: its column and row from 0, and how many there are")
        ->option_text("C,R,CS,RS");
    command
        .add_option_function<std::string>(
            "--crop",
            [&chosen](const std::string& text) { chosen.cropWindow = CropFromText(text); },
            "Draw only this part of the picture, which is 0 to 1 both ways")
        ->option_text("XMIN,XMAX,YMIN,YMAX");
    AddCount(command, "--samples", options->samples, kMostSamples,
             "Paths per pixel; without it the scene or the renderer tells");
    AddCount(command, "--threads", options->threads, kMostThreads,
             "How many threads draw; one for each processor unless given");
    command.footer(kExamples);
    command.callback([options] { RunRender(*options); });
}

} // namespace TellarTool
