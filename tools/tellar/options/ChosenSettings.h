#ifndef TELLAR_TOOL_CHOSENSETTINGS_H
#define TELLAR_TOOL_CHOSENSETTINGS_H

#include <array>
#include <cstdint>
#include <optional>
#include <string>

#include "Scene.h"

namespace TellarTool {

/// Render settings that the user chose in place of the scene's.
struct ChosenSettings {
    std::optional<std::string> camera;
    std::optional<std::string> resolution;
    std::optional<std::array<std::int32_t, 4>> tile; ///< column, row, columns, rows
    std::optional<std::array<float, 4>> cropWindow;  ///< x min, x max, y min, y max
};

/// Throws std::runtime_error naming the option when --camera is no absolute path or --resolution
/// is not in the resolution table.
void CheckChosen(const ChosenSettings& chosen);

/// The scene with these settings; the scene itself when none is chosen.
Scene WithChosen(const Scene& scene, const ChosenSettings& chosen);

} // namespace TellarTool

#endif
