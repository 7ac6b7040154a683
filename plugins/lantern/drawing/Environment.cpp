#include "drawing/Environment.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "drawing/Numbers.h"

namespace lantern {
namespace {

// Of the table by which directions are chosen.
constexpr int kMostColumns = 1024;
constexpr int kMostRows = 512;
constexpr int kGradientRows = 64;

/// Longitude and latitude from 0 to 1: -Z in the middle, +X to the right of it, +Y at the top.
V2f PlaceOf(const V3f& direction) {
    return {0.5f + std::atan2(direction.x, -direction.z) / (2 * kPi),
            std::acos(std::max(-1.0f, std::min(direction.y, 1.0f))) / kPi};
}

V3f DirectionOf(const V2f& place) {
    const float longitude = (place.x - 0.5f) * 2 * kPi;
    const float latitude = place.y * kPi;
    const float around = std::sin(latitude);
    return {around * std::sin(longitude), std::cos(latitude), -around * std::cos(longitude)};
}

/// The rotation alone, when there is a rotation: lengths mean nothing to directions.
M44f DirectionsOf(const M44d& matrix) {
    M44f result;
    for (int row = 0; row < 3; ++row) {
        const Imath::V3d axis(matrix[row][0], matrix[row][1], matrix[row][2]);
        const Imath::V3d unit = axis.normalized();
        for (int column = 0; column < 3; ++column)
            result[row][column] = static_cast<float>(unit[column]);
    }
    return result.determinant() != 0 ? result : M44f();
}

V3f Turned(const V3f& direction, const M44f& matrix) {
    V3f result;
    matrix.multDirMatrix(direction, result);
    return Normalized(result, direction);
}

} // namespace

Environment::Environment(const Light& light, const Textures& textures)
    : light(light), textures(textures), toWorld(DirectionsOf(light.toWorld)) {
    toLocal = toWorld.inverse();
    tabulate();
}

Color Environment::gradient(float height) const {
    return Mix(light.horizon, height < 0 ? light.ground : light.zenith, std::abs(height));
}

Color Environment::towards(const V3f& local) const {
    Color color;
    if (!textures.around(light.texture, PlaceOf(local), color)) color = gradient(local.y);
    const Color radiance = color * light.color;
    return IsFinite(radiance) ? radiance : Color(0, 0, 0);
}

Color Environment::radiance(const V3f& direction) const {
    return towards(Turned(direction, toLocal));
}

void Environment::tabulate() {
    int width = 1, height = kGradientRows;
    const bool hasTexture = textures.size(light.texture, width, height);
    const int columns = std::min(width, kMostColumns);
    const int rows = std::min(height, kMostRows);
    std::vector<float> weights(static_cast<std::size_t>(columns) * rows);
    if (hasTexture) {
        textures.eachTexel(light.texture, [&](int x, int y, const Color& color) {
            const std::size_t column = static_cast<std::size_t>(x) * columns / width;
            const std::size_t row = static_cast<std::size_t>(y) * rows / height;
            weights[row * columns + column] += std::max(Luminance(color * light.color), 0.0f);
        });
    } else {
        for (int row = 0; row < rows; ++row)
            weights[row] = Luminance(gradient(std::cos((float(row) + 0.5f) / float(rows) * kPi)) *
                                     light.color);
    }
    const float texels = static_cast<float>(width) * static_cast<float>(height);
    for (std::size_t i = 0; i < weights.size(); ++i) {
        const std::size_t row = i / static_cast<std::size_t>(columns);
        weights[i] *=
            std::sin((static_cast<float>(row) + 0.5f) / static_cast<float>(rows) * kPi) / texels;
        if (std::isfinite(weights[i])) mean += weights[i] * kPi / 2;
    }
    table = Distribution2D(weights, columns);
}

V3f Environment::sample(const V2f& u) const {
    return Turned(DirectionOf(table.sample(u)), toWorld);
}

float Environment::pdf(const V3f& direction) const {
    const V3f local = Turned(direction, toLocal);
    const float around = std::sqrt(std::max(0.0f, 1 - local.y * local.y));
    if (!(around > 0)) return 0;
    return table.pdf(PlaceOf(local)) / (2 * kPi * kPi * around);
}

} // namespace lantern
