#include "reading/Delegates.h"

#include <cstdlib>

#include <gmock/gmock.h>

#include "ReadingTest.h"

namespace {

using namespace LanternTest;
using testing::ElementsAre;
using testing::Pair;
using testing::SizeIs;

// Set before the first lookup of a plug-in.
const int environmentIsSet = setenv("OX_PLUGIN_PATH", TELLAR_TEST_PLUGIN_DIR, 1);

std::string Field(const std::string& name, const std::string& attributes) {
    return "\"" + name + R"(": {"a": {"type": "sphere field", )" + attributes + "}}";
}

/// The x coordinate and the radius of the first sphere of each instance.
std::vector<std::pair<float, float>> PlacesAndRadii(const SceneData& scene) {
    std::vector<std::pair<float, float>> result;
    for (const Instance& instance : scene.instances)
        result.emplace_back(scene.transforms.at(instance.firstTransform)[3][0],
                            scene.shapes.at(instance.shape).spheres.radii.at(0));
    return result;
}

TEST(ReadDelegates, ReadTheReplacementOfALocation) {
    const SceneData scene =
        ReadSilently(SceneJson(Field("f", R"("field": {"count": 3, "spacing": 2.0, "radius": 0.25},
                      "xform.translate": [10.0, 0, 0])")));
    EXPECT_THAT(PlacesAndRadii(scene),
                ElementsAre(Pair(10, 0.25f), Pair(12, 0.25f), Pair(14, 0.25f)));
    EXPECT_THAT(scene.shapes, SizeIs(1));
}

TEST(ReadDelegates, ReadAReplacementThatIsAShapeItself) {
    const SceneData scene = ReadSilently(
        SceneJson(Field("f", R"("field": {"points": [[1.0, 2, 3], [4, 5, 6]], "radius": 0.5})")));
    const Spheres& spheres = scene.shapes.at(0).spheres;
    EXPECT_THAT(spheres.centers.at(0), ElementsAre(V3f(1, 2, 3), V3f(4, 5, 6)));
    EXPECT_THAT(spheres.radii, ElementsAre(0.5f, 0.5f));
    EXPECT_THAT(scene.instances, SizeIs(1));
}

TEST(ReadDelegates, KeepALocationWithoutAReplacement) {
    const SceneData scene = ReadSilently(
        SceneJson(R"("f": {"a": {"type": "sphere field"}, "c": {)" + Triangle("t") + "}}"));
    EXPECT_THAT(scene.instances, SizeIs(1));
}

TEST(ReadDelegates, HideTheChildrenOfAReplacedLocation) {
    const SceneData scene =
        ReadSilently(SceneJson(R"("f": {"a": {"type": "sphere field", "field.count": 1}, "c": {)" +
                               Triangle("t") + "}}, " + Triangle("next")));
    ASSERT_THAT(scene.instances, SizeIs(2));
    EXPECT_THAT(scene.shapes.at(scene.instances[0].shape).spheres.radii, SizeIs(1));
    EXPECT_THAT(scene.shapes.at(scene.instances[1].shape).mesh.triangles, SizeIs(3));
}

TEST(ReadDelegates, InheritTheMaterialOfTheLocation) {
    const std::string material = R"("material": {"surfaceShader": "matte",
                                     "surfaceParams": {"roughness": 0.25}})";
    const SceneData scene = ReadSilently(SceneJson(R"("g": {"a": {)" + material + R"(}, "c": {)" +
                                                   Field("f", "\"field.count\": 2") + "}}"));
    ASSERT_THAT(scene.instances, SizeIs(2));
    const Surface& surface = scene.surfaces.at(scene.instances[0].surface);
    EXPECT_EQ(scene.materials.at(surface.material).roughness, 0.25f);
    EXPECT_EQ(scene.instances[1].surface, scene.instances[0].surface);
}

TEST(ReadDelegates, CanHaveTheirOwnMaterials) {
    const std::string above = R"("material": {"surfaceShader": "matte", "displacementShader": "d",
                                  "surfaceParams": {"roughness": 0.125}})";
    const auto field = [](const std::string& name, const std::string& roughness) {
        return Field(name,
                     R"("field": {"count": 1, "shader": "metal", "roughness": )" + roughness + "}");
    };
    const SceneData scene =
        ReadSilently(SceneJson(R"("g": {"a": {)" + above + R"(}, "c": {)" + field("f", "0.25") +
                               ", " + field("g", "0.75") + ", " + Triangle("t") + "}}"));
    ASSERT_THAT(scene.instances, SizeIs(3));
    const auto materialOf = [&](int instance) {
        const auto number = scene.instances[static_cast<std::size_t>(instance)].surface;
        return scene.materials.at(scene.surfaces.at(number).material);
    };
    EXPECT_EQ(materialOf(0).name, "metal");
    EXPECT_EQ(materialOf(0).roughness, 0.25f);
    EXPECT_EQ(materialOf(1).roughness, 0.75f) << "no material is taken for another's";
    EXPECT_EQ(materialOf(2).roughness, 0.125f);
}

} // namespace
