#include <OxTellarProducers/BaseGeometryProducer.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

#include <malloc.h>

#include <boost/make_shared.hpp>
#include <boost/thread/tss.hpp>
#include <gmock/gmock.h>

#include <OxTellarProducers/AsyncGeometryProducer.h>
#include <OxTellarProducers/CreateGeometryProducer.h>
#include <OxTellarProducers/OpTreeSource.h>
#include <OxTellarProducers/SyncGeometryProducer.h>
#include <OxTellarProducers/ThreadAwareGeometryProducer.h>
#include <OxTellarProducers/ThreadLocalClient.h>

#include "ProducerHelpers.h"
#include "Sanitized.h"
#include "SceneBuilders.h"
#include "TestOps.h"
#include "VirtualSlot.h"

// The classes of runtime-backed producers as those see them who derive from them, and their ends.

namespace {

using namespace TellarTest;
using OxAttribute::StringAttribute;
using TELLAR::AsyncGeometryProducer;
using TELLAR::BaseGeometryProducer;
using TELLAR::CreateThreadAwareGeometryProducer;
using TELLAR::GeometryProducer;
using TELLAR::SyncGeometryProducer;
using TELLAR::ThreadAwareGeometryProducer;
using testing::ElementsAre;

using Client = std::shared_ptr<TellarRuntime::Client>;
using Ptr = GeometryProducer::Ptr;

#if defined(TELLAR_TEST_HAS_VIRTUAL_SLOTS)
struct OpenedBaseProducer : BaseGeometryProducer {
    using BaseGeometryProducer::createChild;
    using BaseGeometryProducer::getLocationData;
};

TEST(RuntimeProducerClasses, HaveTheirVirtualFunctionsInTheOrderThatProgramsWereCompiledFor) {
    EXPECT_EQ(VirtualSlot(&BaseGeometryProducer::getAttributeNames), 1);
    EXPECT_EQ(VirtualSlot(&BaseGeometryProducer::getChildByName), 7);
    EXPECT_EQ(VirtualSlot(&BaseGeometryProducer::getNextSibling), 9);
    EXPECT_EQ(VirtualSlot(&BaseGeometryProducer::getClient), 10);
    EXPECT_EQ(VirtualSlot(&OpenedBaseProducer::getLocationData), 11);
    EXPECT_EQ(VirtualSlot(&OpenedBaseProducer::createChild), 12);
    EXPECT_EQ(VirtualSlot(&SyncGeometryProducer::getClient), 10);
    EXPECT_EQ(VirtualSlot(&AsyncGeometryProducer::getClient), 10);
    EXPECT_EQ(VirtualSlot(&ThreadAwareGeometryProducer::getClient), 10);
}

#if defined(TELLAR_TEST_HAS_VIRTUAL_TABLES)
TEST(RuntimeProducerClasses, AddTwoVirtualFunctionsThatVariantsDefine) {
    const std::vector<const void*> table = VirtualTable<BaseGeometryProducer>();
    ASSERT_EQ(table.size(), 13u);
    EXPECT_EQ(std::count(table.begin() + 1, table.end(), PureVirtual()), 2);
    EXPECT_EQ(table[11], PureVirtual());
    EXPECT_EQ(table[12], PureVirtual());
    EXPECT_EQ(VirtualTable<SyncGeometryProducer>().size(), 13u);
    EXPECT_EQ(VirtualTable<AsyncGeometryProducer>().size(), 13u);
    EXPECT_EQ(VirtualTable<ThreadAwareGeometryProducer>().size(), 13u);
}
#endif
#endif

/// A variant of a caller's own: every location exists and has two children. Larger than those of
/// the library.
class BranchingVariant : public BaseGeometryProducer {
public:
    using BaseGeometryProducer::BaseGeometryProducer;
    static TellarRuntime::LocationData data() {
        return TellarRuntime::LocationData(
            Group({{"attrs", Group({})}, {"pc", Texts({"x", "y"})}}));
    }

    std::array<char, 4096> payload{};

protected:
    TellarRuntime::LocationData getLocationData(const std::string&, bool) override {
        return data();
    }
    Ptr createChild(std::string path, TellarRuntime::LocationData locationData, std::int64_t index,
                    boost::intrusive_ptr<BaseGeometryProducer> parent) override {
        return new BranchingVariant(std::move(path), std::move(locationData), index,
                                    std::move(parent));
    }
};

TEST(RuntimeProducerClasses, LetCallersAddVariantsByTwoFunctions) {
    const Ptr root = new BranchingVariant("/root", BranchingVariant::data(), -1, nullptr);
    EXPECT_EQ(root->getClient(), nullptr);
    EXPECT_THAT(WalkChildren(root), ElementsAre("/root/x", "/root/y"));
    EXPECT_EQ(NameOf(root->getProducerByPath("/root/x/y/x", false)), "/root/x/y/x");
}

/// Presents its parent and itself as children.
class RoundAboutVariant : public BranchingVariant {
public:
    using BranchingVariant::BranchingVariant;
    StringAttribute getPotentialChildren() override { return Texts({".", "..", "x"}); }
};

TEST(RuntimeProducerClasses, HaveNoChildByIndexThatIsNotBelowThem) {
    const Ptr root = new RoundAboutVariant("/root", BranchingVariant::data(), -1, nullptr);
    EXPECT_EQ(NameOf(root->getChildByIndex(0)), "nothing");
    EXPECT_EQ(NameOf(root->getChildByIndex(1)), "nothing");
    EXPECT_EQ(NameOf(root->getChildByIndex(2)), "/root/x");
}

/// Presents another list of children than was cooked.
class FilteringVariant : public BranchingVariant {
public:
    using BranchingVariant::BranchingVariant;
    StringAttribute getPotentialChildren() override { return Texts({"y", "z"}); }
};

TEST(RuntimeProducerClasses, NavigateByThePotentialChildrenThatAVariantPresents) {
    const Ptr root = new FilteringVariant("/root", BranchingVariant::data(), -1, nullptr);
    EXPECT_THAT(WalkChildren(root), ElementsAre("/root/y", "/root/z"));
    EXPECT_EQ(NameOf(root->getChildByName("z", false)), "/root/z");
    EXPECT_EQ(root->getChildByName("x", false), nullptr);
    EXPECT_EQ(NameOf(root->getChildByIndex(1)), "/root/z");
    EXPECT_EQ(NameOf(root->getChildByIndex(2)), "nothing");
}

/// Lets tests make children as a derived class may.
template <typename Variant>
struct Making : Variant {
    using Variant::createChild;
    using Variant::Variant;
};

/// A client of the tree, and a root producer that owns it.
template <typename Variant>
class MakingProducer : public testing::Test {
protected:
    using Maker = boost::intrusive_ptr<Variant>;

    Maker openRoot(const OxAttribute::GroupAttribute& tree) {
        if constexpr (std::is_same_v<Variant, ThreadAwareGeometryProducer>)
            return open(boost::make_shared<TELLAR::ThreadLocalClient>(
                TELLAR::OpTreeSource::createFromGroupAttribute(tree)));
        else
            return open(MakeClient(tree));
    }

    /// An object that a producer owns to get at its client; `atEnd` is called when it is destroyed.
    template <typename AtEnd>
    static auto makeOwned(AtEnd atEnd) {
        // A producer that is only made and dropped asks its client for nothing.
        if constexpr (std::is_same_v<Variant, ThreadAwareGeometryProducer>)
            return boost::shared_ptr<TELLAR::ThreadLocalClient>(
                nullptr, [atEnd](TELLAR::ThreadLocalClient*) { atEnd(); });
        else
            return Client(nullptr, [atEnd](TellarRuntime::Client*) { atEnd(); });
    }

    static TellarRuntime::LocationData cook(const Ptr& producer, const std::string& path) {
        return producer->getClient()->cookLocation(path);
    }

    /// A child with the data of /root/a, whatever its path.
    static Ptr makeChild(Variant& maker, const std::string& path,
                         const boost::intrusive_ptr<BaseGeometryProducer>& parent) {
        return (maker.*&Making<Variant>::createChild)(path, cook(&maker, "/root/a"), 0, parent);
    }

    Maker root = openRoot(TestTree(Texts({"a", "b"})));

private:
    static const Client& clientOf(const Client& client) { return client; }
    static Client clientOf(const boost::shared_ptr<TELLAR::ThreadLocalClient>& client) {
        return client->getClient();
    }
    template <typename Owned>
    static Maker open(const Owned& owned) {
        return new Variant(owned, "/root", clientOf(owned)->cookLocation("/root"), -1, nullptr);
    }
};
using Variants =
    testing::Types<SyncGeometryProducer, AsyncGeometryProducer, ThreadAwareGeometryProducer>;
TYPED_TEST_SUITE(MakingProducer, Variants);

TYPED_TEST(MakingProducer, KeepsItsClientInTheChildrenThatItMakes) {
    const Client client = this->root->getClient();
    this->cook(this->root, "/root/b");
    const Ptr child = this->makeChild(*this->root, "/root/a", this->root);
    this->root.reset();
    EXPECT_EQ(child->getClient(), client);
    EXPECT_EQ(NameOf(child->getNextSibling(false)), "/root/b");
}

TYPED_TEST(MakingProducer, KeepsItsClientInTheChildrenThatItMakesForOthers) {
    const Client client = this->root->getClient();
    const auto other = this->openRoot(TestTree(Texts({"a", "b"})));
    const Ptr adopted = this->makeChild(*this->root, "/root/a", other);
    const Ptr orphan = this->makeChild(*this->root, "/root/a", nullptr);
    this->root.reset();
    EXPECT_EQ(adopted->getParent(), other);
    EXPECT_EQ(orphan->getParent(), nullptr);
    EXPECT_NE(other->getClient(), client);
    EXPECT_EQ(adopted->getClient(), client);
    EXPECT_EQ(orphan->getClient(), client);
}

TYPED_TEST(MakingProducer, KeepsItsClientInWhatADescendantMakesForOthers) {
    const Client client = this->root->getClient();
    this->cook(this->root, "/root/a");
    Ptr child = this->root->getFirstChild(false);
    const Ptr orphan = this->makeChild(dynamic_cast<TypeParam&>(*child), "/root/a", nullptr);
    child.reset();
    this->root.reset();
    EXPECT_EQ(orphan->getClient(), client);
}

TYPED_TEST(MakingProducer, LetsGoOfItsClientBeforeItsParent) {
    class Parent : public BranchingVariant {
    public:
        explicit Parent(std::vector<std::string>& ended)
            : BranchingVariant("/root", data(), -1, nullptr), ended(ended) {}
        ~Parent() override { ended.push_back("parent"); }

    private:
        std::vector<std::string>& ended;
    };
    std::vector<std::string> ended;
    {
        auto owned = this->makeOwned([&ended] { ended.push_back("client"); });
        const Ptr producer = new TypeParam(std::move(owned), "/root/a", BranchingVariant::data(), 0,
                                           new Parent(ended));
    }
    EXPECT_THAT(ended, ElementsAre("client", "parent"));
}

TYPED_TEST(MakingProducer, NamesItsChildrenByTheLastSlashOfAnyPath) {
    const auto nameOf = [this](const std::string& path) {
        return this->makeChild(*this->root, path, this->root)->getName();
    };
    EXPECT_EQ(nameOf("/root/a"), "a");
    EXPECT_EQ(nameOf("/xy"), "xy");
    EXPECT_EQ(nameOf("/rootling"), "rootling");
    EXPECT_EQ(nameOf("/elsewhere/entirely"), "entirely");
    EXPECT_EQ(nameOf("/root/with/slashes"), "slashes");
    EXPECT_EQ(nameOf("/root"), "root");
    EXPECT_EQ(nameOf("/root/"), "");
    EXPECT_EQ(nameOf("no slash"), "");
    EXPECT_EQ(nameOf(""), "");
}

TEST(RuntimeProducerClasses, MayBeDroppedHoweverManyAncestorsGoWithThem) {
    const TellarRuntime::LocationData data = BranchingVariant::data();
    const Client client = MakeClient(TestTree(Texts({})));
    constexpr int kLevels = kSanitized ? 200000 : 1000000; // more than any stack holds calls
    boost::intrusive_ptr<SyncGeometryProducer> leaf;
    for (int level = 0; level < kLevels; ++level)
        leaf = new SyncGeometryProducer(client, "/x", data, -1, leaf);
    const Ptr root = leaf->getRootProducer();
    leaf.reset();
    EXPECT_EQ(root->use_count(), 1u);
}

TEST(RuntimeProducerClasses, TakeNoMoreMemoryThanTheyNeed) {
    std::thread([] { // whose pool is empty
        constexpr std::size_t kBytes = sizeof(SyncGeometryProducer);
        void* const memory = SyncGeometryProducer::operator new(kBytes);
        EXPECT_GE(malloc_usable_size(memory), kBytes);
        EXPECT_LE(malloc_usable_size(memory), kBytes + 16);
        SyncGeometryProducer::operator delete(memory, kBytes);
    })
        .join();
}

// Ends of threads and of the process --------------------------------------------------------------

/// A thread-local object that drops its content at the end of the thread, after all others.
struct KeptByThread {
    Ptr producer;
};
thread_local KeptByThread keptByThread;

TEST(RuntimeProducerAtAnEnd, MayBeDroppedWithAThreadsOldestThreadLocalObject) {
    const Ptr root = CreateThreadAwareGeometryProducer(TestTree(Texts({"a", "b"})), "/root");
    for (int life = 0; life < 3; ++life) {
        std::thread([&root] {
            keptByThread.producer.reset(); // makes the object before anything of the library's
            keptByThread.producer = root->getFirstChild(false)->getNextSibling(false);
        }).join();
        EXPECT_EQ(root->use_count(), 1u);
    }
}

TEST(RuntimeProducerAtAnEnd, MayBeDroppedAfterAllOfAThreadsThreadLocalObjects) {
    const Ptr root = CreateThreadAwareGeometryProducer(TestTree(Texts({"a", "b"})), "/root");
    static boost::thread_specific_ptr<Ptr> kept;
    std::thread([&root] { kept.reset(new Ptr(root->getFirstChild(false))); }).join();
    EXPECT_EQ(root->use_count(), 1u);
}

TEST(RuntimeProducerAtAnEnd, MayBeDroppedAfterTheEndOfMain) {
    static Ptr kept; // the program crashes at its end if it may not
    const Ptr root = CreateThreadAwareGeometryProducer(TestTree(Texts({"a", "b"})), "/root");
    kept = root->getFirstChild(false);
    EXPECT_EQ(NameOf(kept), "/root/a");
}

} // namespace
