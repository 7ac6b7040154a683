#include "NodeMotion.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "SampleTimes.h"

namespace TellarSceneImport {

namespace {

using Rows = std::array<std::array<double, 3>, 3>;

// The quaternion of a rotation. The largest of its numbers is found first, for accuracy.
std::array<double, 4> QuaternionOf(const Rows& r) {
    const double trace = r[0][0] + r[1][1] + r[2][2];
    std::array<double, 4> q = {r[1][2] - r[2][1], r[2][0] - r[0][2], r[0][1] - r[1][0], 1 + trace};
    std::size_t largest = r[1][1] > r[0][0] ? 1 : 0;
    if (r[2][2] > r[largest][largest]) largest = 2;
    if (trace < r[largest][largest]) {
        const std::size_t a = largest, b = (a + 1) % 3, c = (a + 2) % 3;
        q[3] = q[a];
        q[a] = 1 + r[a][a] - r[b][b] - r[c][c];
        q[b] = r[a][b] + r[b][a];
        q[c] = r[a][c] + r[c][a];
    }
    const double length = std::sqrt(q[0] * q[0] + q[1] * q[1] + q[2] * q[2] + q[3] * q[3]);
    if (!std::isfinite(length) || length == 0) return {0, 0, 0, 1};
    for (double& number : q)
        number /= length;
    return q;
}

double Determinant(const Matrix& m) {
    return m[0] * (m[5] * m[10] - m[6] * m[9]) - m[1] * (m[4] * m[10] - m[6] * m[8]) +
           m[2] * (m[4] * m[9] - m[5] * m[8]);
}

} // namespace

TransformParts PartsOf(const Matrix& matrix) {
    TransformParts parts;
    parts.translation = {matrix[12], matrix[13], matrix[14]};
    const double sign = Determinant(matrix) < 0 ? -1 : 1;
    Rows rows{};
    for (std::size_t row = 0; row < 3; ++row) {
        const double* const from = &matrix[row * 4];
        parts.scale[row] = sign * std::hypot(from[0], from[1], from[2]);
        for (std::size_t column = 0; column < 3; ++column)
            rows[row][column] = parts.scale[row] == 0 ? 0 : from[column] / parts.scale[row];
    }
    parts.rotation = QuaternionOf(rows);
    return parts;
}

Matrix TransformParts::matrix() const {
    const auto [x, y, z, w] = rotation;
    const auto [sx, sy, sz] = scale;
    const auto [tx, ty, tz] = translation;
    return {sx * (1 - 2 * (y * y + z * z)),
            sx * 2 * (x * y + z * w),
            sx * 2 * (x * z - y * w),
            0,
            sy * 2 * (x * y - z * w),
            sy * (1 - 2 * (x * x + z * z)),
            sy * 2 * (y * z + x * w),
            0,
            sz * 2 * (x * z + y * w),
            sz * 2 * (y * z - x * w),
            sz * (1 - 2 * (x * x + y * y)),
            0,
            tx,
            ty,
            tz,
            1};
}

NodeMotion::NodeMotion(const TransformParts& rest, Track translation, Track rotation, Track scale)
    : rest(rest), translation(std::move(translation)), rotation(std::move(rotation)),
      scale(std::move(scale)) {}

Matrix NodeMotion::matrixAt(Moment moment) const {
    TransformParts parts = rest;
    if (!translation.isEmpty()) translation.evaluate(moment, parts.translation.data());
    if (!rotation.isEmpty()) rotation.evaluate(moment, parts.rotation.data());
    if (!scale.isEmpty()) scale.evaluate(moment, parts.scale.data());
    return parts.matrix();
}

std::vector<const Track*> NodeMotion::tracks() const {
    return {&translation, &rotation, &scale};
}

OxAttribute::DoubleAttribute NodeMotion::matrices(double framesPerSecond, double frame) const {
    const auto stepsBetween = [this](double from, double to) {
        return std::max({translation.stepsBetween(from, to), rotation.stepsBetween(from, to),
                         scale.stepsBetween(from, to)});
    };
    const SampleTimes samples =
        ToSampleTimes(Refine(KeyMoments(tracks()), stepsBetween), framesPerSecond, frame);
    if (samples.times.empty()) return {};
    std::vector<double> values;
    for (const Moment& moment : samples.moments) {
        const Matrix matrix = matrixAt(moment);
        values.insert(values.end(), matrix.begin(), matrix.end());
    }
    return {samples.times.data(), static_cast<std::int64_t>(samples.times.size()), values.data(),
            16, 16};
}

} // namespace TellarSceneImport
