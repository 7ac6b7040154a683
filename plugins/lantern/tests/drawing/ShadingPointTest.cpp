#include "drawing/ShadingPoint.h"

#include <gtest/gtest.h>

#include "DrawingScenes.h"

// The steps of shading networks, on surfaces that show their emission.

namespace {

using namespace LanternTest;
using Kind = ShadingStep::Kind;

ShadingStep Step(Kind kind, const Color& first = Color(0, 0, 0),
                 const Color& second = Color(0, 0, 0), const Color& third = Color(0, 0, 0)) {
    ShadingStep step;
    step.kind = kind;
    step.inputs[0].constant = first;
    step.inputs[1].constant = second;
    step.inputs[2].constant = third;
    return step;
}

/// The value of the last step at texture coordinates, on a square.
Color ValueOf(const std::vector<ShadingStep>& steps, const V2f& st = {0.5f, 0.5f},
              const std::vector<ColorSet>& colors = {}) {
    SceneData scene = EmptyScene();
    Mesh mesh = Square(0, 0, 1, 1, 0);
    mesh.colorSets = colors;
    AddMesh(scene, mesh);
    Material material;
    material.steps = steps;
    material[MaterialInput::BaseColor].step = static_cast<Index>(steps.size() - 1);
    Report report;
    const Textures textures(scene, report);
    RayHit hit;
    hit.instance = 0;
    // The first triangle has s >= t, the second one s <= t.
    hit.primitive = st.x >= st.y ? 0 : 1;
    hit.u = hit.primitive == 0 ? st.x - st.y : st.x;
    hit.v = hit.primitive == 0 ? st.y : st.y - st.x;
    return ShadingPoint(scene, textures, hit, material)
        .color(MaterialInput::BaseColor, Color(0.125f));
}

TEST(ShadingPoint, DoesArithmetic) {
    const Color a(0.25f, 0.5f, 1), b(0.5f, 0.25f, 0);
    EXPECT_EQ(ValueOf({Step(Kind::Add, a, b)}), Color(0.75f, 0.75f, 1));
    EXPECT_EQ(ValueOf({Step(Kind::Multiply, a, b)}), Color(0.125f, 0.125f, 0));
    EXPECT_EQ(ValueOf({Step(Kind::Invert, a)}), Color(0.75f, 0.5f, 0));
    EXPECT_EQ(ValueOf({Step(Kind::Mix, a, b, {0, 0.5f, 1})}), Color(0.25f, 0.375f, 0));
    EXPECT_EQ(ValueOf({Step(Kind::Combine, a, b, {0.75f, 0, 0})}), Color(0.25f, 0.5f, 0.75f));
}

TEST(ShadingPoint, AlternatesTheSquaresOfACheckerBoard) {
    ShadingStep checker = Step(Kind::Checker, Color(1, 0, 0), Color(0, 1, 0));
    checker.uvTransform.alongS = {2, 0};
    checker.uvTransform.alongT = {0, 2};
    EXPECT_EQ(ValueOf({checker}, {0.25f, 0.25f}), Color(1, 0, 0));
    EXPECT_EQ(ValueOf({checker}, {0.75f, 0.25f}), Color(0, 1, 0));
    EXPECT_EQ(ValueOf({checker}, {0.25f, 0.75f}), Color(0, 1, 0));
    EXPECT_EQ(ValueOf({checker}, {0.75f, 0.75f}), Color(1, 0, 0));
    checker.uvTransform.offset = {-1, 0};
    EXPECT_EQ(ValueOf({checker}, {0.25f, 0.25f}), Color(0, 1, 0));
}

TEST(ShadingPoint, InterpolatesBetweenTheStopsOfARamp) {
    ShadingStep ramp = Step(Kind::Ramp);
    ramp.stops = {{0.25f, Color(0, 0, 0)}, {0.75f, Color(1, 0.5f, 0)}};
    ramp.inputs[0].step = 0;
    const ShadingStep along = Step(Kind::CoordinateS);
    EXPECT_EQ(ValueOf({along, ramp}, {0.125f, 0}), Color(0, 0, 0));
    EXPECT_EQ(ValueOf({along, ramp}, {0.5f, 0}), Color(0.5f, 0.25f, 0));
    EXPECT_EQ(ValueOf({along, ramp}, {0.875f, 0}), Color(1, 0.5f, 0));
    ramp.isStepped = true;
    EXPECT_EQ(ValueOf({along, ramp}, {0.5f, 0}), Color(0, 0, 0));
}

TEST(ShadingPoint, HasPatternsOfThePositionInTheShape) {
    ShadingStep checker = Step(Kind::Checker, Color(1, 0, 0), Color(0, 1, 0));
    checker.isInObjectSpace = true;
    checker.scale = V3f(2, 4, 1);
    EXPECT_EQ(ValueOf({checker}, {0.25f, 0.125f}), Color(1, 0, 0));
    EXPECT_EQ(ValueOf({checker}, {0.75f, 0.125f}), Color(0, 1, 0));
    EXPECT_EQ(ValueOf({checker}, {0.25f, 0.375f}), Color(0, 1, 0));
}

TEST(ShadingPoint, InterpolatesTheColorsOfVertices) {
    ShadingStep color = Step(Kind::VertexColor);
    color.set = "color";
    const std::vector<ColorSet> sets = {
        {"color", {{{0, 0, 0, 0}, {1, 0, 0, 1}, {1, 1, 0, 0}, {0, 1, 0, 1}}, {}}}};
    EXPECT_EQ(ValueOf({color}, {0.75f, 0.25f}, sets), Color(0.75f, 0.25f, 0));
    ShadingStep alpha = color;
    alpha.kind = Kind::VertexAlpha;
    EXPECT_EQ(ValueOf({alpha}, {0.75f, 0.25f}, sets), Color(0.5f));
    color.set = "color7";
    EXPECT_EQ(ValueOf({color}, {0.75f, 0.25f}, sets), Color(0.125f)) << "the material's own";
}

TEST(ShadingPoint, UsesTheConstantOfAStepWithoutAResult) {
    const ShadingStep missing = Step(Kind::VertexColor);
    ShadingStep product = Step(Kind::Multiply, Color(0.5f), Color(0.25f, 0.5f, 1));
    product.inputs[0].step = 0;
    EXPECT_EQ(ValueOf({missing, product}), Color(0.125f, 0.25f, 0.5f));
}

TEST(ShadingPoint, TakesAChannelOfAStep) {
    const ShadingStep sum = Step(Kind::Add, Color(0.25f, 0.5f, 1));
    ShadingStep product = Step(Kind::Multiply, Color(0), Color(1, 1, 1));
    product.inputs[0].step = 0;
    product.inputs[0].channel = 1;
    EXPECT_EQ(ValueOf({sum, product}), Color(0.5f));
}

TEST(ShadingPoint, ColorsSpheresByVertex) {
    SceneData scene = EmptyScene(2, 1);
    Material material = Glowing(Color(0, 0, 0));
    ShadingStep color = Step(Kind::VertexColor);
    color.set = "color";
    Feed(material, MaterialInput::Emission, color);
    Shape shape;
    shape.spheres.centers = {{{-1, 0, -2}, {1, 0, -2}}};
    shape.spheres.radii = {0.9f, 0.9f};
    shape.spheres.colorSets = {{"color", {{{1, 0, 0, 1}, {0, 1, 0, 1}}, {}}}};
    scene.shapes.push_back(shape);
    AddInstance(scene, 0, {M44f()}, AddMaterial(scene, material));
    const Picture picture = Drawn(scene);
    EXPECT_GT(At(picture, 0, 0).r, 0.5f);
    EXPECT_EQ(At(picture, 0, 0).g, 0);
    EXPECT_GT(At(picture, 1, 0).g, 0.5f);
}

} // namespace
