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
#include "NumberText.h"
#include "Output.h"
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
#include "SettingOption.h"
#include "StandardInput.h"

namespace TellarTool {

namespace {

using namespace OxAttribute;
using TELLAR::GeometryProducer;

constexpr const char* kExamples = R"(Examples:
  tellar render model.glb -o model.png                  a model without camera and lights, too
  tellar render examples/garden.json -o garden.png --size 1280x720
  tellar render shot.oxop -o shot.####.exr --frames 1:48
  tellar render shot.oxop -o shot.exr --frame 12 --resolution hd_1080 --samples 256
  tellar render shot.oxop -o shot.exr --tile 0,1,2,2     one of four, then: tellar stitch
  tellar render examples/garden.json -o garden.png --watch   again after each change
  tellar render examples/garden.json -o garden.txt --renderer example)";

constexpr std::int32_t kMostSamples = 1000000;
constexpr std::int32_t kMostThreads = 1024;
constexpr std::int32_t kMostDepth = 100;
constexpr std::uint64_t kMostChecked = 100000; // locations; checks of large scenes stop there
constexpr std::size_t kMostTimes = 9;          // number of times at which to frame a moving scene

struct RenderOptions {
    std::string scene;
    ChosenSettings chosen;
    std::optional<float> exposure;
    std::int32_t maxDepth = 0; // 0: the choice of the scene or the renderer; so are the next two
    std::int32_t samples = 0;
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

/// The scene's settings with those that have options of their own. Renderers read theirs in a group
/// of their name.
ChosenSettings SettingsFor(const RenderOptions& options) {
    ChosenSettings chosen = options.chosen;
    const std::string group = options.renderer.renderer + '.';
    if (options.exposure)
        chosen.others.push_back({group + "exposure", FloatAttribute(*options.exposure)});
    if (options.maxDepth > 0)
        chosen.others.push_back({group + "maxDepth", IntAttribute(options.maxDepth)});
    return chosen;
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
        WithChosen(versions.empty() ? asked : WithVersions(asked, versions), SettingsFor(options));
    ReadyScene ready = MakeReady(scene, TimesToFrame(pictures), options.studio);
    if (!ready.note.empty()) WriteErrorLine("info: " + ready.note);
    warnings.check(ready.scene, kMostChecked);
    return WithName(ready.scene);
}

/// Draws the pictures, and records what the renderer is told if the user asks for that.
void Draw(const Scene& scene, const std::vector<Picture>& pictures, const RenderOptions& options,
          const Renderer& renderer) {
    Drawing drawing{renderer, options.renderer.isVerbose, options.threads};
    if (options.capture.path.empty()) return DrawPictures(drawing, scene.at("/root"), pictures);
    const RenderCapture capture(options.capture);
    const auto recorded = capture.open(scene.getDescription());
    drawing.onBegin = [&](std::size_t index) { capture.begin(index, pictures[index], drawing); };
    DrawPictures(drawing, recorded->getRoot(), pictures);
    capture.finish();
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
    const auto draw = [&](const Scene& scene) { Draw(scene, pictures, options, renderer); };
    const auto open = [&](const ImportVersions& versions) {
        return OpenScene(options, pictures, versions);
    };
    if (options.isWatching)
        SceneWatch(options.scene, open, draw).run();
    else
        draw(open({}));
    EndIfStrict(options.isStrict);
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

std::string SizeFromText(const std::string& text) {
    const std::size_t x = text.find('x');
    std::int32_t width = 0;
    std::int32_t height = 0;
    if (x == std::string::npos || !ReadNumber(text.substr(0, x), width) ||
        !ReadNumber(text.substr(x + 1), height) || width < 1 || height < 1)
        throw CLI::ValidationError("--size", '"' + text + "\" is not WxH, such as 1280x720");
    return std::to_string(width) + 'x' + std::to_string(height);
}

void AddSizeOptions(CLI::App& command, ChosenSettings& chosen) {
    CLI::Option* const resolution =
        command.add_option("--resolution", chosen.resolution, "The picture's size, by its name")
            ->option_text("NAME");
    command
        .add_option_function<std::string>(
            "--size",
            [&chosen](const std::string& text) { chosen.resolution = SizeFromText(text); },
            "The picture's size in pixels")
        ->option_text("WxH")
        ->excludes(resolution);
}

/// Adds the options that choose the part of the picture to draw.
void AddPartOptions(CLI::App& command, ChosenSettings& chosen) {
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
}

void AddPictureOptions(CLI::App& command, RenderOptions& options) {
    ChosenSettings& chosen = options.chosen;
    command
        .add_option("--camera", chosen.camera,
                    "Look through this camera instead of the scene's: a path, or a pattern of "
                    "paths or names")
        ->option_text("CAMERA");
    AddSizeOptions(command, chosen);
    AddPartOptions(command, chosen);
    command
        .add_option("--aov", chosen.aovs,
                    "Layers of the picture besides its colors: depth, normal, position, albedo, "
                    "id, motion, cryptomatte")
        ->delimiter(',')
        ->option_text("LAYER,...");
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

void AddQualityOptions(CLI::App& command, RenderOptions& options) {
    AddCount(command, "--samples", options.samples, kMostSamples,
             "Paths per pixel; without it the scene or the renderer tells");
    AddNumber(command, "--noise", options.chosen.noise,
              "Stop where the picture has less noise than this, such as 0.02");
    AddNumber(command, "--minutes", options.chosen.minutes,
              "Stop after this time and write the picture so far");
    AddCount(command, "--max-depth", options.maxDepth, kMostDepth,
             "How often light may bounce; without it the scene or the renderer tells");
    AddNumber(command, "--exposure", options.exposure, "Make the picture lighter by N stops");
    AddSettings(command, options.chosen.others);
    AddCount(command, "--threads", options.threads, kMostThreads,
             "How many threads draw; one for each processor unless given");
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
    AddPictureOptions(command, *options);
    AddTimeOptions(command, *options);
    AddLightOption(command, *options);
    AddQualityOptions(command, *options);
    command.add_flag("--watch", options->isWatching,
                     "Draw again whenever a file of the scene changes, until Ctrl-C");
    AddCaptureOptions(command, options->capture);
    AddStrict(command, options->isStrict);
    command.footer(kExamples);
    command.callback([options] { RunRender(*options); });
}

} // namespace TellarTool
