#ifndef LANTERN_TESTS_TESSELLATION_CAGES_H
#define LANTERN_TESTS_TESSELLATION_CAGES_H

#include <vector>

#include "SceneData.h"

/// Cages of subdivision surfaces.
namespace LanternTest {

using namespace lantern;

struct Cage {
    std::vector<V3f> points;
    Subdivision rules;
};

inline void AddFace(Cage& cage, const std::vector<int>& corners) {
    cage.rules.faces.push_back(static_cast<Index>(cage.rules.faceSizes.size()));
    cage.rules.faceSizes.push_back(static_cast<int>(corners.size()));
    cage.rules.corners.insert(cage.rules.corners.end(), corners.begin(), corners.end());
}

/// A cube from -1 to 1. Point 7 is (1, 1, 1).
inline Cage Cube() {
    Cage cage;
    for (int i = 0; i < 8; ++i)
        cage.points.emplace_back(i & 1 ? 1.0f : -1.0f, i & 2 ? 1.0f : -1.0f, i & 4 ? 1.0f : -1.0f);
    AddFace(cage, {0, 2, 3, 1});
    AddFace(cage, {4, 5, 7, 6});
    AddFace(cage, {0, 1, 5, 4});
    AddFace(cage, {2, 6, 7, 3});
    AddFace(cage, {0, 4, 6, 2});
    AddFace(cage, {1, 3, 7, 5});
    return cage;
}

/// A grid of 4 by 4 faces in X and Y, from 0 to 4. Point 5 y + x is at (x, y).
inline Cage Grid() {
    Cage cage;
    for (int y = 0; y < 5; ++y)
        for (int x = 0; x < 5; ++x)
            cage.points.emplace_back(float(x), float(y), 0.0f);
    for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 4; ++x)
            AddFace(cage, {5 * y + x, 5 * y + x + 1, 5 * y + x + 6, 5 * y + x + 5});
    return cage;
}

/// Texture coordinates with a value of its own for each corner.
template <typename UvOfPoint>
UvSet UvsOf(const Cage& cage, UvOfPoint uvOfPoint) {
    UvSet set;
    set.name = "st";
    for (const int point : cage.rules.corners) {
        set.st.index.push_back(static_cast<Index>(set.st.values.size()));
        set.st.values.push_back(uvOfPoint(cage.points[static_cast<std::size_t>(point)]));
    }
    return set;
}

} // namespace LanternTest

#endif
