#include "Subcommands.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <CLI/CLI.hpp>

#include "Choice.h"
#include "ChosenSettings.h"
#include "FrameRange.h"
#include "NumberOption.h"
#include "Output.h"
#include "PictureOptions.h"
#include "Pictures.h"
#include "Plugins.h"
#include "ReadyScene.h"
#include "RenderCapture.h"
#include "RendererOptions.h"
#include "Renderers.h"
#include "Scene.h"
#include "SceneOptions.h"
#include "SceneWarnings.h"
#include "SceneWatch.h"
#include "StandardInput.h"

namespace TellarTool {

namespace {

using namespace OxAttribute;

constexpr const char* kExamples = R"(Examples:
  tellar render model.glb -o model.png                  a model without camera and lights, too
  tellar render examples/garden.json -o garden.png --size 1280x720
  tellar render shot.oxop -o shot.####.exr --frames 1:48
  tellar render shot.oxop -o shot.exr --frame 12 --resolution hd_1080 --samples 256
  tellar render shot.oxop -o shot.exr --tile 0,1,2,2     one of four, then: tellar stitch
  tellar render examples/garden.json -o garden.png --watch   again after each change
  tellar render examples/garden.json -o garden.txt --renderer example)";

constexpr std::int32_t kMostThreads = 1024;
constexpr std::uint64_t kMostChecked = 100000; // locations; checks of large scenes stop there
constexpr std::size_t kMostTimes = 9;          // number of times at which to frame a moving scene

struct RenderOptions {
    std::string scene;
    ChosenSettings chosen;
    std::int32_t samples = 0;   // 0: the choice of the scene or the renderer
    std::int32_t threads = 0;   // 0: one for each processor
    std::optional<float> frame; // absent: 0
    std::vector<int> frames;    // empty: the frame above alone
    StudioUse studio = StudioUse::WhereDark;
    RendererOptions renderer;
    bool isWatching = false;
    CaptureOptions capture;
    bool isStrict = false;
};

/// Without --frame and --frames, the name of the picture is taken as it is.
std::vector<Picture> PicturesOf(const RenderOptions& options) {
    const std::string& path = options.renderer.picture;
    std::vector<Picture> pictures{{0, path, {}}};
    if (!options.frames.empty())
        pictures = PicturesOfFrames(path, {options.frames.begin(), options.frames.end()});
    else if (options.frame)
        pictures = {PictureOfFrame(path, *options.frame)};
    for (Picture& picture : pictures)
        picture.samples = options.samples;
    return pictures;
}

/// The times of some of the pictures, evenly spread, with the first and the last one.
std::vector<float> TimesToFrame(const std::vector<Picture>& pictures) {
    std::vector<float> times;
    const std::size_t count = std::min(pictures.size(), kMostTimes);
    for (std::size_t i = 0; i < count; ++i)
        times.push_back(pictures[count > 1 ? i * (pictures.size() - 1) / (count - 1) : 0].frame);
    return times;
}

/// Renderers write the setting `scene` into the header of the picture.
Scene WithName(const Scene& scene) {
    if (scene.at("/root")->getAttribute("renderSettings.scene").isValid()) return scene;
    const StringAttribute name(scene.getPath());
    return scene.withRenderSettings(GroupAttribute({{"scene", name}}, true));
}

Scene OpenScene(const RenderOptions& options, const std::vector<Picture>& pictures,
                const ImportVersions& versions = {}) {
    SceneWarnings warnings(options.isStrict);
    const Scene asked(options.scene);
    const Scene scene =
        WithChosen(versions.empty() ? asked : WithVersions(asked, versions), options.chosen);
    ReadyScene ready = MakeReady(scene, TimesToFrame(pictures), options.studio);
    if (!ready.note.empty()) WriteErrorLine("info: " + ready.note);
    warnings.check(ready.scene, kMostChecked);
    return WithName(ready.scene);
}

/// Draws the pictures, and records what the renderer is told if the user asks for that. Returns the
/// number of locations that could not be cooked.
std::size_t Draw(const Scene& scene, const std::vector<Picture>& pictures,
                 const RenderOptions& options, const Renderer& renderer) {
    Drawing drawing{renderer, options.renderer.isVerbose, options.threads};
    drawing.isStrict = options.isStrict;
    drawing.client = scene.getClient();
    if (options.capture.path.empty()) return DrawPictures(drawing, scene.at("/root"), pictures);
    const RenderCapture capture(options.capture);
    const auto recorded = capture.open(scene);
    drawing.onBegin = [&](std::size_t index) { capture.begin(index, pictures[index], drawing); };
    drawing.client = recorded->getClient();
    const std::size_t failed = DrawPictures(drawing, recorded->getRoot(), pictures);
    capture.finish();
    return failed;
}

void RunRender(const RenderOptions& options) {
    const std::vector<Picture> pictures = PicturesOf(options);
    CheckPicture(options.renderer);
    if (options.isWatching && options.scene == kStandardInput)
        throw std::runtime_error("--watch: the scene has to be a file");
    CheckChosen(options.chosen);
    for (const std::string& hint : HintsAbout(options.chosen))
        PrintWarning("warning: " + hint);
    SetUpPluginHost();
    AddRendererFolder();
    const Renderer renderer(options.renderer.renderer);
    std::size_t failed = 0;
    const auto draw = [&](const Scene& scene) {
        failed = Draw(scene, pictures, options, renderer);
    };
    const auto open = [&](const ImportVersions& versions) {
        return OpenScene(options, pictures, versions);
    };
    if (options.isWatching)
        SceneWatch(options.scene, open, draw).run();
    else
        draw(open({}));
    EndIfStrict(options.isStrict);
    if (failed > 0 && !options.isWatching) throw ProblemsFound();
}

void AddTimeOptions(CLI::App& command, RenderOptions& options) {
    AddNumber(command, "--frame", options.frame, "The time of the picture, 0 unless given");
    command
        .add_option_function<std::string>(
            "--frames",
            [&options](const std::string& text) { options.frames = FramesFromText(text); },
            "Draw all of these frames, with #### or %04d in PICTURE for their numbers")
        ->option_text("A:B[:STEP]")
        ->excludes("--frame");
}

void AddLightOption(CLI::App& command, RenderOptions& options) {
    const std::map<std::string, StudioUse> uses = {
        {"auto", StudioUse::WhereDark}, {"studio", StudioUse::Always}, {"scene", StudioUse::Never}};
    command
        .add_option_function<std::string>(
            "--light",
            [&options, uses](const std::string& name) { options.studio = uses.at(name); },
            "Light the scene with a studio: auto (where there is no light), studio (always) or "
            "scene (never)")
        ->check(Choice({"auto", "studio", "scene"}))
        ->option_text("KIND");
}

} // namespace

void AddRenderCommand(CLI::App& app) {
    const auto options = std::make_shared<RenderOptions>();
    CLI::App& command = *app.add_subcommand("render", "Draw the picture of a scene");
    AddScene(command, options->scene)->required();
    AddRendererOptions(command, options->renderer);
    AddPictureOptions(command, options->chosen);
    AddTimeOptions(command, *options);
    AddLightOption(command, *options);
    AddQualityOptions(command, options->chosen, options->samples);
    AddCount(command, "--threads", options->threads, kMostThreads,
             "How many threads draw; one for each processor unless given");
    command.add_flag("--watch", options->isWatching,
                     "Draw again whenever a file of the scene changes, until Ctrl-C");
    AddCaptureOptions(command, options->capture);
    AddStrict(command, options->isStrict);
    command.footer(kExamples);
    command.callback([options] {
        options->chosen.renderer = options->renderer.renderer;
        RunRender(*options);
    });
}

} // namespace TellarTool
