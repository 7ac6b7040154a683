#include "reading/Triangulate.h"

#include <numeric>

#include <gmock/gmock.h>

namespace {

using namespace lantern;
using testing::ElementsAre;
using testing::SizeIs;

/// Triangulates the face of all points in their order.
std::vector<Index> Cut(const std::vector<V3f>& points) {
    std::vector<std::int32_t> corners(points.size());
    std::iota(corners.begin(), corners.end(), 0);
    std::vector<Index> triangles;
    Triangulator().cut(points, corners.data(), corners.size(), triangles);
    return triangles;
}

/// The sums of the signed and the absolute areas of the triangles, projected along z.
std::pair<float, float> Areas(const std::vector<V3f>& points, const std::vector<Index>& triangles) {
    float sum = 0;
    float size = 0;
    for (std::size_t i = 0; i < triangles.size(); i += 3) {
        const V3f& a = points[triangles[i]];
        const float area = (points[triangles[i + 1]] - a).cross(points[triangles[i + 2]] - a).z / 2;
        sum += area;
        size += std::abs(area);
    }
    return {sum, size};
}

TEST(Triangulate, LeavesATriangleAsItIs) {
    EXPECT_THAT(Cut({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}), ElementsAre(0, 1, 2));
}

TEST(Triangulate, LeavesOutFacesOfLessThanThreeCorners) {
    EXPECT_THAT(Cut({{0, 0, 0}, {1, 0, 0}}), SizeIs(0));
}

TEST(Triangulate, SplitsAConvexFaceIntoAFan) {
    EXPECT_THAT(Cut({{0, 0, 0}, {2, 0, 0}, {3, 1, 0}, {1, 2, 0}}), ElementsAre(0, 1, 2, 0, 2, 3));
}

TEST(Triangulate, CoversAnArrowheadWhoseFanWouldReachOutside) {
    const std::vector<V3f> arrow = {{2, 0, 0}, {0, 2, 0}, {0.5f, 0, 0}, {0, -2, 0}};
    const std::vector<V3f> turned = {arrow[1], arrow[2], arrow[3], arrow[0]};
    EXPECT_EQ(Areas(arrow, Cut(arrow)), std::make_pair(3.0f, 3.0f));
    EXPECT_EQ(Areas(turned, Cut(turned)), std::make_pair(3.0f, 3.0f));
}

TEST(Triangulate, CoversAComb) {
    const std::vector<V3f> comb = {{0, 0, 0}, {5, 0, 0}, {5, 2, 0}, {4, 2, 0},
                                   {4, 1, 0}, {3, 1, 0}, {3, 2, 0}, {2, 2, 0},
                                   {2, 1, 0}, {1, 1, 0}, {1, 2, 0}, {0, 2, 0}};
    EXPECT_THAT(Cut(comb), SizeIs(3 * 10));
    EXPECT_EQ(Areas(comb, Cut(comb)), std::make_pair(8.0f, 8.0f));
}

TEST(Triangulate, KeepsTheOrientationOfAFace) {
    const std::vector<V3f> away = {{0, -2, 0}, {0.5f, 0, 0}, {0, 2, 0}, {2, 0, 0}};
    EXPECT_EQ(Areas(away, Cut(away)), std::make_pair(-3.0f, 3.0f));
}

TEST(Triangulate, HandlesFacesInAnyPlane) {
    // The arrowhead in the plane x = y.
    const std::vector<V3f> arrow = {{2, 2, 0}, {0, 0, 2}, {0.5f, 0.5f, 0}, {0, 0, -2}};
    const std::vector<Index> triangles = Cut(arrow);
    ASSERT_THAT(triangles, SizeIs(6));
    const V3f whole(3, -3, 0); // twice the area's normal is 2 * 3 * (1, -1, 0)
    V3f sum(0);
    for (std::size_t i = 0; i < 6; i += 3)
        sum += (arrow[triangles[i + 1]] - arrow[triangles[i]])
                   .cross(arrow[triangles[i + 2]] - arrow[triangles[i]]);
    EXPECT_EQ(sum, whole * 2);
}

TEST(Triangulate, TerminatesForSelfIntersectingAndDegenerateFaces) {
    EXPECT_THAT(Cut({{0, 0, 0}, {1, 1, 0}, {1, 0, 0}, {0, 1, 0}}), SizeIs(6));
    EXPECT_THAT(Cut({{0, 0, 0}, {1, 0, 0}, {2, 0, 0}, {3, 0, 0}, {4, 0, 0}}), SizeIs(9));
    EXPECT_THAT(Cut(std::vector<V3f>(6, V3f(1))), SizeIs(12));
}

} // namespace
