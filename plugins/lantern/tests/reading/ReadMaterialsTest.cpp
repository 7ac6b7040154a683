#include "reading/ReadMaterial.h"

#include <gmock/gmock.h>

#include "ReadingTest.h"
#include "reading/MaterialChain.h"

namespace {

using namespace LanternTest;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

/// A network of a shader and more nodes.
std::string Network(const std::string& shader, const std::string& more = "") {
    return R"("material": {"style": "network", "terminals": {"surface": "shader"}, "nodes": {
        "shader": {"name": "shader", )" +
           shader + "}" + (more.empty() ? "" : ", ") + more + "}}";
}

std::string Image(const std::string& parameters) {
    return R"("image": {"name": "image", "type": "image", "parameters": {)" + parameters + "}}";
}

const Material& OnlyMaterial(const SceneData& scene) {
    EXPECT_THAT(scene.instances, SizeIs(1));
    return scene.materials.at(scene.surfaces.at(scene.instances.at(0).surface).material);
}

Material ReadOne(const std::string& attributes) {
    return OnlyMaterial(ReadSilently(SceneJson(Triangle("t", attributes))));
}

/// The texture that feeds an input without any other node.
Texture TextureOf(const SceneData& scene, const Material& material, MaterialInput input) {
    return scene.textures.at(material.steps.at(material[input].step).texture);
}

/// The base color texture of a triangle's material.
Texture BaseTexture(const std::string& shader, const std::string& parameters,
                    const std::string& attributes = "") {
    const SceneData scene = ReadSilently(SceneJson(Triangle(
        "t", Network(shader, Image(parameters)) + (attributes.empty() ? "" : ", ") + attributes)));
    return TextureOf(scene, OnlyMaterial(scene), MaterialInput::BaseColor);
}

const char* const kTextured =
    R"("type": "standard_surface", "connections": {"baseColor": "out@image"})";

TEST(ReadMaterials, AreTheDefaultIfThereIsNone) {
    const SceneData scene = ReadSilently(SceneJson(Triangle("t")));
    EXPECT_THAT(scene.materials, SizeIs(1));
    EXPECT_EQ(OnlyMaterial(scene).baseColor, Color(0.8f));
}

TEST(ReadMaterials, HaveAllParametersOfAStandardSurface) {
    const Material material = ReadOne(Network(R"("type": "standard_surface", "parameters": {
        "baseColor": [0.25, 0.5, 0.75], "emission": [2.0, 3, 4], "specularColor": [0.5, 0.5, 1],
        "specular": 0.125, "metalness": 1, "roughness": 0.375, "ior": 1.25, "transmission": 0.5,
        "coat": 0.625, "coatRoughness": 0.875, "opacity": 0.75, "alphaCutoff": 0.5,
        "normalScale": 2.0, "doubleSided": 0})"));
    EXPECT_EQ(material.name, "shader");
    EXPECT_EQ(material.baseColor, Color(0.25f, 0.5f, 0.75f));
    EXPECT_EQ(material.emission, Color(2, 3, 4));
    EXPECT_EQ(material.specularColor, Color(0.5f, 0.5f, 1));
    EXPECT_EQ(material.specular, 0.125f);
    EXPECT_EQ(material.metalness, 1);
    EXPECT_EQ(material.roughness, 0.375f);
    EXPECT_EQ(material.ior, 1.25f);
    EXPECT_EQ(material.transmission, 0.5f);
    EXPECT_EQ(material.coat, 0.625f);
    EXPECT_EQ(material.coatRoughness, 0.875f);
    EXPECT_EQ(material.opacity, 0.75f);
    EXPECT_EQ(material.alphaCutoff, 0.5f);
    EXPECT_EQ(material.normalScale, 2);
    EXPECT_FALSE(material.isDoubleSided);
}

TEST(ReadMaterials, ExposeValuesUnderPublicNames) {
    const Material material = ReadOne(R"("material": {"style": "network",
        "terminals": {"surface": "s"}, "parameters": {"wear": 0.25},
        "interface": {"wear": {"src": "s.roughness"}},
        "nodes": {"s": {"name": "s", "type": "standard_surface", "parameters": {"roughness": 1}}}})");
    EXPECT_EQ(material.roughness, 0.25f);
}

TEST(ReadMaterials, CanBeLegacyMaterials) {
    const Material material = ReadOne(R"("material": {"surfaceShader": "metal",
        "surfaceParams": {"color": [0.5, 0.25, 0.125], "roughness": 0.25}})");
    EXPECT_EQ(material.name, "metal");
    EXPECT_EQ(material.baseColor, Color(0.5f, 0.25f, 0.125f));
    EXPECT_EQ(material.metalness, 1);
    EXPECT_EQ(material.roughness, 0.25f);
}

TEST(ReadMaterials, AreInheritedFromTheNearestLocationThatHasASurface) {
    const std::string bumps =
        R"("material": {"displacementShader": "bumps", "displacementParams": {"height": 1.0}})";
    const SceneData scene = ReadSilently(SceneJson(
        R"("outer": {"a": {)" + Network(R"("type": "matte", "parameters": {"roughness": 0.25})") +
        R"(}, "c": {"inner": {"a": {)" + bumps + R"(}, "c": {)" + Triangle("own", bumps) + "}}}}"));
    EXPECT_EQ(OnlyMaterial(scene).roughness, 0.25f);
}

TEST(ReadMaterials, AreStoredOnceForEqualSurfaces) {
    const std::string red = Network(R"("type": "matte", "parameters": {"Kd": [1.0, 0, 0]})");
    const std::string blue = Network(R"("type": "matte", "parameters": {"Kd": [0.0, 0, 1]})");
    const SceneData scene =
        ReadSilently(SceneJson(Triangle("a", red) + ", " + Triangle("b", blue) +
                               R"(, "g": {"a": {)" + red + R"(}, "c": {)" + Triangle("c") + "}}"));
    EXPECT_THAT(scene.materials, SizeIs(3)) << "with the default one";
    ASSERT_THAT(scene.instances, SizeIs(3));
    EXPECT_EQ(scene.instances[2].surface, scene.instances[0].surface);
    EXPECT_NE(scene.instances[1].surface, scene.instances[0].surface);
}

TEST(ReadMaterials, WarnOfUnknownShaders) {
    Told told;
    const SceneData scene =
        ReadJson(SceneJson(Triangle("t", R"("material": {"surfaceShader": "wood",
                                    "surfaceParams": {"color": [0.5, 0.25, 0.125]}})")),
                 told);
    EXPECT_EQ(OnlyMaterial(scene).baseColor, Color(0.5f, 0.25f, 0.125f));
    EXPECT_THAT(told.warnings, ElementsAre("/root/world/t: the shader \"wood\" is not known; it is "
                                           "drawn as a standard surface"));
}

TEST(ReadMaterials, ClampValuesToTheirRanges) {
    const Material material = ReadOne(Network(R"("type": "standard_surface", "parameters": {
        "baseColor": [2.0, -1, 0.5], "roughness": 7.0, "ior": 0.5, "opacity": -1})"));
    EXPECT_EQ(material.baseColor, Color(1, 0, 0.5f));
    EXPECT_EQ(material.roughness, 1);
    EXPECT_EQ(material.ior, 1);
    EXPECT_EQ(material.opacity, 0);
}

TEST(ReadMaterials, WarnOfInvalidValues) {
    Told told;
    const SceneData scene =
        ReadJson(SceneJson(Triangle("t", Network(R"("type": "standard_surface", "parameters": {
            "baseColor": [1.0, 0.5], "roughness": {"$type": "float", "values": ["nan"]}})"))),
                 told);
    EXPECT_EQ(OnlyMaterial(scene).roughness, 0.5f);
    EXPECT_THAT(told.warnings,
                ElementsAre("/root/world/t: \"baseColor\" of its material is no colour",
                            "/root/world/t: \"roughness\" of its material is not a number"));
}

TEST(ReadMaterials, UseConnectedConstants) {
    const Material material = ReadOne(Network(
        R"("type": "matte", "connections": {"baseColor": "out@c", "roughness": "b@c"})",
        R"("c": {"name": "c", "type": "constant", "parameters": {"color": [0.25, 0.5, 0.75]}})"));
    EXPECT_EQ(material.baseColor, Color(0.25f, 0.5f, 0.75f));
    EXPECT_EQ(material.roughness, 0.75f);
}

TEST(ReadMaterials, WarnOnceOfNodesOfUnknownTypes) {
    Told told;
    const SceneData scene = ReadJson(
        SceneJson(Triangle("t", Network(R"("type": "matte", "parameters": {"roughness": 0.25},
            "connections": {"roughness": "out@n", "baseColor": "out@nobody", "bump": "out@n",
                            "emission:r": "out@n", "ior": "out@m"})",
                                        R"("n": {"name": "n", "type": "wood"},
                                           "m": {"name": "m", "type": "marble"})"))),
        told);
    EXPECT_EQ(OnlyMaterial(scene).roughness, 0.25f);
    EXPECT_THAT(told.warnings,
                ElementsAre("/root/world/t: \"baseColor\" of its material is fed by a node that is "
                            "not there; its own value is used",
                            "/root/world/t: \"bump\" of its material has a texture, which is left "
                            "out",
                            "/root/world/t: its material has nodes of unknown types, which are "
                            "left out: \"marble\", \"wood\""));
}

TEST(ReadMaterials, WarnOfAMissingSurfaceNode) {
    Told told;
    ReadJson(SceneJson(Triangle("t", R"("material": {"style": "network",
                                         "terminals": {"surface": "nobody"}})")),
             told);
    EXPECT_THAT(told.warnings, ElementsAre("/root/world/t: its material has no surface that is "
                                           "there; it is drawn in grey"));
}

// Textures ----------------------------------------------------------------------------------------

TEST(ReadTextures, HaveTheParametersOfTheImageNode) {
    const Texture texture = BaseTexture(kTextured, R"("file": "/a/wood.png", "uvSet": "st1",
        "wrapU": "clamp", "wrapV": "mirror", "colorSpace": "srgb", "multiply": [0.5, 0.25, 1],
        "uvTransform": [0.125, 0.25, 2, 3, 1.5])");
    EXPECT_EQ(texture.file, "/a/wood.png");
    EXPECT_EQ(texture.uvSet, "st1");
    EXPECT_EQ(texture.wrapU, Texture::Wrap::Clamp);
    EXPECT_EQ(texture.wrapV, Texture::Wrap::Mirror);
    EXPECT_TRUE(texture.isSrgb);
    EXPECT_EQ(texture.channel, -1);
    EXPECT_EQ(texture.multiply, Color(0.5f, 0.25f, 1));
    // Scaled, then turned, then moved.
    const V2f moved = texture.uvTransform({0.5f, 1});
    EXPECT_NEAR(moved.x, 0.125 + 1 * std::cos(1.5) - 3 * std::sin(1.5), 1e-6);
    EXPECT_NEAR(moved.y, 0.25 + 1 * std::sin(1.5) + 3 * std::cos(1.5), 1e-6);
}

TEST(ReadTextures, DefaultToSrgbForColorsExceptInFormatsForLight) {
    EXPECT_TRUE(BaseTexture(kTextured, R"("file": "wood.PNG")").isSrgb);
    EXPECT_FALSE(BaseTexture(kTextured, R"("file": "wood.EXR")").isSrgb);
    EXPECT_FALSE(BaseTexture(kTextured, R"("file": "wood.png", "colorSpace": "linear")").isSrgb);
}

TEST(ReadTextures, MultiplyASingleChannelByItsOwnFactor) {
    const SceneData scene = ReadSilently(SceneJson(
        Triangle("t", Network(R"("type": "standard_surface", "parameters": {"opacity": 0.375},
            "connections": {"metalness": "b@image", "roughness": "g@image", "opacity": "a@image",
                            "specular": "out@image", "normal": "out@image"})",
                              Image(R"("file": "m.png", "multiply": [1.0, 0.25, 0.5])")))));
    const Material& material = OnlyMaterial(scene);
    const Texture metalness = TextureOf(scene, material, MaterialInput::Metalness);
    EXPECT_EQ(metalness.channel, 2);
    EXPECT_EQ(metalness.multiply.x, 0.5f);
    EXPECT_FALSE(metalness.isSrgb);
    const Texture roughness = TextureOf(scene, material, MaterialInput::Roughness);
    EXPECT_EQ(roughness.channel, 1);
    EXPECT_EQ(roughness.multiply.x, 0.25f);
    const Texture opacity = TextureOf(scene, material, MaterialInput::Opacity);
    EXPECT_EQ(opacity.channel, 3);
    EXPECT_EQ(opacity.multiply.x, 0.375f) << "the surface's own";
    EXPECT_EQ(TextureOf(scene, material, MaterialInput::Specular).channel, 0);
    EXPECT_EQ(TextureOf(scene, material, MaterialInput::Normal).channel, -1);
    const Index step = material[MaterialInput::BaseColor].step;
    EXPECT_EQ(material.steps.at(step).kind, ShadingStep::Kind::VertexColor);
}

TEST(ReadTextures, AreIgnoredWithoutAFile) {
    Told told;
    const SceneData scene =
        ReadJson(SceneJson(Triangle("t", Network(kTextured, Image("\"wrapU\": \"clamp\"")))), told);
    EXPECT_THAT(scene.textures, IsEmpty());
    EXPECT_THAT(told.warnings, ElementsAre("/root/world/t: \"baseColor\" of its material is fed by "
                                           "an image without a file; its own value is used"));
}

TEST(ReadTextures, UseTheFileOfTheLocationsTexture) {
    const std::string textures = R"("textures": {"wood": "oak.png", "baseColor": "base.png"})";
    EXPECT_EQ(BaseTexture(kTextured, R"("attribute": "wood")", textures).file, "oak.png");
    EXPECT_EQ(BaseTexture(kTextured, R"("wrapU": "clamp")", textures).file, "base.png");
    EXPECT_EQ(BaseTexture(R"("type": "matte")", "", textures).file, "base.png")
        << "without any connection";
}

// Materials by face -------------------------------------------------------------------------------

/// Four coincident triangles.
const char* const kFourFaces = R"("geometry": {"point.P": [[0.0, 0, 0], [1, 0, 0], [0, 1, 0]],
    "poly": {"vertexList": [0, 1, 2, 0, 1, 2, 0, 1, 2, 0, 1, 2], "startIndex": [0, 3, 6, 9, 12]}})";

std::string FourFaces(const std::string& attributes, const std::string& children = "") {
    return R"("m": {"a": {"type": "polymesh", )" + std::string(kFourFaces) + ", " + attributes +
           R"(}, "c": {)" + children + "}}";
}

std::string FaceSetOf(const std::string& name, const std::string& faces,
                      const std::string& attributes) {
    return "\"" + name + R"(": {"a": {"type": "faceset", "geometry.faces": )" + faces +
           (attributes.empty() ? "" : ", ") + attributes + "}}";
}

/// The roughness of each face's material, which identifies it.
std::vector<float> RoughnessOfFaces(const SceneData& scene) {
    const Surface& surface = scene.surfaces.at(scene.instances.at(0).surface);
    std::vector<float> values;
    for (Index face = 0; face < 4; ++face)
        values.push_back(scene.materials.at(surface.materialOf(face)).roughness);
    return values;
}

std::string Matte(const std::string& roughness) {
    return Network(R"("type": "matte", "parameters": {"roughness": )" + roughness + "}");
}

TEST(ReadFaceMaterials, AreThoseOfTheFaceSets) {
    const SceneData scene = ReadSilently(
        SceneJson(FourFaces(Matte("0.25"), FaceSetOf("f", "[1, 3]", Matte("0.75")) + ", " +
                                               FaceSetOf("plain", "[0]", "") +
                                               R"(, "other": {"a": {"type": "group"}})")));
    EXPECT_THAT(RoughnessOfFaces(scene), ElementsAre(0.25f, 0.75f, 0.25f, 0.75f));
    EXPECT_THAT(scene.instances, SizeIs(1));
}

TEST(ReadFaceMaterials, IgnoreHiddenFaceSets) {
    const SceneData scene = ReadSilently(SceneJson(
        FourFaces(Matte("0.25"), FaceSetOf("f", "[1, 3]", Matte("0.75") + ", \"visible\": 0"))));
    EXPECT_THAT(RoughnessOfFaces(scene), ElementsAre(0.25f, 0.25f, 0.25f, 0.25f));
}

TEST(ReadFaceMaterials, WarnOfFacesThatTheMeshDoesNotHave) {
    Told told;
    const SceneData scene = ReadJson(
        SceneJson(FourFaces(Matte("0.25"), FaceSetOf("f", "[2, 4, -1]", Matte("0.75")))), told);
    EXPECT_THAT(RoughnessOfFaces(scene), ElementsAre(0.25f, 0.25f, 0.75f, 0.25f));
    EXPECT_THAT(told.warnings,
                ElementsAre("/root/world/m/f: \"geometry.faces\" has faces that the mesh does not "
                            "have",
                            "/root/world/m/f: \"geometry.faces\" has faces that the mesh does not "
                            "have"));
}

/// The file of each face's base color texture.
std::vector<std::string> FilesOfFaces(const SceneData& scene) {
    const Surface& surface = scene.surfaces.at(scene.instances.at(0).surface);
    std::vector<std::string> files;
    for (Index face = 0; face < 4; ++face) {
        const Material& material = scene.materials.at(surface.materialOf(face));
        files.push_back(TextureOf(scene, material, MaterialInput::BaseColor).file);
    }
    return files;
}

TEST(ReadFaceMaterials, HaveTheTexturesOfTheirFaces) {
    const SceneData scene = ReadSilently(SceneJson(FourFaces(
        Network(kTextured, Image(R"("attribute": "tiles", "colorSpace": "srgb")")) +
        R"(, "textures": {"tiles": {"maps": ["blue", "gold", "white"], "indicies": [0, 1, 0, 2]}})")));
    EXPECT_THAT(FilesOfFaces(scene), ElementsAre("blue", "gold", "blue", "white"));
    EXPECT_THAT(scene.materials, SizeIs(4)) << "with the default one";
    EXPECT_THAT(scene.textures, SizeIs(3));
}

TEST(ReadFaceMaterials, FallBackToTheMeshsMaterialWithoutATexture) {
    const SceneData scene = ReadSilently(SceneJson(FourFaces(
        Network(kTextured, Image(R"("attribute": "tiles")")) +
        R"(, "textures": {"tiles": {"maps": ["blue", "gold"], "indicies": [1, 7, -1]}})")));
    EXPECT_THAT(FilesOfFaces(scene), ElementsAre("gold", "blue", "blue", "blue"));
}

TEST(ReadFaceMaterials, HaveTexturesByFaceInFaceSetsToo) {
    const std::string tiled = Network(kTextured, Image(R"("attribute": "tiles")"));
    const SceneData scene = ReadSilently(SceneJson(FourFaces(
        Network(kTextured, Image(R"("file": "plain")")) +
            R"(, "textures": {"tiles": {"maps": ["blue", "gold"], "indicies": [0, 1, 0, 1]}})",
        FaceSetOf("f", "[2, 3]", tiled))));
    EXPECT_THAT(FilesOfFaces(scene), ElementsAre("plain", "plain", "blue", "gold"));
}

TEST(MaterialChain, CanBeLongerThanRecursionAllows) {
    MaterialChain::Ptr chain;
    for (int i = 0; i < 1000000; ++i)
        chain = MaterialChain::make(Attribute(), Attribute(), std::move(chain));
    const MaterialChain::Ptr kept = MaterialChain::make(Attribute(), Attribute(), chain);
    chain = nullptr;
    EXPECT_EQ(kept->above()->hash(), kept->above()->above()->hash().with(Hash()));
}

} // namespace
