#ifndef SCENEIMPORT_TESTS_SCENEFIXTURES_H
#define SCENEIMPORT_TESTS_SCENEFIXTURES_H

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <OxTellarSDK/XFormUtil.h>

#include "ImportedScene.h"
#include "TempDirectory.h"
#include "TestScenes.h"

/// Ways to look at the values of imported scenes, and the scene that several test programs import.

using Names = std::vector<std::string>;
using Floats = std::vector<float>;
using Doubles = std::vector<double>;
using Ints = std::vector<int>;

/// The matrix that the location's "xform" amounts to.
inline Doubles LocalMatrix(const ImportedScene& scene, const std::string& path, float time = 0) {
    const auto matrix =
        OxXFormUtil::CalcTransformMatrixAtTime(scene.attr(path, "xform"), time).first;
    const auto sample = matrix.getNearestSample(time);
    return {sample.begin(), sample.end()};
}

/// Where the location's matrix takes a direction.
inline Doubles Turn(const ImportedScene& scene, const std::string& path, double x, double y,
                    double z) {
    const Doubles m = LocalMatrix(scene, path);
    if (m.size() != 16) return {};
    return {x * m[0] + y * m[4] + z * m[8], x * m[1] + y * m[5] + z * m[9],
            x * m[2] + y * m[6] + z * m[10]};
}

inline testing::Matcher<Doubles> Near(const Doubles& expected) {
    std::vector<testing::Matcher<double>> each;
    for (const double value : expected)
        each.push_back(testing::DoubleNear(value, 1e-6));
    return testing::ElementsAreArray(each);
}

/// The scene of WriteYard, imported.
class Yard : public testing::Test {
protected:
    const TempDirectory directory;
    const std::string file = WriteYard(directory);
    const ImportedScene scene{file};
};

#endif
