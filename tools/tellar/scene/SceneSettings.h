#ifndef TELLAR_TOOL_SCENESETTINGS_H
#define TELLAR_TOOL_SCENESETTINGS_H

#include <array>
#include <string>

#include <OxTellarProducers/GeometryProducer.h>

#include "Scene.h"

namespace TellarTool {

// The "renderSettings" of a scene's root. Numbers may be of any numeric type.

/// The size of the picture.
struct Resolution {
    std::string name;
    int width = 0; // pixels
    int height = 0;

    /// Width divided by height. As in the library, pixels are square.
    float aspect() const { return static_cast<float>(width) / static_cast<float>(height); }
};

/// Throws what the library throws for a resolution that is not in the table.
Resolution ReadResolution(const TELLAR::GeometryProducer::Ptr& root);

/// "square_512, 512 x 512 pixels"
std::string ResolutionText(const Resolution& resolution);
std::string Json(const Resolution& resolution);

/// Times in frames.
struct Shutter {
    float open = 0;
    float close = 0;
};

/// "shutterOpen" and "shutterClose"; each is 0 when it is missing. Throws std::runtime_error naming
/// the scene and the setting that is not a number.
Shutter ReadShutter(const Scene& scene, const TELLAR::GeometryProducer::Ptr& root);

/// "cropWindow" (x min, x max, y min, y max); the whole picture when it is missing. Throws
/// std::runtime_error naming the scene when it is not four numbers.
std::array<float, 4> ReadCropWindow(const Scene& scene, const TELLAR::GeometryProducer::Ptr& root);

} // namespace TellarTool

#endif
