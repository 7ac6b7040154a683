#include <OxTellarSDK/CookTrace.h>

#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "TestOps.h"

using namespace OxAttribute;
using namespace TestOps;
using OxOpType::CookTrace;
using OxOpType::TraceCook;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

/// "input location" of every read; "!" for one that failed, "-" for a location that is missing.
std::vector<std::string> ReadsOf(const CookTrace& trace) {
    std::vector<std::string> reads;
    for (const OxOpType::CookRead& read : trace.reads)
        reads.push_back(std::to_string(read.input) + " " + read.location +
                        (!read.data.isValid()            ? "!"
                         : read.data.doesLocationExist() ? ""
                                                         : "-"));
    return reads;
}

std::string ErrorIn(const CookTrace& trace) {
    return ErrorOf([&] {
        if (trace.error) std::rethrow_exception(trace.error);
    });
}

/// Passes on the first input that throws nothing.
const std::string kFirstSound = Register("TestFirstSound", [](CookContext& context) {
    try {
        context.pass(context.input(0));
    } catch (const std::exception&) {
        context.pass(context.input(1));
    }
});

/// Counts its ancestors by the notes of their cooks.
const std::string kDepth = Register("TestTracedDepth", [](CookContext& context) {
    const int depth = IntAttribute(context.parentNote()).getValue(0, false) + 1;
    context.setNote(IntAttribute(depth));
    context.setAttrs(GroupAttribute({{"value", IntAttribute(depth)}}, true));
});

} // namespace

TEST(TraceCook, TellsWhatTheOpAskedForInItsOrder) {
    Graph graph;
    const Op source = graph.op(kSource, {Value(3)});
    const Op sum = graph.op(kSum, {}, {source, nullptr, source});
    graph.commit();
    const CookTrace trace = TraceCook(*sum, "/root/a");
    EXPECT_THAT(ReadsOf(trace), ElementsAre("0 /root/a", "1 /root/a-", "2 /root/a"));
    EXPECT_EQ(Number(trace.result.getAttrs(), "value"), 6);
    EXPECT_FALSE(trace.isPassed);
    EXPECT_EQ(trace.error, nullptr);
}

TEST(TraceCook, TellsThatDataWasPassedOn) {
    Graph graph;
    const Op source = graph.op(kSource);
    const Op pass = graph.op(kPass, {}, {source});
    graph.commit();
    const CookTrace trace = TraceCook(*pass, "/root");
    EXPECT_TRUE(trace.isPassed);
    EXPECT_EQ(trace.result.getRecord(), trace.reads.front().data.getRecord());
}

TEST(TraceCook, GivesMissingDataForALocationThatTheOpDoesNotMake) {
    Graph graph;
    const Op nothing = graph.op(kNothing);
    graph.commit();
    const CookTrace trace = TraceCook(*nothing, "/root");
    EXPECT_TRUE(trace.result.isValid());
    EXPECT_FALSE(trace.result.doesLocationExist());
    EXPECT_FALSE(trace.isPassed);
}

TEST(TraceCook, GivesMissingDataForAPathThatIsNoLocation) {
    Graph graph;
    const Op source = graph.op(kSource);
    graph.commit();
    EXPECT_FALSE(TraceCook(*source, "root").result.doesLocationExist());
    EXPECT_FALSE(TraceCook(*source, "/root//a").result.doesLocationExist());
}

TEST(TraceCook, TellsTheErrorAndTheReadThatFailed) {
    Graph graph;
    const Op broken = graph.op(kThrow, {{"message", StringAttribute("no luck")}}, {}, "broken");
    const Op pass = graph.op(kPass, {}, {broken});
    graph.commit();
    const CookTrace trace = TraceCook(*pass, "/root");
    EXPECT_FALSE(trace.result.isValid());
    EXPECT_THAT(ReadsOf(trace), ElementsAre("0 /root!"));
    EXPECT_EQ(ErrorIn(trace), "Op \"broken\" (TestThrow) at \"/root\": no luck");
}

TEST(TraceCook, TellsAReadThatFailedAndWasReplaced) {
    Graph graph;
    const Op broken = graph.op(kThrow, {{"message", StringAttribute("no")}});
    const Op first = graph.op(kFirstSound, {}, {broken, graph.op(kSource)});
    graph.commit();
    const CookTrace trace = TraceCook(*first, "/root");
    EXPECT_THAT(ReadsOf(trace), ElementsAre("0 /root!", "1 /root"));
    EXPECT_TRUE(trace.isPassed);
    EXPECT_EQ(trace.error, nullptr);
}

TEST(TraceCook, TellsWhyAnOpCannotBeCookedAtAll) {
    Circle circle("ab");
    circle.commit();
    const CookTrace trace = TraceCook(*circle.ops[0], "/root");
    EXPECT_THAT(ErrorIn(trace), testing::HasSubstr("cycle"));
    EXPECT_THAT(trace.reads, IsEmpty());
}

TEST(TraceCook, FindsTheNotesOfParents) {
    Graph graph;
    const Op depth = graph.op(kDepth, {Value(71)});
    graph.commit();
    EXPECT_EQ(Number(TraceCook(*depth, "/root").result.getAttrs(), "value"), 1);
    EXPECT_EQ(Number(TraceCook(*depth, "/root/a").result.getAttrs(), "value"), 2);
}

TEST(TraceCook, KeepsNothing) {
    Graph graph;
    const Op source = graph.op(kSource, {Value(72), Counted("traced")});
    const Client client = graph.commit(source);
    const LocationData before = client->cookLocation("/root");
    Counter::take("traced");
    TraceCook(*source, "/root");
    EXPECT_EQ(Counter::take("traced"), 1);
    EXPECT_EQ(client->cookLocation("/root").getRecord(), before.getRecord());
    EXPECT_FALSE(client->getCachedLocation("/root/other").isValid());
}
