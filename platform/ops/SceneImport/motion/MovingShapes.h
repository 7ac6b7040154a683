#ifndef SCENEIMPORT_MOVINGSHAPES_H
#define SCENEIMPORT_MOVINGSHAPES_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "MeshMotion.h"
#include "model/SceneContent.h"

namespace TellarSceneImport {

/// The points and normals of a shape.
MeshPoints PointsOf(const ContentShape& shape);

/// Makes shapes of a content move.
class MovingShapes {
public:
    /// Returns the motion of the shape at a place in the list of a node's shapes; null if nothing
    /// deforms it there.
    using MotionAt =
        std::function<std::shared_ptr<MeshMotion>(std::size_t place, std::uint32_t shape)>;

    explicit MovingShapes(SceneContent& content) : content(content) {}

    /// Replaces the moving shapes of a node by copies, because other nodes may move the same shapes
    /// differently. Shapes with a skin become shapes of the root, because their points are in its
    /// space. A shape without a name gets the name of the node with "Shape" appended.
    void add(std::uint32_t node, const MotionAt& motionAt);

    /// Sets the motion and the bounds of the shapes that were added. Logs a warning about the scene
    /// file at `path` if samples are left out.
    void finish(const std::string& path);

private:
    void setMotion(ContentShape& shape, const std::shared_ptr<MeshMotion>& motion) const;

    SceneContent& content;
    // The motion of each shape that was added.
    std::vector<std::pair<std::size_t, std::shared_ptr<MeshMotion>>> motions;
};

} // namespace TellarSceneImport

#endif
