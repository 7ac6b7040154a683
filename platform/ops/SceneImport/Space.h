#ifndef SCENEIMPORT_SPACE_H
#define SCENEIMPORT_SPACE_H

#include <array>

#include <assimp/matrix4x4.h>
#include <assimp/vector3.h>

#include <OxTellarSDK/Attribute.h>

namespace TellarSceneImport {

/// Row major, row vectors: a point is p M, translation sits in the last row.
using Matrix = std::array<double, 16>;

/// Assimp's matrices are for column vectors: this transposes.
Matrix ToMatrix(const aiMatrix4x4& matrix);

bool IsIdentity(const Matrix& matrix);

/// a first, then b.
Matrix Multiply(const Matrix& a, const Matrix& b);

/// The rigid matrix that takes a camera or light at the origin, looking down -Z with +Y up,
/// to `position`, looking along `direction` with `up` up. Directions need no unit length; a
/// zero or useless one is replaced by the default.
Matrix AimMatrix(const aiVector3D& position, const aiVector3D& direction, const aiVector3D& up);

/// The smallest box around the points given so far; points that are not finite are left out.
class Box {
public:
    bool isEmpty() const { return low[0] > high[0]; }
    void add(double x, double y, double z);
    void add(const Box& box);
    /// The box of the transformed corners, which may be larger than that of the transformed points.
    Box transformed(const Matrix& matrix) const;
    /// x min, x max, y min, y max, z min, z max; invalid for an empty box.
    OxAttribute::DoubleAttribute attribute() const;

private:
    std::array<double, 3> low = {1, 1, 1};
    std::array<double, 3> high = {0, 0, 0};
};

} // namespace TellarSceneImport

#endif
