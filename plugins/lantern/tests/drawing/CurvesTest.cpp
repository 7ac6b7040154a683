#include "drawing/CurveGeometry.h"

#include <cmath>

#include <gmock/gmock.h>

#include "DrawingScenes.h"

namespace {

using namespace LanternTest;

/// One curve of a basis through these control points, with one radius.
Curves CurveOf(Curves::Basis basis, const std::vector<V3f>& points, float radius) {
    Curves curves;
    curves.basis = basis;
    curves.points.resize(1);
    for (const V3f& point : points)
        curves.points[0].emplace_back(point.x, point.y, point.z, radius);
    const std::size_t order = basis == Curves::Basis::Linear ? 2 : 4;
    const std::size_t step = basis == Curves::Basis::Bezier ? 3 : 1;
    for (std::size_t i = 0; i + order <= points.size(); i += step)
        curves.segments.push_back(static_cast<Index>(i));
    curves.firstSegments = {0, static_cast<Index>(curves.segments.size())};
    return curves;
}

SceneData SceneOf(Curves curves, const Material& material = Glowing(Color(1, 1, 1))) {
    SceneData scene = EmptyScene(16, 16);
    Shape shape;
    shape.curves = std::move(curves);
    scene.shapes.push_back(std::move(shape));
    AddInstance(scene, 0, {M44f()}, AddMaterial(scene, material));
    scene.camera.isOrthographic = true;
    scene.camera.orthographicWidth = 2;
    return scene;
}

/// The part of the picture that a vertical curve covers.
float CoverageOf(Curves::Basis basis, const std::vector<V3f>& points, bool isFlat) {
    Curves curves = CurveOf(basis, points, 0.25f);
    curves.isFlat = isFlat;
    return Mean(Drawn(SceneOf(std::move(curves)), 64)).a;
}

TEST(Curves, AreAsWideAsTheirDiameterInEveryBasis) {
    const std::vector<V3f> line{{0, -9, -2}, {0, -3, -2}, {0, 3, -2}, {0, 9, -2}};
    for (const Curves::Basis basis : {Curves::Basis::Linear, Curves::Basis::Bezier,
                                      Curves::Basis::BSpline, Curves::Basis::CatmullRom}) {
        SCOPED_TRACE(static_cast<int>(basis));
        EXPECT_NEAR(CoverageOf(basis, line, false), 0.25f, 0.005f);
        EXPECT_NEAR(CoverageOf(basis, line, true), 0.25f, 0.005f);
    }
}

TEST(Curves, FollowTheirBasis) {
    const std::vector<V3f> arc{{0, -1, -2}, {0.75f, -1, -2}, {0.75f, 1, -2}, {0, 1, -2}};
    const auto middleOf = [&](Curves::Basis basis) {
        const Curves curves = CurveOf(basis, arc, 0.25f);
        const Ray ray{V3f(0.6f, 0, 0), V3f(0, 0, -1), 100, 0};
        RayHit hit;
        hit.u = 0.5f;
        hit.outward = V3f(0, 0, 1);
        hit.distance = 1.75f;
        const HitGeometry at = CurveGeometryAt(curves, M44f(), ray, hit);
        EXPECT_EQ(at.position, V3f(0.6f, 0, -1.75f));
        EXPECT_EQ(at.normal, V3f(0, 0, 1));
        return CurveTangentAt(curves, hit, 0);
    };
    EXPECT_EQ(middleOf(Curves::Basis::Bezier), V3f(0, 3, 0));
    EXPECT_EQ(middleOf(Curves::Basis::BSpline), V3f(0, 1.5f, 0));
    EXPECT_EQ(middleOf(Curves::Basis::CatmullRom), V3f(0, 2.5f, 0));
}

TEST(Curves, HaveTheShadingOfCylinders) {
    // A matt tube of albedo 0.5 under a white sky: the light that it reflects is 0.5 wherever it
    // cannot see itself.
    SceneData scene = SceneOf(
        CurveOf(Curves::Basis::BSpline, {{0, -9, -2}, {0, -3, -2}, {0, 3, -2}, {0, 9, -2}}, 0.5f),
        Matt(Color(0.5f, 0.5f, 0.5f)));
    AddEnvironment(scene);
    const Picture picture = Drawn(scene, 256);
    for (int x = 5; x < 11; ++x)
        EXPECT_NEAR(At(picture, x, 8).r, 0.5f, 0.01f) << x;
}

TEST(Curves, OfRibbonsReflectAsSurfacesThatFaceTheRay) {
    Curves curves = CurveOf(Curves::Basis::Linear, {{0, -9, -2}, {0, 9, -2}}, 0.5f);
    curves.isFlat = true;
    Material material = Matt(Color(0.5f, 0.5f, 0.5f));
    material.isDoubleSided = false; // has no effect: a ribbon shows one side to all rays
    SceneData scene = SceneOf(std::move(curves), material);
    AddEnvironment(scene);
    EXPECT_NEAR(At(Drawn(scene, 256), 8, 8).r, 0.5f, 0.01f);
}

TEST(Curves, HaveNoGapsAtTheJointsOfRoundLinearSegments) {
    SceneData scene = SceneOf(CurveOf(Curves::Basis::Linear,
                                      {{-0.9f, 0.5f, -2}, {0, -0.4f, -2}, {0.9f, 0.5f, -2}}, 0.3f));
    const Picture picture = Drawn(scene, 64);
    EXPECT_EQ(At(picture, 8, 12).a, 1) << "below the joint, at y = -0.56";
    EXPECT_EQ(At(picture, 8, 14).a, 0);
}

TEST(Curves, MoveWhileTheShutterIsOpen) {
    Curves curves = CurveOf(Curves::Basis::Linear, {{-0.5f, -9, -2}, {-0.5f, 9, -2}}, 0.5f);
    curves.points.push_back(curves.points[0]);
    for (V4f& point : curves.points[1])
        point.x = 0.5f;
    const Picture picture = Drawn(SceneOf(std::move(curves)), 1024);
    // The curve covers x when its middle, which goes from -0.5 to 0.5, is nearer than 0.5.
    EXPECT_NEAR(At(picture, 8, 8).a, 0.9375f, 0.02f);
    EXPECT_NEAR(At(picture, 4, 8).a, 0.5625f, 0.02f);
    EXPECT_NEAR(At(picture, 0, 8).a, 0.0625f, 0.02f);
}

TEST(Curves, HaveCoordinatesAcrossAndAlong) {
    Curves curves = CurveOf(Curves::Basis::Linear, {{0, 0, 0}, {0, 1, 0}, {0, 2, 0}}, 1);
    RayHit hit;
    hit.primitive = 1;
    hit.u = 0.5f;
    hit.v = -0.5f;
    EXPECT_EQ(CurveCoordinatesAt(curves, hit, "st"), V2f(0.5f, 0.75f));
    curves.isFlat = true;
    EXPECT_EQ(CurveCoordinatesAt(curves, hit, "st"), V2f(0.25f, 0.75f));
    curves.uvSets.push_back({"st", CurveScope::Point, {V2f(0), V2f(1), V2f(2, 4)}});
    curves.uvSets.push_back({"st1", CurveScope::Curve, {V2f(7, 8)}});
    curves.uvSets.push_back({"st2", CurveScope::All, {V2f(9, 9)}});
    EXPECT_EQ(CurveCoordinatesAt(curves, hit, "st"), V2f(1.5f, 2.5f));
    EXPECT_EQ(CurveCoordinatesAt(curves, hit, "st1"), V2f(7, 8));
    EXPECT_EQ(CurveCoordinatesAt(curves, hit, "st2"), V2f(9, 9));
    EXPECT_EQ(CurveCoordinatesAt(curves, hit, "other"), V2f(1.5f, 2.5f)) << "those of the first";
}

TEST(Curves, HaveColorsByPointByCurveOrForAll) {
    Curves curves = CurveOf(Curves::Basis::Linear, {{0, 0, 0}, {0, 1, 0}, {0, 2, 0}}, 1);
    using Imath::C4f;
    curves.colorSets = {{"color", CurveScope::Point, {C4f(0.0f), C4f(1.0f), C4f(0.0f)}},
                        {"color1", CurveScope::Curve, {C4f(0.5f)}},
                        {"color2", CurveScope::All, {C4f(0.25f)}}};
    RayHit hit;
    hit.primitive = 1;
    hit.u = 0.25f;
    C4f color(9.0f);
    EXPECT_FALSE(CurveColorAt(curves, hit, "other", color));
    EXPECT_EQ(color, C4f(9.0f));
    EXPECT_TRUE(CurveColorAt(curves, hit, "color", color));
    EXPECT_EQ(color, C4f(0.75f));
    EXPECT_TRUE(CurveColorAt(curves, hit, "color1", color));
    EXPECT_EQ(color, C4f(0.5f));
    EXPECT_TRUE(CurveColorAt(curves, hit, "color2", color));
    EXPECT_EQ(color, C4f(0.25f));
}

TEST(Curves, ShowTheirColors) {
    Curves curves = CurveOf(Curves::Basis::Linear, {{0, -9, -2}, {0, 9, -2}}, 0.5f);
    curves.colorSets = {{"color", CurveScope::All, {Imath::C4f(0.5f, 0.25f, 0, 1)}}};
    Material material = Glowing(Color(0, 0, 0));
    ShadingStep color;
    color.kind = ShadingStep::Kind::VertexColor;
    color.set = "color";
    Feed(material, MaterialInput::Emission, color);
    const Picture picture = Drawn(SceneOf(std::move(curves), material));
    EXPECT_NEAR(At(picture, 8, 8).r, 0.5f, 1e-3f);
    EXPECT_NEAR(At(picture, 8, 8).g, 0.25f, 1e-3f);
}

} // namespace
