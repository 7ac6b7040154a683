#include "Quaternion.h"

#include <algorithm>
#include <cmath>

namespace TellarOps {
namespace {

constexpr double kDegreesPerRadian = 180.0 / 3.14159265358979323846;

} // namespace

Quaternion Quaternion::FromNumbers(const std::array<double, 4>& xyzw) {
    double largest = 0; // squares of numbers divided by it neither overflow nor vanish
    for (const double number : xyzw) {
        if (!std::isfinite(number)) return {};
        largest = std::max(largest, std::abs(number));
    }
    if (largest == 0) return {};
    double squares = 0;
    for (const double number : xyzw)
        squares += (number / largest) * (number / largest);
    const double length = std::sqrt(squares);
    return {xyzw[0] / largest / length, xyzw[1] / largest / length, xyzw[2] / largest / length,
            xyzw[3] / largest / length};
}

Matrix Quaternion::matrix() const {
    return {1 - 2 * (y * y + z * z),
            2 * (x * y + z * w),
            2 * (x * z - y * w),
            0,
            2 * (x * y - z * w),
            1 - 2 * (x * x + z * z),
            2 * (y * z + x * w),
            0,
            2 * (x * z + y * w),
            2 * (y * z - x * w),
            1 - 2 * (x * x + y * y),
            0,
            0,
            0,
            0,
            1};
}

Quaternion::Turn Quaternion::turnTo(const Quaternion& next) const {
    // next * conjugate of this
    std::array<double, 3> axis = {-next.w * x + next.x * w - next.y * z + next.z * y,
                                  -next.w * y + next.x * z + next.y * w - next.z * x,
                                  -next.w * z - next.x * y + next.y * x + next.z * w};
    double cosine = next.w * w + next.x * x + next.y * y + next.z * z;
    if (cosine < 0) { // the same rotation, the other way round
        cosine = -cosine;
        for (double& number : axis)
            number = -number;
    }
    const double sine = std::sqrt(axis[0] * axis[0] + axis[1] * axis[1] + axis[2] * axis[2]);
    if (sine == 0) return {};
    for (double& number : axis)
        number /= sine;
    return {2 * std::atan2(sine, cosine) * kDegreesPerRadian, axis};
}

} // namespace TellarOps
