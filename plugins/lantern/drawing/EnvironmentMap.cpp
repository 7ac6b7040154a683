#include "drawing/EnvironmentMap.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "drawing/Numbers.h"

namespace lantern {
namespace {

// The resolution of the sampling distribution.
constexpr int kMostColumns = 1024;
constexpr int kMostRows = 512;
// Limit for the luminance of brighter texels, so that sums stay finite.
constexpr float kMostLuminance = 1e20f;

/// Longitude and latitude, both from 0 to 1: -Z is in the middle, +X right of it, +Y at the top.
V2f LongitudeLatitudeOf(const V3f& direction) {
    return {0.5f + std::atan2(direction.x, -direction.z) / (2 * kPi),
            std::acos(std::max(-1.0f, std::min(direction.y, 1.0f))) / kPi};
}

V3f DirectionOf(const V2f& longitudeLatitude) {
    const float phi = (longitudeLatitude.x - 0.5f) * 2 * kPi;
    const float theta = longitudeLatitude.y * kPi;
    const float sinTheta = std::sin(theta);
    return {sinTheta * std::sin(phi), std::cos(theta), -sinTheta * std::cos(phi)};
}

/// The weight of a texel in the sampling distribution. Colors that are not finite are drawn as
/// black.
float WeightOf(const Color& radiance) {
    return IsFinite(radiance) ? std::clamp(Luminance(radiance), 0.0f, kMostLuminance) : 0;
}

/// The matrix with its axes normalized and without translation; the identity if it is singular.
M44f NormalizedAxes(const M44d& matrix) {
    M44f result;
    for (int row = 0; row < 3; ++row) {
        const Imath::V3d axis(matrix[row][0], matrix[row][1], matrix[row][2]);
        const Imath::V3d unit = axis.normalized();
        for (int column = 0; column < 3; ++column)
            result[row][column] = static_cast<float>(unit[column]);
    }
    return result.determinant() != 0 ? result : M44f();
}

V3f Transformed(const V3f& direction, const M44f& matrix) {
    V3f result;
    matrix.multDirMatrix(direction, result);
    return Normalized(result, direction);
}

} // namespace

EnvironmentMap::EnvironmentMap(const EnvironmentLight& light, const Textures& textures)
    : light(light), textures(textures), toWorld(NormalizedAxes(light.toWorld)) {
    toLocal = toWorld.inverse();
    tabulate();
}

Color EnvironmentMap::gradient(float height) const {
    return Mix(light.horizon, height < 0 ? light.ground : light.zenith, std::abs(height));
}

Color EnvironmentMap::localRadiance(const V3f& local) const {
    Color color;
    if (!textures.has(light.texture) ||
        !textures.around(light.texture, LongitudeLatitudeOf(local), color))
        color = gradient(local.y);
    const Color radiance = color * light.scale;
    return IsFinite(radiance) ? radiance : Color(0, 0, 0);
}

Color EnvironmentMap::radiance(const V3f& direction) const {
    return localRadiance(Transformed(direction, toLocal));
}

void EnvironmentMap::tabulate() {
    int width = 0, height = 0;
    if (!textures.size(light.texture, width, height)) return;
    const int columns = std::min(width, kMostColumns);
    const int rows = std::min(height, kMostRows);
    std::vector<float> weights(static_cast<std::size_t>(columns) * rows);
    textures.eachTexel(light.texture, [&](int x, int y, const Color& color) {
        const std::size_t column = static_cast<std::size_t>(x) * columns / width;
        const std::size_t row = static_cast<std::size_t>(y) * rows / height;
        weights[row * columns + column] += WeightOf(color * light.scale);
    });
    // Texels are smaller towards the poles: their solid angle is proportional to sin(theta).
    const float texels = static_cast<float>(width) * static_cast<float>(height);
    for (std::size_t i = 0; i < weights.size(); ++i) {
        const std::size_t row = i / static_cast<std::size_t>(columns);
        weights[i] *=
            std::sin((static_cast<float>(row) + 0.5f) / static_cast<float>(rows) * kPi) / texels;
        mean += weights[i] * kPi / 2;
    }
    distribution = Distribution2D(weights, columns);
}

V3f EnvironmentMap::sample(const V2f& u) const {
    return Transformed(DirectionOf(distribution.sample(u)), toWorld);
}

/// The map from the unit square to directions stretches areas by 2 pi^2 sin(theta).
float EnvironmentMap::pdf(const V3f& direction) const {
    const V3f local = Transformed(direction, toLocal);
    const float sinTheta = std::sqrt(std::max(0.0f, 1 - local.y * local.y));
    if (!(sinTheta > 0)) return 0;
    return distribution.pdf(LongitudeLatitudeOf(local)) / (2 * kPi * kPi * sinTheta);
}

} // namespace lantern
