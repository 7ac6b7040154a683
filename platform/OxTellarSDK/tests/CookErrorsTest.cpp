#include <OxTellarSDK/CurrentOp.h>
#include <OxTellarSDK/TellarRuntime.h>

#include <cstring>
#include <exception>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "AllocatedBytes.h"
#include "AttributePrinter.h"
#include "TestOps.h"

using namespace OxAttribute;
using namespace TestOps;
using testing::EndsWith;
using testing::HasSubstr;

namespace {

/// Has the thread's Op described before and after it asks its input, as the attributes "before" and
/// "after".
const std::string kDescribe = Register("TestDescribe", [](CookContext& context) {
    const StringAttribute before(OxOpType::DescribeCurrentOp());
    const LocationData below = context.input(0);
    const StringAttribute after(OxOpType::DescribeCurrentOp());
    context.setAttrs(
        GroupAttribute({{"before", before}, {"below", below.getAttrs()}, {"after", after}}, true));
});

} // namespace

TEST(DescribeCurrentOp, NamesTheInnermostOpThatTheThreadCooks) {
    Graph graph;
    const Op below = graph.op(kDescribe, {}, {}, "below");
    const Op above = graph.op(kDescribe, {}, {below}, "above");
    graph.transaction->setOpPlace(above, "scene.json:3:5");
    const GroupAttribute attrs = graph.commit(above)->cookLocation("/root").getAttrs();
    EXPECT_EQ(Text(attrs, "before"), "scene.json:3:5: Op \"above\" (TestDescribe)");
    EXPECT_EQ(Text(attrs, "below.before"), "Op \"below\" (TestDescribe)");
    EXPECT_EQ(Text(attrs, "after"), Text(attrs, "before"));
    EXPECT_EQ(OxOpType::DescribeCurrentOp(), "");
}

TEST(DescribeCurrentOp, IsOverWhenACookFails) {
    Graph graph;
    const Client client = graph.commit(graph.op(kThrow, {{"message", StringAttribute("no")}}));
    CookError(client, "/root");
    EXPECT_EQ(OxOpType::DescribeCurrentOp(), "");
}

// Errors

TEST(CookErrors, NameTheOpItsTypeAndTheLocation) {
    Graph graph;
    const Client client = graph.commit(
        graph.op(kThrow, {{"message", StringAttribute("no such luck")}}, {}, "the \"op\""));
    EXPECT_EQ(CookError(client, "/root/a b"),
              "Op \"the \"op\"\" (TestThrow) at \"/root/a b\": no such luck");
}

TEST(CookErrors, NameTheOpThatFailedAndNotThoseAboveIt) {
    Graph graph;
    const Op failing = graph.op(kThrow, {{"message", StringAttribute("why")}}, {}, "deep");
    const Client client = graph.commit(graph.chain(graph.op(kSum, {}, {failing}), 5));
    EXPECT_EQ(CookError(client, "/root"), "Op \"deep\" (TestThrow) at \"/root\": why");
}

TEST(CookErrors, NameAnUnnamedOpByItsNumber) {
    Graph graph;
    graph.op(kSource);
    const Client client = graph.commit(graph.op(kThrow, {{"message", StringAttribute("why")}}));
    EXPECT_EQ(client->getOp()->getName(), "op1");
    EXPECT_EQ(CookError(client, "/root"), "Op \"op1\" (TestThrow) at \"/root\": why");
}

TEST(CookErrors, IncludeThrownValuesThatAreNotExceptions) {
    static const std::string kOdd = Register("TestThrowsInt", [](CookContext&) { throw 42; });
    Graph graph;
    const Client client = graph.commit(graph.chain(graph.op(kOdd, {}, {}, "odd"), 2));
    EXPECT_EQ(CookError(client, "/root"), "Op \"odd\" (TestThrowsInt) at \"/root\": it threw "
                                          "something that is no std::exception");
}

TEST(CookErrors, IncludeAnUnknownTypeOnlyWhenItIsCooked) {
    Graph graph;
    const Op unknown = graph.op("NoSuchType", {}, {}, "stranger");
    const Client client =
        graph.commit(graph.op(kSwitch, {}, {unknown, graph.op(kSource, {Value(1)})}));
    EXPECT_EQ(CookError(client, "/root/left/a"),
              "Op \"stranger\" (NoSuchType) at \"/root/left/a\": there is no op type of this name");
    EXPECT_EQ(ValueAt(client, "/root/right"), 1);
}

TEST(CookErrors, AnOpThatCannotBeCookedKeepsItsInputs) {
    Graph graph;
    const Op source = graph.op(kSource), unknown = graph.op("NoSuchType", {}, {source, nullptr});
    graph.commit();
    EXPECT_EQ(unknown->getInputs(), (std::vector<Op>{source, nullptr}));
}

TEST(CookErrors, ManyOpsOfUnknownTypesAreCommittedQuickly) {
    Graph graph;
    for (int i = 0; i < 20000; ++i)
        graph.op("NoSuchType" + std::to_string(i));
    const Client client = graph.commit(graph.op("NoSuchType"));
    EXPECT_THAT(CookError(client, "/root"), HasSubstr("there is no op type of this name"));
}

TEST(CookErrors, IncludeAnOpWithoutAType) {
    Graph graph;
    const Op op = graph.transaction->createOp();
    EXPECT_EQ(CookError(graph.commit(op), "/root"),
              "Op \"op0\" () at \"/root\": there is no op type of this name");
}

TEST(CookErrors, CanBeCaughtByADownstreamOp) {
    static const std::string kCatching = Register("TestCatching", [](CookContext& context) {
        try {
            context.pass(context.input(0));
        } catch (const std::exception& error) {
            context.setAttrs(GroupAttribute({{"caught", StringAttribute(error.what())}}, true));
        }
    });
    Graph graph;
    const Client client = graph.commit(graph.op(
        kCatching, {}, {graph.op(kThrow, {{"message", StringAttribute("why")}}, {}, "x")}));
    EXPECT_EQ(Text(client->cookLocation("/root").getAttrs(), "caught"),
              "Op \"x\" (TestThrow) at \"/root\": why");
}

TEST(CookErrors, IncludeALocationThatNeedsItself) {
    static Client itself;
    static const std::string kNarcissus = Register(
        "TestNarcissus", [](CookContext& context) { context.pass(itself->cookLocation("/root")); });
    Graph graph;
    itself = graph.commit(graph.op(kNarcissus, {}, {}, "pond"));
    EXPECT_EQ(CookError(itself, "/root"),
              "Op \"pond\" (TestNarcissus) at \"/root\": the location needs itself");
    EXPECT_EQ(CookError(itself, "/root/a"),
              "Op \"pond\" (TestNarcissus) at \"/root\": the location needs itself");
    itself.reset();
}

// Cycles and depth

TEST(Cycles, OfOneOpAreErrors) {
    Circle circle("a");
    EXPECT_EQ(CookError(circle.commit(circle.ops[0]), "/root"),
              "Op \"a\" (TestPass) at \"/root\": it is part of a cycle: a -> a");
}

TEST(Cycles, OfTwoOpsAreErrors) {
    Circle circle("ab");
    EXPECT_EQ(CookError(circle.commit(circle.ops[0]), "/root"),
              "Op \"a\" (TestPass) at \"/root\": it is part of a cycle: a -> b -> a");
}

TEST(Cycles, OfThreeOpsAreErrorsAtEachOp) {
    Circle circle("abc");
    const Client a = circle.client(circle.ops[0]), b = circle.client(circle.ops[1]);
    const Client c = circle.commit(circle.ops[2]);
    const std::string cycle = "it is part of a cycle: a -> b -> c -> a";
    EXPECT_EQ(CookError(a, "/root"), "Op \"a\" (TestPass) at \"/root\": " + cycle);
    EXPECT_EQ(CookError(b, "/root"), "Op \"b\" (TestPass) at \"/root\": " + cycle);
    EXPECT_EQ(CookError(c, "/x/y"), "Op \"c\" (TestPass) at \"/x/y\": " + cycle);
    EXPECT_FALSE(a->getCachedLocation("/root").isValid());
    circle.runtime->evict("/root");
}

TEST(Cycles, UpstreamOfAnOpAreErrorsThatNameTheCycle) {
    Circle circle("ab");
    const Client client = circle.commit(circle.chain(circle.ops[0], 3));
    EXPECT_EQ(CookError(client, "/root"),
              "Op \"a\" (TestPass) at \"/root\": it is part of a cycle: a -> b -> a");
}

TEST(Cycles, LeaveASoundBranchUsable) {
    Circle circle("ab");
    const Op source = circle.op(kSource, {Value(6)});
    const Client client = circle.commit(circle.op(kSwitch, {}, {circle.ops[1], source}));
    EXPECT_EQ(ValueAt(client, "/root/right"), 6);
    EXPECT_THAT(CookError(client, "/root/left"), HasSubstr("cycle"));
}

TEST(Cycles, ThatShareOpsAreErrorsAtEachOp) {
    // a -> b -> a, and a -> c -> b: two cycles through a and b.
    Graph graph;
    const Op a = graph.op(kSum, {}, {}, "a"), b = graph.op(kSum, {}, {}, "b");
    const Op c = graph.op(kSum, {}, {b}, "c");
    graph.transaction->setOpInputs(a, {b, c});
    graph.transaction->setOpInputs(b, {a});
    const std::vector<Client> clients = {graph.client(a), graph.client(b), graph.client(c)};
    graph.commit();
    for (const Client& client : clients)
        EXPECT_THAT(CookError(client, "/root"), HasSubstr("it is part of a cycle"));
}

TEST(Cycles, OfManyOpsNameTheFirstAndTheLast) {
    Graph graph;
    std::vector<Op> ops;
    for (int i = 0; i < 20; ++i)
        ops.push_back(graph.op(kPass, {}, {}, "n" + std::to_string(i)));
    for (std::size_t i = 0; i < ops.size(); ++i)
        graph.transaction->setOpInputs(ops[i], {ops[(i + 1) % ops.size()]});
    EXPECT_EQ(
        CookError(graph.commit(ops[0]), "/root"),
        "Op \"n0\" (TestPass) at \"/root\": it is part of a cycle: n0 -> n1 -> n2 -> n3 -> "
        "n4 -> n5 -> n6 -> n7 -> (4 more) -> n12 -> n13 -> n14 -> n15 -> n16 -> n17 -> n18 -> "
        "n19 -> n0");
}

TEST(Cycles, HaveLongNamesTruncatedBetweenCharacters) {
    Graph graph;
    const std::string name = std::string(63, 'x') + "\u00e9";
    const Op op = graph.op(kPass, {}, {}, name);
    graph.transaction->setOpInputs(op, {op});
    const std::string shown = std::string(63, 'x') + "...";
    EXPECT_THAT(CookError(graph.commit(op), "/root"),
                EndsWith("part of a cycle: " + shown + " -> " + shown));
}

TEST(Cycles, TakeMemoryInProportionToTheirOps) {
    const auto bytesOfCommit = [](std::size_t length) {
        Circle circle(std::string(length, 'x'));
        circle.transaction->setOpInputs(circle.ops.back(), circle.ops); // one cycle per op
        const std::size_t before = AllocatedBytes();
        const Client client = circle.commit(circle.ops[0]);
        EXPECT_THAT(CookError(client, "/root"), HasSubstr("it is part of a cycle: x -> x"));
        return AllocatedBytes() - before;
    };
    bytesOfCommit(1000); // makes what is made once
    const std::size_t few = bytesOfCommit(1000);
    EXPECT_LT(bytesOfCommit(20000), 24 * few);
}

TEST(Cycles, AreFreed) {
    std::weak_ptr<TellarRuntime::Op> committed, dropped;
    {
        Circle circle("abc");
        committed = circle.ops[1];
        circle.commit(circle.ops[0]);
        Circle other("abc");
        dropped = other.ops[1];
    }
    EXPECT_TRUE(committed.expired());
    EXPECT_TRUE(dropped.expired());
}

TEST(Depth, AChainOf512OpsWorks) {
    Graph graph;
    const Op source = graph.op(kSource, {Value(1), Counted("depth 512")});
    const Client client = graph.commit(graph.chain(source, 512));
    EXPECT_EQ(ValueAt(client, "/root"), 1);
    graph.runtime->evict("/root");
    EXPECT_EQ(ValueAt(client, "/root"), 1);
    EXPECT_EQ(Counter::take("depth 512"), 2);
}

TEST(Depth, AChainOf600OpsIsAClearError) {
    Graph graph;
    const Op source = graph.op(kSource);
    const Client client = graph.commit(graph.chain(source, 600));
    EXPECT_EQ(CookError(client, "/root"),
              "Op \"op600\" (TestPass) at \"/root\": it depends on more "
              "than 512 ops, one through the other");
}

TEST(Depth, TheOpsBelowTheLimitStillWork) {
    Graph graph;
    const Op source = graph.op(kSource, {Value(9)});
    const Op low = graph.chain(source, 100);
    const Client client = graph.client(low);
    graph.commit(graph.chain(low, 1000));
    EXPECT_EQ(ValueAt(client, "/root"), 9);
}

TEST(Depth, AChainOf100000OpsIsCommittedCookedAndFreed) {
    std::weak_ptr<TellarRuntime::Op> bottom;
    {
        Graph graph;
        const Op source = graph.op(kSource);
        bottom = source;
        const Client client = graph.commit(graph.chain(source, 100000));
        EXPECT_THAT(CookError(client, "/root"), HasSubstr("more than 512 ops"));
    }
    EXPECT_TRUE(bottom.expired());
}

TEST(Depth, AChainOf100000UncommittedOpsIsFreed) {
    std::weak_ptr<TellarRuntime::Op> bottom;
    {
        Graph graph;
        const Op source = graph.op(kSource);
        bottom = source;
        graph.chain(source, 100000);
    }
    EXPECT_TRUE(bottom.expired());
}

TEST(Depth, AChainOfManyTransactionsIsFreed) {
    Op last;
    std::weak_ptr<TellarRuntime::Op> bottom;
    const auto runtime = TellarRuntime::create();
    for (int i = 0; i < 20000; ++i) {
        Graph graph(runtime);
        last = last ? graph.op(kPass, {}, {last}) : graph.op(kSource);
        if (i == 0) bottom = last;
        graph.commit();
    }
    EXPECT_FALSE(bottom.expired());
    last.reset();
    EXPECT_TRUE(bottom.expired());
}
