#ifndef TELLAR_TOOL_PICTURES_H
#define TELLAR_TOOL_PICTURES_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <OxTellarProducers/GeometryProducer.h>
#include <OxTellarSDK/TellarRuntime.h>

#include "Renderers.h"

namespace TellarTool {

/// A picture to be drawn.
struct Picture {
    float frame = 0;
    std::string path;         // shown to the user; "-" for standard output
    std::string task;         // shown with the progress
    std::int32_t samples = 0; // 0: the choice of the scene or the renderer
};

/// The picture of a frame at the path that a user gave, which may have a place for the frame's
/// number. Throws std::runtime_error naming -o if it has one and the frame is no whole number.
Picture PictureOfFrame(const std::string& path, float frame);

/// Several pictures, told apart by their frames. Throws std::runtime_error naming -o if there is
/// more than one and the path has no place for a number.
std::vector<Picture> PicturesOfFrames(const std::string& path, const std::vector<float>& frames);

/// How DrawPictures draws.
struct Drawing {
    const Renderer& renderer;
    bool isVerbose = false;
    std::int32_t threads = 0; // 0: one for each processor
    bool isSilent = false;    // prints no paths of pictures
    /// Called before each picture with its index. May be empty.
    std::function<void(std::size_t index)> onBegin = nullptr;
    /// The scene's. Without it no location counts as failed, and no warning names an op.
    std::shared_ptr<TellarRuntime::Client> client = nullptr;
    bool isStrict = false; // end at the first location that cannot be cooked
};

/// Draws the pictures one by one and brings them where they shall be, as RunRenderer does. `root`
/// is "/root" of the scene. Returns the number of locations that could not be cooked meanwhile; if
/// there were any, the last line on standard error tells it. Throws std::runtime_error with the
/// first error of a strict drawing.
std::size_t DrawPictures(const Drawing& drawing, const TELLAR::GeometryProducer::Ptr& root,
                         const std::vector<Picture>& pictures);

} // namespace TellarTool

#endif
