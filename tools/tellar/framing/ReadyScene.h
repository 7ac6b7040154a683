#ifndef TELLAR_TOOL_READYSCENE_H
#define TELLAR_TOOL_READYSCENE_H

#include <string>
#include <vector>

#include "Scene.h"

namespace TellarTool {

/// Whether the command lights a scene with a studio.
enum class StudioUse {
    WhereDark, ///< where there is no light, in a model file or a scene without a camera
    Always,
    Never
};

/// A scene with everything that a picture needs.
struct ReadyScene {
    Scene scene;
    std::string note; ///< one line about what the command brought; empty if it brought nothing
};

/// Gives the scene a camera and lights unless it has its own. The camera that the render settings
/// name is taken as it is. Without one, the first camera of the scene is taken; where there is
/// none, the whole scene is framed at all of the times.
///
/// The window of a camera in a model file is widened to the shape of the picture; without a
/// resolution in the render settings, the picture has the shape of the window.
///
/// Throws std::runtime_error naming the scene when the camera that the settings name is none, or
/// when there is nothing to frame.
ReadyScene MakeReady(const Scene& scene, const std::vector<float>& times, StudioUse studio);

} // namespace TellarTool

#endif
