#include <OxTellarProducers/GeometryProducer.h>

#include <memory>
#include <type_traits>
#include <vector>

#include <gmock/gmock.h>

#include <OxTellarProducers/CreateGeometryProducer.h>

#include "AskedProducer.h"
#include "ProducerHelpers.h"
#include "RunTogether.h"
#include "Sanitized.h"
#include "SceneBuilders.h"
#include "VirtualSlot.h"

namespace {

using namespace TellarTest;
using OxAttribute::Attribute;
using OxAttribute::GroupAttribute;
using TELLAR::CreateStaticGeometryProducer;
using TELLAR::GeometryProducer;
using TELLAR::GeometryProducerGlobalAttributeProvider;

using Ptr = GeometryProducer::Ptr;

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
    Ptr leaf = Chain(kSanitized ? 200000 : 1000000); // more than any stack holds calls
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

TEST(GeometryProducer, HasTheTypeThatItsAttributeSays) {
    EXPECT_EQ(StaticRoot(Location({{"type", Text("polymesh")}}))->getType(), "polymesh");
}

TEST(GeometryProducer, HasAnEmptyTypeWithoutATextThatSaysIt) {
    EXPECT_EQ(StaticRoot(Location({}))->getType(), "");
    EXPECT_EQ(StaticRoot(GroupAttribute(true))->getType(), "");
    EXPECT_EQ(StaticRoot(Location({{"type", Int(1)}}))->getType(), "");
    EXPECT_EQ(StaticRoot(Location({{"type", Texts({})}}))->getType(), "");
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
