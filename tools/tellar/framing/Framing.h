#ifndef TELLAR_TOOL_FRAMING_H
#define TELLAR_TOOL_FRAMING_H

#include <Imath/ImathBox.h>
#include <Imath/ImathMatrix.h>
#include <Imath/ImathVec.h>

namespace TellarTool {

/// A perspective camera of the form that the library reads.
struct FramingCamera {
    Imath::M44d toWorld; ///< matrix for row vectors; the camera looks down -Z
    double fov = 0;      ///< degrees, of a window from -1 to 1
    double near = 0;
    double far = 0;
    double halfWidth = 1;  ///< half of the window's width
    double halfHeight = 1; ///< half of the window's height
};

/// Places a camera so that points just fit into its picture. It looks at them from the front (+Z),
/// a little from the right and from above. Points are added one by one and are not kept.
class Framing {
public:
    /// `aspect` is the width of the picture divided by its height.
    explicit Framing(double aspect);

    /// Adds a point, or a sphere. Ignores values that are not finite.
    void add(const Imath::V3d& center, double radius = 0);

    bool isEmpty() const { return bounds.isEmpty(); }
    /// The box around all points, in world space.
    const Imath::Box3d& getBounds() const { return bounds; }
    /// Half of the diagonal of the bounds; above 0 even when all points are one.
    double getRadius() const;
    /// Requires at least one point.
    FramingCamera getCamera() const;

private:
    double halfWidth;
    double halfHeight;
    // The slopes of the sides of the picture, the margin left out.
    double slopeX;
    double slopeY;
    Imath::V3d right, up, back; // the axes of the camera
    Imath::Box3d bounds;
    // In the axes of the camera, the positions of the planes through the camera's sides that
    // enclose all points, and the range of depths.
    Imath::V3d most;  // right side, upper side, nearest depth
    Imath::V3d least; // left side, lower side, farthest depth; the first two negated
};

} // namespace TellarTool

#endif
