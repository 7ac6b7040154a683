#include <cmath>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <OxTellarSDK/OpType.h>

#include "ImportedScene.h"
#include "SceneFixtures.h"

namespace {

using namespace OxAttribute;
using testing::HasSubstr;

TEST_F(Yard, GoesWhereItIsTold) {
    const ImportedScene placed(ImportArgs(file)
                                   .set("location", "/root/world/set/asset")
                                   .set("materialLocation", "/root/world/looks"));
    EXPECT_EQ(placed.children("/root"), (Names{"world"}));
    EXPECT_EQ(placed.children("/root/world"), (Names{"set", "looks"}));
    EXPECT_EQ(placed.children("/root/world/set"), (Names{"asset"}));
    EXPECT_EQ(placed.children("/root/world/set/asset"), (Names{"yard"}));
    EXPECT_EQ(placed.type("/root/world/set"), "group");
    EXPECT_EQ(placed.text("/root/world/set/asset/yard/panel/quad", "materialAssign"),
              "/root/world/looks/paint");
    EXPECT_TRUE(placed.exists("/root/world/looks/paint"));
    EXPECT_FALSE(placed.exists("/root/materials"));
}

TEST_F(Yard, MayHoldItsMaterials) {
    const ImportedScene placed(ImportArgs(file)
                                   .set("location", "/root/asset")
                                   .set("materialLocation", "/root/asset/looks/all"));
    EXPECT_EQ(placed.children("/root"), (Names{"asset"}));
    EXPECT_EQ(placed.children("/root/asset"), (Names{"yard", "looks"}));
    EXPECT_EQ(placed.children("/root/asset/looks"), (Names{"all"}));
    EXPECT_EQ(placed.children("/root/asset/looks/all"), (Names{"paint"}));
    EXPECT_TRUE(placed.exists("/root/asset/yard/panel/quad"));
}

TEST_F(Yard, DoesNotLetMaterialsHideItsRoot) {
    const ImportedScene placed(ImportArgs(file)
                                   .set("location", "/root/asset")
                                   .set("materialLocation", "/root/asset/yard"));
    EXPECT_THAT(placed.error("/root/asset"),
                HasSubstr("Argument \"materialLocation\" hides the scene's root node \"yard\"."));
}

TEST_F(Yard, IsFoundInAFolderThatIsGivenApart) {
    const ImportedScene scene(ImportArgs("yard.gltf").set("directory", directory.path().c_str()));
    EXPECT_TRUE(scene.exists("/root/world/yard/panel/quad"));
}

TEST(SceneImport, TellsAboutItself) {
    const OxOpType::OpType* type = OxOpType::FindOpType("SceneImport");
    ASSERT_NE(type, nullptr);
    EXPECT_EQ(type->description().name, "SceneImport");
    EXPECT_EQ(type->description().inputs, "none");
    Names names;
    for (const OxOpType::Argument& argument : type->description().arguments)
        names.push_back(argument.name);
    EXPECT_EQ(names, (Names{"file", "directory", "location", "materialLocation", "scene",
                            "animation", "variant", "convertUnits", "upAxis", "framesPerSecond",
                            "frame", "listFiles", "version"}));
}

TEST(SceneImport, TakesNoInputs) {
    const OxOpType::OpType* type = OxOpType::FindOpType("SceneImport");
    ASSERT_NE(type, nullptr);
    EXPECT_THROW(type->prepare(ImportArgs("a.obj").build(), 1), std::runtime_error);
}

struct BadArgument {
    const char* name;
    Attribute value;
    const char* message;
};

class SceneImportArguments : public testing::TestWithParam<BadArgument> {};

TEST_P(SceneImportArguments, AreRefusedByName) {
    const ImportedScene scene(ImportArgs("a.obj").set(GetParam().name, GetParam().value));
    EXPECT_THAT(scene.error("/root"), HasSubstr(GetParam().message));
}

INSTANTIATE_TEST_SUITE_P(
    Bad, SceneImportArguments,
    testing::Values(
        BadArgument{"smooth", IntAttribute(1),
                    "Argument \"smooth\" is not known to the op type \"SceneImport\"."},
        BadArgument{"file", IntAttribute(1), "Argument \"file\" must be string."},
        BadArgument{"file", StringAttribute(""), "Argument \"file\" must not be empty."},
        BadArgument{"directory", DoubleAttribute(1), "Argument \"directory\" must be string."},
        BadArgument{"location", StringAttribute("world"), "Argument \"location\" must be an "},
        BadArgument{"location", StringAttribute("/a//b"), "Argument \"location\" must be an "},
        BadArgument{"materialLocation", StringAttribute("/"), "Argument \"materialLocation\""},
        BadArgument{"materialLocation", StringAttribute("/root"),
                    "Argument \"materialLocation\" must not hold the scene's location."},
        BadArgument{"materialLocation", StringAttribute("/root/world"),
                    "Argument \"materialLocation\" must not hold the scene's location."},
        BadArgument{"upAxis", StringAttribute("up"),
                    "Argument \"upAxis\" must be \"x\", \"y\" or \"z\"."},
        BadArgument{"framesPerSecond", StringAttribute("24"),
                    "Argument \"framesPerSecond\" must be double."},
        BadArgument{"framesPerSecond", DoubleAttribute(0.0),
                    "Argument \"framesPerSecond\" must be above 0."},
        BadArgument{"framesPerSecond", DoubleAttribute(-24.0),
                    "Argument \"framesPerSecond\" must be above 0."},
        BadArgument{"frame", DoubleAttribute(std::nan("")), "Argument \"frame\" must be finite."}));

TEST(SceneImport, NeedsAFile) {
    const OxOpType::OpType* type = OxOpType::FindOpType("SceneImport");
    ASSERT_NE(type, nullptr);
    try {
        type->prepare(GroupAttribute(), 0);
        ADD_FAILURE() << "was accepted";
    } catch (const std::runtime_error& error) {
        EXPECT_STREQ(error.what(), "Argument \"file\" is missing; it must be string.");
    }
}

} // namespace
