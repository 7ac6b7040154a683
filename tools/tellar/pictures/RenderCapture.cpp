#include "RenderCapture.h"

#include <cmath>

#include <CLI/CLI.hpp>
#include <OxTellarProducers/SuiteCapture.h>

namespace TellarTool {

namespace {

using namespace OxAttribute;
using Children = std::vector<GroupAttribute::Child>;

/// Numbers of pictures, with leading zeros so that keys sort.
std::string KeyOf(std::size_t index) {
    const std::string digits = std::to_string(index);
    return std::string(digits.size() < 6 ? 6 - digits.size() : 0, '0') + digits;
}

std::int32_t AtLeast0(const Attribute& attribute) {
    return std::max(IntAttribute(attribute).getValue(0, false), 0);
}

float FiniteOr0(const Attribute& attribute) {
    const float value = FloatAttribute(attribute).getValue(0, false);
    return std::isfinite(value) ? value : 0;
}

} // namespace

void AddCaptureOptions(CLI::App& command, CaptureOptions& options) {
    CLI::Option* const capture =
        command
            .add_option("--capture", options.path,
                        "Record what the renderer is told about the scene, for \"tellar replay\"")
            ->option_text("CAPTURE")
            ->excludes("--watch");
    command
        .add_flag("--capture-textures", options.withTextures,
                  "Record the files of textures as well")
        ->needs(capture);
}

RenderCapture::RenderCapture(const CaptureOptions& options)
    : writer(std::make_shared<OxCapture::Writer>(options.path)),
      recorded(options.withTextures ? OxCapture::Recorded::SceneAndTextures
                                    : OxCapture::Recorded::Scene) {
    TELLAR::RecordDelegates(writer);
}

std::shared_ptr<TELLAR::Scene> RenderCapture::open(const Scene& scene) const {
    return TELLAR::Scene::FromDescription(
        OxCapture::WithRecorder(scene.getDescription(), writer, recorded), scene.getOpPlaces());
}

void RenderCapture::begin(std::size_t index, const Picture& picture, const Drawing& drawing) const {
    writer->add(OxCapture::kRender, KeyOf(index),
                GroupAttribute(Children{{"renderer", StringAttribute(drawing.renderer.getName())},
                                        {"frame", FloatAttribute(picture.frame)},
                                        {"samples", IntAttribute(picture.samples)},
                                        {"threads", IntAttribute(drawing.threads)}},
                               true));
}

void RenderCapture::finish() const {
    writer->finish();
}

std::vector<CapturedRender> CapturedRenders(const OxCapture::Reader& capture) {
    std::vector<CapturedRender> renders;
    for (const std::string& key : capture.getKeys(OxCapture::kRender)) {
        const GroupAttribute render(capture.find(OxCapture::kRender, key).value_or(Attribute()));
        if (!render.isValid()) continue;
        renders.push_back({StringAttribute(render.getChildByName("renderer")).getValue("", false),
                           FiniteOr0(render.getChildByName("frame")),
                           AtLeast0(render.getChildByName("samples")),
                           AtLeast0(render.getChildByName("threads"))});
    }
    return renders;
}

} // namespace TellarTool
