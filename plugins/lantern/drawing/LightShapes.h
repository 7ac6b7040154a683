#ifndef LANTERN_DRAWING_LIGHTSHAPES_H
#define LANTERN_DRAWING_LIGHTSHAPES_H

#include <memory>
#include <vector>

#include "SceneData.h"
#include "drawing/CameraRays.h"

namespace lantern {

/// The sphere of a point or spot light, in the world.
struct LightSphere {
    Index lamp = 0;
    V3f center;
    float radius = 0;
};

/// An area light in the world: a parallelogram that shines to one side.
struct LightPanel {
    Color radiance;
    V3f corner;       ///< the point where both edges begin
    V3f edgeX, edgeY; ///< edges from that corner
    V3f normal;       ///< the side that shines; of length 1
    float area = 0;
};

/// Finds the spheres and panels of lights that a ray passes through. They are not part of the
/// scene's geometry: they cast no shadow, and the camera does not see them.
class LightShapes {
public:
    /// Throws RenderError if Embree does not take the shapes.
    LightShapes(const std::vector<LightSphere>& spheres, const std::vector<LightPanel>& panels);
    ~LightShapes();
    LightShapes(const LightShapes&) = delete;
    LightShapes& operator=(const LightShapes&) = delete;

    struct Crossing {
        bool isPanel = false; ///< true: a panel; false: a sphere
        Index index = 0;      ///< among the panels or spheres
        float distance = 0;
    };
    /// The spheres that the ray enters and the panels that it passes through from either side, 32
    /// at most.
    std::vector<Crossing> crossings(const Ray& ray) const;

private:
    struct Tree;
    std::unique_ptr<Tree> tree; // null if there are no shapes
};

} // namespace lantern

#endif
