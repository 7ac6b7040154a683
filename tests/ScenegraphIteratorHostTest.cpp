#include <OxTellarProducers/OxScenegraphIteratorHostSuite.h>

#include <cstring>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include <OxTellarSDK/PluginManager.h>

#include "CapturedErrors.h"
#include "CapturedLog.h"
#include "IteratorScenes.h"
#include "SceneBuilders.h"
#include "SuiteHandles.h"
#include "TestOps.h"
#include "plugins/IteratorChecksSuite.h"

namespace {

using namespace TellarTest;
using OxAttribute::Attribute;
using OxAttribute::GroupAttribute;
using OxAttribute::StringAttribute;
using TELLAR::GeometryProducer;
using TELLAR::OxHandleToGeometryProducer;
using testing::ElementsAre;
using testing::IsEmpty;

using Ptr = GeometryProducer::Ptr;
using Suite = OxScenegraphIteratorHostSuite_v3;

constexpr const char* kLogger = "ScenegraphIteratorHost";

TEST(IteratorHost, HasTheEntriesOfVersion3InVersion2) {
    const auto& old = *static_cast<const OxScenegraphIteratorHostSuite_v2*>(
        Host()->getSuite("ScenegraphIteratorHost", 2));
    void* three[19];
    void* two[16];
    static_assert(sizeof three == sizeof(Suite) && sizeof two == sizeof old);
    std::memcpy(three, &Iterators(), sizeof three);
    std::memcpy(two, &old, sizeof two);
    std::vector<void*> kept;
    for (int slot = 0; slot < 19; ++slot)
        if (slot != 2 && slot != 4 && slot != 18) kept.push_back(three[slot]);
    EXPECT_THAT(two, testing::ElementsAreArray(kept));
    EXPECT_EQ(std::set<void*>(three, three + 19).size(), 19u) << "no entry stands twice";
}

TEST(IteratorHost, NavigatesAsProducersDo) {
    const SceneFile file;
    const Handle root = file.root();
    const Suite& suite = Iterators();
    const Handle world = Handle::retaining(suite.getFirstChild(root.get(), false));
    const Handle group1 = Handle::retaining(suite.getChildByName(world.get(), "group1", false));
    const Handle group2 = Handle::retaining(suite.getNextSibling(group1.get(), false));
    const Handle leaf =
        Handle::retaining(suite.getProducerByPath(root.get(), "/root/world/group2/leaf9", false));
    EXPECT_EQ(PathOf(root), "/root");
    EXPECT_EQ(PathOf(world), "/root/world");
    EXPECT_EQ(PathOf(group2), "/root/world/group2");
    EXPECT_EQ(PathOf(leaf), "/root/world/group2/leaf9");
    EXPECT_EQ(PathOf(Handle::retaining(suite.getParent(leaf.get()))), "/root/world/group2");
    EXPECT_EQ(PathOf(Handle::retaining(suite.getChildByName(leaf.get(), "..", false))),
              "/root/world/group2");
    EXPECT_EQ(TextOf(Owned(suite.getName(leaf.get()))), "leaf9");
}

TEST(IteratorHost, GivesNullForWhatIsNotThere) {
    const SceneFile file;
    const Handle root = file.root();
    const Suite& suite = Iterators();
    const Handle leaf =
        Handle::retaining(suite.getProducerByPath(root.get(), "/root/world/group2/leaf9", false));
    EXPECT_EQ(suite.getParent(root.get()), nullptr);
    EXPECT_EQ(suite.getNextSibling(root.get(), false), nullptr);
    EXPECT_EQ(suite.getFirstChild(leaf.get(), false), nullptr);
    EXPECT_EQ(suite.getNextSibling(leaf.get(), false), nullptr);
    EXPECT_EQ(suite.getChildByName(root.get(), "nothing", false), nullptr);
    EXPECT_EQ(suite.getChildByName(root.get(), nullptr, false), nullptr);
    EXPECT_EQ(suite.getProducerByPath(root.get(), "/root/nothing", false), nullptr);
    EXPECT_EQ(suite.getProducerByPath(root.get(), nullptr, false), nullptr);
    EXPECT_EQ(suite.getAttribute(root.get(), "nothing"), nullptr);
    EXPECT_EQ(suite.getGlobalAttribute(leaf.get(), "nothing"), nullptr);
    EXPECT_EQ(suite.getGlobalAttribute(leaf.get(), nullptr), nullptr);
    EXPECT_EQ(suite.getPotentialChildren(leaf.get()), nullptr);
}

TEST(IteratorHost, ReadsAttributes) {
    const SceneFile file;
    const Handle root = file.root();
    const Suite& suite = Iterators();
    const Handle leaf =
        Handle::retaining(suite.getProducerByPath(root.get(), "/root/world/group2/leaf9", false));
    EXPECT_EQ(IntOf(Owned(suite.getAttribute(leaf.get(), "number"))), 9);
    EXPECT_EQ(TextOf(Owned(suite.getGlobalAttribute(leaf.get(), "inherited"))), "from above");
    EXPECT_EQ(GroupAttribute(Owned(suite.getAttribute(leaf.get(), nullptr))).getNumberOfChildren(),
              1);
    EXPECT_EQ(Owned(suite.getGlobalXFormGroup(leaf.get())).getType(), kAttributeTypeGroup);
    const StringAttribute children = Owned(suite.getPotentialChildren(root.get()));
    EXPECT_THAT(ValuesOf(children), ElementsAre("world"));
}

TEST(IteratorHost, GivesTheSameRootEveryTimeInAHandleOfItsOwn) {
    const SceneFile file;
    const Handle root = file.root();
    const Handle leaf = Handle::retaining(
        Iterators().getProducerByPath(root.get(), "/root/world/group2/leaf9", false));
    const Handle one = Handle::retaining(Iterators().getRoot(leaf.get()));
    const Handle other = Handle::retaining(Iterators().getRoot(root.get()));
    EXPECT_NE(one.get(), other.get());
    EXPECT_EQ(OxHandleToGeometryProducer(one.get()), OxHandleToGeometryProducer(other.get()));
}

TEST(IteratorHost, ComputesALocationAnewWhenItIsToBeEvicted) {
    TestVersionNow() = 1;
    const auto tree = Group({{"tree", OpEntry("TestTree", Group({{"children", Texts({"a", "b"})},
                                                                 {"tag", Text(UniqueTag())}}))},
                             {"version", OpEntry("TestVersion", {}, {"tree"})}});
    const Handle root =
        Handle::owning(Iterators().createRootIteratorFromOpTreeDescription(tree.getHandle()));
    const auto version = [&](bool evict) {
        const Handle child = Handle::retaining(Iterators().getFirstChild(root.get(), evict));
        return IntOf(Owned(Iterators().getAttribute(child.get(), "version")));
    };
    EXPECT_EQ(version(false), 1);
    TestVersionNow() = 2;
    EXPECT_EQ(version(false), 1);
    EXPECT_EQ(version(true), 2);

    const auto versionOf = [](OxSgIteratorStruct* iterator) {
        const Handle handle = Handle::retaining(iterator);
        return IntOf(Owned(Iterators().getAttribute(handle.get(), "version")));
    };
    TestVersionNow() = 3;
    EXPECT_EQ(versionOf(Iterators().getChildByName(root.get(), "a", true)), 3);
    TestVersionNow() = 4;
    EXPECT_EQ(versionOf(Iterators().getProducerByPath(root.get(), "/root/a", true)), 4);
    TestVersionNow() = 5;
    const Handle a = Handle::retaining(Iterators().getFirstChild(root.get(), false));
    EXPECT_EQ(versionOf(Iterators().getNextSibling(a.get(), false)), 5);
    TestVersionNow() = 6;
    EXPECT_EQ(versionOf(Iterators().getNextSibling(a.get(), false)), 5);
    EXPECT_EQ(versionOf(Iterators().getNextSibling(a.get(), true)), 6);
}

/// Has the attribute names that it is given, and throws where it is asked for other things.
class TalkativeProducer : public GeometryProducer {
public:
    explicit TalkativeProducer(std::vector<std::string> names)
        : GeometryProducer(nullptr), names(std::move(names)) {}
    void getAttributeNames(std::set<std::string>* result) override {
        for (const std::string& name : names)
            result->insert(name);
    }
    StringAttribute getPotentialChildren() override { throw std::runtime_error("It fails."); }
    Attribute getAttribute(const char*) override { throw 7; }
    std::string getName() override { return ""; }
    std::string getFullName() override { return ""; }
    std::string getHash() override { return ""; }
    Ptr getChildByName(const char*, bool) override { return nullptr; }
    Ptr getFirstChild(bool) override { throw std::runtime_error("It fails."); }
    Ptr getNextSibling(bool) override { return nullptr; }

private:
    std::vector<std::string> names;
};

TEST(IteratorHost, GivesAttributeNamesSortedAndOnce) {
    const Handle handle = Handle::of((new TalkativeProducer({"b", "a", "b"})));
    const StringAttribute names = Owned(Iterators().getAttributeNames(handle.get()));
    EXPECT_THAT(ValuesOf(names), ElementsAre("a", "b"));
    EXPECT_EQ(names.getTupleSize(), 1);
}

TEST(IteratorHost, GivesNoNamesAsAnEmptyStringAttribute) {
    const Handle handle = Handle::of((new TalkativeProducer({})));
    const StringAttribute names = Owned(Iterators().getAttributeNames(handle.get()));
    EXPECT_TRUE(names.isValid());
    EXPECT_THAT(ValuesOf(names), IsEmpty());
}

TEST(IteratorHost, LetsNoExceptionOutAndLogsTheEntry) {
    const CapturedLog log;
    const Handle handle = Handle::of((new TalkativeProducer({})));
    EXPECT_EQ(Iterators().getFirstChild(handle.get(), false), nullptr);
    EXPECT_EQ(Iterators().getPotentialChildren(handle.get()), nullptr);
    EXPECT_EQ(Iterators().getAttribute(handle.get(), "a"), nullptr);
    EXPECT_THAT(log.textsOf(kLogger),
                ElementsAre("getFirstChild: It fails.", "getPotentialChildren: It fails.",
                            "getAttribute: unknown exception"));
    EXPECT_EQ(log.messages()[0].level, OxLogLevel::error);
}

TEST(IteratorHost, LogsADeepNameAsAnErrorOfItsEntry) {
    const SceneFile file;
    const Handle root = file.root();
    const CapturedLog log;
    EXPECT_EQ(Iterators().getChildByName(root.get(), "world/group1", false), nullptr);
    EXPECT_THAT(log.textsOf(kLogger),
                ElementsAre("getChildByName: getChildByName does not support deep child lookups"));
}

/// The table of the plug-in with the checks. The host finds the plug-in on the plug-in path, and
/// the plug-in asks the host for the suites of the library.
const IteratorChecksSuite& Checks() {
    static const auto* const checks = [] {
        OxPluginManager::PluginManager::addSearchPath(TELLAR_TEST_PLUGIN_DIR);
        return static_cast<const IteratorChecksSuite*>(
            Host()->getPluginSuite("iterator checks", "TestIteratorChecks", 1));
    }();
    if (!checks) throw std::runtime_error("The plug-in with the checks is not found.");
    return *checks;
}

TEST(IteratorHostFromC, TakesNullHandlesAtEveryEntry) {
    const CapturedErrors expected;
    const CapturedLog expectedToo;
    EXPECT_EQ(Checks().checkNullHandles(), 0);
}

TEST(IteratorHostFromC, CountsReferences) {
    const SceneFile file;
    EXPECT_EQ(Checks().checkCounts(file.c_str()), 0);
}

TEST(IteratorHostFromC, IsWalkedThroughVersion2) {
    const SceneFile file;
    EXPECT_EQ(Checks().checkVersion2(file.c_str(), kWideSceneLocations), 0);
}

TEST(IteratorHostFromC, IsWalkedByManyThreadsAtOnce) {
    const SceneFile file;
    EXPECT_EQ(Checks().checkThreads(file.c_str(), 8, kWideSceneLocations), 0);
}

TEST(IteratorHostFromC, IsWalkedByManyThreadsAtOnceInOneRuntime) {
    const SceneFile file;
    const SharedRuntime shared;
    EXPECT_EQ(Checks().checkThreads(file.c_str(), 8, kWideSceneLocations), 0);
}

TEST(IteratorHostFromC, OutlivesTheThreadThatOpenedTheScene) {
    const SceneFile file;
    EXPECT_EQ(Checks().checkThreadThatEnds(file.c_str(), 8, kWideSceneLocations), 0);
}

TEST(IteratorHostFromC, OutlivesTheThreadThatOpenedTheSceneInOneRuntime) {
    const SceneFile file;
    const SharedRuntime shared;
    EXPECT_EQ(Checks().checkThreadThatEnds(file.c_str(), 8, kWideSceneLocations), 0);
}

} // namespace
