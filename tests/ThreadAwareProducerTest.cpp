#include <OxTellarProducers/ThreadAwareGeometryProducer.h>

#include <cstdint>
#include <memory>
#include <thread>
#include <utility>

#include <boost/make_shared.hpp>
#include <gmock/gmock.h>

#include <OxTellarProducers/CreateGeometryProducer.h>
#include <OxTellarProducers/OpTreeSource.h>
#include <OxTellarProducers/ThreadLocalClient.h>

#include "CapturedLog.h"
#include "ProducerHelpers.h"
#include "SceneBuilders.h"
#include "ScopedRuntimeFactory.h"
#include "TestOps.h"

namespace {

using namespace TellarTest;
using TELLAR::CreateThreadAwareGeometryProducer;
using TELLAR::GeometryProducer;
using TELLAR::OpTreeSource;
using TELLAR::ThreadAwareGeometryProducer;
using TELLAR::ThreadLocalClient;
using testing::ElementsAre;

using Client = std::shared_ptr<TellarRuntime::Client>;
using Ptr = GeometryProducer::Ptr;

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
