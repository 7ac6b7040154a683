#ifndef LANTERN_TESTS_DRAWING_BSDFSUMS_H
#define LANTERN_TESTS_DRAWING_BSDFSUMS_H

#include <cmath>

#include "drawing/Bsdf.h"

/// Sums over the directions of a BSDF.
namespace LanternTest {

using namespace lantern;

inline V3f DirectionOf(float cosine, float phi = 0) {
    const float sine = std::sqrt(1 - cosine * cosine);
    return {sine * std::cos(phi), sine * std::sin(phi), cosine};
}

/// The BSDF of a surface whose normals are all +Z.
inline Bsdf BsdfOf(const SurfaceProperties& surface, const V3f& wo, bool isInside = false) {
    ShadingDirections directions;
    directions.wo = wo;
    return {surface, directions, isInside};
}

inline SurfaceProperties White() {
    SurfaceProperties surface;
    surface.baseColor = Color(1, 1, 1);
    return surface;
}

struct Sums {
    double pdf = 0;
    double share = 0;
};

/// Integrates over the sphere of directions on a uniform grid.
inline Sums Integrated(const Bsdf& bsdf) {
    constexpr int kRows = 600, kColumns = 600;
    Sums sums;
    for (int row = 0; row < kRows; ++row) {
        const float z = 1 - 2 * (float(row) + 0.5f) / kRows;
        const float around = std::sqrt(1 - z * z);
        for (int column = 0; column < kColumns; ++column) {
            const float phi = 2 * kPi * (float(column) + 0.5f) / kColumns;
            const Bsdf::Value value =
                bsdf.evaluate({around * std::cos(phi), around * std::sin(phi), z});
            sums.pdf += value.pdf;
            sums.share += value.timesCosine.y;
        }
    }
    const double perDirection = 4 * kPi / (double(kRows) * kColumns);
    return {sums.pdf * perDirection, sums.share * perDirection};
}

/// Estimates the albedo by sample(). `pdf` is the share of valid samples.
inline Sums Sampled(const Bsdf& bsdf) {
    constexpr int kSide = 128;
    Sums sums;
    for (int i = 0; i < kSide * kSide; ++i) {
        const V2f u((float(i % kSide) + 0.5f) / kSide, (float(i / kSide) + 0.5f) / kSide);
        const float choice = std::fmod(float(i) * 0.61803398f, 1.0f);
        const Bsdf::Sample sample = bsdf.sample(choice, u);
        if (sample.wi == V3f(0)) continue;
        sums.share += sample.weight.y;
        sums.pdf += 1;
    }
    const double count = double(kSide) * kSide;
    return {sums.pdf / count, sums.share / count};
}

} // namespace LanternTest

#endif
