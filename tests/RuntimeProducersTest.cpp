#include <OxTellarProducers/BaseGeometryProducer.h>

#include <map>
#include <set>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "ErrorOf.h"
#include "ProducerHelpers.h"
#include "ProducerVariants.h"
#include "SceneBuilders.h"
#include "TestOps.h"

namespace {

using namespace TellarTest;
using OxAttribute::GroupAttribute;
using OxAttribute::StringAttribute;
using TELLAR::GeometryProducer;
using testing::ElementsAre;
using testing::IsEmpty;

using Ptr = GeometryProducer::Ptr;
using Samples = std::map<float, std::vector<std::string>>;

constexpr const char* kDeepLookupError = "getChildByName does not support deep child lookups";

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

TEST_P(RuntimeProducer, FindsEachChildByTheIndexOfItsName) {
    const Ptr root = open(TestTree(Texts({"a", "gone", "b", "a"}), {"/root/gone"}));
    EXPECT_EQ(NameOf(root->getChildByIndex(0)), "/root/a");
    EXPECT_EQ(NameOf(root->getChildByIndex(1)), "nothing") << "it does not exist";
    EXPECT_EQ(NameOf(root->getChildByIndex(2)), "/root/b");
    EXPECT_EQ(NameOf(root->getChildByIndex(3)), "/root/a");
    EXPECT_EQ(NameOf(root->getChildByIndex(4)), "nothing");
    EXPECT_EQ(NameOf(root->getChildByIndex(-1)), "nothing");
    EXPECT_EQ(NameOf(root->getChildByIndex(0)->getChildByIndex(0)), "nothing");
}

TEST_P(RuntimeProducer, GoesOnToTheNextSiblingOfAChildFoundByIndex) {
    const Ptr root =
        openScene(Location({}, {{"a", Location({})}, {"b", Location({})}, {"c", Location({})}}));
    EXPECT_EQ(NameOf(root->getChildByIndex(1)->getNextSibling()), "/root/c");
    EXPECT_EQ(root->getChildByIndex(1)->getParent(), root);
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

} // namespace
