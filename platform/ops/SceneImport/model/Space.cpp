#include "Space.h"

#include <algorithm>
#include <cmath>

namespace TellarSceneImport {

namespace {

double Length(const Vector3& v) {
    return std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]);
}

bool IsUsable(const Vector3& vector) {
    const double length = Length(vector);
    return std::isfinite(length) && length > 1e-12;
}

Vector3 Scaled(const Vector3& v, double factor) {
    return {v[0] * factor, v[1] * factor, v[2] * factor};
}

Vector3 Cross(const Vector3& a, const Vector3& b) {
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

double Dot(const Vector3& a, const Vector3& b) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

// The rows are the images of the axes and form a right-handed orthonormal system.
Quaternion RotationOf(const Vector3& x, const Vector3& y, const Vector3& z) {
    const double trace = x[0] + y[1] + z[2];
    if (trace > 0.0) return Normalized({y[2] - z[1], z[0] - x[2], x[1] - y[0], 1.0 + trace});
    if (x[0] >= y[1] && x[0] >= z[2])
        return Normalized({1.0 + x[0] - y[1] - z[2], x[1] + y[0], x[2] + z[0], y[2] - z[1]});
    if (y[1] >= z[2])
        return Normalized({x[1] + y[0], 1.0 - x[0] + y[1] - z[2], y[2] + z[1], z[0] - x[2]});
    return Normalized({x[2] + z[0], y[2] + z[1], 1.0 - x[0] - y[1] + z[2], x[1] - y[0]});
}

} // namespace

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

Quaternion Normalized(const Quaternion& q) {
    const double length = std::sqrt(q[0] * q[0] + q[1] * q[1] + q[2] * q[2] + q[3] * q[3]);
    if (!std::isfinite(length) || length == 0.0) return {0, 0, 0, 1};
    return {q[0] / length, q[1] / length, q[2] / length, q[3] / length};
}

Quaternion Slerp(const Quaternion& a, const Quaternion& b, double amount) {
    double cosine = a[0] * b[0] + a[1] * b[1] + a[2] * b[2] + a[3] * b[3];
    const double sign = cosine < 0.0 ? -1.0 : 1.0;
    cosine *= sign;
    double fromA = 1.0 - amount, fromB = amount;
    // Below this angle the sine in the divisor would lose digits, and the chord is the arc.
    if (cosine < 1.0 - 1e-9) {
        const double angle = std::acos(cosine);
        fromA = std::sin((1.0 - amount) * angle) / std::sin(angle);
        fromB = std::sin(amount * angle) / std::sin(angle);
    }
    Quaternion result;
    for (int i = 0; i < 4; ++i)
        result[i] = fromA * a[i] + fromB * sign * b[i];
    return Normalized(result);
}

Matrix ComposeMatrix(const Vector3& scale, const Quaternion& rotation, const Vector3& position) {
    const auto [x, y, z, w] = rotation;
    const double rows[3][3] = {{1 - 2 * (y * y + z * z), 2 * (x * y + z * w), 2 * (x * z - y * w)},
                               {2 * (x * y - z * w), 1 - 2 * (x * x + z * z), 2 * (y * z + x * w)},
                               {2 * (x * z + y * w), 2 * (y * z - x * w), 1 - 2 * (x * x + y * y)}};
    Matrix matrix = kIdentity;
    for (int row = 0; row < 3; ++row)
        for (int column = 0; column < 3; ++column)
            matrix[row * 4 + column] = rows[row][column] * scale[row];
    for (int i = 0; i < 3; ++i)
        matrix[12 + i] = position[i];
    for (double& value : matrix)
        value += 0.0; // no negative zeros
    return matrix;
}

Transform DecomposeMatrix(const Matrix& m) {
    Transform result;
    result.position = {m[12], m[13], m[14]};
    Vector3 rows[3];
    for (int i = 0; i < 3; ++i) {
        rows[i] = {m[i * 4], m[i * 4 + 1], m[i * 4 + 2]};
        result.scale[i] = Length(rows[i]);
    }
    if (Dot(Cross(rows[0], rows[1]), rows[2]) < 0.0) result.scale = Scaled(result.scale, -1.0);
    for (int i = 0; i < 3; ++i) {
        if (result.scale[i] == 0.0) return result;
        rows[i] = Scaled(rows[i], 1.0 / result.scale[i]);
    }
    result.rotation = RotationOf(rows[0], rows[1], rows[2]);
    return result;
}

Matrix AimMatrix(const Vector3& position, const Vector3& direction, const Vector3& up) {
    Vector3 back =
        IsUsable(direction) ? Scaled(direction, -1.0 / Length(direction)) : Vector3{0, 0, 1};
    Vector3 right = Cross(IsUsable(up) ? up : Vector3{0, 1, 0}, back);
    if (Length(right) < 1e-6 * Length(up) || !IsUsable(right))
        right = Cross(std::abs(back[1]) < 0.9 ? Vector3{0, 1, 0} : Vector3{0, 0, -1}, back);
    right = Scaled(right, 1.0 / Length(right));
    const Vector3 top = Cross(back, right);
    Matrix matrix = {right[0], right[1], right[2], 0, top[0],      top[1],      top[2],      0,
                     back[0],  back[1],  back[2],  0, position[0], position[1], position[2], 1};
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

double Box::diagonal() const {
    return isEmpty() ? 0 : std::hypot(high[0] - low[0], high[1] - low[1], high[2] - low[2]);
}

OxAttribute::DoubleAttribute Box::attribute() const {
    if (isEmpty()) return {};
    return OxAttribute::DoubleAttribute({low[0], high[0], low[1], high[1], low[2], high[2]}, 1);
}

} // namespace TellarSceneImport
