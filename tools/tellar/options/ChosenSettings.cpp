#include "ChosenSettings.h"

#include <exception>
#include <stdexcept>
#include <vector>

#include <OxTellarSDK/Attribute.h>
#include <ResolutionTableOx/ResolutionTable.h>

#include "SceneOptions.h"

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
    if (chosen.camera) CheckLocationPath("--camera", *chosen.camera);
    if (chosen.resolution) CheckResolution(*chosen.resolution);
}

Scene WithChosen(const Scene& scene, const ChosenSettings& chosen) {
    std::vector<GroupAttribute::Child> settings;
    if (chosen.camera) settings.emplace_back("cameraName", StringAttribute(*chosen.camera));
    if (chosen.resolution) settings.emplace_back("resolution", StringAttribute(*chosen.resolution));
    if (!chosen.tile.empty()) settings.emplace_back("tileRender", IntAttribute(chosen.tile, 1));
    if (!chosen.cropWindow.empty())
        settings.emplace_back("cropWindow", FloatAttribute(chosen.cropWindow, 1));
    return settings.empty() ? scene : scene.withRenderSettings(GroupAttribute(settings, true));
}

} // namespace TellarTool
