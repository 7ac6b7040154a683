#include <OxTellarProducers/AsyncGeometryProducer.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include <OxTellarProducers/CreateGeometryProducer.h>

#include "ProducerHelpers.h"
#include "RunTogether.h"
#include "SceneBuilders.h"
#include "TestOps.h"

namespace {

using namespace TellarTest;
using OxAttribute::GroupAttribute;
using TELLAR::AsyncGeometryProducer;
using TELLAR::CreateAsyncGeometryProducer;
using TELLAR::GeometryProducer;
using testing::ElementsAre;

using Client = std::shared_ptr<TellarRuntime::Client>;
using Ptr = GeometryProducer::Ptr;

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

} // namespace
