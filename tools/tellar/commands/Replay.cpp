#include "Subcommands.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>
#include <OxTellarProducers/Scene.h>
#include <OxTellarProducers/SuiteCapture.h>
#include <OxTellarSDK/Capture.h>

#include "NumberOption.h"
#include "Output.h"
#include "Pictures.h"
#include "Plugins.h"
#include "RenderCapture.h"
#include "RendererOptions.h"
#include "Renderers.h"
#include "TemporaryFolder.h"

namespace TellarTool {

namespace {

constexpr const char* kExamples = R"(Examples:
  tellar render shot.oxop -o shot.png --capture shot.oxcap --capture-textures
  tellar replay shot.oxcap -o again.png         without the scene: the same picture
  tellar replay shot.oxcap -o shot.txt --renderer example
  tellar walk shot.oxcap                        what the renderer asked for)";

constexpr std::int32_t kMostThreads = 1024;

struct ReplayOptions {
    std::string capture;
    RendererOptions renderer;
    std::int32_t threads = 0; // 0: as recorded
};

std::vector<CapturedRender> RendersOf(const OxCapture::Reader& capture) {
    std::vector<CapturedRender> renders = CapturedRenders(capture);
    if (renders.empty())
        throw std::runtime_error(capture.getPath() + ": no render was recorded in this capture");
    return renders;
}

std::vector<Picture> PicturesOf(const std::vector<CapturedRender>& renders,
                                const std::string& path) {
    std::vector<float> frames;
    frames.reserve(renders.size());
    for (const CapturedRender& render : renders)
        frames.push_back(render.frame);
    std::vector<Picture> pictures = PicturesOfFrames(path, frames);
    for (std::size_t i = 0; i < pictures.size(); ++i)
        pictures[i].samples = renders[i].samples;
    return pictures;
}

/// The error about questions without an answer; nothing if there were none.
std::optional<std::runtime_error> MissingAnswers(const OxCapture::Reader& capture) {
    const std::vector<std::string> missing = capture.getMissing();
    if (missing.empty()) return std::nullopt;
    const std::size_t others = missing.size() - 1;
    return std::runtime_error(missing.front() +
                              (others > 0 ? ", and " + std::to_string(others) + " more" : ""));
}

void RunReplay(const ReplayOptions& options) {
    CheckPicture(options.renderer);
    const auto capture = OxCapture::Reader::Open(options.capture);
    // Before the host sets up validation, which has to see the answers of the capture.
    TELLAR::ReplayDelegates(capture);
    SetUpPluginHost();
    AddRendererFolder();
    if (!capture->isComplete())
        WriteErrorLine("info: " + options.capture + " ends early, as after a crash");
    const std::vector<CapturedRender> renders = RendersOf(*capture);
    const std::string& name = options.renderer.renderer;
    const Renderer renderer(name.empty() ? renders.front().renderer : name);
    const TemporaryFolder folder;
    const std::string files = OxCapture::ExtractFiles(*capture, folder.file("files")) > 0
                                  ? folder.file("files")
                                  : std::string();
    const auto scene =
        TELLAR::Scene::FromDescription(OxCapture::DescribeCapture(options.capture, true, files));
    Drawing drawing{renderer, options.renderer.isVerbose,
                    options.threads > 0 ? options.threads : renders.front().threads};
    drawing.client = scene->getClient();
    std::size_t failed = 0;
    try {
        failed =
            DrawPictures(drawing, scene->getRoot(), PicturesOf(renders, options.renderer.picture));
    } catch (const std::runtime_error&) {
        if (const auto missing = MissingAnswers(*capture)) throw *missing;
        throw;
    }
    if (const auto missing = MissingAnswers(*capture)) throw *missing;
    if (failed > 0) throw ProblemsFound();
}

} // namespace

void AddReplayCommand(CLI::App& app) {
    const auto options = std::make_shared<ReplayOptions>();
    CLI::App& command =
        *app.add_subcommand("replay", "Draw a picture again from the capture of a render");
    command
        .add_option("CAPTURE", options->capture,
                    "The file that \"tellar render --capture\" has written")
        ->required()
        ->option_text(" ");
    options->renderer.renderer.clear();
    AddRendererOptions(command, options->renderer);
    AddCount(command, "--threads", options->threads, kMostThreads,
             "How many threads draw; as many as in the recorded render unless given");
    command.footer(kExamples);
    command.callback([options] { RunReplay(*options); });
}

} // namespace TellarTool
