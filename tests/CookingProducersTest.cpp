#include <OxTellarProducers/BaseGeometryProducer.h>

#include <cstdint>
#include <functional>
#include <string>

#include <gmock/gmock.h>

#include "ErrorOf.h"
#include "ProducerHelpers.h"
#include "ProducerVariants.h"
#include "SceneBuilders.h"
#include "TestOps.h"

namespace {

using namespace TellarTest;
using OxAttribute::GroupAttribute;
using TELLAR::GeometryProducer;

using Ptr = GeometryProducer::Ptr;

constexpr const char* kPurposeError =
    "Op \"fault\" (TestThrow) at \"/root/bad\": It fails on purpose.";

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

TEST_P(CookingProducer, FindsTheSiblingsOfAChildThatCannotBeCookedByIndex) {
    const Ptr root = open(SceneUnder(
        "fault", "TestThrow", Group({{"at", Text("/root/bad")}}),
        Location({}, {{"bad", Location({})}, {"later", Location({})}, {"last", Location({})}})));
    EXPECT_EQ(ErrorOf([&] { root->getChildByIndex(0); }), kPurposeError);
    EXPECT_EQ(NameOf(root->getChildByIndex(1)), "/root/later");
    EXPECT_EQ(NameOf(root->getChildByIndex(2)), "/root/last");
}

TEST_P(CookingProducer, ComputesAChildFoundByIndexAnewWhenItIsEvicted) {
    const Ptr root = openCounted();
    const int first = cookOf(root->getChildByIndex(1));
    EXPECT_EQ(cookOf(root->getChildByIndex(1)), first);
    EXPECT_GT(cookOf(root->getChildByIndex(1, true)), first);
}

TEST_P(CookingProducer, GoesDownAsDeepAsTheSceneDoes) {
    const Ptr root = open(Group({{"tree", OpEntry("TestTree", Group({{"endless", Int(1)}}))}}));
    Ptr producer = root;
    for (int level = 0; level < 3000; ++level)
        producer = producer->getFirstChild(false);
    EXPECT_EQ(producer->getFullName().size(), std::string("/root").size() + 3000 * 2);
    EXPECT_EQ(producer->getRootProducer(), root);
}

} // namespace
