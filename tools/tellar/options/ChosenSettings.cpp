#include "ChosenSettings.h"

#include <exception>
#include <stdexcept>

#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/GroupBuilder.h>
#include <ResolutionTableOx/ResolutionTable.h>

#include "CameraChoice.h"

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

} // namespace

void CheckChosen(const ChosenSettings& chosen) {
    if (chosen.camera && chosen.camera->empty())
        throw std::runtime_error("--camera: \"\" is no absolute location path");
    if (chosen.resolution) CheckResolution(*chosen.resolution);
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
