#include <OxTellarSDK/TellarRuntime.h>

#include <atomic>
#include <stdexcept>
#include <string>

#include <gmock/gmock.h>

#include "AttributePrinter.h"
#include "ReferenceCount.h"
#include "TestOps.h"

using namespace OxAttribute;
using namespace TestOps;
using testing::HasSubstr;

// Eviction

namespace {

std::atomic<int> outsideWorld{0};
std::atomic<bool> outsideFails{false};

/// Reads something that nobody tells the runtime about, as a file would be.
const std::string kOutside = Register("TestOutside", [](CookContext& context) {
    if (outsideFails) throw std::runtime_error("the world is gone");
    context.setAttrs(GroupAttribute(
        {{"value", IntAttribute(outsideWorld.load())}, {"fresh", IntAttribute(context.isFresh())}},
        true));
});

/// Whether each location was evicted before; with the children "children".
const std::string kFreshChildren = Register("TestFreshChildren", [](CookContext& context) {
    context.setAttrs(GroupAttribute({{"fresh", IntAttribute(context.isFresh())}}, true));
    context.setPotentialChildren(StringAttribute(context.args().getChildByName("children")));
});

} // namespace

TEST(Evict, MakesTheNextCookRunAllOpsAgain) {
    Graph graph;
    const Client client = graph.commit(graph.chain(graph.op(kOutside, {Counted("anew")}), 3));
    outsideWorld = 1;
    EXPECT_EQ(ValueAt(client, "/root"), 1);
    outsideWorld = 2;
    EXPECT_EQ(ValueAt(client, "/root"), 1);
    graph.runtime->evict("/root");
    EXPECT_FALSE(client->getCachedLocation("/root").isValid());
    EXPECT_EQ(ValueAt(client, "/root"), 2);
    EXPECT_TRUE(client->getCachedLocation("/root").isValid());
    EXPECT_EQ(ValueAt(client, "/root"), 2);
    EXPECT_EQ(Counter::take("anew"), 2);
}

TEST(Evict, TellsOpsThatTheirCookIsFresh) {
    Graph graph;
    const Client client = graph.commit(graph.op(kOutside, {Counted("fresh")}));
    EXPECT_EQ(Number(client->cookLocation("/root").getAttrs(), "fresh"), 0);
    graph.runtime->evict("/root");
    EXPECT_EQ(Number(client->cookLocation("/root").getAttrs(), "fresh"), 1);
    EXPECT_EQ(Number(client->cookLocation("/root/a").getAttrs(), "fresh"), 0);
}

TEST(Evict, DoesNotAffectOtherLocations) {
    Graph graph;
    const Client client = graph.commit(graph.op(kSource, {Counted("others")}));
    for (const char* path : {"/root", "/root/a", "/root/b", "/root/a/b"})
        client->cookLocation(path);
    graph.runtime->evict("/root/a");
    for (const char* path : {"/root", "/root/b", "/root/a/b"}) {
        EXPECT_TRUE(client->getCachedLocation(path).isValid());
        client->cookLocation(path);
    }
    EXPECT_EQ(Counter::of("others"), 4);
    client->cookLocation("/root/a");
    EXPECT_EQ(Counter::take("others"), 5);
}

TEST(Evict, DoesNothingForAPathThatWasNeverCooked) {
    Graph graph;
    const Client client = graph.commit(graph.op(kSource, {Counted("never")}));
    for (const char* path : {"/root", "/x/y/z", "", "/", "//", "no path"})
        graph.runtime->evict(path);
    client->cookLocation("/root");
    client->cookLocation("/root");
    EXPECT_EQ(Counter::take("never"), 1);
    TellarRuntime::create()->evict("/root");
}

TEST(Evict, DoesNothingForAnUncookedSibling) {
    Graph graph;
    const Client client =
        graph.commit(graph.op(kFreshChildren, {{"children", StringAttribute({"a", "b", "c"}, 1)}}));
    client->cookLocation("/root");
    client->cookLocation("/root/a");
    graph.runtime->evict("/root/b");
    EXPECT_EQ(Number(client->cookLocation("/root/b").getAttrs(), "fresh"), 0);
    graph.runtime->evict("/root/b");
    EXPECT_EQ(Number(client->cookLocation("/root/b").getAttrs(), "fresh"), 1);
    EXPECT_EQ(Number(client->cookLocation("/root/c").getAttrs(), "fresh"), 0);
}

TEST(Evict, RetriesAfterAFailedCook) {
    Graph graph;
    const Client client = graph.commit(graph.op(kOutside, {Counted("failed and evicted")}));
    outsideFails = true;
    CookError(client, "/root");
    outsideFails = false;
    graph.runtime->evict("/root");
    EXPECT_EQ(Number(client->cookLocation("/root").getAttrs(), "fresh"), 1);
    EXPECT_EQ(Counter::take("failed and evicted"), 2);
}

TEST(Evict, ReplacesASharedResult) {
    Graph first, second;
    const Client a = first.commit(first.op(kOutside, {Counted("replaced")}));
    const Client b = second.commit(second.op(kOutside, {Counted("replaced")}));
    outsideWorld = 1;
    const LocationData old = a->cookLocation("/root");
    EXPECT_EQ(b->cookLocation("/root").getRecord(), old.getRecord());
    outsideWorld = 2;
    first.runtime->evict("/root");
    EXPECT_TRUE(b->getCachedLocation("/root").isValid()); // the other runtime forgot nothing
    EXPECT_EQ(ValueAt(a, "/root"), 2);
    EXPECT_EQ(ValueAt(b, "/root"), 2);
    EXPECT_EQ(Number(b->getCachedLocation("/root").getAttrs(), "value"), 2);
    EXPECT_EQ(Number(old.getAttrs(), "value"), 1); // attributes that were handed out never change
    EXPECT_EQ(Counter::take("replaced"), 2);
}

TEST(Evict, InTwoRuntimesCooksAgainOnceOrTwice) {
    Graph first, second;
    const Client a = first.commit(first.op(kOutside, {Counted("both")}));
    const Client b = second.commit(second.op(kOutside, {Counted("both")}));
    a->cookLocation("/root");
    b->cookLocation("/root");
    first.runtime->evict("/root");
    second.runtime->evict("/root");
    outsideWorld = 5;
    EXPECT_EQ(ValueAt(a, "/root"), 5);
    EXPECT_EQ(ValueAt(b, "/root"), 5);
    const int cooks = Counter::take("both");
    EXPECT_TRUE(cooks == 2 || cooks == 3) << cooks;
}

TEST(Evict, CooksAgainOnceAfterTwoEvictions) {
    Graph graph;
    const Client client = graph.commit(graph.op(kOutside, {Counted("twice")}));
    client->cookLocation("/root");
    graph.runtime->evict("/root");
    graph.runtime->evict("/root");
    client->cookLocation("/root");
    client->cookLocation("/root");
    EXPECT_EQ(Counter::take("twice"), 2);
}

TEST(Evict, RetriesAFailingCookWithoutReturningTheOldResult) {
    Graph graph;
    const Client client =
        graph.commit(graph.chain(graph.op(kOutside, {Counted("world")}, {}, "world"), 2));
    outsideWorld = 1;
    client->cookLocation("/root");
    graph.runtime->evict("/root");
    outsideFails = true;
    EXPECT_EQ(CookError(client, "/root"),
              "Op \"world\" (TestOutside) at \"/root\": the world is gone");
    EXPECT_EQ(CookError(client, "/root"),
              "Op \"world\" (TestOutside) at \"/root\": the world is gone");
    EXPECT_FALSE(client->getCachedLocation("/root").isValid());
    outsideFails = false;
    outsideWorld = 2;
    EXPECT_EQ(ValueAt(client, "/root"), 2);
    EXPECT_EQ(Counter::take("world"), 4);
}

namespace {

/// Each level looks twice at the level below: 2^levels ways to the bottom.
Client Ladder(Graph& graph, int levels, const std::string& counter) {
    Op left = graph.op(kOutside, {Counted(counter)});
    Op right = left;
    for (int i = 0; i < levels; ++i) {
        const Op newLeft = graph.op(kSum, {Counted(counter), Value(1)}, {left, right});
        const Op newRight = graph.op(kSum, {Counted(counter), Value(2)}, {left, right});
        left = newLeft;
        right = newRight;
    }
    return graph.commit(left);
}

} // namespace

TEST(Evict, CooksEachOpOfALadderOfDiamondsExactlyOnce) {
    Graph graph;
    const Client client = Ladder(graph, 30, "ladder");
    outsideWorld = 1;
    EXPECT_EQ(ValueAt(client, "/root"), 1 << 30);
    EXPECT_EQ(Counter::take("ladder"), 60); // two a level, one at the top, one at the bottom
    for (int i = 0; i < 3; ++i) {
        outsideWorld = 0;
        graph.runtime->evict("/root");
        EXPECT_EQ(ValueAt(client, "/root"), 0);
        EXPECT_EQ(Counter::take("ladder"), 60);
    }
}

TEST(Evict, CooksEachOpOfALadderOnceAfterAFailureToo) {
    Graph graph;
    const Client client = Ladder(graph, 30, "failing ladder");
    outsideFails = true;
    EXPECT_THAT(CookError(client, "/root"), HasSubstr("the world is gone"));
    outsideFails = false;
    client->cookLocation("/root");
    graph.runtime->evict("/root");
    outsideFails = true;
    EXPECT_THAT(CookError(client, "/root"), HasSubstr("the world is gone"));
    outsideFails = false;
    Counter::take("failing ladder");
    client->cookLocation("/root");
    EXPECT_EQ(Counter::take("failing ladder"), 60);
}

TEST(Lifetime, EvictedResultsAreFreed) {
    Graph graph;
    const Client client = graph.commit(graph.op(kOutside, {Counted("let go")}));
    const Attribute old = client->cookLocation("/root").getAttrs();
    graph.runtime->evict("/root");
    client->cookLocation("/root");
    EXPECT_EQ(CountReferences(old), 1u);
}
