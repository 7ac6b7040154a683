#include <OxTellarProducers/StaticGeometryProducer.h>

#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include <OxTellarProducers/CreateGeometryProducer.h>

#include "CountedAllocations.h"
#include "ErrorOf.h"
#include "ProducerHelpers.h"
#include "RunTogether.h"
#include "SceneBuilders.h"
#include "VirtualSlot.h"

namespace {

using namespace TellarTest;
using OxAttribute::Attribute;
using OxAttribute::GroupAttribute;
using OxAttribute::StringAttribute;
using TELLAR::CreateStaticGeometryProducer;
using TELLAR::CreateSyncGeometryProducer;
using TELLAR::GeometryProducer;
using TELLAR::StaticGeometryProducer;
using testing::ElementsAre;

using Ptr = GeometryProducer::Ptr;

/// The error of asking for a child, or "no error".
std::string ErrorOfChild(const Ptr& producer, const char* name) {
    return ErrorOf([&] { producer->getChildByName(name, false); });
}

// Names and attributes ----------------------------------------------------------------------------

TEST(StaticProducer, HasThePathItWasMadeWithAndItsLastName) {
    const Ptr producer = CreateStaticGeometryProducer("/root/world/geo", Location({}), nullptr);
    EXPECT_EQ(producer->getFullName(), "/root/world/geo");
    EXPECT_EQ(producer->getName(), "geo");
}

TEST(StaticProducer, HasAnEmptyNameWithoutASlashOrAfterTheLastOne) {
    const Ptr relative = new StaticGeometryProducer("geo", Location({}), -1, nullptr);
    EXPECT_EQ(relative->getName(), "");
    EXPECT_EQ(relative->getFullName(), "geo");
    EXPECT_EQ(CreateStaticGeometryProducer("/root/", Location({}), nullptr)->getName(), "");
}

TEST(StaticProducer, FindsAttributesByDottedPath) {
    const Ptr root = StaticRoot(Location({{"a", Group({{"b", Group({{"c", Int(7)}})}})}}));
    EXPECT_EQ(IntOf(root->getAttribute("a.b.c")), 7);
    EXPECT_EQ(root->getAttribute("a.b"), Group({{"c", Int(7)}}));
    EXPECT_FALSE(root->getAttribute("a.b.d").isValid());
    EXPECT_FALSE(root->getAttribute("b").isValid());
}

TEST(StaticProducer, GivesAllAttributesWithoutAName) {
    const Ptr root = StaticRoot(Location({{"n", Int(7)}}));
    EXPECT_EQ(root->getAttribute(nullptr), Group({{"n", Int(7)}}));
    EXPECT_EQ(root->getAttribute(""), Group({{"n", Int(7)}}));
}

TEST(StaticProducer, AddsItsAttributeNamesAsTheyAreStored) {
    const Ptr root = StaticRoot(Location({{"z", Int(1)}, {"a%2Eb", Int(2)}, {"B", Int(3)}}));
    std::set<std::string> names{"there before"};
    root->getAttributeNames(&names);
    EXPECT_THAT(names, ElementsAre("B", "a%2Eb", "there before", "z"));
    root->getAttributeNames(nullptr);
}

TEST(StaticProducer, HasNoAttributesWithoutAGroupOfThem) {
    const Ptr root = StaticRoot(Group({{"c", Group({{"a", Location({})}})}}));
    EXPECT_FALSE(root->getAttribute("anything").isValid());
    EXPECT_FALSE(root->getAttribute("").isValid());
    EXPECT_FALSE(root->getAttribute(nullptr).isValid());
    std::set<std::string> names;
    root->getAttributeNames(&names);
    EXPECT_TRUE(names.empty());
}

TEST(StaticProducer, HasNoAttributesWhereTheGroupIsSomethingElse) {
    const Ptr root = StaticRoot(Group({{"a", Int(1)}}));
    EXPECT_FALSE(root->getAttribute("anything").isValid());
    EXPECT_FALSE(root->getAttribute("").isValid());
}

TEST(StaticProducer, HasTheHashOfItsWholeDescription) {
    const GroupAttribute scene = Location({{"n", Int(7)}}, {{"a", Location({})}});
    EXPECT_EQ(StaticRoot(scene)->getHash(), scene.getHash().str());
    EXPECT_EQ(StaticRoot(scene)->getHash(),
              CreateStaticGeometryProducer("/elsewhere", scene, nullptr)->getHash());
    EXPECT_NE(StaticRoot(scene)->getHash(), StaticRoot(Location({{"n", Int(7)}}))->getHash());
}

TEST(StaticProducer, WritesItsHashInHexadecimalDigits) {
    EXPECT_THAT(StaticRoot(Location({}))->getHash(), testing::MatchesRegex("[0-9a-f]+"));
}

TEST(StaticProducer, HasNoClient) {
    EXPECT_EQ(StaticRoot(Location({}))->getClient(), nullptr);
}

// Potential children ------------------------------------------------------------------------------

TEST(StaticProducer, ListsTheDecodedNamesOfItsChildren) {
    const Ptr root = StaticRoot(
        Location({}, {{"z", Location({})}, {"a%2Eb", Location({})}, {"%2F", Location({})}}));
    const StringAttribute children = root->getPotentialChildren();
    EXPECT_EQ(children.getTupleSize(), 1);
    EXPECT_EQ(children.getNumberOfTimeSamples(), 1);
    EXPECT_THAT(ValuesOf(children), ElementsAre("z", "a.b", "/"));
}

TEST(StaticProducer, ListsNoChildrenForAnEmptyGroupOfThem) {
    const Ptr root = StaticRoot(Group({{"c", GroupAttribute(true)}}));
    const StringAttribute children = root->getPotentialChildren();
    ASSERT_TRUE(children.isValid());
    EXPECT_EQ(children.getNumberOfValues(), 0);
    EXPECT_EQ(children.getTupleSize(), 1);
    EXPECT_EQ(root->getFirstChild(false), nullptr);
}

TEST(StaticProducer, HasNoListOfChildrenWithoutAGroupOfThem) {
    const Ptr root = StaticRoot(Location({{"n", Int(7)}}));
    EXPECT_FALSE(root->getPotentialChildren().isValid());
    EXPECT_EQ(root->getFirstChild(false), nullptr);
    EXPECT_EQ(root->getChildByName("a", false), nullptr);
}

TEST(StaticProducer, HasNoListOfChildrenWhereTheGroupIsSomethingElse) {
    const Ptr root = StaticRoot(Group({{"c", Text("a")}}));
    EXPECT_FALSE(root->getPotentialChildren().isValid());
    EXPECT_EQ(root->getFirstChild(false), nullptr);
    EXPECT_EQ(root->getChildByName("a", false), nullptr);
}

// Children by name --------------------------------------------------------------------------------

TEST(StaticProducer, FindsAChildByName) {
    const Ptr root = StaticRoot(
        Location({}, {{"a", Location({{"n", Int(1)}})}, {"b", Location({{"n", Int(2)}})}}));
    const Ptr child = root->getChildByName("b", false);
    ASSERT_TRUE(child);
    EXPECT_EQ(child->getFullName(), "/root/b");
    EXPECT_EQ(IntOf(child->getAttribute("n")), 2);
    EXPECT_EQ(child->getParent(), root);
    EXPECT_TRUE(dynamic_cast<StaticGeometryProducer*>(child.get()));
}

TEST(StaticProducer, FindsEachChildByIndexUnderItsTruePath) {
    const Ptr root =
        StaticRoot(Location({}, {{"a", Location({})}, {"b%2Ex", Location({{"n", Int(7)}})}}));
    EXPECT_EQ(NameOf(root->getChildByIndex(0)), "/root/a");
    EXPECT_EQ(NameOf(root->getChildByIndex(1)), "/root/b.x");
    EXPECT_EQ(IntOf(root->getChildByIndex(1)->getAttribute("n")), 7);
    EXPECT_EQ(root->getChildByIndex(1)->getParent(), root);
    EXPECT_EQ(NameOf(root->getChildByIndex(2)), "nothing");
    EXPECT_EQ(NameOf(root->getChildByIndex(-1)), "nothing");
    EXPECT_EQ(NameOf(root->getChildByIndex(0)->getChildByIndex(0)), "nothing");
}

TEST(StaticProducer, HasNoChildOfAnotherName) {
    const Ptr root = StaticRoot(Location({}, {{"a", Location({})}}));
    EXPECT_EQ(root->getChildByName("A", false), nullptr);
    EXPECT_EQ(root->getChildByName("", false), nullptr);
    EXPECT_EQ(root->getChildByName("...", false), nullptr);
}

TEST(StaticProducer, HasNoChildWhereTheDescriptionIsNoGroup) {
    const Ptr root = StaticRoot(Location({}, {{"a", Int(1)}}));
    EXPECT_EQ(root->getChildByName("a", false), nullptr);
}

TEST(StaticProducer, IsItsOwnChildByDotAndItsParentByTwo) {
    const Ptr root = StaticRoot(Location({}, {{"a", Location({})}}));
    const Ptr child = root->getFirstChild(false);
    EXPECT_EQ(root->getChildByName(".", false), root);
    EXPECT_EQ(root->getChildByName("..", false), nullptr);
    EXPECT_EQ(child->getChildByName("..", false), root);
    EXPECT_EQ(child->getChildByName(".", false), child);
}

TEST(StaticProducer, RefusesNamesWithASlash) {
    const Ptr root = StaticRoot(Location({}, {{"a", Location({}, {{"b", Location({})}})}}));
    const char* const text = "getChildByName does not support deep child lookups";
    EXPECT_EQ(ErrorOfChild(root, "a/b"), text);
    EXPECT_EQ(ErrorOfChild(root, "/"), text);
    EXPECT_EQ(ErrorOfChild(root, "../a"), text);
    EXPECT_EQ(ErrorOfChild(root, "a/"), text);
    EXPECT_EQ(ErrorOfChild(root, "nothing/at all"), text);
}

TEST(StaticProducer, FindsAnEncodedChildByItsStoredNameOnly) {
    const Ptr root = StaticRoot(Location({}, {{"a%2Eb", Location({{"n", Int(7)}})}}));
    const Ptr child = root->getChildByName("a%2Eb", false);
    ASSERT_TRUE(child);
    EXPECT_EQ(child->getFullName(), "/root/a%2Eb");
    EXPECT_EQ(IntOf(child->getAttribute("n")), 7);
    EXPECT_EQ(root->getChildByName("a.b", false), nullptr);
}

TEST(StaticProducer, TakesADotInANameForAWayIntoTheDescription) {
    const Ptr root =
        StaticRoot(Location({}, {{"a", Location({}, {{"b", Location({{"n", Int(7)}})}})}}));
    const Ptr child = root->getChildByName("a.c.b", false);
    ASSERT_TRUE(child);
    EXPECT_EQ(child->getFullName(), "/root/a.c.b");
    EXPECT_EQ(IntOf(child->getAttribute("n")), 7);
    EXPECT_EQ(child->getParent(), root);
}

// First children and siblings ---------------------------------------------------------------------

TEST(StaticProducer, BuildsTheNextSiblingsPathOnTheProducersOwn) {
    const Ptr root =
        StaticRoot(Location({}, {{"a", Location({})}, {"b", Location({})}, {"c", Location({})}}));
    EXPECT_THAT(WalkChildren(root), ElementsAre("/root/a", "/root/a/b", "/root/a/b/c"));
}

TEST(StaticProducer, GivesEverySiblingItsOwnDescriptionAndTheSameParent) {
    const Ptr root = StaticRoot(Location({}, {{"a", Location({{"n", Int(1)}})},
                                              {"b", Location({{"n", Int(2)}})},
                                              {"c", Location({{"n", Int(3)}})}}));
    const Ptr a = root->getFirstChild(false);
    const Ptr b = a->getNextSibling(false);
    const Ptr c = b->getNextSibling(false);
    EXPECT_EQ(IntOf(a->getAttribute("n")), 1);
    EXPECT_EQ(IntOf(b->getAttribute("n")), 2);
    EXPECT_EQ(IntOf(c->getAttribute("n")), 3);
    EXPECT_TRUE(a->getParent() == root && b->getParent() == root && c->getParent() == root);
    EXPECT_EQ(c->getNextSibling(false), nullptr);
}

TEST(StaticProducer, FindsItsPlaceByNameWhenItCameFromALookup) {
    const Ptr root =
        StaticRoot(Location({}, {{"a", Location({})}, {"b", Location({})}, {"c", Location({})}}));
    const Ptr b = root->getChildByName("b", false);
    EXPECT_EQ(b->getNextSibling(false)->getFullName(), "/root/b/c");
    EXPECT_EQ(b->getNextSibling(false)->getFullName(), "/root/b/c") << "the place is remembered";
    EXPECT_EQ(root->getChildByName("c", false)->getNextSibling(false), nullptr);
}

TEST(StaticProducer, LooksForItsPlaceOnce) {
    class Asked : public StaticGeometryProducer {
    public:
        using StaticGeometryProducer::StaticGeometryProducer;
        std::string getName() override {
            ++count;
            return StaticGeometryProducer::getName();
        }
        int count = 0;
    };
    const Ptr root = StaticRoot(Location({}, {{"a", Location({})}, {"b", Location({})}}));
    const boost::intrusive_ptr<Asked> a = new Asked("/root/a", Location({}), -1, root);
    a->getNextSibling(false);
    a->getNextSibling(false);
    EXPECT_EQ(a->count, 1);
}

TEST(StaticProducer, FindsItsPlaceByNameWhenTheFactoryMadeIt) {
    const Ptr root = StaticRoot(Location({}, {{"a", Location({})}, {"b", Location({})}}));
    const Ptr elsewhere = CreateStaticGeometryProducer("/any/path/a", Location({}), root);
    EXPECT_EQ(elsewhere->getNextSibling(false)->getFullName(), "/any/path/a/b");
}

TEST(StaticProducer, HasNoSiblingWhenItsParentDoesNotListItsName) {
    const Ptr root = StaticRoot(Location({}, {{"a", Location({})}, {"b", Location({})}}));
    const Ptr stranger = CreateStaticGeometryProducer("/root/stranger", Location({}), root);
    EXPECT_EQ(stranger->getNextSibling(false), nullptr);
    EXPECT_EQ(stranger->getNextSibling(false), nullptr);
}

TEST(StaticProducer, HasNoSiblingWhenItWasFoundUnderAnEncodedName) {
    const Ptr root = StaticRoot(Location({}, {{"a%2Eb", Location({})}, {"c", Location({})}}));
    EXPECT_EQ(root->getChildByName("a%2Eb", false)->getNextSibling(false), nullptr)
        << "the parent lists the decoded name";
}

TEST(StaticProducer, DecodesTheNamesOfFirstChildrenAndSiblings) {
    const Ptr root = StaticRoot(Location({}, {{"a%2Eb", Location({})}, {"c%2Ed", Location({})}}));
    const Ptr first = root->getFirstChild(false);
    EXPECT_EQ(first->getFullName(), "/root/a.b");
    EXPECT_EQ(first->getName(), "a.b");
    EXPECT_EQ(first->getNextSibling(false)->getFullName(), "/root/a.b/c.d");
}

TEST(StaticProducer, HasADecodedSlashInThePathOfAFirstChild) {
    const Ptr root = StaticRoot(Location({}, {{"a%2Fb", Location({})}, {"c", Location({})}}));
    const Ptr first = root->getFirstChild(false);
    EXPECT_EQ(first->getFullName(), "/root/a/b");
    EXPECT_EQ(first->getName(), "b");
    EXPECT_EQ(first->getNextSibling(false)->getFullName(), "/root/a/b/c");
}

/// A root with so many children, whose names are too long for strings without an allocation.
Ptr RootWithChildren(int count) {
    Children children;
    for (int i = 0; i < count; ++i)
        children.emplace_back("a child with a long name " + std::to_string(i), Location({}));
    return StaticRoot(Location({}, children));
}

TEST(StaticProducer, WalksSiblingsWithWorkInProportionToTheirNumber) {
    constexpr int kCount = 1000;
    const Ptr root = RootWithChildren(kCount);
    int seen = 0;
    const long allocations = AllocationsOf([&] {
        for (Ptr child = root->getFirstChild(false); child; child = child->getNextSibling(false))
            ++seen;
    });
    EXPECT_EQ(seen, kCount);
    EXPECT_LT(allocations, 10 * kCount);
}

/// Presents its children's names in capital letters.
class LoudProducer : public StaticGeometryProducer {
public:
    using StaticGeometryProducer::StaticGeometryProducer;
    StringAttribute getPotentialChildren() override { return Texts({"A", "B"}); }
};

TEST(StaticProducer, TakesTheNamesOfSiblingsAsADerivedParentPresentsThem) {
    const auto scene = Location({}, {{"a", Location({})}, {"b", Location({})}});
    const Ptr loud = new LoudProducer("/root", scene, -1, nullptr);
    const Ptr first = CreateStaticGeometryProducer("/root/A", Location({}), loud);
    EXPECT_EQ(first->getNextSibling(false)->getFullName(), "/root/A/B");
    EXPECT_EQ(first->getNextSibling(false)->getNextSibling(false), nullptr);
}

TEST(StaticProducer, HasNoSiblingWithoutAParentOrWithoutAListInIt) {
    EXPECT_EQ(StaticRoot(Location({}))->getNextSibling(false), nullptr);
    const Ptr childless = StaticRoot(Location({}));
    EXPECT_EQ(
        CreateStaticGeometryProducer("/root/a", Location({}), childless)->getNextSibling(false),
        nullptr);
}

TEST(StaticProducer, HasNoSiblingUnderAParentOfAnotherKind) {
    const auto client =
        MakeClient(SceneTree(Location({}, {{"a", Location({})}, {"b", Location({})}})));
    const Ptr root = CreateSyncGeometryProducer(client, "/root");
    const Ptr child = CreateStaticGeometryProducer("/root/a", Location({}), root);
    EXPECT_EQ(child->getParent(), root);
    EXPECT_EQ(child->getNextSibling(false), nullptr);
    EXPECT_EQ(child->getChildByName("..", false), root);
}

TEST(StaticProducer, StartsSiblingsAtTheIndexItWasMadeWith) {
    const Ptr root =
        StaticRoot(Location({}, {{"a", Location({})}, {"b", Location({})}, {"c", Location({})}}));
    const Ptr misplaced = new StaticGeometryProducer("/root/c", Location({}), 0, root);
    EXPECT_EQ(misplaced->getNextSibling(false)->getFullName(), "/root/c/b");
}

TEST(StaticProducer, TakesAFirstChildThatIsNoGroupForALocationWithoutAnything) {
    const Ptr root = StaticRoot(Location({}, {{"odd", Int(1)}, {"b", Location({})}}));
    const Ptr odd = root->getFirstChild(false);
    ASSERT_TRUE(odd);
    EXPECT_EQ(odd->getFullName(), "/root/odd");
    EXPECT_FALSE(odd->getAttribute("").isValid());
    EXPECT_FALSE(odd->getPotentialChildren().isValid());
    EXPECT_EQ(odd->getFirstChild(false), nullptr);
    EXPECT_EQ(odd->getNextSibling(false)->getFullName(), "/root/odd/b");
}

TEST(StaticProducer, MakesNewProducersOnEveryNavigation) {
    const Ptr root = StaticRoot(Location({}, {{"a", Location({})}, {"b", Location({})}}));
    const Ptr a = root->getFirstChild(false);
    EXPECT_NE(root->getFirstChild(false), a);
    EXPECT_NE(root->getChildByName("a", false), root->getChildByName("a", false));
    EXPECT_NE(a->getNextSibling(false), a->getNextSibling(false));
}

TEST(StaticProducer, DoesNotCareWhetherToEvict) {
    const Ptr root = StaticRoot(Location({}, {{"a", Location({})}, {"b", Location({})}}));
    const Ptr a = root->getFirstChild(true);
    EXPECT_EQ(a->getFullName(), "/root/a");
    EXPECT_EQ(a->getNextSibling(true)->getFullName(), "/root/a/b");
    EXPECT_EQ(root->getChildByName("b", true)->getFullName(), "/root/b");
}

// The class and threads ---------------------------------------------------------------------------

#if defined(TELLAR_TEST_HAS_VIRTUAL_SLOTS)
TEST(StaticProducer, HasItsVirtualFunctionsWhereTheBaseHasThem) {
    EXPECT_EQ(VirtualSlot(&StaticGeometryProducer::getAttributeNames), 1);
    EXPECT_EQ(VirtualSlot(&StaticGeometryProducer::getNextSibling), 9);
    EXPECT_EQ(VirtualSlot(&StaticGeometryProducer::getClient), 10);
}
#endif

#if defined(TELLAR_TEST_HAS_VIRTUAL_TABLES)
TEST(StaticProducer, AddsNoVirtualFunctions) {
    EXPECT_EQ(VirtualTable<StaticGeometryProducer>().size(), 11u);
}
#endif

TEST(StaticProducer, MayBeWalkedByManyThreadsOnceEveryPlaceIsKnown) {
    Children children;
    for (int i = 0; i < 50; ++i)
        children.emplace_back("n" + std::to_string(i), Location({{"n", Int(i)}}));
    const Ptr root = StaticRoot(Location({}, children));
    const Ptr first = root->getFirstChild(false);
    RunTogether(8, [&first](int) {
        int expected = 0;
        for (Ptr child = first; child; child = child->getNextSibling(false))
            EXPECT_EQ(IntOf(child->getAttribute("n")), expected++);
        EXPECT_EQ(expected, 50);
    });
}

} // namespace
