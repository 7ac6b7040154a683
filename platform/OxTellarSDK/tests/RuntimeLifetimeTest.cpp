#include <OxTellarSDK/TellarRuntime.h>

#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

#include "AllocatedBytes.h"
#include "AttributePrinter.h"
#include "ReferenceCount.h"
#include "TestOps.h"

using namespace OxAttribute;
using namespace TestOps;

// State that an op type keeps

namespace {

/// Keeps a client with each Op, as a type might that looks at another tree.
class ClientKeeper : public OxOpType::OpType {
public:
    struct Kept : OxOpType::State {
        Client client;
    };
    ClientKeeper() { about.name = "TestClientKeeper"; }
    const OxOpType::Description& description() const override { return about; }
    std::shared_ptr<const OxOpType::State> prepare(const GroupAttribute&,
                                                   std::size_t) const override {
        auto state = std::make_shared<Kept>();
        state->client = std::exchange(next, nullptr);
        return state;
    }
    void cook(CookContext& context) const override {
        context.setAttrs(GroupAttribute({{"value", IntAttribute(3)}}, true));
    }
    static Client next;

private:
    OxOpType::Description about;
};

Client ClientKeeper::next;

} // namespace

TEST(Lifetime, AnOpCanKeepAClientOfItsOwnRuntime) {
    static const bool isRegistered = [] {
        RegisterOpType(new ClientKeeper);
        return true;
    }();
    ASSERT_TRUE(isRegistered);
    const auto runtime = TellarRuntime::create();
    {
        Graph kept(runtime), keeping(runtime);
        ClientKeeper::next = kept.commit(kept.op(kSource, {Value(1)}));
        EXPECT_EQ(ValueAt(keeping.commit(keeping.op("TestClientKeeper")), "/root"), 3);
        EXPECT_EQ(ClientKeeper::next, nullptr);
    }
    Graph another(runtime); // building it frees unused Ops
    EXPECT_EQ(ValueAt(another.commit(another.op(kSource, {Value(2)})), "/root"), 2);
    runtime->finalize();
}

// Lifetime

TEST(Lifetime, AClientKeepsItsRuntimeAndOps) {
    Client client;
    {
        Graph graph;
        client = graph.commit(graph.chain(graph.op(kSource, {Value(8)}), 2));
    }
    EXPECT_EQ(ValueAt(client, "/root"), 8);
    EXPECT_NE(client->getRuntime(), nullptr);
}

TEST(Lifetime, EverythingIsFreedWithTheRuntime) {
    const StringAttribute argument("an argument that is counted");
    std::weak_ptr<TellarRuntime> runtime;
    std::weak_ptr<TellarRuntime::Op> op;
    std::weak_ptr<TellarRuntime::Client> client;
    Attribute cooked;
    {
        Graph graph;
        const Op source = graph.op(kSource, {{"children", argument}});
        const Client made = graph.commit(graph.chain(source, 3));
        cooked = made->cookLocation("/root").getAttrs();
        made->cookLocation("/root/a/b");
        runtime = graph.runtime, op = source, client = made;
    }
    EXPECT_TRUE(runtime.expired());
    EXPECT_TRUE(op.expired());
    EXPECT_TRUE(client.expired());
    // The count is the first word of a value.
    EXPECT_EQ(CountReferences(argument), 1u);
    EXPECT_EQ(CountReferences(cooked), 1u);
}

TEST(Lifetime, ASmallSceneTakesLittleMemory) {
    constexpr std::size_t kScenes = 100;
    std::vector<Client> clients;
    const auto open = [&clients](int value) {
        Graph graph;
        clients.push_back(graph.commit(graph.op(kPass, {}, {graph.op(kSource, {Value(value)})})));
        clients.back()->cookLocation("/root");
    };
    clients.reserve(2 * kScenes);
    for (int i = 0; i < 1000; ++i) // fills the pools of the process
        open(-i);
    clients.clear();
    const std::size_t before = AllocatedBytes();
    for (std::size_t i = 0; i < kScenes; ++i)
        open(static_cast<int>(i) + 1);
    EXPECT_LT(AllocatedBytes() - before, kScenes * 6000);
}

TEST(Lifetime, ARuntimeFreesResultsWithoutClients) {
    const auto runtime = TellarRuntime::create();
    const auto cookAndForget = [&](int value) {
        Graph graph(runtime);
        return graph.commit(graph.op(kSource, {Value(value)}))->cookLocation("/root").getAttrs();
    };
    const Attribute first = cookAndForget(1);
    const Attribute second = cookAndForget(2); // a commit lets the first go
    EXPECT_EQ(CountReferences(first), 1u);
    EXPECT_EQ(CountReferences(second), 2u);
    runtime->finalize();
    EXPECT_EQ(CountReferences(second), 1u);
}

TEST(Lifetime, ARuntimeKeepsResultsForTheNextRenderOfTheSameScene) {
    const auto runtime = TellarRuntime::create();
    for (int render = 0; render < 3; ++render) {
        Graph graph(runtime);
        const Client client = graph.commit(graph.op(kSource, {Counted("renders")}));
        client->cookLocation("/root");
        EXPECT_TRUE(client->getCachedLocation("/root").isValid());
    }
    EXPECT_EQ(Counter::take("renders"), 1);
}

TEST(Lifetime, AnUncommittedTransactionFreesItsOps) {
    std::weak_ptr<TellarRuntime> runtime;
    std::weak_ptr<TellarRuntime::Op> op;
    {
        Graph graph;
        const Op source = graph.op(kSource);
        graph.client(graph.chain(source, 3));
        runtime = graph.runtime, op = source;
    }
    EXPECT_TRUE(runtime.expired());
    EXPECT_TRUE(op.expired());
}
