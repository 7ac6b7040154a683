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

Scene WithChosen(const Scene& scene, const ChosenSettings& chosen) {
    GroupBuilder settings;
    for (const ChosenSetting& other : chosen.others)
        settings.set(other.name, other.value);
    if (chosen.camera)
        settings.set("cameraName", StringAttribute(ChooseCamera(scene, *chosen.camera)));
    if (chosen.resolution) settings.set("resolution", StringAttribute(*chosen.resolution));
    if (!chosen.tile.empty()) settings.set("tileRender", IntAttribute(chosen.tile, 1));
    if (!chosen.cropWindow.empty())
        settings.set("cropWindow", FloatAttribute(chosen.cropWindow, 1));
    if (!chosen.aovs.empty()) settings.set("aovs", StringAttribute(chosen.aovs, 1));
    if (chosen.noise) settings.set("noise", FloatAttribute(*chosen.noise));
    if (chosen.minutes) settings.set("minutes", FloatAttribute(*chosen.minutes));
    return settings.isEmpty() ? scene : scene.withRenderSettings(settings.build());
}

} // namespace TellarTool
