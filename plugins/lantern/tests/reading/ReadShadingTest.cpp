#include "reading/CompileShading.h"

#include <gmock/gmock.h>

#include "ReadingTest.h"

// Networks of nodes that feed a surface.

namespace {

using namespace LanternTest;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using Kind = ShadingStep::Kind;
using Input = MaterialInput;

/// The description of a triangle with a network whose surface is the node "shader".
std::string Scene(const std::string& nodes) {
    return SceneJson(Triangle("t", R"("material": {"style": "network",
        "terminals": {"surface": "shader"}, "nodes": {)" +
                                       nodes + "}}"));
}

std::string Node(const std::string& name, const std::string& type, const std::string& parameters,
                 const std::string& connections = "") {
    return "\"" + name + R"(": {"name": ")" + name + R"(", "type": ")" + type +
           R"(", "parameters": {)" + parameters + R"(}, "connections": {)" + connections + "}}";
}

const Material& MaterialOf(const SceneData& scene) {
    return scene.materials.at(scene.surfaces.at(scene.instances.at(0).surface).material);
}

Material ReadNodes(const std::string& nodes) {
    return MaterialOf(ReadSilently(Scene(nodes)));
}

const ShadingStep& StepOf(const Material& material, Input input) {
    return material.steps.at(material[input].step);
}

TEST(ReadShading, HasTheParametersOfTheExtensions) {
    const Material material = ReadNodes(Node("shader", "standard_surface", R"(
        "thickness": 0.5, "attenuationDistance": 2.0, "attenuationColor": [0.25, 0.5, 1],
        "sheenColor": [1.0, 0.5, 0.25], "sheenRoughness": 0.75, "anisotropy": 0.625,
        "anisotropyRotation": -1.5, "emission": [1.0, 0.5, 0], "emissionStrength": 4.0)"));
    EXPECT_EQ(material.thickness, 0.5f);
    EXPECT_EQ(material.attenuationDistance, 2);
    EXPECT_EQ(material.attenuationColor, Color(0.25f, 0.5f, 1));
    EXPECT_EQ(material.sheenColor, Color(1, 0.5f, 0.25f));
    EXPECT_EQ(material.sheenRoughness, 0.75f);
    EXPECT_EQ(material.anisotropy, 0.625f);
    EXPECT_EQ(material.anisotropyRotation, -1.5f);
    EXPECT_EQ(material.emission, Color(4, 2, 0));
}

TEST(ReadShading, MakesAnUnlitSurfaceEmitItsBaseColor) {
    const Material material = ReadNodes(Node("shader", "standard_surface", R"(
        "baseColor": [0.25, 0.5, 1], "emission": [9.0, 9, 9], "metalness": 1, "coat": 1,
        "unlit": 1)"));
    EXPECT_TRUE(material.isUnlit);
    EXPECT_EQ(material.emission, Color(0.25f, 0.5f, 1));
    EXPECT_EQ(material.baseColor, Color(0, 0, 0));
    EXPECT_EQ(material.specular, 0);
    EXPECT_EQ(material.metalness, 0);
    EXPECT_EQ(material.coat, 0);
}

TEST(ReadShading, MultipliesTheBaseColorByVertexColorsOnRequest) {
    const Material plain = ReadNodes(Node("shader", "matte", R"("baseColor": [0.5, 0.5, 0.5])"));
    EXPECT_EQ(plain[Input::BaseColor].step, kNone);
    const Material material =
        ReadNodes(Node("shader", "matte", R"("baseColor": [0.5, 0.5, 0.5], "vertexColor": 1)"));
    const ShadingStep& product = StepOf(material, Input::BaseColor);
    EXPECT_EQ(product.kind, Kind::Multiply);
    EXPECT_EQ(product.inputs[0].constant, Color(0.5f));
    EXPECT_EQ(material.steps.at(product.inputs[1].step).kind, Kind::VertexColor);
    EXPECT_EQ(material.steps.at(product.inputs[1].step).set, "color");
}

TEST(ReadShading, UsesVertexColorsWithoutABaseColorUnlessToldNotTo) {
    EXPECT_EQ(StepOf(ReadNodes(Node("shader", "matte", "")), Input::BaseColor).kind,
              Kind::VertexColor);
    EXPECT_EQ(ReadNodes(Node("shader", "matte", R"("vertexColor": 0)"))[Input::BaseColor].step,
              kNone);
    EXPECT_EQ(MaterialOf(ReadSilently(SceneJson(Triangle("t"))))[Input::BaseColor].step, 0u);
}

TEST(ReadShading, TakesSingleComponentsOfInputs) {
    const Material material = ReadNodes(Node("shader", "matte", R"("baseColor": [0.25, 0.5, 0.75])",
                                             R"("baseColor:g": "out:b@c", "baseColor:b": "a@v")") +
                                        ", " + Node("c", "vertexColor", R"("name": "color1")") +
                                        ", " + Node("v", "vertexColor", ""));
    const ShadingStep& combine = StepOf(material, Input::BaseColor);
    EXPECT_EQ(combine.kind, Kind::Combine);
    EXPECT_EQ(combine.inputs[0].constant, Color(0.25f));
    EXPECT_EQ(combine.inputs[0].step, kNone);
    EXPECT_EQ(combine.inputs[1].channel, 2);
    EXPECT_EQ(material.steps.at(combine.inputs[1].step).set, "color1");
    EXPECT_EQ(material.steps.at(combine.inputs[2].step).kind, Kind::VertexAlpha);
}

TEST(ReadShading, ReadsPatternsOfThePositionInTheShape) {
    const Material material = ReadNodes(
        Node("shader", "matte", "", R"("baseColor": "out@noise", "roughness": "r@checker")") +
        ", " + Node("noise", "noise", R"("space": "object", "scale": [1.0, 2, 3])") + ", " +
        Node("checker", "checker", R"("space": "uv")"));
    EXPECT_TRUE(StepOf(material, Input::BaseColor).isInObjectSpace);
    EXPECT_EQ(StepOf(material, Input::BaseColor).scale, V3f(1, 2, 3));
    EXPECT_FALSE(StepOf(material, Input::Roughness).isInObjectSpace);
}

TEST(ReadShading, HasTangentsOfItsOwnForEachNormalMap) {
    const Material material =
        ReadNodes(Node("shader", "matte", "", R"("normal": "out@one", "coatNormal": "out@other")") +
                  ", " + Node("one", "image", R"("file": "a.png", "uvSet": "st1")") + ", " +
                  Node("other", "image", R"("file": "b.png", "uvSet": "st2")"));
    EXPECT_EQ(material.normalUvSet, "st1");
    EXPECT_EQ(material.coatNormalUvSet, "st2");
}

TEST(ReadShading, CompilesProceduralNodes) {
    const Material material = ReadNodes(
        Node("shader", "matte", "", R"("baseColor": "out@mix", "roughness": "r@ramp")") + ", " +
        Node("mix", "mix", R"("amount": 0.25)", R"("a": "out@checker", "b": "out@sum")") + ", " +
        Node("checker", "checker", R"("color2": [0.0, 0, 1], "scale": 4.0)") + ", " +
        Node("sum", "add", R"("a": 0.5)", R"("b": "out@product")") + ", " +
        Node("product", "multiply", R"("b": [0.5, 1.0, 1])", R"("a": "out@inverse")") + ", " +
        Node("inverse", "invert", "", R"("a": "out@noise")") + ", " +
        Node("noise", "noise", R"("octaves": 5)") + ", " +
        Node("ramp", "ramp",
             R"("positions": [1.0, 0], "colors": [1.0, 1, 1, 0, 0, 0.5], "direction": "v")"));
    const ShadingStep& mix = StepOf(material, Input::BaseColor);
    EXPECT_EQ(mix.kind, Kind::Mix);
    EXPECT_EQ(mix.inputs[2].constant, Color(0.25f));
    const ShadingStep& checker = material.steps.at(mix.inputs[0].step);
    EXPECT_EQ(checker.kind, Kind::Checker);
    EXPECT_EQ(checker.inputs[0].constant, Color(1, 1, 1));
    EXPECT_EQ(checker.inputs[1].constant, Color(0, 0, 1));
    EXPECT_EQ(checker.uvTransform({0.5f, 0.25f}), V2f(2, 1));
    const ShadingStep& sum = material.steps.at(mix.inputs[1].step);
    EXPECT_EQ(sum.inputs[0].constant, Color(0.5f));
    const ShadingStep& product = material.steps.at(sum.inputs[1].step);
    EXPECT_EQ(product.inputs[1].constant, Color(0.5f, 1, 1));
    const ShadingStep& inverse = material.steps.at(product.inputs[0].step);
    EXPECT_EQ(inverse.kind, Kind::Invert);
    EXPECT_EQ(material.steps.at(inverse.inputs[0].step).octaves, 5);
    const ShadingStep& ramp = StepOf(material, Input::Roughness);
    EXPECT_EQ(material[Input::Roughness].channel, 0);
    EXPECT_EQ(ramp.stops.at(0).color, Color(0, 0, 0.5f)) << "sorted";
    EXPECT_EQ(material.steps.at(ramp.inputs[0].step).kind, Kind::CoordinateT);
}

TEST(ReadShading, ChainsTransformsOfCoordinates) {
    const SceneData scene = ReadSilently(Scene(
        Node("shader", "matte", "", R"("baseColor": "out@image")") + ", " +
        Node("image", "image", R"("file": "a.png", "uvTransform": [0.5, 0, 1, 1, 0.0])",
             R"("uv": "out@second")") +
        ", " + Node("second", "uvTransform", R"("scale": [2.0, 4.0])", R"("uv": "out@first")") +
        ", " + Node("first", "uvTransform", R"("offset": [1.0, 0], "uvSet": "st1")")));
    ASSERT_EQ(scene.textures.size(), 1u);
    EXPECT_EQ(scene.textures[0].uvSet, "st1");
    EXPECT_EQ(scene.textures[0].uvTransform({0, 1}), V2f(2.5f, 4));
}

/// The warnings about a network.
std::vector<std::string> WarningsOf(const std::string& nodes) {
    Told told;
    ReadJson(Scene(nodes), told);
    return told.warnings;
}

TEST(ReadShading, RefusesCyclesByTheNameOfTheNode) {
    EXPECT_THAT(WarningsOf(Node("shader", "matte", "", R"("baseColor": "out@one")") + ", " +
                           Node("one", "invert", "", R"("a": "out@two")") + ", " +
                           Node("two", "invert", "", R"("a": "out@one")")),
                ElementsAre(HasSubstr("the node \"one\", which feeds itself")));
    EXPECT_THAT(WarningsOf(Node("shader", "matte", "", R"("baseColor": "out@c")") + ", " +
                           Node("c", "checker", "", R"("uv": "out@t")") + ", " +
                           Node("t", "uvTransform", "", R"("uv": "out@t")")),
                ElementsAre(HasSubstr("the node \"t\" of its material feeds itself")));
}

TEST(ReadShading, LimitsTheNumberOfNodes) {
    std::string nodes = Node("shader", "matte", "", R"("baseColor": "out@n0")");
    for (int i = 0; i < 200; ++i)
        nodes += ", " + Node("n" + std::to_string(i), "invert", "",
                             R"("a": "out@n)" + std::to_string(i + 1) + "\"");
    nodes += ", " + Node("n200", "noise", "");
    EXPECT_THAT(WarningsOf(nodes), ElementsAre(HasSubstr("more than 64 nodes")));
}

TEST(ReadShading, BlendsTheSurfacesOfLayers) {
    const std::string parts =
        ", " + Node("red", "matte", R"("baseColor": [1.0, 0, 0], "roughness": 0.25)") + ", " +
        Node("steel", "metal", R"("baseColor": [0.0, 0, 1], "roughness": 0.75)");
    const char* const both = R"("base": "out@red", "top": "out@steel")";
    const Material constant = ReadNodes(Node("shader", "layer", R"("mask": 0.25)", both) + parts);
    EXPECT_EQ(constant.baseColor, Color(0.75f, 0, 0.25f));
    EXPECT_EQ(constant.roughness, 0.375f);
    EXPECT_EQ(constant.metalness, 0.25f);
    EXPECT_THAT(constant.steps, IsEmpty());
    const Material masked =
        ReadNodes(Node("shader", "layer", "", std::string(both) + R"(, "mask": "out@noise")") +
                  parts + ", " + Node("noise", "noise", ""));
    const ShadingStep& mix = StepOf(masked, Input::BaseColor);
    EXPECT_EQ(mix.kind, Kind::Mix);
    EXPECT_EQ(mix.inputs[0].constant, Color(1, 0, 0));
    EXPECT_EQ(mix.inputs[1].constant, Color(0, 0, 1));
    EXPECT_EQ(masked.steps.at(mix.inputs[2].step).kind, Kind::Noise);
    EXPECT_EQ(masked[Input::Ior].step, kNone) << "equal in both";
}

TEST(ReadShading, RefusesALayerThatContainsItself) {
    EXPECT_THAT(WarningsOf(Node("shader", "layer", "", R"("base": "out@m", "top": "out@loop")") +
                           ", " + Node("m", "matte", "") + ", " +
                           Node("loop", "layer", "", R"("base": "out@m", "top": "out@loop")")),
                ElementsAre(HasSubstr("the layer \"loop\" of its material contains itself")));
}

} // namespace
