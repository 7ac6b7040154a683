// Scenes and the values of locations through version 4 of the suite for iterators.

#include <OxTellarProducers/OxScenegraphIteratorHostSuite4.h>

#include <filesystem>
#include <string>

#include <gmock/gmock.h>

#include <OxTellarProducers/OxSceneHandle.h>
#include <OxTellarSDK/DescriptionJson.h>

#include "IteratorScenes.h"
#include "IteratorScenes4.h"

namespace {

using namespace TellarTest;
using OxAttribute::GroupAttribute;
using OxAttribute::StringAttribute;
using testing::ElementsAre;
using testing::HasSubstr;

const OxScenegraphIteratorHostSuite_v4& Suite() {
    return Scenes4();
}

// Scenes ------------------------------------------------------------------------------------------

TEST(Scenes4, AreOpenedOnceAndStayWhenTheFileIsGone) {
    const TempDirectory folder;
    OxAttribute::WriteOpFile(folder.path("a.oxop"), WideScene(UniqueTag()));
    CallError error;
    const SceneHandle scene(Suite().openScene(folder.path("a.oxop").c_str(), error.out()));
    ASSERT_TRUE(error.isNull()) << error.text();
    std::filesystem::remove(folder.path("a.oxop"));
    const At root = Suite().getSceneRoot(scene.get(), error.out());
    EXPECT_EQ(FullNameOf(At(Suite().getFirstChild(root.get(), error.out()))), "/root/world");
    EXPECT_EQ(Suite().getSceneRevision(scene.get()), 0);
    EXPECT_EQ(Suite().getSceneRevision(nullptr), 0);
}

TEST(Scenes4, AreReadFromJsonAndAttributeStreamsToo) {
    const TempDirectory folder;
    const GroupAttribute ops = WideScene(UniqueTag());
    folder.write("a.json", OxAttribute::WriteDescriptionJson(ops));
    OxAttribute::WriteAttributeFile(folder.path("a.oxattr"), ops);
    CallError error;
    for (const char* const name : {"a.json", "a.oxattr"}) {
        const At root =
            Suite().createRootIteratorFromOpTreeFile(folder.path(name).c_str(), error.out());
        EXPECT_EQ(Answer(root, error), "/root, no error") << name;
    }
    const GroupAttribute loaded =
        Owned(Suite().loadOpTreeDescription(folder.path("a.oxattr").c_str(), error.out()));
    EXPECT_EQ(loaded, ops);
}

TEST(Scenes4, NameTheFileThatCannotBeOpenedAndTryAgain) {
    const TempDirectory folder;
    const std::string path = folder.path("a.oxop");
    CallError error;
    EXPECT_EQ(Suite().openScene(path.c_str(), error.out()), nullptr);
    EXPECT_EQ(error.code(), kOxErrorFile);
    EXPECT_EQ(error.facts().file, path);
    EXPECT_EQ(Suite().createRootIteratorFromOpTreeFile(path.c_str(), error.out()), nullptr);
    EXPECT_EQ(error.code(), kOxErrorFile);
    EXPECT_EQ(Suite().loadOpTreeDescription(path.c_str(), error.out()), nullptr);
    EXPECT_EQ(error.code(), kOxErrorFile);
    EXPECT_EQ(error.facts().file, path);
    OxAttribute::WriteOpFile(path, WideScene(UniqueTag()));
    const SceneHandle scene(Suite().openScene(path.c_str(), error.out()));
    EXPECT_TRUE(error.isNull());
}

TEST(Scenes4, RefuseDescriptionsThatAreNone) {
    const TempDirectory folder;
    const auto number = Int(3);
    CallError error;
    EXPECT_EQ(Suite().openDescription(number.getHandle(), error.out()), nullptr);
    EXPECT_EQ(error.text(), "openDescription: description is no group");
    EXPECT_EQ(error.code(), kOxErrorBadCall);
    EXPECT_EQ(Suite().createRootIteratorFromOpTreeDescription(Group({}).getHandle(), error.out()),
              nullptr);
    EXPECT_EQ(error.code(), kOxErrorBadCall);
    OxAttribute::WriteAttributeFile(folder.path("a.oxattr"), number);
    EXPECT_EQ(Suite().loadOpTreeDescription(folder.path("a.oxattr").c_str(), error.out()), nullptr);
    EXPECT_THAT(error.text(), HasSubstr("holds no op-tree description"));
    EXPECT_EQ(error.code(), kOxErrorFile);
}

TEST(Scenes4, HaveOneIdentityForEqualContent) {
    const GroupAttribute ops = WideScene(UniqueTag());
    const auto identityOf = [](const SceneHandle& scene) {
        std::uint64_t words[2] = {1, 1};
        Suite().getSceneIdentity(scene.get(), words);
        return std::pair(words[0], words[1]);
    };
    EXPECT_EQ(identityOf(SceneHandle::of(ops)), identityOf(SceneHandle::of(ops)));
    EXPECT_NE(identityOf(SceneHandle::of(ops)),
              identityOf(SceneHandle::of(WideScene(UniqueTag()))));
    std::uint64_t words[2] = {1, 1};
    Suite().getSceneIdentity(nullptr, words);
    EXPECT_THAT(words, ElementsAre(0, 0));
    Suite().getSceneIdentity(nullptr, nullptr);
}

TEST(Scenes4, LiveUntilTheLastHandleOntoThem) {
    std::weak_ptr<TELLAR::Scene> watched;
    std::weak_ptr<TellarRuntime::Client> client;
    At root;
    {
        const SceneHandle scene = SceneHandle::of(WideScene(UniqueTag()));
        watched = TELLAR::OxHandleToScene(scene.get());
        client = watched.lock()->getClient();
        Suite().retainScene(scene.get());
        Suite().releaseScene(scene.get());
        root = scene.root();
    }
    EXPECT_TRUE(watched.expired());
    EXPECT_FALSE(client.expired());
    EXPECT_EQ(FullNameOf(At(Suite().getFirstChild(root.get(), nullptr))), "/root/world");
    root = nullptr;
    EXPECT_TRUE(client.expired());
}

TEST(Scenes4, GoBetweenCAndCpp) {
    EXPECT_EQ(TELLAR::OxSceneToHandle(nullptr), nullptr);
    EXPECT_EQ(TELLAR::OxHandleToScene(nullptr), nullptr);
    const auto scene = TELLAR::Scene::FromDescription(WideScene(UniqueTag()));
    const SceneHandle handle(TELLAR::OxSceneToHandle(scene));
    EXPECT_EQ(TELLAR::OxHandleToScene(handle.get()), scene);
}

TEST(Scenes4, ComputeALocationAnewThatIsEvicted) {
    TestVersionNow() = 1;
    const auto ops = Group({{"tree", OpEntry("TestTree", Group({{"children", Texts({"a", "b"})},
                                                                {"tag", Text(UniqueTag())}}))},
                            {"version", OpEntry("TestVersion", {}, {"tree"})}});
    const At root = RootOf(ops);
    const auto versionOf = [](const At& location) {
        return IntOf(Owned(Suite().getAttribute(location.get(), "version", nullptr)));
    };
    const At a = Suite().getFirstChild(root.get(), nullptr);
    TestVersionNow() = 2;
    CallError error;
    const At anew = Suite().evict(a.get(), error.out());
    EXPECT_TRUE(error.isNull());
    EXPECT_EQ(versionOf(anew), 2);
    EXPECT_EQ(versionOf(a), 1);
    EXPECT_EQ(FullNameOf(anew), "/root/a");
    EXPECT_EQ(FullNameOf(At(Suite().getNextSibling(anew.get(), error.out()))), "/root/b");
    TestVersionNow() = 3;
    const At rootAnew = Suite().evict(root.get(), error.out());
    EXPECT_EQ(versionOf(rootAnew), 3);
    EXPECT_EQ(FullNameOf(At(Suite().getFirstChild(rootAnew.get(), error.out()))), "/root/a");
}

TEST(Scenes4, EvictALocationThatFailsThen) {
    static bool fails = false;
    TestHookNow() = [] {
        if (fails) throw std::runtime_error("It fails now.");
    };
    const auto ops = Group({{"tree", OpEntry("TestTree", Group({{"children", Texts({"a", "b"})},
                                                                {"tag", Text(UniqueTag())}}))},
                            {"hook", OpEntry("TestHook", {}, {"tree"})}});
    const At root = RootOf(ops);
    const At a = Suite().getFirstChild(root.get(), nullptr);
    fails = true;
    CallError error;
    const At failed = Suite().evict(a.get(), error.out());
    EXPECT_THAT(Answer(failed, error), HasSubstr("/root/a, Op \"hook\" (TestHook)"));
    fails = false;
    EXPECT_EQ(Answer(At(Suite().evict(failed.get(), error.out())), error), "/root/a, no error");
    TestHookNow() = [] {};
}

TEST(Scenes4, DropTheResultsOfTheirRuntimeUnlessTheyAreLive) {
    for (const bool isLive : {false, true}) {
        Children attrs{{"tag", Text(UniqueTag())}};
        if (isLive) attrs.emplace_back("liveRender", Int(1));
        const SceneHandle scene =
            SceneHandle::of(SceneTree(Location(attrs, {{"world", Location({})}})));
        const auto client = TELLAR::OxHandleToScene(scene.get())->getClient();
        const At root = scene.root();
        const At world = Suite().getFirstChild(root.get(), nullptr);
        EXPECT_TRUE(client->getCachedLocation("/root/world").isValid());
        Suite().finalizeRuntime(world.get());
        EXPECT_EQ(client->getCachedLocation("/root/world").isValid(), isLive);
        EXPECT_EQ(FullNameOf(world), "/root/world") << "handles stay valid";
    }
}

// Values ------------------------------------------------------------------------------------------

TEST(Values4, AreBorrowedTextsWithTheirLengths) {
    const At root = RootOf(SceneTree(
        Location({{"tag", Text(UniqueTag())}}, {{"world", Location({{"type", Text("group")}})}})));
    const At world = Suite().getFirstChild(root.get(), nullptr);
    std::int64_t length = -1;
    EXPECT_STREQ(Suite().getName(world.get(), &length), "world");
    EXPECT_EQ(length, 5);
    EXPECT_STREQ(Suite().getFullName(world.get(), &length), "/root/world");
    EXPECT_EQ(length, 11);
    EXPECT_STREQ(Suite().getType(world.get(), &length), "group");
    EXPECT_EQ(length, 5);
    EXPECT_STREQ(Suite().getType(root.get(), &length), "");
    EXPECT_EQ(length, 0);
    EXPECT_STREQ(Suite().getName(root.get(), nullptr), "root");
    EXPECT_EQ(Suite().getFullName(world.get(), nullptr), Suite().getFullName(world.get(), nullptr));
    for (const auto slot : {Suite().getName, Suite().getFullName, Suite().getType}) {
        length = -1;
        EXPECT_EQ(slot(nullptr, &length), nullptr);
        EXPECT_EQ(length, 0);
    }
}

TEST(Values4, OfAFileAreReadInPlace) {
    const TempDirectory folder;
    OxAttribute::WriteOpFile(
        folder.path("a.oxop"),
        SceneTree(Location({{"tag", Text(UniqueTag())}, {"type", Text("assembly")}})));
    const At root =
        Suite().createRootIteratorFromOpTreeFile(folder.path("a.oxop").c_str(), nullptr);
    EXPECT_STREQ(Suite().getType(root.get(), nullptr), "assembly");
    EXPECT_EQ(Suite().getType(root.get(), nullptr), Suite().getType(root.get(), nullptr));
}

TEST(Values4, AreAttributesWithOneReference) {
    const At root = RootOf(WideScene(UniqueTag()));
    CallError error;
    const At leaf = Suite().getProducerByPath(root.get(), "/root/world/group2/leaf9", error.out());
    EXPECT_EQ(IntOf(Owned(Suite().getAttribute(leaf.get(), "number", error.out()))), 9);
    EXPECT_EQ(TextOf(Owned(Suite().getGlobalAttribute(leaf.get(), "inherited", error.out()))),
              "from above");
    const GroupAttribute all = Owned(Suite().getAttribute(leaf.get(), "", error.out()));
    EXPECT_THAT(NamesOf(all), ElementsAre("number"));
    const StringAttribute names = Owned(Suite().getAttributeNames(root.get(), error.out()));
    EXPECT_THAT(ValuesOf(names), ElementsAre("inherited", "number", "tag"));
    const StringAttribute children = Owned(Suite().getPotentialChildren(root.get(), error.out()));
    EXPECT_THAT(ValuesOf(children), ElementsAre("world"));
    EXPECT_EQ(Owned(Suite().getGlobalXFormGroup(leaf.get(), error.out())).getType(),
              kAttributeTypeGroup);
    EXPECT_TRUE(error.isNull());
    EXPECT_EQ(Suite().getAttribute(leaf.get(), "nothing", error.out()), nullptr);
    EXPECT_TRUE(error.isNull());
    EXPECT_EQ(Suite().getGlobalAttribute(leaf.get(), "nothing", error.out()), nullptr);
    EXPECT_TRUE(error.isNull());
    EXPECT_EQ(Suite().getPotentialChildren(leaf.get(), error.out()), nullptr);
    EXPECT_TRUE(error.isNull());
}

} // namespace
