#include <OxTellarProducers/BaseGeometryProducer.h>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <boost/make_shared.hpp>
#include <gmock/gmock.h>

#include <OxTellarProducers/AsyncGeometryProducer.h>
#include <OxTellarProducers/CreateGeometryProducer.h>
#include <OxTellarProducers/OpTreeSource.h>
#include <OxTellarProducers/SyncGeometryProducer.h>
#include <OxTellarProducers/ThreadAwareGeometryProducer.h>
#include <OxTellarProducers/ThreadLocalClient.h>

#include "CapturedLog.h"
#include "ErrorOf.h"
#include "ProducerHelpers.h"
#include "RunTogether.h"
#include "SceneBuilders.h"
#include "ScopedRuntimeFactory.h"
#include "TestOps.h"

namespace {

using namespace TellarTest;
using OxAttribute::GroupAttribute;
using OxAttribute::StringAttribute;
using TELLAR::AsyncGeometryProducer;
using TELLAR::CreateAsyncGeometryProducer;
using TELLAR::CreateSyncGeometryProducer;
using TELLAR::CreateThreadAwareGeometryProducer;
using TELLAR::GeometryProducer;
using TELLAR::OpTreeSource;
using TELLAR::SyncGeometryProducer;
using TELLAR::ThreadAwareGeometryProducer;
using TELLAR::ThreadLocalClient;
using testing::ElementsAre;
using testing::IsEmpty;

using Client = std::shared_ptr<TellarRuntime::Client>;
using Ptr = GeometryProducer::Ptr;

constexpr const char* kDeepLookupError = "getChildByName does not support deep child lookups";
constexpr const char* kPurposeError =
    "Op \"fault\" (TestThrow) at \"/root/bad\": It fails on purpose.";

/// Cooks the location and all that it and the locations below it name as children.
void CookAll(const Client& client, const std::string& path) {
    const StringAttribute children = client->cookLocation(path).getPotentialChildren();
    std::set<std::string> names;
    for (std::int64_t sample = 0; sample < children.getNumberOfTimeSamples(); ++sample)
        for (const std::string_view name : children.getSample(sample))
            names.emplace(name);
    for (const std::string& name : names)
        CookAll(client, path + "/" + name);
}

/// A scene on which another Op works.
GroupAttribute SceneUnder(const char* opName, const char* opType, const GroupAttribute& args,
                          const GroupAttribute& scene) {
    return Group({{"scene", OpEntry("StaticScene", scene)},
                  {"tag", OpEntry("Merge", {}, {"scene"})},
                  {opName, OpEntry(opType, args, {"tag"})}});
}

using Samples = std::map<float, std::vector<std::string>>;

// All variants ------------------------------------------------------------------------------------

struct Variant {
    const char* name;
    /// The location in a tree. For the variant that does not cook, all of it is cooked before.
    Ptr (*open)(const GroupAttribute& tree, const std::string& path);
};

Ptr OpenSync(const GroupAttribute& tree, const std::string& path) {
    return CreateSyncGeometryProducer(MakeClient(tree), path);
}
Ptr OpenAsync(const GroupAttribute& tree, const std::string& path) {
    const Client client = MakeClient(tree);
    CookAll(client, "/root");
    return CreateAsyncGeometryProducer(client, path);
}
Ptr OpenThreadAware(const GroupAttribute& tree, const std::string& path) {
    return CreateThreadAwareGeometryProducer(tree, path);
}

std::string NameOfVariant(const testing::TestParamInfo<Variant>& variant) {
    return variant.param.name;
}

class RuntimeProducer : public testing::TestWithParam<Variant> {
protected:
    static Ptr open(const GroupAttribute& tree, const std::string& path = "/root") {
        return GetParam().open(tree, path);
    }
    static Ptr openScene(const GroupAttribute& scene, const std::string& path = "/root") {
        return open(SceneTree(scene), path);
    }
};

INSTANTIATE_TEST_SUITE_P(Variants, RuntimeProducer,
                         testing::Values(Variant{"Sync", OpenSync}, Variant{"Async", OpenAsync},
                                         Variant{"ThreadAware", OpenThreadAware}),
                         NameOfVariant);

TEST_P(RuntimeProducer, IsNamedAfterTheLastPartOfItsPath) {
    const Ptr leaf = openScene(Location({}, {{"world", Location({}, {{"geo", Location({})}})}}),
                               "/root/world/geo");
    EXPECT_EQ(leaf->getName(), "geo");
    EXPECT_EQ(leaf->getFullName(), "/root/world/geo");
    EXPECT_EQ(leaf->getRootProducer()->getName(), "root");
    EXPECT_EQ(leaf->getRootProducer()->getFullName(), "/root");
}

TEST_P(RuntimeProducer, FindsAttributesByDottedPath) {
    const Ptr root = openScene(Location({{"a", Group({{"b", Int(7)}})}, {"type", Text("group")}}));
    EXPECT_EQ(IntOf(root->getAttribute("a.b")), 7);
    EXPECT_EQ(root->getAttribute("a"), Group({{"b", Int(7)}}));
    EXPECT_FALSE(root->getAttribute("a.c").isValid());
    EXPECT_FALSE(root->getAttribute("b").isValid());
    EXPECT_EQ(root->getType(), "group");
}

TEST_P(RuntimeProducer, GivesAllAttributesWithoutAName) {
    const Ptr root = openScene(Location({{"n", Int(7)}}));
    EXPECT_EQ(root->getAttribute(""), Group({{"n", Int(7)}}));
    EXPECT_EQ(root->getAttribute(nullptr), Group({{"n", Int(7)}}));
}

TEST_P(RuntimeProducer, AddsItsAttributeNamesToThoseThereAlready) {
    const Ptr root = openScene(Location({{"z", Int(1)}, {"B", Int(2)}, {"a", Int(3)}}));
    std::set<std::string> names{"there before", "z"};
    root->getAttributeNames(&names);
    EXPECT_THAT(names, ElementsAre("B", "a", "there before", "z"));
    root->getAttributeNames(nullptr);
}

TEST_P(RuntimeProducer, HasNoAttributesWhereTheLocationHasNone) {
    const Ptr root = openScene(Group({{"c", Group({{"a", Location({})}})}}));
    EXPECT_FALSE(root->getAttribute("").isValid());
    EXPECT_FALSE(root->getAttribute("anything").isValid());
    std::set<std::string> names;
    root->getAttributeNames(&names);
    EXPECT_THAT(names, IsEmpty());
    EXPECT_EQ(root->getType(), "");
}

TEST_P(RuntimeProducer, ListsThePotentialChildrenThatWereCooked) {
    const Ptr root = openScene(Location({}, {{"b", Location({})}, {"a%2Ex", Location({})}}));
    EXPECT_THAT(ValuesOf(root->getPotentialChildren()), ElementsAre("b", "a.x"));
    EXPECT_FALSE(root->getFirstChild(false)->getPotentialChildren().isValid());
}

TEST_P(RuntimeProducer, HasTheHashOfWhatWasCooked) {
    const GroupAttribute scene = Location({}, {{"a", Location({{"n", Int(1)}})},
                                               {"b", Location({{"n", Int(1)}})},
                                               {"c", Location({{"n", Int(2)}})}});
    const auto hashOf = [&scene](const char* path) { return openScene(scene, path)->getHash(); };
    EXPECT_EQ(hashOf("/root/a"), hashOf("/root/b"));
    EXPECT_NE(hashOf("/root/a"), hashOf("/root/c"));
    EXPECT_EQ(hashOf("/root/a"),
              MakeClient(SceneTree(scene))->cookLocation("/root/a").getHash().str());
}

TEST_P(RuntimeProducer, IsItsOwnChildByDotAndItsParentByTwo) {
    const Ptr root = openScene(Location({}, {{"a", Location({})}}));
    const Ptr child = root->getChildByName("a", false);
    EXPECT_EQ(root->getChildByName(".", false), root);
    EXPECT_EQ(root->getChildByName("..", false), nullptr);
    EXPECT_EQ(child->getChildByName("..", false), root);
    EXPECT_EQ(child->getChildByName(".", false), child);
}

TEST_P(RuntimeProducer, RefusesNamesWithASlash) {
    const Ptr root = openScene(Location({}, {{"a", Location({}, {{"b", Location({})}})}}));
    const auto errorOf = [&root](const char* name) {
        return ErrorOf([&] { root->getChildByName(name, false); });
    };
    EXPECT_EQ(errorOf("a/b"), kDeepLookupError);
    EXPECT_EQ(errorOf("/"), kDeepLookupError);
    EXPECT_EQ(errorOf("../a"), kDeepLookupError);
    EXPECT_EQ(errorOf("not there/at all"), kDeepLookupError);
}

TEST_P(RuntimeProducer, FindsAChildByItsExactName) {
    const Ptr root = openScene(
        Location({}, {{"a", Location({{"n", Int(1)}})}, {"ab", Location({{"n", Int(2)}})}}));
    const Ptr child = root->getChildByName("ab", false);
    ASSERT_TRUE(child);
    EXPECT_EQ(child->getFullName(), "/root/ab");
    EXPECT_EQ(IntOf(child->getAttribute("n")), 2);
    EXPECT_EQ(child->getParent(), root);
    EXPECT_EQ(root->getChildByName("A", false), nullptr);
    EXPECT_EQ(root->getChildByName("abc", false), nullptr);
    EXPECT_EQ(root->getChildByName("", false), nullptr);
}

TEST_P(RuntimeProducer, HasNoChildrenWhereNoneArePotential) {
    const Ptr root = openScene(Location({{"n", Int(7)}}));
    EXPECT_EQ(root->getFirstChild(false), nullptr);
    EXPECT_EQ(root->getChildByName("a", false), nullptr);
    EXPECT_EQ(root->getNextSibling(false), nullptr);
}

TEST_P(RuntimeProducer, HasNoChildThatIsNotListedEvenIfItExists) {
    const GroupAttribute tree = TestTree(Texts({"a"}));
    EXPECT_EQ(NameOf(open(tree)->getChildByName("a", false)), "/root/a");
    EXPECT_EQ(open(tree)->getChildByName("b", false), nullptr);
}

TEST_P(RuntimeProducer, HasNoChildThatIsListedAndDoesNotExist) {
    const Ptr root =
        open(TestTree(Texts({"gone", "a", "lost", "b"}), {"/root/gone", "/root/lost"}));
    EXPECT_EQ(root->getChildByName("gone", false), nullptr);
    EXPECT_EQ(NameOf(root->getChildByName("b", false)), "/root/b");
}

TEST_P(RuntimeProducer, SkipsListedChildrenThatDoNotExist) {
    const Ptr root = open(TestTree(Texts({"gone", "a", "lost", "b", "last"}),
                                   {"/root/gone", "/root/lost", "/root/last"}));
    EXPECT_THAT(WalkChildren(root), ElementsAre("/root/a", "/root/b"));
}

TEST_P(RuntimeProducer, SkipsChildrenThatAnOpDeletesAndLeavesListed) {
    const Ptr root = open(SceneUnder(
        "prune", "Prune", Group({{"paths", Texts({"/root/a", "/root/c"})}, {"keepNames", Int(1)}}),
        Location({}, {{"a", Location({})}, {"b", Location({})}, {"c", Location({})}})));
    EXPECT_THAT(ValuesOf(root->getPotentialChildren()), ElementsAre("a", "b", "c"));
    EXPECT_THAT(WalkChildren(root), ElementsAre("/root/b"));
    EXPECT_EQ(root->getChildByName("a", false), nullptr);
}

TEST_P(RuntimeProducer, HasNoFirstChildWhenNoneOfThoseListedExists) {
    const Ptr root = open(TestTree(Texts({"a", "b"}), {"/root/a", "/root/b"}));
    EXPECT_EQ(root->getFirstChild(false), nullptr);
}

TEST_P(RuntimeProducer, WalksSiblingsInTheOrderOfThePotentialChildren) {
    const Ptr root = openScene(Location({}, {{"b", Location({{"n", Int(1)}})},
                                             {"a", Location({{"n", Int(2)}})},
                                             {"c", Location({{"n", Int(3)}})}}));
    EXPECT_THAT(WalkChildren(root), ElementsAre("/root/b", "/root/a", "/root/c"));
    const Ptr second = root->getFirstChild(false)->getNextSibling(false);
    EXPECT_EQ(IntOf(second->getAttribute("n")), 2);
    EXPECT_EQ(second->getParent(), root);
}

TEST_P(RuntimeProducer, GoesOnFromTheFirstPlaceOfANameThatIsListedTwice) {
    const Ptr root = open(TestTree(Texts({"a", "b", "a", "c"})));
    const Ptr a = root->getChildByName("a", false);
    EXPECT_EQ(NameOf(a->getNextSibling(false)), "/root/b");
    EXPECT_THAT(WalkChildren(root), ElementsAre("/root/a", "/root/b", "/root/a", "/root/c"));
}

TEST_P(RuntimeProducer, KnowsItsPlaceWhenItWasFoundByName) {
    const Ptr root = open(TestTree(Texts({"a", "b", "c"})));
    EXPECT_EQ(NameOf(root->getChildByName("b", false)->getNextSibling(false)), "/root/c");
    EXPECT_EQ(root->getChildByName("c", false)->getNextSibling(false), nullptr);
}

TEST_P(RuntimeProducer, StartsSiblingsWithTheParentsFirstWhenTheFactoryMadeIt) {
    const GroupAttribute tree = TestTree(Texts({"a", "b"}));
    const Ptr b = open(tree, "/root/b");
    EXPECT_EQ(NameOf(b->getNextSibling(false)), "/root/a");
    const Ptr a = open(tree, "/root/a");
    EXPECT_EQ(NameOf(a->getNextSibling(false)), "/root/a") << "the very same location again";
    EXPECT_EQ(NameOf(a->getNextSibling(false)->getNextSibling(false)), "/root/b");
}

TEST_P(RuntimeProducer, StartsSiblingsOfItsAncestorsWithTheFirstWhenTheFactoryMadeThem) {
    const Ptr b =
        openScene(Location({}, {{"x", Location({})},
                                {"a", Location({}, {{"y", Location({})}, {"b", Location({})}})}}),
                  "/root/a/b");
    EXPECT_EQ(NameOf(b->getNextSibling(false)), "/root/a/y");
    EXPECT_EQ(NameOf(b->getParent()->getNextSibling(false)), "/root/x");
}

TEST_P(RuntimeProducer, FindsByNameWhatOnlyALaterTimeSampleLists) {
    const Ptr root =
        open(TestTree(StringAttribute(Samples{{0, {"a", "b"}}, {1, {"a", "later"}}}, 1)));
    EXPECT_EQ(NameOf(root->getChildByName("later", false)), "/root/later");
    EXPECT_THAT(WalkChildren(root), ElementsAre("/root/a", "/root/b"));
}

TEST_P(RuntimeProducer, WalksTheTimeSampleNearestToZero) {
    const Ptr root =
        open(TestTree(StringAttribute(Samples{{-5, {"early"}}, {-1, {"near"}}, {2, {"late"}}}, 1)));
    EXPECT_THAT(WalkChildren(root), ElementsAre("/root/near"));
    EXPECT_EQ(NameOf(root->getChildByName("early", false)), "/root/early");
    EXPECT_EQ(NameOf(root->getChildByName("late", false)), "/root/late");
}

TEST_P(RuntimeProducer, TakesItsPlaceFromTheTimeSampleThatListsItFirst) {
    const Ptr root =
        open(TestTree(StringAttribute(Samples{{0, {"a", "b", "c"}}, {1, {"later", "c", "a"}}}, 1)));
    EXPECT_EQ(NameOf(root->getChildByName("c", false)->getNextSibling(false)), "nothing");
    EXPECT_EQ(NameOf(root->getChildByName("later", false)->getNextSibling(false)), "/root/b")
        << "place 0 of its own sample";
}

TEST_P(RuntimeProducer, MakesNewProducersOnEveryNavigation) {
    const Ptr root = open(TestTree(Texts({"a", "b"})));
    const Ptr a = root->getFirstChild(false);
    EXPECT_NE(root->getFirstChild(false), a);
    EXPECT_NE(root->getChildByName("a", false), root->getChildByName("a", false));
    EXPECT_NE(a->getNextSibling(false), a->getNextSibling(false));
}

TEST_P(RuntimeProducer, MakesProducersOfItsOwnKind) {
    const Ptr root = open(TestTree(Texts({"a", "b"})));
    const Ptr a = root->getFirstChild(false);
    for (const Ptr& made : {a, a->getNextSibling(false), root->getChildByName("b", false),
                            root->getProducerByPath("/root/a", false)})
        EXPECT_EQ(KindOf(*made), KindOf(*root));
}

TEST_P(RuntimeProducer, KeepsItsAncestorsAndTheClientAlive) {
    Ptr leaf = openScene(Location({{"n", Int(7)}}, {{"a", Location({}, {{"b", Location({})}})}}))
                   ->getProducerByPath("/root/a/b", false);
    EXPECT_EQ(leaf->use_count(), 1u);
    EXPECT_EQ(NameOf(leaf->getParent()), "/root/a");
    EXPECT_EQ(IntOf(leaf->getRootProducer()->getAttribute("n")), 7);
    EXPECT_TRUE(leaf->getClient()->cookLocation("/root/a/b").doesLocationExist());
}

TEST_P(RuntimeProducer, SharesOneClientThroughoutItsTree) {
    const Ptr leaf =
        openScene(Location({}, {{"a", Location({}, {{"b", Location({})}})}}), "/root/a/b");
    ASSERT_TRUE(leaf->getClient());
    EXPECT_EQ(leaf->getClient(), leaf->getRootProducer()->getClient());
    EXPECT_EQ(leaf->getClient(),
              leaf->getRootProducer()->getProducerByPath("/root/a", false)->getClient());
}

TEST_P(RuntimeProducer, InheritsAttributesAndTransformsThroughItsAncestors) {
    const GroupAttribute moved = Group({{"translate", Doubles({1, 2, 3})}});
    const Ptr leaf =
        openScene(Location({{"xform", moved}, {"n", Int(7)}},
                           {{"a", Location({}, {{"b", Location({{"xform", moved}})}})}}),
                  "/root/a/b");
    EXPECT_EQ(IntOf(leaf->getGlobalAttribute("n")), 7);
    EXPECT_EQ(leaf->getGlobalXFormGroup(), GroupAttribute({{"i0", moved}, {"i2", moved}}, false));
}

TEST_P(RuntimeProducer, ReachesLocationsByPath) {
    const Ptr root =
        openScene(Location({}, {{"a", Location({}, {{"b", Location({})}})}, {"c", Location({})}}));
    EXPECT_EQ(NameOf(root->getProducerByPath("/root/a/b", false)), "/root/a/b");
    EXPECT_EQ(NameOf(root->getProducerByPath("root/a/../c", false)), "/root/c");
    EXPECT_EQ(root->getProducerByPath("/root/a/c", false), nullptr);
    EXPECT_EQ(root->getProducerByPath("/root/a/", false), nullptr);
}

// Variants that cook ------------------------------------------------------------------------------

class CookingProducer : public RuntimeProducer {
protected:
    /// How many cooks the call takes.
    static std::uint64_t cooksOf(const std::function<void()>& call) {
        const std::uint64_t before = TellarRuntime::getNumberOfCooks();
        call();
        return TellarRuntime::getNumberOfCooks() - before;
    }

    /// A scene with the children a, b and c, whose locations count their cooks; two Ops.
    static Ptr openCounted() {
        return open(Group({{"scene", OpEntry("StaticScene", Location({{"tag", Text(UniqueTag())}},
                                                                     {{"a", Location({})},
                                                                      {"b", Location({})},
                                                                      {"c", Location({})}}))},
                           {"count", OpEntry("TestCount", {}, {"scene"})}}));
    }
    static int cookOf(const Ptr& producer) { return IntOf(producer->getAttribute("cook")); }
};

INSTANTIATE_TEST_SUITE_P(Variants, CookingProducer,
                         testing::Values(Variant{"Sync", OpenSync},
                                         Variant{"ThreadAware", OpenThreadAware}),
                         NameOfVariant);

TEST_P(CookingProducer, CooksALocationWhenItIsFirstAskedForAndNeverAgain) {
    const Ptr root = openCounted();
    EXPECT_EQ(cooksOf([&] { root->getChildByName("b", false); }), 2u) << "once for each op";
    EXPECT_EQ(cooksOf([&] { root->getChildByName("b", false); }), 0u);
    EXPECT_EQ(cooksOf([&] { root->getFirstChild(false); }), 2u);
    EXPECT_EQ(cooksOf([&] { WalkChildren(root); }), 2u) << "only c is left";
    EXPECT_EQ(cooksOf([&] { WalkChildren(root); }), 0u);
}

TEST_P(CookingProducer, CooksNothingForANameThatIsNotListed) {
    const Ptr root = openCounted();
    EXPECT_EQ(cooksOf([&] { root->getChildByName("nothing", false); }), 0u);
    EXPECT_EQ(cooksOf([&] { root->getChildByName("nothing", true); }), 0u);
}

TEST_P(CookingProducer, CooksNoFurtherThanToTheFirstChildThatExists) {
    const Ptr root = open(TestTree(Texts({"gone", "a", "b"}), {"/root/gone"}));
    EXPECT_EQ(cooksOf([&] { root->getFirstChild(false); }), 2u);
    EXPECT_EQ(cooksOf([&] { root->getChildByName("b", false); }), 1u);
}

TEST_P(CookingProducer, ComputesAChildAnewWhenItIsEvicted) {
    const Ptr root = openCounted();
    const int first = cookOf(root->getChildByName("b", false));
    EXPECT_EQ(cookOf(root->getChildByName("b", false)), first);
    const int second = cookOf(root->getChildByName("b", true));
    EXPECT_GT(second, first);
    EXPECT_EQ(cookOf(root->getChildByName("b", false)), second) << "the new result stays";
}

TEST_P(CookingProducer, ComputesThroughAllOpsWhenALocationIsEvicted) {
    const Ptr root = openCounted();
    root->getChildByName("b", false);
    EXPECT_EQ(cooksOf([&] { root->getChildByName("b", true); }), 2u);
}

TEST_P(CookingProducer, ComputesTheFirstChildAnewWhenItIsEvicted) {
    const Ptr root = openCounted();
    const int first = cookOf(root->getFirstChild(false));
    EXPECT_GT(cookOf(root->getFirstChild(true)), first);
}

TEST_P(CookingProducer, ComputesTheNextSiblingAnewWhenItIsEvicted) {
    const Ptr root = openCounted();
    const Ptr a = root->getFirstChild(false);
    const int first = cookOf(a->getNextSibling(false));
    EXPECT_GT(cookOf(a->getNextSibling(true)), first);
    EXPECT_EQ(cookOf(root->getFirstChild(false)), cookOf(a)) << "the sibling alone is evicted";
}

TEST_P(CookingProducer, EvictsEveryChildThatItTriesOnTheWay) {
    const Ptr root = open(TestTree(Texts({"gone", "lost", "a"}), {"/root/gone", "/root/lost"}));
    EXPECT_EQ(cooksOf([&] { root->getFirstChild(false); }), 3u);
    EXPECT_EQ(cooksOf([&] { root->getFirstChild(true); }), 3u);
    EXPECT_EQ(cooksOf([&] { root->getFirstChild(false); }), 0u);
}

TEST_P(CookingProducer, EvictsOnlyTheLastLocationOfAPath) {
    const Ptr root = open(Group(
        {{"scene", OpEntry("StaticScene", Location({{"tag", Text(UniqueTag())}},
                                                   {{"a", Location({}, {{"b", Location({})}})}}))},
         {"count", OpEntry("TestCount", {}, {"scene"})}}));
    const Ptr before = root->getProducerByPath("/root/a/b", false);
    const Ptr after = root->getProducerByPath("/root/a/b", true);
    EXPECT_EQ(cookOf(after->getParent()), cookOf(before->getParent()));
    EXPECT_GT(cookOf(after), cookOf(before));
}

TEST_P(CookingProducer, StaysASnapshotOfTheCookThatMadeIt) {
    const Ptr root = openCounted();
    const Ptr before = root->getChildByName("b", false);
    const int cook = cookOf(before);
    const std::string hash = before->getHash();
    const Ptr after = root->getChildByName("b", true);
    EXPECT_EQ(cookOf(before), cook);
    EXPECT_EQ(before->getHash(), hash);
    EXPECT_NE(after->getHash(), hash);
}

TEST_P(CookingProducer, EvictsForNobodyWhoAsksForItselfOrItsParent) {
    const Ptr child = openCounted()->getFirstChild(false);
    EXPECT_EQ(cooksOf([&] {
                  child->getChildByName(".", true);
                  child->getChildByName("..", true);
              }),
              0u);
}

TEST_P(CookingProducer, LetsTheErrorOfAnOpThrough) {
    const GroupAttribute tree = SceneUnder(
        "fault", "TestThrow", Group({{"at", Text("/root/bad")}}),
        Location({}, {{"good", Location({})}, {"bad", Location({})}, {"later", Location({})}}));
    const Ptr root = open(tree);
    const Ptr good = root->getFirstChild(false);
    EXPECT_EQ(ErrorOf([&] { root->getChildByName("bad", false); }), kPurposeError);
    EXPECT_EQ(ErrorOf([&] { good->getNextSibling(false); }), kPurposeError);
    EXPECT_EQ(ErrorOf([&] { root->getProducerByPath("/root/bad", true); }), kPurposeError);
    EXPECT_EQ(NameOf(root->getChildByName("later", false)), "/root/later") << "it goes on working";
}

TEST_P(CookingProducer, LetsTheErrorOfAnOpThroughFromTheFirstChild) {
    const Ptr root = open(SceneUnder("fault", "TestThrow", Group({{"at", Text("/root/bad")}}),
                                     Location({}, {{"bad", Location({})}})));
    EXPECT_EQ(ErrorOf([&] { root->getFirstChild(false); }), kPurposeError);
    EXPECT_EQ(ErrorOf([&] { root->getFirstChild(true); }), kPurposeError);
}

TEST_P(CookingProducer, GoesDownAsDeepAsTheSceneDoes) {
    const Ptr root = open(Group({{"tree", OpEntry("TestTree", Group({{"endless", Int(1)}}))}}));
    Ptr producer = root;
    for (int level = 0; level < 3000; ++level)
        producer = producer->getFirstChild(false);
    EXPECT_EQ(producer->getFullName().size(), std::string("/root").size() + 3000 * 2);
    EXPECT_EQ(producer->getRootProducer(), root);
}

// Variants one by one -----------------------------------------------------------------------------

TEST(SyncProducer, HasTheClientItWasMadeWith) {
    const Client client = MakeClient(TestTree(Texts({"a"})));
    const Ptr root = CreateSyncGeometryProducer(client, "/root");
    EXPECT_EQ(root->getClient(), client);
    EXPECT_EQ(root->getFirstChild(false)->getClient(), client);
    EXPECT_TRUE(dynamic_cast<SyncGeometryProducer*>(root.get()));
}

TEST(SyncProducer, CooksForItsClientsRuntime) {
    const Client client = MakeClient(TestTree(Texts({"a"})));
    const Ptr root = CreateSyncGeometryProducer(client, "/root");
    EXPECT_FALSE(client->getCachedLocation("/root/a").isValid());
    root->getFirstChild(false);
    EXPECT_TRUE(client->getCachedLocation("/root/a").isValid());
}

TEST(SyncProducer, HasNoSiblingUnderAParentThatListsNoChildren) {
    const GroupAttribute tree = TestTree(Texts({}));
    const Ptr hidden = CreateSyncGeometryProducer(MakeClient(tree), "/root/hidden");
    ASSERT_TRUE(hidden) << "it exists, although nobody lists it";
    EXPECT_EQ(hidden->getNextSibling(false), nullptr);
}

class AsyncProducer : public testing::Test {
protected:
    const GroupAttribute tree = TestTree(Texts({"gone", "a", "b"}), {"/root/gone"});
    const Client client = MakeClient(tree);

    Ptr openCooked(const std::vector<std::string>& paths) const {
        for (const std::string& path : paths)
            client->cookLocation(path);
        return CreateAsyncGeometryProducer(client, "/root");
    }
};

TEST_F(AsyncProducer, HasTheClientItWasMadeWith) {
    const Ptr root = openCooked({"/root", "/root/a"});
    EXPECT_EQ(root->getClient(), client);
    EXPECT_EQ(root->getChildByName("a", false)->getClient(), client);
    EXPECT_TRUE(dynamic_cast<AsyncGeometryProducer*>(root.get()));
}

TEST_F(AsyncProducer, HasAChildOnlyOnceItWasCookedElsewhere) {
    const Ptr root = openCooked({"/root"});
    EXPECT_EQ(root->getChildByName("a", false), nullptr);
    client->cookLocation("/root/a");
    EXPECT_EQ(NameOf(root->getChildByName("a", false)), "/root/a");
}

TEST_F(AsyncProducer, SkipsChildrenThatAreNotCookedYet) {
    const Ptr root = openCooked({"/root"});
    EXPECT_EQ(root->getFirstChild(false), nullptr);
    client->cookLocation("/root/b");
    EXPECT_THAT(WalkChildren(root), ElementsAre("/root/b"));
    client->cookLocation("/root/a");
    EXPECT_THAT(WalkChildren(root), ElementsAre("/root/a", "/root/b"));
}

TEST_F(AsyncProducer, HasNoChildThatWasCookedAndDoesNotExist) {
    const Ptr root = openCooked({"/root", "/root/gone"});
    EXPECT_EQ(root->getChildByName("gone", false), nullptr);
    EXPECT_EQ(root->getFirstChild(false), nullptr);
}

TEST_F(AsyncProducer, NeverCooksOrEvicts) {
    const Ptr root = openCooked({"/root", "/root/a"});
    const std::uint64_t cooks = TellarRuntime::getNumberOfCooks();
    EXPECT_TRUE(root->getChildByName("a", true));
    EXPECT_FALSE(root->getChildByName("b", true));
    EXPECT_EQ(NameOf(root->getFirstChild(true)), "/root/a");
    EXPECT_EQ(root->getFirstChild(true)->getNextSibling(true), nullptr);
    EXPECT_TRUE(root->getProducerByPath("/root/a", true));
    EXPECT_TRUE(client->getCachedLocation("/root/a").isValid());
    EXPECT_EQ(TellarRuntime::getNumberOfCooks(), cooks);
}

TEST_F(AsyncProducer, HasNoChildThatWasEvictedUntilItIsCookedAgain) {
    const Ptr root = openCooked({"/root", "/root/a"});
    client->getRuntime()->evict("/root/a");
    EXPECT_EQ(root->getChildByName("a", false), nullptr);
    client->cookLocation("/root/a");
    EXPECT_TRUE(root->getChildByName("a", false));
}

TEST_F(AsyncProducer, SeesNothingOfWhatAnotherRuntimeCooked) {
    const Ptr root = openCooked({"/root"});
    MakeClient(tree)->cookLocation("/root/a");
    EXPECT_EQ(root->getChildByName("a", false), nullptr);
}

/// Lets tests call what producers offer to derived classes.
struct OpenedAsyncProducer : AsyncGeometryProducer {
    using AsyncGeometryProducer::AsyncGeometryProducer;
    using AsyncGeometryProducer::getLocationData;
};

TEST_F(AsyncProducer, TakesALocationThatIsNotCookedForOneThatDoesNotExist) {
    const boost::intrusive_ptr<OpenedAsyncProducer> root =
        new OpenedAsyncProducer(client, "/root", client->cookLocation("/root"), -1, nullptr);
    const TellarRuntime::LocationData absent = root->getLocationData("/root/a", false);
    EXPECT_TRUE(absent.isValid());
    EXPECT_FALSE(absent.doesLocationExist());
    EXPECT_FALSE(absent.getAttrs().isValid());
    ASSERT_TRUE(absent.getPotentialChildren().isValid());
    EXPECT_EQ(absent.getPotentialChildren().getNumberOfValues(), 0);
    EXPECT_EQ(absent.getPotentialChildren().getTupleSize(), 1);
}

TEST_F(AsyncProducer, MayBeReadWhileAnotherThreadCooks) {
    Children children;
    for (int i = 0; i < 500; ++i)
        children.emplace_back("n" + std::to_string(i), Location({{"n", Int(i)}}));
    const Client shared = MakeClient(SceneTree(Location({{"tag", Text(UniqueTag())}}, children)));
    shared->cookLocation("/root");
    const Ptr root = CreateAsyncGeometryProducer(shared, "/root");
    RunTogether(4, [&](int number) {
        if (number == 0) {
            for (int i = 0; i < 500; ++i)
                shared->cookLocation("/root/n" + std::to_string(i));
            return;
        }
        std::size_t seen = 0;
        while (seen < 500) {
            const std::size_t now = WalkChildren(root).size();
            EXPECT_GE(now, seen);
            seen = now;
        }
    });
}

TEST(ThreadAwareProducer, HasTheCallingThreadsClient) {
    const Ptr root = CreateThreadAwareGeometryProducer(TestTree(Texts({"a"})), "/root");
    const Client mine = root->getClient();
    Client ofThread;
    Client ofChildInThread;
    std::thread([&] {
        ofThread = root->getClient();
        ofChildInThread = root->getFirstChild(false)->getClient();
    }).join();
    ASSERT_TRUE(mine && ofThread);
    EXPECT_NE(ofThread, mine);
    EXPECT_EQ(ofChildInThread, ofThread);
    EXPECT_EQ(root->getClient(), mine);
    EXPECT_TRUE(dynamic_cast<ThreadAwareGeometryProducer*>(root.get()));
}

TEST(ThreadAwareProducer, CooksForTheCallingThreadsRuntime) {
    const Ptr root = CreateThreadAwareGeometryProducer(TestTree(Texts({"a"})), "/root");
    Client ofThread;
    std::thread([&] {
        root->getFirstChild(false);
        ofThread = root->getClient();
    }).join();
    EXPECT_TRUE(ofThread->getCachedLocation("/root/a").isValid());
    EXPECT_FALSE(root->getClient()->getCachedLocation("/root/a").isValid());
}

TEST(ThreadAwareProducer, SharesCooksWithOtherThreads) {
    const Ptr root = CreateThreadAwareGeometryProducer(TestTree(Texts({"a", "b"})), "/root");
    WalkChildren(root);
    const std::uint64_t cooks = TellarRuntime::getNumberOfCooks();
    std::thread([&] { EXPECT_EQ(WalkChildren(root).size(), 2u); }).join();
    EXPECT_EQ(TellarRuntime::getNumberOfCooks(), cooks);
}

TEST(ThreadAwareProducer, SeesNoLocationInAThreadThatGotNoClient) {
    const Ptr root = CreateThreadAwareGeometryProducer(TestTree(Texts({"a", "b"})), "/root");
    const Ptr a = root->getFirstChild(false);
    const CapturedLog log;
    std::thread([&] {
        const ScopedRuntimeFactory none([] { return std::shared_ptr<TellarRuntime>(); });
        EXPECT_EQ(root->getClient(), nullptr);
        EXPECT_EQ(root->getFirstChild(false), nullptr);
        EXPECT_EQ(root->getFirstChild(true), nullptr);
        EXPECT_EQ(root->getChildByName("a", true), nullptr);
        EXPECT_EQ(a->getNextSibling(false), nullptr);
        EXPECT_EQ(root->getProducerByPath("/root/a", true), nullptr);
        EXPECT_TRUE(a->getAttribute("path").isValid()) << "what is cooked can be read anywhere";
    }).join();
    EXPECT_THAT(log.textsOf("ClientFactory"), ElementsAre("Runtime could not be loaded."));
    EXPECT_EQ(NameOf(root->getFirstChild(false)), "/root/a");
}

/// Gives every thread the client that it was told to, and counts how often it is asked.
class ToldThreadLocalClient : public ThreadLocalClient {
public:
    explicit ToldThreadLocalClient(Client toldClient)
        : ThreadLocalClient(OpTreeSource::createFromGroupAttribute(TestTree(Texts({})))),
          client(std::move(toldClient)) {}
    Client getClient() override {
        ++asked;
        return client;
    }

    const Client client;
    int asked = 0;
};

TEST(ThreadAwareProducer, AsksItsThreadLocalClientAfreshForEveryStep) {
    const Client client = MakeClient(TestTree(Texts({"a"})));
    const auto told = boost::make_shared<ToldThreadLocalClient>(client);
    const Ptr root =
        new ThreadAwareGeometryProducer(told, "/root", client->cookLocation("/root"), -1, nullptr);
    EXPECT_EQ(root->getClient(), client);
    EXPECT_EQ(std::exchange(told->asked, 0), 1);
    EXPECT_EQ(NameOf(root->getChildByName("a", false)), "/root/a");
    EXPECT_TRUE(client->getCachedLocation("/root/a").isValid());
    EXPECT_EQ(std::exchange(told->asked, 0), 1) << "to cook";
    const Ptr child = root->getChildByName("a", true);
    EXPECT_EQ(std::exchange(told->asked, 0), 2) << "to evict and to cook";
    EXPECT_EQ(child->getClient(), client);
}

} // namespace
