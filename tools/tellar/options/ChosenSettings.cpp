#include "ChosenSettings.h"

#include <algorithm>
#include <exception>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <OxTellarProducers/RenderSettingsReport.h>
#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/GroupBuilder.h>
#include <ResolutionTableOx/ResolutionTable.h>

#include "CameraChoice.h"
#include "text/SimilarNames.h"

namespace TellarTool {

namespace {

using namespace OxAttribute;

/// The table's own error says best what is wrong with a name.
void CheckResolution(const std::string& name) {
    const auto table = GetResolutionTable(nullptr);
    if (!table) return; // the library reports this later
    try {
        table->getResolution(name);
    } catch (const std::exception& error) {
        throw std::runtime_error(std::string("--resolution: ") + error.what());
    }
}

/// Empty if the layer is a usual one, or is not similar to any of these.
std::string HintAboutLayer(const std::string& layer) {
    const std::vector<std::string>& usual = TELLAR::GetKnownRenderLayers();
    if (std::find(usual.begin(), usual.end(), layer) != usual.end()) return {};
    const std::string question = TellarInternal::DidYouMean(usual, layer);
    return question.empty() ? question : "--aov: \"" + layer + "\" is not a usual layer" + question;
}

} // namespace

void CheckChosen(const ChosenSettings& chosen) {
    if (chosen.camera && chosen.camera->empty())
        throw std::runtime_error("--camera: \"\" is no absolute location path");
    if (chosen.resolution) CheckResolution(*chosen.resolution);
}

std::vector<std::string> HintsAbout(const ChosenSettings& chosen) {
    std::vector<std::string> hints = HintsAbout(chosen.others);
    for (const std::string& layer : chosen.aovs)
        if (std::string hint = HintAboutLayer(layer); !hint.empty())
            hints.push_back(std::move(hint));
    return hints;
}

std::vector<ChosenSetting> OverridesOf(const Scene& scene, const ChosenSettings& chosen) {
    std::vector<ChosenSetting> settings = chosen.others;
    const auto add = [&settings](const std::string& name, const Attribute& value,
                                 const char* option) {
        settings.push_back({name, value, option});
    };
    if (chosen.exposure)
        add(chosen.renderer + ".exposure", FloatAttribute(*chosen.exposure), "--exposure");
    if (chosen.maxDepth > 0)
        add(chosen.renderer + ".maxDepth", IntAttribute(chosen.maxDepth), "--max-depth");
    if (chosen.camera)
        add("cameraName", StringAttribute(ChooseCamera(scene, *chosen.camera)), "--camera");
    if (chosen.resolution)
        add("resolution", StringAttribute(*chosen.resolution), chosen.resolutionOption);
    if (!chosen.tile.empty()) add("tileRender", IntAttribute(chosen.tile, 1), "--tile");
    if (!chosen.cropWindow.empty())
        add("cropWindow", FloatAttribute(chosen.cropWindow, 1), "--crop");
    if (!chosen.aovs.empty()) add("aovs", StringAttribute(chosen.aovs, 1), "--aov");
    if (chosen.noise) add("noise", FloatAttribute(*chosen.noise), "--noise");
    if (chosen.minutes) add("minutes", FloatAttribute(*chosen.minutes), "--minutes");
    return settings;
}

Scene WithChosen(const Scene& scene, const ChosenSettings& chosen) {
    GroupBuilder settings;
    for (const ChosenSetting& setting : OverridesOf(scene, chosen))
        settings.set(setting.name, setting.value);
    return settings.isEmpty() ? scene : scene.withRenderSettings(settings.build());
}

} // namespace TellarTool
