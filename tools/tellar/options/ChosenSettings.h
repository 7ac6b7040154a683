#ifndef TELLAR_TOOL_CHOSENSETTINGS_H
#define TELLAR_TOOL_CHOSENSETTINGS_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Renderers.h"
#include "Scene.h"
#include "SettingOption.h"

namespace TellarTool {

/// Render settings that the user chose in place of the scene's.
struct ChosenSettings {
    std::optional<std::string> camera; ///< a path or a pattern
    std::optional<std::string> resolution;
    const char* resolutionOption = "--resolution"; ///< the option that chose it
    std::vector<std::int32_t> tile; ///< column, row, columns, rows; empty: not chosen
    std::vector<float> cropWindow;  ///< x min, x max, y min, y max; empty: not chosen
    std::vector<std::string> aovs;  ///< layers of the picture; empty: not chosen
    std::optional<float> noise;
    std::optional<float> minutes;
    std::vector<ChosenSetting> others; ///< settings by name; the other members take precedence
    // Settings that a renderer reads in the group of its name.
    std::string renderer = kDefaultRenderer;
    std::optional<float> exposure;
    std::int32_t maxDepth = 0; ///< 0: not chosen
};

/// Throws std::runtime_error naming the option when --camera is empty or --resolution is not in the
/// resolution table.
void CheckChosen(const ChosenSettings& chosen);

/// A hint for each setting and layer whose name is similar to a known one. It is no error, because
/// renderers may have settings and layers of their own.
std::vector<std::string> HintsAbout(const ChosenSettings& chosen);

/// The settings with their options, in the order in which they replace those of the scene. Throws
/// std::runtime_error when not exactly one camera matches a pattern.
std::vector<ChosenSetting> OverridesOf(const Scene& scene, const ChosenSettings& chosen);

/// The scene with these settings; the scene itself when none is chosen. Throws as OverridesOf does.
Scene WithChosen(const Scene& scene, const ChosenSettings& chosen);

} // namespace TellarTool

#endif
