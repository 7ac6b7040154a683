#ifndef TELLAR_TOOL_CHOSENSETTINGS_H
#define TELLAR_TOOL_CHOSENSETTINGS_H

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Scene.h"

namespace TellarTool {

/// Render settings that the user chose in place of the scene's.
struct ChosenSettings {
    std::optional<std::string> camera;
    std::optional<std::string> resolution;
    std::vector<std::int32_t> tile; ///< column, row, columns, rows; empty: not chosen
    std::vector<float> cropWindow;  ///< x min, x max, y min, y max; empty: not chosen
};

/// Throws std::runtime_error naming the option when --camera is no absolute path or --resolution
/// is not in the resolution table.
void CheckChosen(const ChosenSettings& chosen);

/// The scene with these settings; the scene itself when none is chosen.
Scene WithChosen(const Scene& scene, const ChosenSettings& chosen);

} // namespace TellarTool

#endif
