// Navigation through version 4 of the suite for iterators, and its table.

#include <OxTellarProducers/OxScenegraphIteratorHostSuite4.h>

#include <cstring>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "CapturedLog.h"
#include "IteratorScenes.h"
#include "IteratorScenes4.h"
#include "ProducerHelpers.h"
#include "RunTogether.h"

namespace {

using namespace TellarTest;
using TELLAR::GeometryProducer;
using TELLAR::OxHandleToGeometryProducer;
using testing::ElementsAre;

const OxScenegraphIteratorHostSuite_v4& Suite() {
    return Scenes4();
}

TEST(Iterators4, HaveASizeAVersionAndNoEmptySlot) {
    EXPECT_EQ(Suite().size, sizeof(OxScenegraphIteratorHostSuite_v4));
    EXPECT_EQ(Suite().version, 4u);
    void* slots[56];
    static_assert(sizeof(OxScenegraphIteratorHostSuite_v4) == 8 + sizeof slots);
    std::memcpy(slots, &Suite().openScene, sizeof slots);
    EXPECT_THAT(slots, testing::Each(testing::NotNull()));
}

// Navigation among sound locations ----------------------------------------------------------------

TEST(Navigation4, ReachesEveryLocation) {
    const At root = RootOf(WideScene(UniqueTag()));
    CallError error;
    const At world = Suite().getFirstChild(root.get(), error.out());
    const At group1 = Suite().getChildByName(world.get(), "group1", error.out());
    const At group2 = Suite().getNextSibling(group1.get(), error.out());
    const At leaf = Suite().getProducerByPath(root.get(), "/root/world/group2/leaf9", error.out());
    EXPECT_EQ(FullNameOf(root), "/root");
    EXPECT_EQ(FullNameOf(world), "/root/world");
    EXPECT_EQ(FullNameOf(group2), "/root/world/group2");
    EXPECT_EQ(FullNameOf(leaf), "/root/world/group2/leaf9");
    EXPECT_EQ(FullNameOf(At(Suite().getParent(leaf.get(), error.out()))), "/root/world/group2");
    EXPECT_EQ(FullNameOf(At(Suite().getRoot(leaf.get(), error.out()))), "/root");
    EXPECT_EQ(FullNameOf(At(Suite().getRoot(root.get(), error.out()))), "/root");
    EXPECT_EQ(FullNameOf(At(Suite().getChild(world.get(), 3, error.out()))), "/root/world/group3");
    EXPECT_EQ(FullNameOf(At(Suite().getChildByName(leaf.get(), "..", error.out()))),
              "/root/world/group2");
    EXPECT_EQ(FullNameOf(At(Suite().getChildByName(leaf.get(), ".", error.out()))),
              FullNameOf(leaf));
    EXPECT_EQ(FullNameOf(At(Suite().getProducerByPath(leaf.get(), "../leaf0", error.out()))),
              "/root/world/group2/leaf0");
    EXPECT_EQ(FullNameOf(At(Suite().getProducerByPath(leaf.get(), ".", error.out()))),
              FullNameOf(leaf));
    EXPECT_TRUE(error.isNull());
}

TEST(Navigation4, TellsWhatIsNotThereWithoutAnError) {
    const At root = RootOf(FailingTree({"a", "b"}, {}, {"/root/b"}));
    CallError error;
    const At a = Suite().getFirstChild(root.get(), error.out());
    EXPECT_EQ(Suite().getNextSibling(a.get(), error.out()), nullptr);
    EXPECT_TRUE(error.isNull());
    EXPECT_EQ(Suite().getFirstChild(a.get(), error.out()), nullptr);
    EXPECT_TRUE(error.isNull());
    EXPECT_EQ(Suite().getNextSibling(root.get(), error.out()), nullptr);
    EXPECT_TRUE(error.isNull());
    EXPECT_EQ(Suite().getParent(root.get(), error.out()), nullptr);
    EXPECT_TRUE(error.isNull());
    for (const char* const name : {"b", "c", ""}) {
        EXPECT_EQ(Suite().getChildByName(root.get(), name, error.out()), nullptr) << name;
        EXPECT_TRUE(error.isNull());
    }
    for (const char* const path : {"/root/b", "/other", "", "/", "/root/a/a/a"}) {
        EXPECT_EQ(Suite().getProducerByPath(root.get(), path, error.out()), nullptr) << path;
        EXPECT_TRUE(error.isNull());
    }
    for (const std::int64_t index : {-1, 1, 2}) {
        EXPECT_EQ(Suite().getChild(root.get(), index, error.out()), nullptr) << index;
        EXPECT_TRUE(error.isNull());
    }
}

TEST(Navigation4, NamesPotentialChildrenInPlace) {
    const At root = RootOf(FailingTree({"a", "bc"}, {}, {"/root/bc"}));
    EXPECT_EQ(Suite().getNumberOfChildren(root.get()), 2);
    std::int64_t length = -1;
    EXPECT_STREQ(Suite().getChildName(root.get(), 1, &length), "bc");
    EXPECT_EQ(length, 2);
    EXPECT_STREQ(Suite().getChildName(root.get(), 0, nullptr), "a");
    EXPECT_EQ(Suite().getChildName(root.get(), 2, &length), nullptr);
    EXPECT_EQ(length, 0);
    EXPECT_EQ(Suite().getChildName(root.get(), -1, nullptr), nullptr);
    EXPECT_EQ(Suite().getChildName(nullptr, 0, &length), nullptr);
    EXPECT_EQ(Suite().getNumberOfChildren(nullptr), 0);
}

TEST(Navigation4, FindsTheNextSiblingOfALocationThatWasMadeByItsPath) {
    const auto client = MakeClient(FailingTree({"a", "b", "c"}, {}));
    const At b = At::of(TELLAR::CreateSyncGeometryProducer(client, "/root/b"));
    CallError error;
    EXPECT_EQ(FullNameOf(At(Suite().getNextSibling(b.get(), error.out()))), "/root/c");
}

// Locations that cannot be cooked -----------------------------------------------------------------

TEST(FailedLocations4, DoNotHideTheirSiblings) {
    const At root =
        RootOf(FailingTree({"a", "b", "c", "d", "e"}, {"/root/a", "/root/c"}, {"/root/d"}));
    CallError error;
    std::vector<std::string> answers;
    At child = Suite().getFirstChild(root.get(), error.out());
    answers.push_back(Answer(child, error));
    while (child) {
        child = Suite().getNextSibling(child.get(), error.out());
        answers.push_back(Answer(child, error));
    }
    EXPECT_THAT(
        answers,
        ElementsAre("/root/a, Op \"fails at /root/a\" (TestThrow) at \"/root/a\": It fails on "
                    "purpose.",
                    "/root/b, no error",
                    "/root/c, Op \"fails at /root/c\" (TestThrow) at \"/root/c\": It fails on "
                    "purpose.",
                    "/root/e, no error", "nothing, no error"));
}

TEST(FailedLocations4, TellAllFactsOfTheirErrorAgain) {
    const At root = RootOf(FailingTree({"a", "b"}, {"/root/b"}));
    CallError error;
    const At a = Suite().getFirstChild(root.get(), error.out());
    EXPECT_EQ(Suite().getLocationError(a.get()), nullptr);
    EXPECT_EQ(Suite().getLocationError(nullptr), nullptr);
    const At b = Suite().getNextSibling(a.get(), error.out());
    ASSERT_TRUE(b);
    EXPECT_EQ(error.code(), kOxErrorCook);
    EXPECT_STREQ(error.facts().op, "fails at /root/b");
    EXPECT_STREQ(error.facts().opType, "TestThrow");
    EXPECT_STREQ(error.facts().location, "/root/b");
    EXPECT_STREQ(error.facts().attribute, "");
    EXPECT_STREQ(error.facts().file, "");
    OxErrorStruct* const again = Suite().getLocationError(b.get());
    EXPECT_STREQ(OxHandleToErrorFacts(again).text, error.facts().text);
    OxReleaseError(again);
}

TEST(FailedLocations4, HaveANameAParentAndSiblingsButNothingElse) {
    const At root = RootOf(FailingTree({"a", "b", "c"}, {"/root/b"}));
    CallError error;
    const At b = Suite().getChild(root.get(), 1, error.out());
    EXPECT_FALSE(error.isNull());
    EXPECT_STREQ(Suite().getName(b.get(), nullptr), "b");
    EXPECT_STREQ(Suite().getFullName(b.get(), nullptr), "/root/b");
    EXPECT_STREQ(Suite().getType(b.get(), nullptr), "");
    EXPECT_EQ(FullNameOf(At(Suite().getParent(b.get(), error.out()))), "/root");
    EXPECT_EQ(FullNameOf(At(Suite().getNextSibling(b.get(), error.out()))), "/root/c");
    EXPECT_EQ(Suite().getNumberOfChildren(b.get()), 0);
    EXPECT_EQ(Suite().getFirstChild(b.get(), error.out()), nullptr);
    EXPECT_EQ(Suite().getAttribute(b.get(), "path", error.out()), nullptr);
    EXPECT_EQ(Suite().getAttribute(b.get(), "", error.out()), nullptr);
    EXPECT_EQ(Suite().getPotentialChildren(b.get(), error.out()), nullptr);
    EXPECT_TRUE(error.isNull());
}

TEST(FailedLocations4, AreFoundByNameAndByPath) {
    const At root = RootOf(FailingTree({"a", "b", "c"}, {"/root/b"}));
    CallError error;
    const At byName = Suite().getChildByName(root.get(), "b", error.out());
    EXPECT_THAT(Answer(byName, error), testing::StartsWith("/root/b, Op "));
    EXPECT_EQ(FullNameOf(At(Suite().getNextSibling(byName.get(), error.out()))), "/root/c");
    const At byPath = Suite().getProducerByPath(root.get(), "/root/b", error.out());
    EXPECT_THAT(Answer(byPath, error), testing::StartsWith("/root/b, Op "));
    const At below = Suite().getProducerByPath(root.get(), "/root/b/x", error.out());
    EXPECT_THAT(Answer(below, error), testing::StartsWith("nothing, Op "));
    EXPECT_STREQ(error.facts().location, "/root/b");
}

TEST(FailedLocations4, AreRootsAsWell) {
    const SceneHandle scene = SceneHandle::of(FailingTree({"a"}, {"/root"}));
    CallError error;
    const At root = Suite().getSceneRoot(scene.get(), error.out());
    EXPECT_THAT(Answer(root, error), testing::StartsWith("/root, Op "));
    EXPECT_EQ(Suite().getFirstChild(root.get(), error.out()), nullptr);
    EXPECT_EQ(Suite().getParent(root.get(), error.out()), nullptr);
    EXPECT_EQ(Suite().getNextSibling(root.get(), error.out()), nullptr);
    EXPECT_TRUE(error.isNull());
}

TEST(FailedLocations4, AreUsableThroughVersion3) {
    const At root = RootOf(FailingTree({"a", "b", "c"}, {"/root/b"}));
    const At b = Suite().getChild(root.get(), 1, nullptr);
    EXPECT_EQ(TextOf(Owned(Iterators().getName(b.get()))), "b");
    EXPECT_EQ(TextOf(Owned(Iterators().getFullName(b.get()))), "/root/b");
    EXPECT_EQ(Iterators().getFirstChild(b.get(), false), nullptr);
    EXPECT_EQ(PathOf(Handle::retaining(Iterators().getNextSibling(b.get(), false))), "/root/c");
}

/// Has the children a, b and c, of which b throws, and stops at it like version 3.
class FaultyProducer : public GeometryProducer {
public:
    FaultyProducer(Ptr parent, std::string path)
        : GeometryProducer(std::move(parent)), path(std::move(path)) {}
    void getAttributeNames(std::set<std::string>*) override {}
    OxAttribute::StringAttribute getPotentialChildren() override {
        return isRoot() ? Texts({"a", "b", "c"}) : OxAttribute::StringAttribute();
    }
    OxAttribute::Attribute getAttribute(const char* name) override {
        return std::string(name) == "type" ? Text("made up") : OxAttribute::Attribute();
    }
    std::string getName() override { return path.substr(path.rfind('/') + 1); }
    std::string getFullName() override { return path; }
    std::string getHash() override { return ""; }
    Ptr getChildByName(const char* name, bool) override {
        const std::string wanted = name;
        if (wanted == "b") throw std::runtime_error("It fails.");
        const bool isThere = isRoot() && (wanted == "a" || wanted == "c");
        return isThere ? new FaultyProducer(this, path + "/" + wanted) : nullptr;
    }
    Ptr getFirstChild(bool) override { return isRoot() ? getChildByName("a", false) : nullptr; }
    Ptr getNextSibling(bool) override {
        if (getName() == "a") throw std::runtime_error("It fails.");
        return nullptr;
    }

private:
    bool isRoot() const { return path == "/root"; }
    const std::string path;
};

TEST(FailedLocations4, AreToldForProducersOfOtherClasses) {
    const At root = At::of(new FaultyProducer(nullptr, "/root"));
    CallError error;
    EXPECT_EQ(Suite().getNumberOfChildren(root.get()), 3);
    EXPECT_STREQ(Suite().getChildName(root.get(), 2, nullptr), "c");
    EXPECT_STREQ(Suite().getType(root.get(), nullptr), "made up");
    const At a = Suite().getFirstChild(root.get(), error.out());
    EXPECT_EQ(Answer(a, error), "/root/a, no error");
    EXPECT_STREQ(Suite().getName(a.get(), nullptr), "a");
    const At b = Suite().getNextSibling(a.get(), error.out());
    EXPECT_EQ(Answer(b, error), "/root/b, It fails.");
    EXPECT_EQ(error.code(), kOxErrorUnknown);
    const At c = Suite().getNextSibling(b.get(), error.out());
    EXPECT_EQ(Answer(c, error), "/root/c, no error");
    EXPECT_EQ(Suite().getNextSibling(c.get(), error.out()), nullptr);
    EXPECT_EQ(Answer(At(Suite().getChild(root.get(), 1, error.out())), error),
              "/root/b, It fails.");
    EXPECT_EQ(Answer(At(Suite().getChildByName(root.get(), "b", error.out())), error),
              "/root/b, It fails.");
    EXPECT_EQ(PathOf(Handle::retaining(Iterators().getNextSibling(b.get(), false))), "/root/c");
    EXPECT_EQ(Answer(At(Suite().evict(b.get(), error.out())), error), "/root/b, It fails.");
    EXPECT_EQ(Answer(At(Suite().evict(c.get(), error.out())), error), "/root/c, no error");
}

TEST(FailedLocations4, LogNothing) {
    const CapturedLog log;
    const At root = RootOf(FailingTree({"a", "b"}, {"/root/a"}));
    const At a = Suite().getFirstChild(root.get(), nullptr);
    EXPECT_EQ(Suite().getFirstChild(nullptr, nullptr), nullptr);
    EXPECT_THAT(log.messages(), testing::IsEmpty());
}

// Wrong calls -------------------------------------------------------------------------------------

/// The text of the error that a call with a null handle gives, which has to return null.
template <typename Slot, typename... Arguments>
std::string TextForNull(Slot slot, Arguments... arguments) {
    CallError error;
    EXPECT_EQ(slot(nullptr, arguments..., error.out()), nullptr);
    EXPECT_EQ(error.code(), kOxErrorBadCall);
    EXPECT_EQ(slot(nullptr, arguments..., nullptr), nullptr);
    return error.text();
}

TEST(WrongCalls4, NameTheSlotAndTheArgument) {
    EXPECT_EQ(TextForNull(Suite().getFirstChild), "getFirstChild: location is null");
    EXPECT_EQ(TextForNull(Suite().getNextSibling), "getNextSibling: location is null");
    EXPECT_EQ(TextForNull(Suite().getParent), "getParent: location is null");
    EXPECT_EQ(TextForNull(Suite().getRoot), "getRoot: location is null");
    EXPECT_EQ(TextForNull(Suite().getChildByName, "a"), "getChildByName: location is null");
    EXPECT_EQ(TextForNull(Suite().getProducerByPath, "a"), "getProducerByPath: location is null");
    EXPECT_EQ(TextForNull(Suite().getChild, std::int64_t{0}), "getChild: location is null");
    EXPECT_EQ(TextForNull(Suite().evict), "evict: location is null");
    EXPECT_EQ(TextForNull(Suite().getAttribute, "a"), "getAttribute: location is null");
    EXPECT_EQ(TextForNull(Suite().getGlobalAttribute, "a"), "getGlobalAttribute: location is null");
    EXPECT_EQ(TextForNull(Suite().getAttributeNames), "getAttributeNames: location is null");
    EXPECT_EQ(TextForNull(Suite().getGlobalXFormGroup), "getGlobalXFormGroup: location is null");
    EXPECT_EQ(TextForNull(Suite().getPotentialChildren), "getPotentialChildren: location is null");
    EXPECT_EQ(TextForNull(Suite().getInstances), "getInstances: location is null");
    EXPECT_EQ(TextForNull(Suite().getPrototype, std::int64_t{0}),
              "getPrototype: instances is null");
    EXPECT_EQ(TextForNull(Suite().getInstance, std::int64_t{0}), "getInstance: instances is null");
    EXPECT_EQ(TextForNull(Suite().openScene), "openScene: path is null");
    EXPECT_EQ(TextForNull(Suite().openDescription), "openDescription: description is null");
    EXPECT_EQ(TextForNull(Suite().getSceneRoot), "getSceneRoot: scene is null");
    EXPECT_EQ(TextForNull(Suite().loadOpTreeDescription), "loadOpTreeDescription: path is null");
    EXPECT_EQ(TextForNull(Suite().createRootIteratorFromOpTreeFile),
              "createRootIteratorFromOpTreeFile: path is null");
    EXPECT_EQ(TextForNull(Suite().createRootIteratorFromOpTreeDescription),
              "createRootIteratorFromOpTreeDescription: description is null");
    EXPECT_EQ(TextForNull(Suite().subscribe), "subscribe: scene is null");
    EXPECT_EQ(TextForNull(Suite().receiveChanges), "receiveChanges: subscription is null");
    EXPECT_EQ(TextForNull(Suite().getChangedRoot), "getChangedRoot: changes is null");
    EXPECT_EQ(TextForNull(Suite().getPreviousRoot), "getPreviousRoot: changes is null");
}

TEST(WrongCalls4, NameTextsThatAreNullOrDeep) {
    const At root = RootOf(WideScene(UniqueTag()));
    CallError error;
    EXPECT_EQ(Suite().getChildByName(root.get(), nullptr, error.out()), nullptr);
    EXPECT_EQ(error.text(), "getChildByName: name is null");
    EXPECT_EQ(Suite().getChildByName(root.get(), "world/group1", error.out()), nullptr);
    EXPECT_EQ(error.text(), "getChildByName: name has a \"/\"");
    EXPECT_STREQ(error.facts().attribute, "name");
    EXPECT_EQ(Suite().getProducerByPath(root.get(), nullptr, error.out()), nullptr);
    EXPECT_EQ(error.text(), "getProducerByPath: path is null");
    EXPECT_EQ(Suite().getAttribute(root.get(), nullptr, error.out()), nullptr);
    EXPECT_EQ(error.text(), "getAttribute: name is null");
    EXPECT_EQ(Suite().getGlobalAttribute(root.get(), nullptr, error.out()), nullptr);
    EXPECT_EQ(error.text(), "getGlobalAttribute: name is null");
}

TEST(WrongCalls4, ReleaseNothingForNull) {
    Suite().retainIterator(nullptr);
    Suite().releaseIterator(nullptr);
    Suite().retainScene(nullptr);
    Suite().releaseScene(nullptr);
    Suite().retainInstances(nullptr);
    Suite().releaseInstances(nullptr);
    Suite().retainSubscription(nullptr);
    Suite().releaseSubscription(nullptr);
    Suite().retainChanges(nullptr);
    Suite().releaseChanges(nullptr);
    Suite().finalizeRuntime(nullptr);
}

// Ownership ---------------------------------------------------------------------------------------

TEST(Ownership4, IsOneReferenceForEachHandle) {
    GeometryProducer::Ptr producer = StaticRoot(Location({}, {{"a", Location({})}}));
    At root = At::of(producer);
    const int count = producer->use_count();
    {
        const At a = Suite().getFirstChild(root.get(), nullptr);
        const At parent = Suite().getParent(a.get(), nullptr);
        const At top = Suite().getRoot(a.get(), nullptr);
        const At itself = Suite().getRoot(root.get(), nullptr);
        EXPECT_GT(producer->use_count(), count);
    }
    EXPECT_EQ(producer->use_count(), count);
    root = nullptr;
    EXPECT_EQ(producer->use_count(), 1);
}

TEST(Ownership4, KeepsTheAncestorsAndTheErrorOfALocation) {
    At b;
    {
        const At root = RootOf(FailingTree({"a", "b"}, {"/root/b"}));
        b = Suite().getChild(root.get(), 1, nullptr);
    }
    EXPECT_EQ(FullNameOf(b), "/root/b");
    CallError error;
    const At root = Suite().getParent(b.get(), error.out());
    EXPECT_EQ(FullNameOf(At(Suite().getFirstChild(root.get(), error.out()))), "/root/a");
}

TEST(Ownership4, MixesWithVersion3) {
    const At root = RootOf(WideScene(UniqueTag()));
    // Version 3 returns a handle without a reference; the caller adds one.
    OxSgIteratorStruct* const world = Iterators().getFirstChild(root.get(), false);
    Suite().retainIterator(world);
    OxSgIteratorStruct* const group = Suite().getFirstChild(world, nullptr);
    EXPECT_EQ(PathOf(Handle::retaining(Iterators().getNextSibling(group, false))),
              "/root/world/group1");
    Suite().releaseIterator(world);
    Iterators().releaseIterator(group);
}

// Threads -----------------------------------------------------------------------------------------

void Count(OxSgIteratorStruct* location, long& count) {
    ++count;
    for (At child = Suite().getFirstChild(location, nullptr); child;
         child = Suite().getNextSibling(child.get(), nullptr))
        Count(child.get(), count);
}

TEST(Threads4, ShareOneSceneAndItsHandles) {
    const SceneHandle scene = SceneHandle::of(WideScene(UniqueTag()));
    const At shared = scene.root();
    RunTogether(8, [&](int number) {
        const At root = scene.root();
        long count = 0;
        Count(number % 2 ? root.get() : shared.get(), count);
        EXPECT_EQ(count, kWideSceneLocations);
        EXPECT_STREQ(Suite().getFullName(shared.get(), nullptr), "/root");
    });
}

TEST(Threads4, HandOnALocationThatFails) {
    const At root = RootOf(FailingTree({"a", "b", "c"}, {"/root/b"}));
    const At b = Suite().getChild(root.get(), 1, nullptr);
    RunTogether(8, [&](int) {
        for (int i = 0; i < 50; ++i) {
            OxErrorStruct* const error = Suite().getLocationError(b.get());
            EXPECT_EQ(OxHandleToErrorFacts(error).code, kOxErrorCook);
            OxReleaseError(error);
            EXPECT_EQ(FullNameOf(At(Suite().getNextSibling(b.get(), nullptr))), "/root/c");
            EXPECT_EQ(FullNameOf(b), "/root/b");
        }
    });
}

} // namespace
