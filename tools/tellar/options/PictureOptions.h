#ifndef TELLAR_TOOL_PICTUREOPTIONS_H
#define TELLAR_TOOL_PICTUREOPTIONS_H

#include <cstdint>

#include "ChosenSettings.h"

namespace CLI {
class App;
}

namespace TellarTool {

// The options that choose render settings in place of those of the scene. What they refer to must
// outlive the parsing.

/// The camera, the size, the part and the layers of the picture.
void AddPictureOptions(CLI::App& command, ChosenSettings& chosen);

/// How well the picture is drawn, and --set. `samples` stays 0 unless --samples is given.
void AddQualityOptions(CLI::App& command, ChosenSettings& chosen, std::int32_t& samples);

} // namespace TellarTool

#endif
