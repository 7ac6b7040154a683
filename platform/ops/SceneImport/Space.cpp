#include "Space.h"

#include <algorithm>
#include <cmath>

#include <assimp/types.h>

namespace TellarSceneImport {

namespace {

constexpr Matrix kIdentity = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};

bool IsUsable(const aiVector3D& vector) {
    const double length = vector.Length();
    return std::isfinite(length) && length > 1e-12;
}

} // namespace

Matrix ToMatrix(const aiMatrix4x4& m) {
    return {m.a1, m.b1, m.c1, m.d1, m.a2, m.b2, m.c2, m.d2,
            m.a3, m.b3, m.c3, m.d3, m.a4, m.b4, m.c4, m.d4};
}

bool IsIdentity(const Matrix& matrix) {
    return matrix == kIdentity;
}

Matrix Multiply(const Matrix& a, const Matrix& b) {
    Matrix product{};
    for (int row = 0; row < 4; ++row)
        for (int column = 0; column < 4; ++column)
            for (int i = 0; i < 4; ++i)
                product[row * 4 + column] += a[row * 4 + i] * b[i * 4 + column];
    return product;
}

Matrix AimMatrix(const aiVector3D& position, const aiVector3D& direction, const aiVector3D& up) {
    aiVector3D back = IsUsable(direction) ? -direction : aiVector3D(0, 0, 1);
    back.Normalize();
    aiVector3D right = (IsUsable(up) ? up : aiVector3D(0, 1, 0)) ^ back;
    if (right.Length() < 1e-6f * up.Length() || !IsUsable(right))
        right = (std::abs(back.y) < 0.9f ? aiVector3D(0, 1, 0) : aiVector3D(0, 0, -1)) ^ back;
    right.Normalize();
    const aiVector3D top = back ^ right;
    Matrix matrix = {right.x, right.y, right.z, 0, top.x,      top.y,      top.z,      0,
                     back.x,  back.y,  back.z,  0, position.x, position.y, position.z, 1};
    for (double& value : matrix)
        value += 0.0; // no negative zeros
    return matrix;
}

void Box::add(double x, double y, double z) {
    if (!std::isfinite(x) || !std::isfinite(y) || !std::isfinite(z)) return;
    if (isEmpty()) {
        low = high = {x, y, z};
        return;
    }
    low = {std::min(low[0], x), std::min(low[1], y), std::min(low[2], z)};
    high = {std::max(high[0], x), std::max(high[1], y), std::max(high[2], z)};
}

void Box::add(const Box& box) {
    if (box.isEmpty()) return;
    add(box.low[0], box.low[1], box.low[2]);
    add(box.high[0], box.high[1], box.high[2]);
}

Box Box::transformed(const Matrix& m) const {
    Box result;
    for (int corner = 0; corner < 8 && !isEmpty(); ++corner) {
        const double x = corner & 1 ? high[0] : low[0];
        const double y = corner & 2 ? high[1] : low[1];
        const double z = corner & 4 ? high[2] : low[2];
        result.add(x * m[0] + y * m[4] + z * m[8] + m[12], x * m[1] + y * m[5] + z * m[9] + m[13],
                   x * m[2] + y * m[6] + z * m[10] + m[14]);
    }
    return result;
}

OxAttribute::DoubleAttribute Box::attribute() const {
    if (isEmpty()) return {};
    return OxAttribute::DoubleAttribute({low[0], high[0], low[1], high[1], low[2], high[2]}, 1);
}

} // namespace TellarSceneImport
