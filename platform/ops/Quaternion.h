#ifndef TELLAROPS_QUATERNION_H
#define TELLAROPS_QUATERNION_H

#include <array>

#include "Placement.h"

namespace TellarOps {

/// A rotation as a quaternion of length 1. A value.
struct Quaternion {
    double x = 0, y = 0, z = 0, w = 1;

    /// Its length may be any. It is no rotation if the length is 0 or not finite.
    static Quaternion FromNumbers(const std::array<double, 4>& xyzw);

    /// For row vectors.
    Matrix matrix() const;

    /// Degrees from 0 to 180 about an axis of length 1, or 0 degrees and no axis.
    struct Turn {
        double degrees = 0;
        std::array<double, 3> axis = {0, 0, 0};
    };
    /// The shortest turn that leads from this rotation to another one.
    Turn turnTo(const Quaternion& next) const;
};

} // namespace TellarOps

#endif
