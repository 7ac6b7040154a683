#ifndef SCENEIMPORT_SPACE_H
#define SCENEIMPORT_SPACE_H

#include <array>

#include <OxTellarSDK/Attribute.h>

namespace TellarSceneImport {

/// Row major, row vectors: a point is p M, translation sits in the last row.
using Matrix = std::array<double, 16>;
using Vector3 = std::array<double, 3>;
/// x, y, z, w.
using Quaternion = std::array<double, 4>;

constexpr Matrix kIdentity = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};

bool IsIdentity(const Matrix& matrix);

/// a first, then b.
Matrix Multiply(const Matrix& a, const Matrix& b);

/// The rotation scaled to length 1, or no rotation if its length is zero or not finite.
Quaternion Normalized(const Quaternion& rotation);

/// Between `a` (at 0) and `b` (at 1) along the shorter arc. Both have length 1.
Quaternion Slerp(const Quaternion& a, const Quaternion& b, double amount);

/// The matrix that scales, then rotates by a quaternion of length 1, then moves.
Matrix ComposeMatrix(const Vector3& scale, const Quaternion& rotation, const Vector3& position);

struct Transform {
    Vector3 scale = {1, 1, 1};
    Quaternion rotation = {0, 0, 0, 1};
    Vector3 position = {0, 0, 0};
};

/// The transform that ComposeMatrix makes the matrix of; shear is lost.
Transform DecomposeMatrix(const Matrix& matrix);

/// The rigid matrix that takes a camera or light at the origin, looking down -Z with +Y up,
/// to `position`, looking along `direction` with `up` up. Directions need no unit length; a
/// zero or useless one is replaced by the default.
Matrix AimMatrix(const Vector3& position, const Vector3& direction, const Vector3& up);

/// The smallest box around the points given so far; points that are not finite are left out.
class Box {
public:
    bool isEmpty() const { return low[0] > high[0]; }
    void add(double x, double y, double z);
    void add(const Box& box);
    /// The box of the transformed corners, which may be larger than that of the transformed points.
    Box transformed(const Matrix& matrix) const;
    /// The distance between opposite corners; 0 for an empty box.
    double diagonal() const;
    /// x min, x max, y min, y max, z min, z max; invalid for an empty box.
    OxAttribute::DoubleAttribute attribute() const;

private:
    std::array<double, 3> low = {1, 1, 1};
    std::array<double, 3> high = {0, 0, 0};
};

} // namespace TellarSceneImport

#endif
