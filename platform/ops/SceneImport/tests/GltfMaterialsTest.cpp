#include "gltf/Materials.h"

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "gltf/TinyGltf.h"
#include "gltf/Variants.h"

namespace {

using namespace OxAttribute;
using testing::ElementsAre;
using testing::FloatEq;
using testing::FloatNear;
using testing::HasSubstr;
using testing::IsEmpty;

using Floats = std::vector<float>;

const std::string kTextures = R"("textures": [
    {"source": 0, "sampler": 0}, {"source": 1}, {"extensions": {"EXT_texture_webp": {"source": 2}}},
    {"extensions": {"KHR_texture_basisu": {"source": 1}}}, {}],
    "samplers": [{"wrapS": 33071, "wrapT": 33648}],
    "images": [{"uri": "a.png"}, {"uri": "b.png"}, {"uri": "c.webp"}])";

tinygltf::Model ModelOf(const std::string& members) {
    const std::string text = R"({"asset": {"version": "2.0"}, )" + members + "}";
    tinygltf::Model model;
    std::string error, warning;
    if (!tinygltf::TinyGLTF().LoadASCIIFromString(&model, &error, &warning, text.data(),
                                                  static_cast<unsigned>(text.size()), ""))
        throw std::runtime_error(error);
    return model;
}

/// The network of one material, given by its members in JSON.
class Network {
public:
    explicit Network(const std::string& members, bool hasVertexColors = false) {
        const tinygltf::Model model =
            ModelOf(R"("materials": [{"name": "paint", )" + members + "}], " + kTextures);
        network = TellarSceneImport::MakeGltfMaterial(
            model, model.materials[0], hasVertexColors,
            [&](int image, const std::string&) { return "/maps/" + model.images[image].uri; },
            [&](const std::string& about) { warnings.push_back(about); });
    }

    Floats numbers(const std::string& name) const {
        const Attribute attribute = network.getChildByName("nodes." + name);
        if (IntAttribute(attribute).isValid())
            return {static_cast<float>(IntAttribute(attribute).getValue())};
        const auto sample = FloatAttribute(attribute).getNearestSample(0);
        return {sample.begin(), sample.end()};
    }
    Floats surface(const std::string& name) const { return numbers("surface.parameters." + name); }
    std::string text(const std::string& name) const {
        return StringAttribute(network.getChildByName("nodes." + name)).getValue("(none)", false);
    }
    std::string input(const std::string& name) const { return text("surface.connections." + name); }
    std::string file(const std::string& node) const { return text(node + ".parameters.file"); }

    std::vector<std::string> warnings;

private:
    GroupAttribute network;
};

std::string Extension(const std::string& name, const std::string& members) {
    return R"("extensions": {")" + name + "\": {" + members + "}}";
}

TEST(GltfMaterial, HasTheDefaultsOfTheFormat) {
    const Network paint(R"("alphaMode": "OPAQUE")");
    EXPECT_EQ(paint.surface("baseColor"), (Floats{1, 1, 1}));
    EXPECT_EQ(paint.surface("metalness"), (Floats{1}));
    EXPECT_EQ(paint.surface("roughness"), (Floats{1}));
    EXPECT_EQ(paint.surface("emission"), (Floats{0, 0, 0}));
    EXPECT_EQ(paint.surface("opacity"), (Floats{1}));
    for (const char* absent : {"alphaCutoff", "unlit", "ior", "transmission", "coat", "sheenColor",
                               "anisotropy", "doubleSided", "vertexColor", "emissionStrength"})
        EXPECT_THAT(paint.surface(absent), IsEmpty()) << absent;
}

TEST(GltfMaterial, ConnectsTheTexturesOfTheMetallicModel) {
    const Network paint(R"("pbrMetallicRoughness": {
        "baseColorFactor": [0.5, 0.25, 1, 0.75], "metallicFactor": 0.5, "roughnessFactor": 0.25,
        "baseColorTexture": {"index": 0, "texCoord": 1}, "metallicRoughnessTexture": {"index": 1}},
        "emissiveFactor": [0, 0.5, 0], "emissiveTexture": {"index": 1}, "doubleSided": true,
        "normalTexture": {"index": 1, "scale": 2},
        "occlusionTexture": {"index": 1, "strength": 0.5})");
    EXPECT_EQ(paint.input("baseColor"), "out@baseColorImage");
    EXPECT_EQ(paint.file("baseColorImage"), "/maps/a.png");
    EXPECT_EQ(paint.text("baseColorImage.parameters.uvSet"), "st1");
    EXPECT_EQ(paint.text("baseColorImage.parameters.wrapU"), "clamp");
    EXPECT_EQ(paint.text("baseColorImage.parameters.wrapV"), "mirror");
    EXPECT_EQ(paint.text("baseColorImage.parameters.colorSpace"), "srgb");
    EXPECT_EQ(paint.numbers("baseColorImage.parameters.multiply"), (Floats{0.5f, 0.25f, 1}));
    EXPECT_EQ(paint.input("metalness"), "b@metalnessRoughnessImage");
    EXPECT_EQ(paint.input("roughness"), "g@metalnessRoughnessImage");
    EXPECT_EQ(paint.numbers("metalnessRoughnessImage.parameters.multiply"),
              (Floats{1, 0.25f, 0.5f}));
    EXPECT_EQ(paint.text("metalnessRoughnessImage.parameters.colorSpace"), "linear");
    EXPECT_EQ(paint.numbers("emissionImage.parameters.multiply"), (Floats{0, 0.5f, 0}));
    EXPECT_EQ(paint.input("normal"), "out@normalImage");
    EXPECT_EQ(paint.surface("normalScale"), (Floats{2}));
    EXPECT_EQ(paint.input("occlusion"), "r@occlusionImage");
    EXPECT_EQ(paint.surface("occlusionStrength"), (Floats{0.5f}));
    EXPECT_EQ(paint.surface("doubleSided"), (Floats{1}));
    EXPECT_EQ(paint.surface("opacity"), (Floats{1})); // an opaque one has no alpha
    EXPECT_EQ(paint.input("opacity"), "(none)");
}

TEST(GltfMaterial, BlendsAndCutsOutByAlpha) {
    const std::string pbr = R"("pbrMetallicRoughness": {"baseColorFactor": [1, 1, 1, 0.75],
        "baseColorTexture": {"index": 0}})";
    const Network glass(R"("alphaMode": "BLEND", )" + pbr);
    EXPECT_EQ(glass.surface("opacity"), (Floats{0.75f}));
    EXPECT_EQ(glass.input("opacity"), "a@baseColorImage");
    EXPECT_THAT(glass.surface("alphaCutoff"), IsEmpty());
    const Network leaf(R"("alphaMode": "MASK", )" + pbr);
    EXPECT_EQ(leaf.surface("alphaCutoff"), (Floats{0.5f}));
    EXPECT_EQ(leaf.input("opacity"), "a@baseColorImage");
    EXPECT_EQ(Network(R"("alphaMode": "MASK", "alphaCutoff": 0.25)").surface("alphaCutoff"),
              (Floats{0.25f}));
}

TEST(GltfMaterial, MayBeUnlit) {
    EXPECT_EQ(Network(Extension("KHR_materials_unlit", "")).surface("unlit"), (Floats{1}));
}

TEST(GltfMaterial, MultipliesEmission) {
    const Network lamp(R"("emissiveFactor": [1, 0.5, 0], )" +
                       Extension("KHR_materials_emissive_strength", R"("emissiveStrength": 20)"));
    EXPECT_EQ(lamp.surface("emission"), (Floats{1, 0.5f, 0}));
    EXPECT_EQ(lamp.surface("emissionStrength"), (Floats{20}));
}

TEST(GltfMaterial, HasSpecularAndIor) {
    const Network paint(Extension("KHR_materials_specular",
                                  R"("specularFactor": 0.5, "specularTexture": {"index": 0},
        "specularColorFactor": [2, 1, 0.5], "specularColorTexture": {"index": 1})"));
    EXPECT_EQ(paint.surface("specular"), (Floats{0.5f}));
    EXPECT_EQ(paint.input("specular"), "a@specularImage");
    EXPECT_EQ(paint.numbers("specularImage.parameters.multiply"), (Floats{0.5f}));
    EXPECT_EQ(paint.surface("specularColor"), (Floats{2, 1, 0.5f}));
    EXPECT_EQ(paint.input("specularColor"), "out@specularColorImage");
    EXPECT_EQ(paint.text("specularColorImage.parameters.colorSpace"), "srgb");
    EXPECT_EQ(Network(Extension("KHR_materials_ior", R"("ior": 1.25)")).surface("ior"),
              (Floats{1.25f}));
    // 0 stands for a mirror at every angle.
    EXPECT_GT(Network(Extension("KHR_materials_ior", R"("ior": 0)")).surface("ior")[0], 100);
}

TEST(GltfMaterial, HasTransmissionAndVolume) {
    const Network glass(R"("extensions": {
        "KHR_materials_transmission": {"transmissionFactor": 0.5, "transmissionTexture": {"index": 0}},
        "KHR_materials_volume": {"thicknessFactor": 2, "thicknessTexture": {"index": 1},
            "attenuationDistance": 3, "attenuationColor": [1, 0.5, 0.25]}})");
    EXPECT_EQ(glass.surface("transmission"), (Floats{0.5f}));
    EXPECT_EQ(glass.input("transmission"), "r@transmissionImage");
    EXPECT_EQ(glass.surface("thickness"), (Floats{2}));
    EXPECT_EQ(glass.input("thickness"), "g@thicknessImage");
    EXPECT_EQ(glass.surface("attenuationDistance"), (Floats{3}));
    EXPECT_EQ(glass.surface("attenuationColor"), (Floats{1, 0.5f, 0.25f}));
    EXPECT_THAT(Network(Extension("KHR_materials_volume", "")).surface("attenuationDistance"),
                IsEmpty());
}

TEST(GltfMaterial, IsAThinSheetIfItTransmitsLightWithoutAVolume) {
    const Network sheet(Extension("KHR_materials_transmission", R"("transmissionFactor": 1)"));
    EXPECT_EQ(sheet.surface("thickness"), (Floats{0}));
}

TEST(GltfMaterial, HasAClearcoatWithThreeTextures) {
    const Network car(Extension("KHR_materials_clearcoat",
                                R"("clearcoatFactor": 0.75, "clearcoatTexture": {"index": 0},
        "clearcoatRoughnessFactor": 0.25, "clearcoatRoughnessTexture": {"index": 1},
        "clearcoatNormalTexture": {"index": 2, "scale": 0.5})"));
    EXPECT_EQ(car.surface("coat"), (Floats{0.75f}));
    EXPECT_EQ(car.input("coat"), "r@coatImage");
    EXPECT_EQ(car.surface("coatRoughness"), (Floats{0.25f}));
    EXPECT_EQ(car.input("coatRoughness"), "g@coatRoughnessImage");
    EXPECT_EQ(car.input("coatNormal"), "out@coatNormalImage");
    EXPECT_EQ(car.file("coatNormalImage"), "/maps/c.webp");
    EXPECT_EQ(car.surface("coatNormalScale"), (Floats{0.5f}));
}

TEST(GltfMaterial, HasSheenAndAnisotropy) {
    const Network cloth(Extension("KHR_materials_sheen",
                                  R"("sheenColorFactor": [1, 0.5, 0], "sheenRoughnessFactor": 0.25,
        "sheenColorTexture": {"index": 0}, "sheenRoughnessTexture": {"index": 0})"));
    EXPECT_EQ(cloth.surface("sheenColor"), (Floats{1, 0.5f, 0}));
    EXPECT_EQ(cloth.input("sheenColor"), "out@sheenColorImage");
    EXPECT_EQ(cloth.surface("sheenRoughness"), (Floats{0.25f}));
    EXPECT_EQ(cloth.input("sheenRoughness"), "a@sheenRoughnessImage");
    const Network steel(Extension("KHR_materials_anisotropy",
                                  R"("anisotropyStrength": 0.5, "anisotropyRotation": 1.5,
        "anisotropyTexture": {"index": 0})"));
    EXPECT_EQ(steel.surface("anisotropy"), (Floats{0.5f}));
    EXPECT_EQ(steel.surface("anisotropyRotation"), (Floats{1.5f}));
    EXPECT_EQ(steel.input("anisotropy"), "b@anisotropyImage");
    EXPECT_EQ(steel.input("anisotropyDirection"), "out@anisotropyDirectionImage");
}

// A reflection of 0.04 is that of the index 1.5.
TEST(GltfMaterial, DescribesSpecularGlossinessByTheIndexOfRefraction) {
    const Network plastic(R"("alphaMode": "BLEND", )" +
                          Extension("KHR_materials_pbrSpecularGlossiness",
                                    R"("diffuseFactor": [0.5, 0.25, 0, 0.75],
        "specularFactor": [0.04, 0.02, 0.04], "glossinessFactor": 0.75,
        "diffuseTexture": {"index": 0}, "specularGlossinessTexture": {"index": 1})"));
    EXPECT_EQ(plastic.surface("baseColor"), (Floats{0.5f, 0.25f, 0}));
    EXPECT_EQ(plastic.file("baseColorImage"), "/maps/a.png");
    EXPECT_EQ(plastic.surface("opacity"), (Floats{0.75f}));
    EXPECT_EQ(plastic.input("opacity"), "a@baseColorImage");
    EXPECT_EQ(plastic.surface("metalness"), (Floats{0}));
    EXPECT_THAT(plastic.surface("ior"), ElementsAre(FloatNear(1.5f, 1e-5f)));
    EXPECT_THAT(plastic.surface("specularColor"),
                ElementsAre(FloatEq(1), FloatEq(0.5f), FloatEq(1)));
    EXPECT_EQ(plastic.input("specularColor"), "out@specularColorImage");
    EXPECT_EQ(plastic.surface("roughness"), (Floats{0.25f}));
    EXPECT_EQ(plastic.input("roughness"), "out@roughnessOfGlossiness");
    EXPECT_EQ(plastic.text("roughnessOfGlossiness.type"), "invert");
    EXPECT_EQ(plastic.text("roughnessOfGlossiness.connections.a"), "a@glossinessImage");
    EXPECT_EQ(plastic.numbers("glossinessImage.parameters.multiply"), (Floats{0.75f}));
}

TEST(GltfMaterial, TakesTheColorsOfVertices) {
    EXPECT_EQ(Network(R"("alphaMode": "OPAQUE")", true).surface("vertexColor"), (Floats{1}));
}

// Where the reader shows a point of a texture must be where the file means it to be.
TEST(GltfTextureTransform, IsTurnedUpsideDownWithTheCoordinates) {
    const Network paint(R"("pbrMetallicRoughness": {"baseColorTexture": {"index": 0, "texCoord": 1,
        "extensions": {"KHR_texture_transform": {"offset": [0.125, 0.25], "rotation": 0.5,
            "scale": [2, 3], "texCoord": 2}}}})");
    const Floats t = paint.numbers("baseColorImage.parameters.uvTransform");
    ASSERT_EQ(t.size(), 5u);
    EXPECT_EQ(paint.text("baseColorImage.parameters.uvSet"), "st2");
    const float u = 0.3f, v = 0.7f; // v grows downwards
    const float c = std::cos(0.5f), s = std::sin(0.5f);
    const float wantedU = c * 2 * u + s * 3 * v + 0.125f;
    const float wantedV = -s * 2 * u + c * 3 * v + 0.25f;
    const float x = t[2] * u, y = t[3] * (1 - v);
    EXPECT_NEAR(std::cos(t[4]) * x - std::sin(t[4]) * y + t[0], wantedU, 1e-5f);
    EXPECT_NEAR(std::sin(t[4]) * x + std::cos(t[4]) * y + t[1], 1 - wantedV, 1e-5f);
}

TEST(GltfTextureTransform, MayNameAnotherSetAlone) {
    const Network paint(R"("normalTexture": {"index": 0,
        "extensions": {"KHR_texture_transform": {"texCoord": 1}}})");
    EXPECT_EQ(paint.text("normalImage.parameters.uvSet"), "st1");
    EXPECT_THAT(paint.numbers("normalImage.parameters.uvTransform"), IsEmpty());
}

TEST(GltfTexture, IsLeftOutWithAWarningWhenItCannotBeRead) {
    const Network basis(R"("normalTexture": {"index": 3})");
    EXPECT_EQ(basis.input("normal"), "(none)");
    EXPECT_THAT(basis.warnings,
                ElementsAre("texture 3 of the material \"paint\" is left out: its format, "
                            "KHR_texture_basisu, is not supported"));
    const Network none(R"("normalTexture": {"index": 4}, "emissiveTexture": {"index": 99})");
    EXPECT_THAT(none.warnings, ElementsAre(HasSubstr("there is no such texture"),
                                           HasSubstr("texture 4 of the material \"paint\" is left "
                                                     "out: it has no image")));
    EXPECT_EQ(none.input("normal"), "(none)");
}

TEST(GltfMaterial, TakesValuesOfWrongTypesForMissing) {
    const Network paint(R"("extensions": {"KHR_materials_sheen": {"sheenColorFactor": [1, "x"],
        "sheenRoughnessFactor": "much", "sheenColorTexture": 7, "sheenRoughnessTexture": {"index": -4}},
        "KHR_materials_ior": [1.5], "KHR_materials_clearcoat": {"clearcoatFactor": 1e300}})");
    EXPECT_EQ(paint.surface("sheenColor"), (Floats{0, 0, 0}));
    EXPECT_EQ(paint.surface("sheenRoughness"), (Floats{0}));
    EXPECT_THAT(paint.surface("ior"), IsEmpty());
    EXPECT_EQ(paint.surface("coat"), (Floats{0}));
    EXPECT_THAT(paint.warnings, IsEmpty());
}

const std::string kShoe = R"(
    "extensions": {"KHR_materials_variants": {"variants": [{"name": "red"}, {"name": "blue"}]}},
    "materials": [{}, {}, {}],
    "accessors": [{"componentType": 5126, "count": 3, "type": "VEC3"}],
    "meshes": [{"primitives": [{"attributes": {"POSITION": 0, "COLOR_0": 0}, "material": 0,
        "extensions": {"KHR_materials_variants": {"mappings": [
            {"material": 1, "variants": [1]}, {"material": 9, "variants": [5]}]}}}]}])";

TEST(GltfVariants, ChooseMaterialsByName) {
    const tinygltf::Model shoe = ModelOf(kShoe);
    const tinygltf::Primitive& primitive = shoe.meshes[0].primitives[0];
    using namespace TellarSceneImport;
    EXPECT_EQ(FindVariant(shoe, "blue"), 1);
    EXPECT_EQ(MaterialOf(shoe, primitive, 1), 1);
    EXPECT_EQ(MaterialOf(shoe, primitive, FindVariant(shoe, "red")), 0); // has no other
    EXPECT_EQ(MaterialOf(shoe, primitive, -1), 0);
    EXPECT_THROW(MaterialOf(shoe, primitive, 5), std::runtime_error); // material 9
    EXPECT_EQ(FindMaterialsWithColors(shoe), (std::vector<bool>{true, true, false}));
}

TEST(GltfVariants, AreListedWhenThereIsNoneOfTheName) {
    try {
        TellarSceneImport::FindVariant(ModelOf(kShoe), "green");
        FAIL();
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(),
                     "there is no variant \"green\" in it; its variants are \"red\", \"blue\"");
    }
    EXPECT_THROW(TellarSceneImport::FindVariant(ModelOf(R"("nodes": [])"), ""), std::runtime_error);
}

} // namespace
