#include "reading/ReadSpheres.h"

#include <gmock/gmock.h>

#include "ReadingTest.h"

namespace {

using namespace LanternTest;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;

Spheres ReadSpheres(const std::string& attributes) {
    return ReadSilently(SceneJson(R"("s": {"a": {)" + attributes + "}}")).shapes.at(0).spheres;
}

TEST(ReadSpheres, HaveTheirCenterAtTheOrigin) {
    const Spheres spheres = ReadSpheres(R"("type": "sphere", "geometry.radius": 1.5)");
    EXPECT_THAT(spheres.centers.at(0), ElementsAre(V3f(0)));
    EXPECT_THAT(spheres.radii, ElementsAre(1.5f));
    EXPECT_THAT(ReadSpheres(R"("type": "sphere")").radii, ElementsAre(1));
}

TEST(ReadSpheres, HaveHalfTheWidthsOfPointsAsRadii) {
    const std::string points = R"("type": "pointcloud", "geometry": {
        "point.P": [[1.0, 0, 0], [2, 0, 0]])";
    EXPECT_THAT(ReadSpheres(points + R"(, "constantWidth": 3.0})").radii, ElementsAre(1.5f, 1.5f));
    const Spheres each =
        ReadSpheres(points + R"(, "point.width": [1.0, 4.0], "constantWidth": 3})");
    EXPECT_THAT(each.radii, ElementsAre(0.5f, 2.0f));
    EXPECT_THAT(each.centers.at(0), ElementsAre(V3f(1, 0, 0), V3f(2, 0, 0)));
}

TEST(ReadSpheres, AreLeftOutIfSizesAreNegative) {
    Told told;
    const SceneData scene =
        ReadJson(SceneJson(R"("a": {"a": {"type": "sphere", "geometry.radius": -1}},
                     "b": {"a": {"type": "pointcloud", "geometry": {"point.P": [0.0, 0, 0],
                                                                   "constantWidth": -2}}})"),
                 told);
    EXPECT_THAT(scene.instances, IsEmpty());
    EXPECT_THAT(told.warnings,
                ElementsAre("/root/world/a: \"geometry.radius\" is negative or not finite",
                            "/root/world/b: \"geometry.constantWidth\" has widths that are "
                            "negative or not finite"));
}

// Points without widths ---------------------------------------------------------------------------

/// A grid of points with this spacing.
std::vector<V3f> Grid(int columns, int rows, int layers, float spacing) {
    std::vector<V3f> points;
    for (int z = 0; z < layers; ++z)
        for (int y = 0; y < rows; ++y)
            for (int x = 0; x < columns; ++x)
                points.emplace_back(float(x) * spacing, float(y) * spacing, float(z) * spacing);
    return points;
}

TEST(TypicalSpacing, IsTheDiagonalOfTheCellsOfAPlaneGrid) {
    EXPECT_FLOAT_EQ(TypicalSpacing(Grid(40, 40, 1, 0.5f)), 0.5f * std::sqrt(2.0f));
}

TEST(TypicalSpacing, IsTheEdgeOfTheCellsOfACubicGrid) {
    EXPECT_FLOAT_EQ(TypicalSpacing(Grid(14, 14, 14, 2)), 2);
}

TEST(TypicalSpacing, IsNotChangedByDuplicatesOrAPointFarAway) {
    std::vector<V3f> points = Grid(40, 40, 1, 1);
    points.insert(points.end(), points.begin(), points.begin() + 1);
    points.emplace_back(1e9f, 0, 0);
    EXPECT_FLOAT_EQ(TypicalSpacing(points), std::sqrt(2.0f));
}

TEST(PointDiameter, LeavesFewPointsApart) {
    EXPECT_FLOAT_EQ(PointDiameter(Grid(2, 2, 2, 3)), 0.3f * std::sqrt(3.0f));
    EXPECT_FLOAT_EQ(PointDiameter(Grid(40, 40, 1, 0.5f)), 0.5f * std::sqrt(2.0f));
    EXPECT_EQ(PointDiameter({}), 0);
}

TEST(TypicalSpacing, IsZeroWithoutTwoPlaces) {
    EXPECT_EQ(TypicalSpacing({}), 0);
    EXPECT_EQ(TypicalSpacing({V3f(1), V3f(1), V3f(1)}), 0);
    EXPECT_EQ(TypicalSpacing({V3f(0), V3f(0, 3, 0)}), 3);
}

TEST(ReadSpheres, HaveThePointDiameterWithoutWidths) {
    EXPECT_THAT(ReadSpheres(R"("type": "pointcloud", "geometry": {
                    "point.P": [[1.0, 0, 0], [5, 0, 0]]})")
                    .radii,
                Each(0.2f));
}

TEST(ReadSpheres, HaveASmallRadiusIfTheOnlyPointHasNoWidth) {
    EXPECT_THAT(
        ReadSpheres(R"("type": "pointcloud", "geometry": {"point.P": [[1.0, 0, 0]]})").radii,
        ElementsAre(0.01f));
}

} // namespace
