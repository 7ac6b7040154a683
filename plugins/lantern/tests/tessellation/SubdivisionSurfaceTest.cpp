#include "tessellation/SubdivisionSurface.h"

#include <cmath>
#include <map>
#include <utility>

#include <gmock/gmock.h>

#include "Cages.h"

namespace {

using namespace LanternTest;
using testing::Each;
using testing::Ne;
using testing::SizeIs;

Mesh Tessellated(const Cage& cage, int rate, int threads = 1) {
    const SubdivisionSurface surface(cage.rules, cage.points.size());
    EXPECT_TRUE(surface.isValid());
    return surface.tessellate({cage.points}, std::vector<int>(surface.edges().size(), rate),
                              threads);
}

/// How many triangles have each edge, by its points.
std::map<std::pair<Index, Index>, int> UsesOfEdges(const Mesh& mesh) {
    std::map<std::pair<Index, Index>, int> uses;
    for (std::size_t i = 0; i < mesh.triangles.size(); ++i) {
        const Index from = mesh.triangles[i];
        const Index to = mesh.triangles[i % 3 == 2 ? i - 2 : i + 1];
        ++uses[std::minmax(from, to)];
    }
    return uses;
}

template <typename Vector>
void ExpectClose(const Vector& found, const Vector& expected) {
    EXPECT_TRUE(found.equalWithAbsError(expected, 1e-5f)) << found << " is not " << expected;
}

TEST(SubdivisionSurfaces, HaveTheirVerticesOnTheLimitSurface) {
    const Mesh mesh = Tessellated(Cube(), 1);
    ASSERT_THAT(mesh.triangles, SizeIs(6 * 2 * 3));
    // A vertex of three faces: (9 v + 4 (sum of neighbours) + (sum of opposite corners)) / 24.
    ExpectClose(mesh.points.at(0)[7], V3f(0.5f));
    ExpectClose(mesh.points.at(0)[0], V3f(-0.5f));
}

TEST(SubdivisionSurfaces, HaveTheNormalsOfTheLimitSurface) {
    const Mesh mesh = Tessellated(Cube(), 3);
    for (std::size_t i = 0; i < mesh.triangles.size(); ++i) {
        const V3f& normal = mesh.normals.values[mesh.normals.index[i]];
        EXPECT_NEAR(normal.length(), 1, 1e-5);
        EXPECT_GT(normal ^ mesh.points[0][mesh.triangles[i]].normalized(), 0.8f);
        if (mesh.triangles[i] == 7) ExpectClose(normal, V3f(1 / std::sqrt(3.0f)));
    }
}

TEST(SubdivisionSurfaces, AreUniformCubicSplinesInRegularRegions) {
    Cage cage = Grid();
    for (V3f& point : cage.points)
        point.z = point.x * point.x;
    const Mesh mesh = Tessellated(cage, 2);
    // The spline with control points i^2 is x^2 + 1/3 in the middle, and has its corners.
    ExpectClose(mesh.points[0][12], V3f(2, 2, 4 + 1 / 3.0f));
    ExpectClose(mesh.points[0][0], V3f(0, 0, 0));
    ExpectClose(mesh.points[0][24], V3f(4, 4, 16));
}

TEST(SubdivisionSurfaces, KeepSharpCreasesAndCorners) {
    Cage cage = Cube();
    for (const auto& [from, to] :
         std::vector<std::pair<int, int>>{{4, 5}, {5, 7}, {7, 6}, {6, 4}}) { // the face at z = 1
        cage.rules.creases.insert(cage.rules.creases.end(), {from, to});
        cage.rules.creaseSharpness.push_back(10);
    }
    // The curve along a crease is a cubic spline: (corner + 4 corner + corner) / 6.
    const Mesh creased = Tessellated(cage, 4);
    ExpectClose(creased.points[0][7], V3f(2 / 3.0f, 2 / 3.0f, 1));
    cage.rules.sharpPoints = {7};
    cage.rules.pointSharpness = {10};
    ExpectClose(Tessellated(cage, 4).points[0][7], V3f(1));
    // The normals on both sides of a crease differ.
    std::map<Index, std::vector<V3f>> normals;
    for (std::size_t i = 0; i < creased.triangles.size(); ++i)
        normals[creased.triangles[i]].push_back(creased.normals.values[creased.normals.index[i]]);
    float least = 1;
    for (const V3f& normal : normals[7])
        least = std::min(least, normal ^ normals[7][0]);
    EXPECT_LT(least, 0.9f);
}

TEST(SubdivisionSurfaces, AreRounderWhereCreasesAreLessSharp) {
    const auto heightOf = [](float sharpness) {
        Cage cage = Cube();
        cage.rules.creases = {4, 5, 5, 7, 7, 6, 6, 4};
        cage.rules.creaseSharpness.assign(4, sharpness);
        return Tessellated(cage, 1).points[0][7].z;
    };
    EXPECT_FLOAT_EQ(heightOf(0), 0.5f);
    EXPECT_GT(heightOf(1), heightOf(0) + 0.05f);
    EXPECT_GT(heightOf(2), heightOf(1) + 0.02f);
    EXPECT_FLOAT_EQ(heightOf(10), 1);
}

TEST(SubdivisionSurfaces, FollowTheRuleForBoundaries) {
    Cage cage = Grid();
    ExpectClose(Tessellated(cage, 1).points[0][0], V3f(0, 0, 0));
    cage.rules.boundary = Subdivision::Boundary::Edges;
    ExpectClose(Tessellated(cage, 1).points[0][0], V3f(1 / 6.0f, 1 / 6.0f, 0));
    cage.rules.boundary = Subdivision::Boundary::None;
    EXPECT_THAT(Tessellated(cage, 1).triangles, SizeIs(4 * 2 * 3)) << "the inner faces";
}

TEST(SubdivisionSurfaces, LeaveHolesOut) {
    Cage cage = Cube();
    cage.rules.holes = {1};
    const Mesh mesh = Tessellated(cage, 2);
    EXPECT_THAT(mesh.triangles, SizeIs(5 * 8 * 3));
    EXPECT_THAT(mesh.faces, Each(Ne(1)));
}

TEST(SubdivisionSurfaces, TellTheFaceOfEachTriangle) {
    Cage cage = Cube();
    cage.rules.faces = {10, 20, 30, 40, 50, 60};
    const Mesh mesh = Tessellated(cage, 2);
    ASSERT_THAT(mesh.faces, SizeIs(48));
    EXPECT_EQ(mesh.faces.front(), 10);
    EXPECT_EQ(mesh.faces[8], 20);
    EXPECT_EQ(mesh.faces.back(), 60);
}

TEST(SubdivisionSurfaces, HaveNoCracksWhereRatesDiffer) {
    const Cage cage = Cube();
    const SubdivisionSurface surface(cage.rules, cage.points.size());
    ASSERT_THAT(surface.edges(), SizeIs(12));
    const std::vector<int> rates{1, 2, 3, 4, 5, 6, 7, 8, 9, 1, 12, 2};
    const Mesh mesh = surface.tessellate({cage.points}, rates, 1);
    for (const auto& [edge, count] : UsesOfEdges(mesh))
        EXPECT_EQ(count, 2) << edge.first << " " << edge.second;
    const auto triangles = static_cast<double>(mesh.triangles.size()) / 3;
    EXPECT_NEAR(surface.countTriangles(rates), triangles, triangles * 0.4);
}

TEST(SubdivisionSurfaces, TakePolygonsOfAnySize) {
    Cage cage;
    for (int i = 0; i < 5; ++i)
        cage.points.emplace_back(std::cos(float(i) * 1.2566f), std::sin(float(i) * 1.2566f), 0.0f);
    cage.points.emplace_back(0.0f, 0.0f, -1.0f);
    AddFace(cage, {0, 1, 2, 3, 4});
    for (int i = 0; i < 5; ++i)
        AddFace(cage, {i, 5, (i + 1) % 5});
    const Mesh mesh = Tessellated(cage, 4);
    for (const auto& [edge, count] : UsesOfEdges(mesh))
        EXPECT_EQ(count, 2) << edge.first << " " << edge.second;
}

TEST(SubdivisionSurfaces, OfTrianglesCanFollowLoop) {
    Cage cage;
    cage.points = {{1, 0, 0}, {-1, 0, 0}, {0, 1, 0}, {0, -1, 0}, {0, 0, 1}, {0, 0, -1}};
    for (const auto& face : std::vector<std::vector<int>>{{0, 2, 4},
                                                          {2, 1, 4},
                                                          {1, 3, 4},
                                                          {3, 0, 4},
                                                          {2, 0, 5},
                                                          {1, 2, 5},
                                                          {3, 1, 5},
                                                          {0, 3, 5}})
        AddFace(cage, face);
    cage.rules.scheme = Subdivision::Scheme::Loop;
    // Valence 4: beta = (5/8 - (3/8 + cos(90 deg)/4)^2)/4, and the limit is v / (1 + 8 beta / 3 *
    // 4).
    const float beta = (0.625f - 0.375f * 0.375f) / 4;
    const float expected = 1 / (1 + 4 * beta * 8 / 3);
    EXPECT_NEAR(Tessellated(cage, 2).points[0][0].x, expected, 1e-5);
}

TEST(SubdivisionSurfaces, InterpolateTextureCoordinates) {
    Cage cage = Grid();
    cage.rules.uvSets.push_back(UvsOf(cage, [](const V3f& p) { return V2f(p.x, p.y) / 4.0f; }));
    const Mesh mesh = Tessellated(cage, 3);
    ASSERT_THAT(mesh.uvSets, SizeIs(1));
    EXPECT_EQ(mesh.uvSets[0].name, "st");
    for (std::size_t i = 0; i < mesh.triangles.size(); ++i) {
        const V3f& point = mesh.points[0][mesh.triangles[i]];
        const V2f& st = mesh.uvSets[0].st.values[mesh.uvSets[0].st.index[i]];
        ExpectClose(st, V2f(point.x, point.y) / 4.0f);
    }
}

TEST(SubdivisionSurfaces, InterpolateColors) {
    Cage cage = Grid();
    ColorSet set;
    set.name = "color";
    for (const V3f& point : cage.points)
        set.colors.values.emplace_back(point.x / 4, point.y / 4, 0.5f, 1.0f);
    for (const int point : cage.rules.corners)
        set.colors.index.push_back(static_cast<Index>(point));
    cage.rules.uvSets.push_back(UvsOf(cage, [](const V3f& p) { return V2f(p.x, p.y); }));
    cage.rules.colorSets.push_back(set);
    const Mesh mesh = Tessellated(cage, 3);
    ASSERT_THAT(mesh.colorSets, SizeIs(1));
    EXPECT_EQ(mesh.colorSets[0].name, "color");
    for (std::size_t i = 0; i < mesh.triangles.size(); ++i) {
        const V3f& point = mesh.points[0][mesh.triangles[i]];
        const Imath::C4f& color =
            mesh.colorSets[0].colors.values[mesh.colorSets[0].colors.index[i]];
        EXPECT_NEAR(color.r, point.x / 4, 1e-5f);
        EXPECT_NEAR(color.g, point.y / 4, 1e-5f);
        EXPECT_NEAR(color.a, 1, 1e-5f);
    }
}

TEST(SubdivisionSurfaces, SmoothTextureCoordinatesAsTheirRuleSays) {
    Cage cage = Grid();
    cage.points[6] = V3f(1.5f, 1.25f, 0); // an uneven cage with even coordinates
    cage.rules.uvSets.push_back(UvsOf(Grid(), [](const V3f& p) { return V2f(p.x, p.y); }));
    const auto stAtPoint = [&](Index point) {
        const Mesh mesh = Tessellated(cage, 1);
        for (std::size_t i = 0; i < mesh.triangles.size(); ++i)
            if (mesh.triangles[i] == point)
                return mesh.uvSets[0].st.values[mesh.uvSets[0].st.index[i]];
        return V2f(-1);
    };
    cage.rules.faceVarying = Subdivision::FaceVarying::All;
    ExpectClose(stAtPoint(6), V2f(1, 1));
    cage.rules.uvSets[0].st.values[2] = V2f(1.5f, 1.25f); // the corner of face 0 at point 6
    ExpectClose(stAtPoint(6), V2f(1.5f, 1.25f));
}

TEST(SubdivisionSurfaces, MoveWithTheirCages) {
    Cage cage = Cube();
    std::vector<V3f> moved = cage.points;
    for (V3f& point : moved)
        point += V3f(0, 0, 5);
    const SubdivisionSurface surface(cage.rules, cage.points.size());
    const Mesh mesh =
        surface.tessellate({cage.points, moved}, std::vector<int>(surface.edges().size(), 3), 1);
    ASSERT_THAT(mesh.points, SizeIs(2));
    for (std::size_t i = 0; i < mesh.points[0].size(); ++i)
        ExpectClose(mesh.points[1][i], mesh.points[0][i] + V3f(0, 0, 5));
}

TEST(SubdivisionSurfaces, DoNotDependOnTheNumberOfThreads) {
    Cage cage;
    for (int y = 0; y <= 20; ++y)
        for (int x = 0; x <= 20; ++x)
            cage.points.emplace_back(float(x), float(y), float((x * 7 + y * 3) % 5));
    for (int y = 0; y < 20; ++y)
        for (int x = 0; x < 20; ++x)
            AddFace(cage, {21 * y + x, 21 * y + x + 1, 21 * y + x + 22, 21 * y + x + 21});
    const Mesh one = Tessellated(cage, 5, 1);
    const Mesh four = Tessellated(cage, 5, 4);
    EXPECT_EQ(one.points, four.points);
    EXPECT_EQ(one.triangles, four.triangles);
    EXPECT_EQ(one.normals.values, four.normals.values);
}

TEST(SubdivisionSurfaces, TakeBrokenTopology) {
    Cage cage = Cube();
    AddFace(cage, {0, 1, 1, 0});       // an edge from a point to itself
    AddFace(cage, {0, 1, 5, 4});       // a copy of the same face
    AddFace(cage, {0, 7, 0, 7, 0, 7}); // one edge three times
    cage.rules.creases = {0, 7, 2, 2};
    cage.rules.creaseSharpness = {3, 3};
    const SubdivisionSurface surface(cage.rules, cage.points.size());
    if (!surface.isValid()) return;
    const Mesh mesh =
        surface.tessellate({cage.points}, std::vector<int>(surface.edges().size(), 3), 2);
    for (const Index point : mesh.triangles)
        ASSERT_LT(point, mesh.points[0].size());
    EXPECT_GE(mesh.triangles.size(), std::size_t(6 * 18 * 3)) << "at least the cube";
}

} // namespace
