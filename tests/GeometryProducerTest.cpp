#include <OxTellarProducers/GeometryProducer.h>

#include <cstdint>
#include <limits>
#include <memory>
#include <set>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

#include <OxTellarProducers/CreateGeometryProducer.h>
#include <OxTellarSDK/XFormUtil.h>

#include "ProducerHelpers.h"
#include "RunTogether.h"
#include "SceneBuilders.h"
#include "VirtualSlot.h"

// What the base class does is seen through static producers, which add no runtime to it, and
// through producers of this file that write down how they are asked.

namespace {

using namespace TellarTest;
using OxAttribute::Attribute;
using OxAttribute::GroupAttribute;
using OxAttribute::StringAttribute;
using TELLAR::CreateStaticGeometryProducer;
using TELLAR::GeometryProducer;
using TELLAR::GeometryProducerGlobalAttributeProvider;
using testing::ElementsAre;

using Ptr = GeometryProducer::Ptr;

Ptr StaticRoot(const GroupAttribute& scene) {
    return CreateStaticGeometryProducer("/root", scene, nullptr);
}

// Paths -------------------------------------------------------------------------------------------

/// /root/{world/{geo, cam}, materials}
class ProducerByPath : public testing::Test {
protected:
    const Ptr root = StaticRoot(
        Location({}, {{"world", Location({}, {{"geo", Location({})}, {"cam", Location({})}})},
                      {"materials", Location({})}}));
    const Ptr world = root->getChildByName("world", false);
    const Ptr geo = world->getChildByName("geo", false);
};

TEST_F(ProducerByPath, IsTheProducerItselfForItsOwnName) {
    EXPECT_EQ(root->getProducerByPath("/root", false), root);
    EXPECT_EQ(root->getProducerByPath("root", false), root);
    EXPECT_EQ(geo->getProducerByPath("geo", false), geo);
}

TEST_F(ProducerByPath, IsFoundBelowTheProducer) {
    EXPECT_EQ(NameOf(root->getProducerByPath("/root/world/geo", false)), "/root/world/geo");
    EXPECT_EQ(NameOf(root->getProducerByPath("root/world/geo", false)), "/root/world/geo");
    EXPECT_EQ(NameOf(world->getProducerByPath("world/cam", false)), "/root/world/cam");
}

TEST_F(ProducerByPath, IsFoundWhateverTheNumberOfLeadingSlashes) {
    EXPECT_EQ(NameOf(root->getProducerByPath("///root/world", false)), "/root/world");
}

TEST_F(ProducerByPath, IsNullUnlessThePathStartsWithTheProducersName) {
    EXPECT_EQ(root->getProducerByPath("/world", false), nullptr);
    EXPECT_EQ(root->getProducerByPath("world/geo", false), nullptr);
    EXPECT_EQ(world->getProducerByPath("/root/world", false), nullptr);
    EXPECT_EQ(root->getProducerByPath("/roo", false), nullptr);
    EXPECT_EQ(root->getProducerByPath("/root2", false), nullptr);
}

TEST_F(ProducerByPath, IsNullWithoutAnyNameInThePath) {
    EXPECT_EQ(root->getProducerByPath("", false), nullptr);
    EXPECT_EQ(root->getProducerByPath("/", false), nullptr);
    EXPECT_EQ(root->getProducerByPath("///", false), nullptr);
}

TEST_F(ProducerByPath, IsAProducerWithoutANameForAPathWithoutOne) {
    const Ptr nameless = CreateStaticGeometryProducer("/", Location({}), nullptr);
    EXPECT_EQ(nameless->getProducerByPath("", false), nameless);
    EXPECT_EQ(nameless->getProducerByPath("/", false), nameless);
}

TEST_F(ProducerByPath, IsNullForALocationThatDoesNotExist) {
    EXPECT_EQ(root->getProducerByPath("/root/nothing", false), nullptr);
    EXPECT_EQ(root->getProducerByPath("/root/nothing/geo", false), nullptr);
}

TEST_F(ProducerByPath, IsNullForASlashAtTheEndOrTwoInTheMiddle) {
    EXPECT_EQ(root->getProducerByPath("root/world/", false), nullptr);
    EXPECT_EQ(root->getProducerByPath("/root/", false), nullptr);
    EXPECT_EQ(root->getProducerByPath("root//world", false), nullptr);
}

TEST_F(ProducerByPath, IsReachedThroughTheParent) {
    EXPECT_EQ(NameOf(geo->getProducerByPath("../cam", false)), "/root/world/cam");
    EXPECT_EQ(NameOf(geo->getProducerByPath("../../materials", false)), "/root/materials");
    EXPECT_EQ(geo->getProducerByPath("..", false), world);
    EXPECT_EQ(geo->getProducerByPath("../..", false), root);
}

TEST_F(ProducerByPath, IsReachedFromTheProducerItself) {
    EXPECT_EQ(geo->getProducerByPath(".", false), geo);
    EXPECT_EQ(NameOf(world->getProducerByPath("./geo", false)), "/root/world/geo");
}

TEST_F(ProducerByPath, MayGoUpAndStayInTheMiddleOfThePath) {
    EXPECT_EQ(NameOf(world->getProducerByPath("world/geo/../cam", false)), "/root/world/cam");
    EXPECT_EQ(NameOf(root->getProducerByPath("/root/./world/./geo", false)), "/root/world/geo");
}

TEST_F(ProducerByPath, IsReachedThroughDotsAlsoAfterLeadingSlashes) {
    EXPECT_EQ(NameOf(geo->getProducerByPath("/../cam", false)), "/root/world/cam");
}

TEST_F(ProducerByPath, IsNullAboveTheRoot) {
    EXPECT_EQ(root->getProducerByPath("..", false), nullptr);
    EXPECT_EQ(root->getProducerByPath("../root", false), nullptr);
    EXPECT_EQ(root->getProducerByPath("root/..", false), nullptr);
}

TEST_F(ProducerByPath, TakesAFirstNameThatOnlyBeginsWithADotForAName) {
    const Ptr hidden = CreateStaticGeometryProducer("/root/.hidden", Location({}), nullptr);
    EXPECT_EQ(hidden->getProducerByPath(".hidden", false), hidden);
    EXPECT_EQ(hidden->getProducerByPath("...", false), nullptr);
}

TEST_F(ProducerByPath, IsMadeAnewOnEveryRequest) {
    const Ptr first = root->getProducerByPath("/root/world/geo", false);
    const Ptr second = root->getProducerByPath("/root/world/geo", false);
    EXPECT_NE(first, second);
    EXPECT_NE(first->getParent(), second->getParent());
}

TEST_F(ProducerByPath, KeepsTheProducersItCameThrough) {
    Ptr found = root->getProducerByPath("/root/world/geo", false);
    EXPECT_EQ(NameOf(found->getParent()), "/root/world");
    EXPECT_EQ(found->getParent()->getParent(), root);
}

/// Has any child that it is asked for, and writes down what it was asked.
class AskedProducer : public GeometryProducer {
public:
    using Questions = std::vector<std::string>;

    AskedProducer(std::string producerName, Questions& askedQuestions, Ptr parentProducer = nullptr)
        : GeometryProducer(std::move(parentProducer)), name(std::move(producerName)),
          questions(askedQuestions) {}

    void getAttributeNames(std::set<std::string>*) override {}
    StringAttribute getPotentialChildren() override { return {}; }
    Attribute getAttribute(const char* attribute) override {
        questions.push_back(name + " " + attribute);
        return {};
    }
    std::string getName() override { return name; }
    std::string getFullName() override {
        questions.push_back(name + " in full");
        return "/" + name;
    }
    std::string getHash() override { return {}; }
    Ptr getChildByName(const char* child, bool evict) override {
        questions.push_back(name + (evict ? " evicts " : " looks at ") + child);
        return new AskedProducer(child, questions, this);
    }
    Ptr getFirstChild(bool) override { return nullptr; }
    Ptr getNextSibling(bool) override { return nullptr; }

private:
    const std::string name;
    Questions& questions;
};

TEST(GeometryProducer, EvictsOnlyTheLastLocationOfAPath) {
    AskedProducer::Questions questions;
    const Ptr root = new AskedProducer("root", questions);
    root->getProducerByPath("/root/a/b/c", true);
    EXPECT_THAT(questions, ElementsAre("root looks at a", "a looks at b", "b evicts c"));
}

TEST(GeometryProducer, EvictsNothingOnAPathUnlessAsked) {
    AskedProducer::Questions questions;
    const Ptr root = new AskedProducer("root", questions);
    root->getProducerByPath("/root/a/b", false);
    EXPECT_THAT(questions, ElementsAre("root looks at a", "a looks at b"));
}

TEST(GeometryProducer, EvictsNothingWhenAPathNamesTheProducerItself) {
    AskedProducer::Questions questions;
    const Ptr root = new AskedProducer("root", questions);
    EXPECT_EQ(root->getProducerByPath("/root", true), root);
    EXPECT_THAT(questions, ElementsAre());
}

TEST(GeometryProducer, LooksUpEmptyNamesOfAPathLikeOthers) {
    AskedProducer::Questions questions;
    const Ptr root = new AskedProducer("root", questions);
    root->getProducerByPath("/root//b/", true);
    EXPECT_THAT(questions, ElementsAre("root looks at ", " looks at b", "b evicts "));
}

TEST(GeometryProducer, ResolvesDotsOfAPathByAskingForThem) {
    AskedProducer::Questions questions;
    const Ptr root = new AskedProducer("root", questions);
    root->getProducerByPath("./../a", true);
    EXPECT_THAT(questions, ElementsAre("root looks at .", ". looks at ..", ".. evicts a"));
}

/// Fails as an SDK might that knows nothing of std::exception.
class FailingProducer : public AskedProducer {
public:
    struct Failure {};

    using AskedProducer::AskedProducer;
    Attribute getAttribute(const char*) override { throw Failure(); }
    Ptr getChildByName(const char*, bool) override { throw Failure(); }
};

TEST(GeometryProducer, LetsAnyExceptionOfTheAttributesThrough) {
    AskedProducer::Questions questions;
    const Ptr producer = new FailingProducer("root", questions);
    EXPECT_THROW(producer->getType(), FailingProducer::Failure);
    EXPECT_THROW(producer->getGlobalAttribute("name"), FailingProducer::Failure);
    EXPECT_THROW(producer->getGlobalXFormGroup(), FailingProducer::Failure);
    EXPECT_THROW(producer->getProducerByPath("root/a", false), FailingProducer::Failure);
    EXPECT_EQ(producer->use_count(), 1u);
}

// Counts and parents ------------------------------------------------------------------------------

TEST(GeometryProducer, IsMadeWithoutAnyReference) {
    AskedProducer::Questions questions;
    const auto producer = std::make_unique<AskedProducer>("root", questions);
    EXPECT_EQ(producer->use_count(), 0u);
}

TEST(GeometryProducer, IsCountedByItsHoldersAndChildren) {
    const Ptr root = StaticRoot(Location({}, {{"a", Location({})}}));
    EXPECT_EQ(root->use_count(), 1u);
    Ptr child = root->getFirstChild(false);
    EXPECT_EQ(root->use_count(), 2u);
    EXPECT_EQ(child->use_count(), 1u) << "parents hold no children";
    const Ptr again = root;
    EXPECT_EQ(root->use_count(), 3u);
    child.reset();
    EXPECT_EQ(root->use_count(), 2u);
}

TEST(GeometryProducer, GivesItsParentWithAReferenceOrWithout) {
    const Ptr root = StaticRoot(Location({}, {{"a", Location({})}}));
    const Ptr child = root->getFirstChild(false);
    EXPECT_EQ(child->getRawParentPtr(), root.get());
    EXPECT_EQ(root->use_count(), 2u);
    const Ptr parent = child->getParent();
    EXPECT_EQ(parent, root);
    EXPECT_EQ(root->use_count(), 3u);
}

TEST(GeometryProducer, HasNoParentAtTheRoot) {
    const Ptr root = StaticRoot(Location({}));
    EXPECT_EQ(root->getParent(), nullptr);
    EXPECT_EQ(root->getRawParentPtr(), nullptr);
}

TEST(GeometryProducer, HasTheTopmostAncestorForItsRoot) {
    const Ptr root = StaticRoot(
        Location({}, {{"a", Location({}, {{"b", Location({}, {{"c", Location({})}})}})}}));
    EXPECT_EQ(root->getRootProducer(), root);
    EXPECT_EQ(root->getProducerByPath("/root/a/b/c", false)->getRootProducer(), root);
}

TEST(GeometryProducer, KeepsItsAncestorsAlive) {
    Ptr leaf = StaticRoot(Location({{"n", Int(7)}}, {{"a", Location({}, {{"b", Location({})}})}}))
                   ->getProducerByPath("/root/a/b", false);
    EXPECT_EQ(NameOf(leaf->getParent()), "/root/a");
    EXPECT_EQ(IntOf(leaf->getRootProducer()->getAttribute("n")), 7);
}

TEST(GeometryProducer, HasNoClientUnlessItsKindHasOne) {
    AskedProducer::Questions questions;
    const Ptr producer = new AskedProducer("root", questions);
    EXPECT_EQ(producer->getClient(), nullptr);
}

/// A chain of producers, each the parent of the next; the paths do not grow.
Ptr Chain(int length, Ptr producer = nullptr) {
    const GroupAttribute empty = Location({});
    for (int i = 0; i < length; ++i)
        producer = CreateStaticGeometryProducer("/x", empty, producer);
    return producer;
}

TEST(GeometryProducer, MayBeDroppedHoweverManyAncestorsGoWithIt) {
    Ptr leaf = Chain(1000000);
    const Ptr root = leaf->getRootProducer();
    leaf.reset();
    EXPECT_EQ(root->use_count(), 1u) << "all producers below the root are gone";
}

TEST(GeometryProducer, LeavesAncestorsThatOthersHoldWhenItIsDropped) {
    const Ptr middle = Chain(50000);
    Ptr first = Chain(50000, middle);
    Ptr second = Chain(50000, middle);
    first.reset();
    EXPECT_EQ(middle->use_count(), 2u);
    second.reset();
    EXPECT_EQ(middle->use_count(), 1u);
    EXPECT_EQ(middle->getRootProducer()->getParent(), nullptr);
}

TEST(GeometryProducer, ReachesTheRootOfADeepSceneAndItsTransforms) {
    const Ptr leaf = Chain(100000);
    EXPECT_EQ(leaf->getRootProducer()->getParent(), nullptr);
    EXPECT_EQ(leaf->getGlobalXFormGroup().getNumberOfChildren(), 0);
    EXPECT_FALSE(leaf->getGlobalAttribute("missing").isValid());
}

TEST(GeometryProducer, MayBeDroppedByManyThreadsAtOnceDownToCommonAncestors) {
    for (int round = 0; round < 20; ++round) {
        Ptr trunk = Chain(1000);
        const Ptr root = trunk->getRootProducer();
        std::vector<Ptr> branches;
        for (int number = 0; number < 8; ++number)
            branches.push_back(Chain(100, trunk));
        trunk.reset();
        RunTogether(
            8, [&branches](int number) { branches[static_cast<std::size_t>(number)].reset(); });
        EXPECT_EQ(root->use_count(), 1u);
    }
}

TEST(GeometryProducer, MayBeSharedAndLookedAtByManyThreads) {
    const Ptr root = StaticRoot(Location({{"type", Text("group")}}, {{"a", Location({})}}));
    RunTogether(8, [&root](int) {
        for (int i = 0; i < 500; ++i) {
            const Ptr child = root->getFirstChild(false);
            EXPECT_EQ(child->getParent()->getType(), "group");
            EXPECT_EQ(child->getRootProducer(), root);
        }
    });
    EXPECT_EQ(root->use_count(), 1u);
}

// The type ----------------------------------------------------------------------------------------

TEST(GeometryProducer, HasTheTypeThatItsAttributeSays) {
    EXPECT_EQ(StaticRoot(Location({{"type", Text("polymesh")}}))->getType(), "polymesh");
}

TEST(GeometryProducer, HasAnEmptyTypeWithoutATextThatSaysIt) {
    EXPECT_EQ(StaticRoot(Location({}))->getType(), "");
    EXPECT_EQ(StaticRoot(GroupAttribute(true))->getType(), "");
    EXPECT_EQ(StaticRoot(Location({{"type", Int(1)}}))->getType(), "");
    EXPECT_EQ(StaticRoot(Location({{"type", Texts({})}}))->getType(), "");
}

// Global attributes -------------------------------------------------------------------------------

Attribute GlobalAt(const Ptr& root, const char* path, const char* name) {
    return root->getProducerByPath(path, false)->getGlobalAttribute(name);
}

TEST(GeometryProducer, InheritsGlobalAttributesFromTheNearestAncestor) {
    const Ptr root = StaticRoot(
        Location({{"far", Int(1)}, {"near", Int(1)}},
                 {{"a", Location({{"near", Int(2)}}, {{"b", Location({{"own", Int(3)}})}})}}));
    EXPECT_EQ(IntOf(GlobalAt(root, "/root/a/b", "own")), 3);
    EXPECT_EQ(IntOf(GlobalAt(root, "/root/a/b", "near")), 2);
    EXPECT_EQ(IntOf(GlobalAt(root, "/root/a/b", "far")), 1);
    EXPECT_EQ(IntOf(GlobalAt(root, "/root", "near")), 1);
}

TEST(GeometryProducer, HasNoGlobalAttributeThatNoAncestorHas) {
    const Ptr root = StaticRoot(Location({}, {{"a", Location({{"below", Int(1)}})}}));
    EXPECT_FALSE(GlobalAt(root, "/root/a", "missing").isValid());
    EXPECT_FALSE(root->getGlobalAttribute("below").isValid());
}

TEST(GeometryProducer, MergesGlobalGroupsForAsLongAsTheyInherit) {
    const GroupAttribute closed({{"n", Int(9)}}, false);
    const Ptr root =
        StaticRoot(Location({{"settings", Group({{"a", Int(1)}, {"b", Int(1)}})}},
                            {{"open", Location({{"settings", Group({{"b", Int(2)}})}})},
                             {"closed", Location({{"settings", closed}})}}));
    EXPECT_EQ(GlobalAt(root, "/root/open", "settings"), Group({{"a", Int(1)}, {"b", Int(2)}}));
    EXPECT_EQ(GlobalAt(root, "/root/closed", "settings"), closed);
}

TEST(GeometryProducer, FindsGlobalAttributesByDottedPath) {
    const Ptr root =
        StaticRoot(Location({{"a", Group({{"b", Int(5)}})}}, {{"leaf", Location({})}}));
    EXPECT_EQ(IntOf(GlobalAt(root, "/root/leaf", "a.b")), 5);
}

TEST(GeometryProducer, LeavesNoReferenceBehindAfterAGlobalAttribute) {
    const Ptr root = StaticRoot(Location({{"n", Int(1)}}));
    root->getGlobalAttribute("n");
    EXPECT_EQ(root->use_count(), 1u);
}

/// Three levels, each with an int "level", and what a provider over the lowest one says.
class GlobalAttributeProvider : public testing::Test {
protected:
    const Ptr root = StaticRoot(
        Location({{"level", Int(0)}},
                 {{"a", Location({{"level", Int(1)}}, {{"b", Location({{"level", Int(2)}})}})}}));
    GeometryProducerGlobalAttributeProvider provider{root->getProducerByPath("/root/a/b", false)};

    /// The level found `depth` levels up; the status, negative, unless that is 0.
    int levelAt(int depth) {
        Attribute result;
        const int status = provider.provideAttribute("level", depth, result);
        return status == 0 ? IntOf(result) : -status;
    }
};

TEST_F(GlobalAttributeProvider, GoesUpFromItsProducer) {
    EXPECT_EQ(levelAt(0), 2);
    EXPECT_EQ(levelAt(1), 1);
    EXPECT_EQ(levelAt(2), 0);
}

TEST_F(GlobalAttributeProvider, SaysTwoAboveTheRootAndLeavesTheResultAlone) {
    Attribute result = Text("left from an earlier call");
    EXPECT_EQ(provider.provideAttribute("level", 3, result), 2);
    EXPECT_EQ(TextOf(result), "left from an earlier call");
    EXPECT_EQ(provider.provideAttribute("level", std::numeric_limits<int>::max(), result), 2);
}

TEST_F(GlobalAttributeProvider, SaysTwoForTheDeepestDepthOnTheFirstRequest) {
    EXPECT_EQ(levelAt(std::numeric_limits<int>::max()), -2);
    EXPECT_EQ(levelAt(0), 2);
}

TEST_F(GlobalAttributeProvider, AnswersDepthsInAnyOrder) {
    EXPECT_EQ(levelAt(2), 0);
    EXPECT_EQ(levelAt(2), 0);
    EXPECT_EQ(levelAt(0), 2);
    EXPECT_EQ(levelAt(2), 0);
    EXPECT_EQ(levelAt(1), 1);
    EXPECT_EQ(levelAt(4), -2);
    EXPECT_EQ(levelAt(9), -2);
    EXPECT_EQ(levelAt(3), -2);
    EXPECT_EQ(levelAt(1), 1);
}

TEST_F(GlobalAttributeProvider, ProvidesAnInvalidAttributeWhereALocationLacksIt) {
    Attribute result = Text("left from an earlier call");
    EXPECT_EQ(provider.provideAttribute("missing", 1, result), 0);
    EXPECT_FALSE(result.isValid());
}

TEST_F(GlobalAttributeProvider, KeepsItsProducer) {
    EXPECT_EQ(levelAt(0), 2) << "nobody else holds the producer it was made with";
}

TEST(GeometryProducer, IsAskedOncePerLevelForAGlobalAttribute) {
    AskedProducer::Questions questions;
    const Ptr root = new AskedProducer("root", questions);
    const Ptr leaf = new AskedProducer("leaf", questions, new AskedProducer("a", questions, root));
    EXPECT_FALSE(leaf->getGlobalAttribute("name").isValid());
    EXPECT_THAT(questions, ElementsAre("leaf in full", "leaf name", "a name", "root name"));
}

// Transforms --------------------------------------------------------------------------------------

TEST(GeometryProducer, ListsTransformsFromTheRootDownAndLeavesGaps) {
    const GroupAttribute far = Group({{"translate", Doubles({1, 2, 3})}});
    const GroupAttribute near = Group({{"scale", Doubles({2, 2, 2})}});
    const Ptr root = StaticRoot(
        Location({{"xform", far}}, {{"a", Location({}, {{"b", Location({{"xform", near}})}})}}));
    const GroupAttribute xforms =
        root->getProducerByPath("/root/a/b", false)->getGlobalXFormGroup();
    ASSERT_EQ(xforms.getNumberOfChildren(), 2);
    EXPECT_EQ(xforms.getChildName(0), "i0");
    EXPECT_EQ(xforms.getChildName(1), "i2");
    EXPECT_EQ(xforms.getChildByIndex(0), far);
    EXPECT_EQ(xforms.getChildByIndex(1), near);
    EXPECT_FALSE(xforms.getGroupInherit());
}

TEST(GeometryProducer, ListsNoTransformsWhereThereAreNone) {
    const Ptr root = StaticRoot(Location({}, {{"a", Location({})}}));
    const GroupAttribute xforms = root->getFirstChild(false)->getGlobalXFormGroup();
    ASSERT_TRUE(xforms.isValid());
    EXPECT_EQ(xforms.getNumberOfChildren(), 0);
    EXPECT_FALSE(xforms.getGroupInherit());
}

TEST(GeometryProducer, ListsTransformsAsTheyAreWhateverTheirKind) {
    const GroupAttribute closed({{"scale", Doubles({2, 2, 2})}}, false);
    const Ptr root =
        StaticRoot(Location({{"xform", closed}}, {{"a", Location({{"xform", Text("no group")}})}}));
    EXPECT_EQ(root->getFirstChild(false)->getGlobalXFormGroup(),
              GroupAttribute({{"i0", closed}, {"i1", Text("no group")}}, false));
}

TEST(GeometryProducer, NumbersTransformsBeyondTen) {
    const GroupAttribute location = Location({{"xform", Group({})}});
    Ptr producer;
    for (int depth = 0; depth < 12; ++depth)
        producer = CreateStaticGeometryProducer("/x", location, producer);
    const GroupAttribute xforms = producer->getGlobalXFormGroup();
    ASSERT_EQ(xforms.getNumberOfChildren(), 12);
    EXPECT_EQ(xforms.getChildName(2), "i2");
    EXPECT_EQ(xforms.getChildName(11), "i11");
}

TEST(GeometryProducer, ListsTransformsReadyToBeComposed) {
    // The leaf's points are scaled first, then moved with the root.
    const Ptr root = StaticRoot(
        Location({{"xform", Group({{"translate", Doubles({10, 0, 0})}})}},
                 {{"a", Location({{"xform", Group({{"scale", Doubles({2, 3, 4})}})}})}}));
    const auto [matrix, used] = OxXFormUtil::CalcTransformMatrixAtTime(
        root->getFirstChild(false)->getGlobalXFormGroup(), 0);
    const auto values = matrix.getNearestSample(0);
    EXPECT_THAT(std::vector<double>(values.begin(), values.end()),
                ElementsAre(2, 0, 0, 0, 0, 3, 0, 0, 0, 0, 4, 0, 10, 0, 0, 1));
}

// The class ---------------------------------------------------------------------------------------

#if defined(TELLAR_TEST_HAS_VIRTUAL_SLOTS)
TEST(GeometryProducer, HasItsVirtualFunctionsInTheOrderThatProgramsWereCompiledFor) {
    static_assert(std::has_virtual_destructor_v<GeometryProducer>);
    EXPECT_EQ(VirtualSlot(&GeometryProducer::getAttributeNames), 1);
    EXPECT_EQ(VirtualSlot(&GeometryProducer::getPotentialChildren), 2);
    EXPECT_EQ(VirtualSlot(&GeometryProducer::getAttribute), 3);
    EXPECT_EQ(VirtualSlot(&GeometryProducer::getName), 4);
    EXPECT_EQ(VirtualSlot(&GeometryProducer::getFullName), 5);
    EXPECT_EQ(VirtualSlot(&GeometryProducer::getHash), 6);
    EXPECT_EQ(VirtualSlot(&GeometryProducer::getChildByName), 7);
    EXPECT_EQ(VirtualSlot(&GeometryProducer::getFirstChild), 8);
    EXPECT_EQ(VirtualSlot(&GeometryProducer::getNextSibling), 9);
    EXPECT_EQ(VirtualSlot(&GeometryProducer::getClient), 10);
}

#if defined(TELLAR_TEST_HAS_VIRTUAL_TABLES)
TEST(GeometryProducer, LeavesAllOfThemButGetClientToItsVariants) {
    const std::vector<const void*> table = VirtualTable<GeometryProducer>();
    ASSERT_EQ(table.size(), 11u);
    for (std::size_t slot = 1; slot <= 9; ++slot)
        EXPECT_EQ(table[slot], PureVirtual()) << slot;
    EXPECT_NE(table[10], PureVirtual());
}
#endif

TEST(GeometryProducer, HasNoOtherVirtualFunctions) {
    EXPECT_LT(VirtualSlot(&GeometryProducer::getParent), 0);
    EXPECT_LT(VirtualSlot(&GeometryProducer::getRawParentPtr), 0);
    EXPECT_LT(VirtualSlot(&GeometryProducer::getRootProducer), 0);
    EXPECT_LT(VirtualSlot(&GeometryProducer::getProducerByPath), 0);
    EXPECT_LT(VirtualSlot(&GeometryProducer::getType), 0);
    EXPECT_LT(VirtualSlot(&GeometryProducer::getGlobalAttribute), 0);
    EXPECT_LT(VirtualSlot(&GeometryProducer::getGlobalXFormGroup), 0);
}

TEST(GlobalAttributeProviderClass, HasItsVirtualFunctionsInTheOrderThatThePlatformCalls) {
    using Base = OxTellarServices::BaseGlobalAttributeProviderLegacy;
    static_assert(std::is_base_of_v<Base, GeometryProducerGlobalAttributeProvider>);
    EXPECT_EQ(VirtualSlot(&Base::provideAttribute), 1);
    EXPECT_EQ(VirtualSlot(&GeometryProducerGlobalAttributeProvider::provideAttribute), 1);
}
#endif

} // namespace
