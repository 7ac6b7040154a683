#ifndef LANTERN_DRAWING_LIGHTSHAPES_H
#define LANTERN_DRAWING_LIGHTSHAPES_H

#include <memory>
#include <vector>

#include "SceneData.h"
#include "drawing/CameraRays.h"

namespace lantern {

/// A ball in the world that shines.
struct LightBall {
    Index lamp = 0; ///< whose it is
    V3f center;
    float radius = 0;
};

/// A rectangle, or parallelogram, that shines to one side.
struct LightPanel {
    Index light = 0;
    V3f corner; ///< where both edges begin
    V3f edgeX, edgeY;
    V3f facing; ///< of length 1
    float area = 0;
};

/// Finds the shapes of lights that rays go through. They are no part of the scene's geometry: they
/// stop no light, and the camera does not see them.
class LightShapes {
public:
    LightShapes(const std::vector<LightBall>& balls, const std::vector<LightPanel>& panels);
    ~LightShapes();
    LightShapes(const LightShapes&) = delete;
    LightShapes& operator=(const LightShapes&) = delete;

    struct Crossing {
        bool isPanel = false;
        Index which = 0;
        float distance = 0;
    };
    /// Balls that the ray goes into and panels that it goes through; no more than 32.
    std::vector<Crossing> crossings(const Ray& ray) const;

private:
    struct Tree;
    std::unique_ptr<Tree> tree; // null without shapes
};

} // namespace lantern

#endif
