// The table of render settings. docs/rendering.md has the same table for readers, and a test
// compares the two.

#include <OxTellarProducers/RenderSettingsReport.h>

#include <algorithm>
#include <cstdint>
#include <utility>

#include "text/SimilarNames.h"

using namespace OxAttribute;

namespace TELLAR {

namespace {

using Type = RenderSettingType;

constexpr double kLowest = std::numeric_limits<double>::lowest();
constexpr double kHighest = std::numeric_limits<double>::max();

KnownRenderSetting Setting(const char* name, Type type, std::size_t count, Attribute defaultValue,
                           const char* summary) {
    return {name, type, count, kLowest, kHighest, std::move(defaultValue), summary};
}

KnownRenderSetting Text(const char* name, const char* defaultValue, const char* summary) {
    return Setting(name, Type::Text, 1, defaultValue ? StringAttribute(defaultValue) : Attribute(),
                   summary);
}

KnownRenderSetting Number(const char* name, double defaultValue, double least, double most,
                          const char* summary) {
    return {name, Type::Number, 1, least, most, DoubleAttribute(defaultValue), summary};
}

KnownRenderSetting Count(const char* name, std::int32_t defaultValue, double least, double most,
                         const char* summary) {
    return {name, Type::WholeNumber, 1, least, most, IntAttribute(defaultValue), summary};
}

std::vector<KnownRenderSetting> MakeTable() {
    return {
        Text("resolution", "square_512",
             "The size of the picture: a name, or one such as 1280x720."),
        Text("cameraName", "/root/world/cam/camera", "The path of the camera."),
        Setting("cropWindow", Type::Numbers, 4, DoubleAttribute({0, 1, 0, 1}, 1),
                "The part of the picture to draw: x min, x max, y min, y max as fractions, with y "
                "from the top."),
        Setting("tileRender", Type::Integers, 4, {},
                "The tile of the picture to draw: column, row, columns, rows. Row 0 is at the "
                "top."),
        Number("shutterOpen", 0, kLowest, kHighest,
               "When the shutter opens, in frames relative to the frame."),
        Number("shutterClose", 0, kLowest, kHighest,
               "When the shutter closes, in frames relative to the frame."),
        Setting("aovs", Type::Texts, 0, {}, "The layers of the picture besides its colors."),
        Number("noise", 0, 0, 1,
               "The noise at which squares of the picture get no more paths; 0 means no goal."),
        Number("minutes", 0, 0, 1e6, "The time limit of the render; 0 means none."),
        Text("scene", nullptr, "The scene's file, for the header of the picture."),
        Count("lantern.samples", 64, 1, 1000000, "Paths per pixel."),
        Count("lantern.maxDepth", 8, 1, 100, "The number of bounces."),
        Number("lantern.exposure", 0, -100, 100,
               "The exposure in stops: the picture is multiplied by 2 to this power."),
        Number("lantern.clampIndirect", 10, 0, 1e9,
               "The largest contribution of a path after its first bounce; 0 means no limit."),
        Number("lantern.subdivisionEdge", 1, 0.1, 1000,
               "The length of the edges of subdivision surfaces, in pixels."),
        Count("lantern.subdivisionMemory", 2048, 1, 1000000,
              "Megabytes for all subdivision surfaces."),
        Count("lantern.textureMemory", 1024, 0, 1000000,
              "Megabytes for the textures of all renders of the process."),
        Text("tempDir", nullptr, "The folder of the temporary files of outputs."),
        Text("outputs.*.tempRenderId", nullptr,
             "The beginning of the name of an output's temporary file."),
        Text("outputs.*.rendererSettings.tempRenderLocation", nullptr,
             "The path of an output's temporary file."),
    };
}

/// Compares level by level; a level "*" of the pattern matches every level.
bool Matches(std::string_view pattern, std::string_view name) {
    for (;;) {
        const std::string_view wanted = pattern.substr(0, pattern.find('.'));
        const std::string_view level = name.substr(0, name.find('.'));
        if (wanted != "*" && wanted != level) return false;
        const bool isLast = wanted.size() == pattern.size();
        if (isLast || level.size() == name.size()) return isLast && level.size() == name.size();
        pattern.remove_prefix(wanted.size() + 1);
        name.remove_prefix(level.size() + 1);
    }
}

} // namespace

const char* NameOf(RenderSettingType type) noexcept {
    switch (type) {
    case RenderSettingType::Text:
        return "text";
    case RenderSettingType::Texts:
        return "texts";
    case RenderSettingType::Number:
        return "number";
    case RenderSettingType::WholeNumber:
        return "whole number";
    case RenderSettingType::Numbers:
        return "numbers";
    case RenderSettingType::Integers:
        return "integers";
    }
    return "";
}

const std::vector<KnownRenderSetting>& GetKnownRenderSettings() {
    static const auto* const table = new std::vector<KnownRenderSetting>(MakeTable());
    return *table;
}

const KnownRenderSetting* FindKnownRenderSetting(std::string_view name) {
    const auto& table = GetKnownRenderSettings();
    const auto found = std::find_if(table.begin(), table.end(), [name](const auto& setting) {
        return Matches(setting.name, name);
    });
    return found == table.end() ? nullptr : &*found;
}

std::vector<std::string> SimilarRenderSettings(std::string_view name) {
    std::vector<std::string> names;
    for (const KnownRenderSetting& setting : GetKnownRenderSettings())
        names.push_back(setting.name);
    return TellarInternal::SimilarNames(names, name);
}

const std::vector<std::string>& GetKnownRenderLayers() {
    static const auto* const layers = new std::vector<std::string>{
        "depth",  "normal",       "position",       "albedo",      "id",
        "motion", "cryptoObject", "cryptoMaterial", "cryptoAsset", "cryptomatte"};
    return *layers;
}

} // namespace TELLAR
