#include <OxTellarProducers/Scene.h>

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <string>
#include <thread>

#include <gmock/gmock.h>

#include <OxTellarProducers/SceneDescription.h>
#include <OxTellarSDK/AttributeStream.h>
#include <OxTellarSDK/Capture.h>
#include <OxTellarSDK/DescriptionJson.h>
#include <OxTellarSDK/TellarError.h>

#include "SceneBuilders.h"
#include "TempDirectory.h"

namespace {

using namespace TellarTest;
using OxAttribute::GroupAttribute;
using TELLAR::Scene;
using testing::HasSubstr;
using testing::StartsWith;

/// /root > world, with a tag at both.
GroupAttribute Tagged(const std::string& tag) {
    return SceneTree(
        Location({{"tag", Text(tag)}}, {{"world", Location({{"tag", Text(tag + " world")}})}}));
}

std::string WorldTag(const Scene& scene) {
    const auto world = scene.getRoot()->getChildByName("world", false);
    return world ? TextOf(world->getAttribute("tag")) : "no world";
}

std::string WriteOps(const TempDirectory& folder, const std::string& name,
                     const GroupAttribute& description) {
    OxAttribute::WriteOpFile(folder.path(name), description);
    return folder.path(name);
}

ErrorFacts OpenFailure(const std::string& path) {
    try {
        Scene::Open(path);
    } catch (const TellarError& error) {
        return error.getFacts();
    }
    ADD_FAILURE() << path << " was opened";
    return {};
}

/// The facts of cooking the scene's root, which has to fail.
ErrorFacts RootFailure(const Scene& scene) {
    try {
        scene.getRoot();
    } catch (const TellarError& error) {
        return error.getFacts();
    }
    ADD_FAILURE() << "the root was cooked";
    return {};
}

std::string WriteText(const TempDirectory& folder, const std::string& name,
                      const std::string& text) {
    std::ofstream(folder.path(name)) << text;
    return folder.path(name);
}

constexpr const char* kFailingText = R"({"ops": [
  {"name": "maker", "type": "NoSuchType"},
  {"name": "out", "type": "Prune", "args": {"paths": ["/root/a"]}, "inputs": ["maker"]}
]})";

TEST(SceneErrors, BeginWithTheLineOfTheOp) {
    const TempDirectory folder;
    const std::string path = WriteText(folder, "a.json", kFailingText);
    const ErrorFacts facts = RootFailure(*Scene::Open(path));
    EXPECT_EQ(facts.opPlace, path + ":2:3");
    EXPECT_THAT(facts.text, StartsWith(path + ":2:3: Op \"maker\" (NoSuchType) at \"/root\": "));
}

TEST(SceneErrors, BeginWithTheFileOfAnOpThatIsNotInAText) {
    const TempDirectory folder;
    const GroupAttribute ops = Group({{"maker", OpEntry("NoSuchType")}});
    const std::string path = WriteOps(folder, "a.oxop", ops);
    EXPECT_EQ(RootFailure(*Scene::Open(path)).opPlace, path);
    EXPECT_EQ(RootFailure(*Scene::FromDescription(ops)).opPlace, "");
}

TEST(SceneErrors, NameThePlaceInTheFileThatWasOpened) {
    const TempDirectory folder;
    const std::string first = WriteText(folder, "a.json", kFailingText);
    const std::string second = WriteText(folder, "b.json", std::string("\n") + kFailingText);
    const auto a = Scene::Open(first);
    const auto b = Scene::Open(second);
    EXPECT_EQ(RootFailure(*a).opPlace, first + ":2:3");
    EXPECT_EQ(RootFailure(*b).opPlace, second + ":3:3");
}

TEST(SceneErrors, KeepThePlaceOfAnOpThatWasEdited) {
    const TempDirectory folder;
    const std::string path = WriteText(folder, "a.json", kFailingText);
    const auto scene = Scene::Open(path);
    auto edit = scene->edit();
    edit.setOpType("maker", "StaticScene");
    edit.setOpArg("out", "paths", OxAttribute::IntAttribute(1));
    try {
        edit.commit();
        FAIL() << "the wrong argument was taken";
    } catch (const TellarError& error) {
        EXPECT_EQ(error.getFacts().opPlace, path + ":3:3");
    }
}

TEST(Scene, OpensACapture) {
    const TempDirectory folder;
    const std::string tag = UniqueTag();
    const auto writer = std::make_shared<OxCapture::Writer>(folder.path("a.oxcap"));
    const auto recorded = Scene::FromDescription(
        OxCapture::WithRecorder(Tagged(tag), writer, OxCapture::Recorded::Scene));
    WorldTag(*recorded);
    writer->finish();
    const auto scene = Scene::Open(folder.path("a.oxcap"));
    std::filesystem::remove(folder.path("a.oxcap"));
    EXPECT_EQ(WorldTag(*scene), tag + " world");
}

TEST(Scene, RefusesACaptureThatIsDamaged) {
    const TempDirectory folder;
    const std::string path =
        folder.write("a.oxcap", std::string("OxCapt\x1a\n\x09\0\0\0\0\0\0\0", 16));
    EXPECT_EQ(OpenFailure(path).text,
              "File \"" + path + "\" is a capture of version 9; this program reads version 1");
    EXPECT_EQ(OpenFailure(folder.write("b.oxcap", "{}")).text,
              folder.path("b.oxcap") + ": is no capture");
}

TEST(Scene, OpensAnOpFile) {
    const TempDirectory folder;
    const std::string tag = UniqueTag();
    const auto scene = Scene::Open(WriteOps(folder, "a.oxop", Tagged(tag)));
    EXPECT_EQ(scene->getRoot()->getFullName(), "/root");
    EXPECT_EQ(WorldTag(*scene), tag + " world");
    EXPECT_EQ(scene->getRevision(), 0u);
}

TEST(Scene, OpensAnAttributeStream) {
    const TempDirectory folder;
    const std::string tag = UniqueTag();
    OxAttribute::WriteAttributeFile(folder.path("a.oxattr"), Tagged(tag));
    EXPECT_EQ(WorldTag(*Scene::Open(folder.path("a.oxattr"))), tag + " world");
}

TEST(Scene, OpensAJsonDescription) {
    const TempDirectory folder;
    const std::string tag = UniqueTag();
    folder.write("a.json", OxAttribute::WriteDescriptionJson(Tagged(tag)));
    EXPECT_EQ(WorldTag(*Scene::Open(folder.path("a.json"))), tag + " world");
}

TEST(Scene, OpensADescription) {
    const std::string tag = UniqueTag();
    EXPECT_EQ(WorldTag(*Scene::FromDescription(Tagged(tag))), tag + " world");
}

TEST(Scene, TellsTheKindOfAFileByItsContentFirst) {
    const TempDirectory folder;
    const std::string tag = UniqueTag();
    EXPECT_EQ(WorldTag(*Scene::Open(WriteOps(folder, "a.json", Tagged(tag)))), tag + " world");
}

TEST(Scene, StaysTheSameWhenItsFileIsReplacedOrDeleted) {
    const TempDirectory folder;
    const std::string path = WriteOps(folder, "a.oxop", Tagged("pinned " + UniqueTag()));
    const auto scene = Scene::Open(path);

    std::filesystem::rename(WriteOps(folder, "b.oxop", Tagged("new")), path);
    std::string replaced;
    std::thread([&] { replaced = WorldTag(*scene); }).join();
    EXPECT_THAT(replaced, StartsWith("pinned"));
    EXPECT_EQ(WorldTag(*Scene::Open(path)), "new world");

    std::filesystem::remove(path);
    std::string deleted;
    std::thread([&] { deleted = WorldTag(*scene); }).join();
    EXPECT_THAT(deleted, StartsWith("pinned"));
}

TEST(Scene, ReadsAModelWhenItIsOpened) {
    const TempDirectory folder;
    const std::string path = folder.write("a.obj", "o thing\nv 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n");
    const auto scene = Scene::Open(path);
    std::filesystem::remove(path);
    EXPECT_THAT(NamesOf(scene->getRoot()->getFirstChild()->getAttribute("")),
                testing::Not(testing::IsEmpty()));
}

/// The largest x of the points of the only mesh.
float WidthOf(const Scene& scene) {
    auto location = scene.getRoot();
    while (const auto child = location->getFirstChild(false))
        location = child;
    const OxAttribute::FloatAttribute points(location->getAttribute("geometry.point.P"));
    const auto sample = points.getNearestSample(0.0f);
    return sample.empty() ? -1 : *std::max_element(sample.begin(), sample.end());
}

std::string Triangle(const TempDirectory& folder, const std::string& name, const char* width) {
    return folder.write(name,
                        std::string("o thing\nv 0 0 0\nv ") + width + " 0 0\nv 0 1 0\nf 1 2 3\n");
}

TEST(Scene, ReadsAModelAgainThatWasReplacedWhileAnotherSceneShowsIt) {
    const TempDirectory folder;
    const std::string path = Triangle(folder, "a.obj", "2");
    const auto old = Scene::Open(path);
    const auto same = Scene::Open(path);
    std::filesystem::rename(Triangle(folder, "b.obj", "30"), path);
    const auto replaced = Scene::Open(path);
    EXPECT_EQ(WidthOf(*old), 2.0f);
    EXPECT_EQ(WidthOf(*replaced), 30.0f);
    EXPECT_EQ(old->getIdentity(), same->getIdentity());
    EXPECT_NE(old->getIdentity(), replaced->getIdentity());
}

TEST(Scene, ReadsAnImportedModelAgainForAnotherVersion) {
    const TempDirectory folder;
    const std::string path = Triangle(folder, "a.obj", "2");
    const auto scene = Scene::FromDescription(TELLAR::DescribeImport(path));
    const auto oldRoot = scene->getRoot();
    EXPECT_EQ(WidthOf(*scene), 2.0f);
    std::filesystem::rename(Triangle(folder, "b.obj", "30"), path);
    EXPECT_EQ(WidthOf(*scene), 2.0f);
    TELLAR::SceneEdit edit = scene->edit();
    edit.setOpArg("scene", "version", Text("2"));
    const auto changes = edit.commit();
    EXPECT_EQ(WidthOf(*scene), 30.0f);
    ASSERT_FALSE(changes.empty());
    for (const auto& change : changes)
        EXPECT_EQ(change.mask, TELLAR::kGeometryChanged) << change.path;
}

TEST(Scene, FailsWhenItIsOpenedAndForgetsTheFailure) {
    const TempDirectory folder;
    const std::string path = folder.path("a.oxop");
    const ErrorFacts missing = OpenFailure(path);
    EXPECT_EQ(missing.code, kOxErrorFile);
    EXPECT_EQ(missing.file, path);
    EXPECT_EQ(missing.text, path + ": No such file or directory");

    folder.write("a.oxop", "not at all");
    EXPECT_EQ(OpenFailure(path).file, path);

    const std::string tag = UniqueTag();
    WriteOps(folder, "a.oxop", Tagged(tag));
    EXPECT_EQ(WorldTag(*Scene::Open(path)), tag + " world");
}

TEST(Scene, NamesTheModelThatCannotBeRead) {
    const TempDirectory folder;
    const std::string path = folder.write("a.ply", "ply\nno header\n");
    const ErrorFacts facts = OpenFailure(path);
    EXPECT_EQ(facts.code, kOxErrorFile);
    EXPECT_EQ(facts.file, path);
    EXPECT_EQ(facts.opType, "SceneImport");
}

TEST(Scene, RefusesAFolderAndADescriptionWithoutOps) {
    const TempDirectory folder;
    EXPECT_THAT(OpenFailure(folder.path()).text, HasSubstr("is a directory"));
    for (const GroupAttribute& none : {GroupAttribute(), Group({}), Group({{"a", Int(1)}})})
        EXPECT_THROW(Scene::FromDescription(none), TellarError);
}

TEST(Scene, ThrowsWhatTheCookOfItsRootThrows) {
    const auto scene = Scene::FromDescription(Group({{"odd", OpEntry("NoSuchType")}}));
    EXPECT_THROW(scene->getRoot(), TellarError);
}

TEST(SceneIdentity, IsEqualForEqualOpsUnderOtherNames) {
    const TempDirectory folder;
    const std::string tag = UniqueTag();
    const auto a = Scene::Open(WriteOps(folder, "a.oxop", Tagged(tag)));
    const auto b = Scene::Open(WriteOps(folder, "b.oxop", Tagged(tag)));
    const auto other = Scene::Open(WriteOps(folder, "c.oxop", Tagged(tag + " other")));
    EXPECT_EQ(a->getIdentity(), b->getIdentity());
    EXPECT_EQ(a->getIdentity(), Scene::FromDescription(Tagged(tag))->getIdentity());
    EXPECT_NE(a->getIdentity(), other->getIdentity());
}

} // namespace
