#include <OxTellarSDK/TellarRuntime.h>

#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "AttributePrinter.h"
#include "TestOps.h"

using namespace OxAttribute;
using namespace TestOps;
using testing::ElementsAre;

// One graph, one client

TEST(Runtime, CooksALocationWithItsOp) {
    Graph graph;
    const Client client =
        graph.commit(graph.op(kSource, {Value(7), {"children", StringAttribute({"a", "b"}, 1)}}));
    const LocationData data = client->cookLocation("/root/world");
    EXPECT_TRUE(data.isValid());
    EXPECT_TRUE(data.doesLocationExist());
    EXPECT_EQ(data.getAttrs(),
              GroupAttribute({{"path", StringAttribute("/root/world")}, Value(7)}, true));
    EXPECT_THAT(StringsOf(data.getPotentialChildren()), ElementsAre("a", "b"));
}

TEST(Runtime, GivesValidDataForALocationThatDoesNotExist) {
    Graph graph;
    const Client client = graph.commit(graph.op(kNothing));
    const LocationData data = client->cookLocation("/root");
    EXPECT_TRUE(data.isValid());
    EXPECT_FALSE(data.doesLocationExist());
    EXPECT_FALSE(data.getAttrs().isValid());
    EXPECT_FALSE(data.getPotentialChildren().isValid());
}

TEST(Runtime, NothingExistsForAClientWithoutAnOp) {
    Graph graph;
    const Client client = graph.commit(nullptr);
    EXPECT_TRUE(client->cookLocation("/root").isValid());
    EXPECT_FALSE(Exists(client, "/root"));
    EXPECT_FALSE(client->getCachedLocation("/root").isValid());
    EXPECT_EQ(client->getOp(), nullptr);
    EXPECT_EQ(client->getRuntime(), graph.runtime);
}

TEST(Runtime, NothingExistsForAClientBeforeItsTransactionIsCommitted) {
    Graph graph;
    const Client client = graph.client(graph.op(kSource));
    EXPECT_FALSE(Exists(client, "/root"));
    EXPECT_FALSE(client->getCachedLocation("/root").isValid());
    graph.commit();
    EXPECT_TRUE(Exists(client, "/root"));
}

TEST(Runtime, NothingExistsForAnUncommittedClientOfACommittedOp) {
    Graph first;
    const Op op = first.op(kSource);
    first.commit();
    Graph second(first.runtime);
    const Client client = second.client(op);
    EXPECT_FALSE(Exists(client, "/root"));
    EXPECT_FALSE(client->getCachedLocation("/root").isValid());
    second.commit();
    EXPECT_TRUE(Exists(client, "/root"));
}

TEST(Runtime, AClientCanGetAnotherOpUntilItIsCommitted) {
    Graph graph;
    const Op one = graph.op(kSource, {Value(1)}), two = graph.op(kSource, {Value(2)});
    const Client client = graph.client(one);
    graph.transaction->setClientOp(client, two);
    graph.commit();
    EXPECT_EQ(ValueAt(client, "/root"), 2);
    EXPECT_EQ(client->getOp(), two);
}

TEST(Runtime, LaterTransactionsBuildOnCommittedOps) {
    Graph first;
    const Op source = first.op(kSource, {Value(4)});
    first.commit();
    Graph second(first.runtime);
    const Client client = second.commit(second.op(kSum, {}, {source, source}));
    EXPECT_EQ(ValueAt(client, "/root"), 8);
}

TEST(Runtime, PassesARecordThroughWithoutACopy) {
    Graph graph;
    const Op source = graph.op(kSource, {Value(1)});
    const Client below = graph.client(source);
    const Client above = graph.commit(graph.chain(source, 3));
    EXPECT_EQ(above->cookLocation("/root").getRecord(), below->cookLocation("/root").getRecord());
}

TEST(Runtime, ANullInputPresentsNoLocation) {
    Graph graph;
    const Op source = graph.op(kSource, {Value(3)});
    const Client client = graph.commit(graph.op(kSum, {}, {nullptr, source, nullptr}));
    EXPECT_EQ(ValueAt(client, "/root"), 3);
    EXPECT_EQ(client->getOp()->getInputs(), (std::vector<Op>{nullptr, source, nullptr}));
    Graph other;
    EXPECT_FALSE(Exists(other.commit(other.op(kPass, {}, {nullptr})), "/root"));
}

TEST(Runtime, AnOpCanReadAnyLocationOfItsInputs) {
    static const std::string kFromRoot = Register("TestFromRoot", [](CookContext& context) {
        const std::string above = Text(context.input(0, "/root").getAttrs(), "path");
        const bool beyond = context.input(0, "no path").doesLocationExist() ||
                            context.input(5).doesLocationExist() ||
                            context.input(5, "/root").isValid() == false;
        context.setAttrs(GroupAttribute(
            {{"above", StringAttribute(above)}, {"beyond", IntAttribute(beyond)}}, true));
    });
    Graph graph;
    const Client client = graph.commit(graph.op(kFromRoot, {}, {graph.op(kSource)}));
    const GroupAttribute attrs = client->cookLocation("/root/world/geo").getAttrs();
    EXPECT_EQ(Text(attrs, "above"), "/root");
    EXPECT_EQ(Number(attrs, "beyond"), 0);
}

TEST(Runtime, AnOpWithManyInputsSeesThemAll) {
    Graph graph;
    std::vector<Op> inputs;
    for (int i = 0; i < 10000; ++i)
        inputs.push_back(graph.op(kSource, {Value(i)}));
    EXPECT_EQ(ValueAt(graph.commit(graph.op(kSum, {}, inputs)), "/root"), 49995000);
}

// Children that a walk asks for in order

namespace {

StringAttribute NumberedNames(int count) {
    std::vector<std::string> names;
    for (int i = 0; i < count; ++i)
        names.push_back("child" + std::to_string(i));
    return StringAttribute(names, 1);
}

/// Cooks the paths twice; every time the location must be the one that was asked for.
int CountWrong(const Client& client, const std::vector<std::string>& paths) {
    int wrong = 0;
    for (int pass = 0; pass < 2; ++pass)
        for (const std::string& path : paths)
            wrong += Text(client->cookLocation(path).getAttrs(), "path") != path;
    return wrong;
}

} // namespace

TEST(Children, AreCookedOnceInAnyOrderOfRequests) {
    constexpr int kCount = 1000; // more than are made at once
    Graph graph;
    const Client client = graph.commit(
        graph.op(kSource, {Counted("children in order"), {"children", NumberedNames(kCount)}}));
    client->cookLocation("/root");
    std::vector<std::string> forwards, mixed;
    for (int i = 0; i < kCount; ++i) {
        forwards.push_back("/root/child" + std::to_string(i));
        mixed.push_back("/root/child" + std::to_string(i * 7 % kCount));
        mixed.push_back("/root/another" + std::to_string(i % 10));
    }
    EXPECT_EQ(CountWrong(client, {forwards.begin(), forwards.begin() + 300}), 0);
    EXPECT_EQ(CountWrong(client, mixed), 0);
    EXPECT_EQ(CountWrong(client, forwards), 0);
    EXPECT_EQ(Counter::take("children in order"), 1 + kCount + 10);
}

TEST(Children, CanHaveRepeatedOrEmptyNames) {
    Graph graph;
    const StringAttribute names({"a", "a", "", "b/c", "d", "a", "a longer name than fits inline",
                                 "e", "f", "g", "h", "i", "a longer name than fits inline"},
                                1);
    const Client client =
        graph.commit(graph.op(kSource, {Counted("odd names"), {"children", names}}));
    EXPECT_EQ(CountWrong(client, {"/root", "/root/a", "/root/a", "/root/b/c", "/root/b", "/root/d",
                                  "/root/a longer name than fits inline", "/root/e", "/root/f",
                                  "/root/g", "/root/h", "/root/i"}),
              0);
    EXPECT_EQ(Counter::take("odd names"), 11);
}

TEST(Children, WithASlashInTheirNamesAreNotSeparateLocations) {
    Graph graph;
    const StringAttribute names({"x", "b/c", "d"}, 1);
    const Client client =
        graph.commit(graph.op(kSource, {Counted("names with a slash"), {"children", names}}));
    EXPECT_EQ(CountWrong(client, {"/root", "/root/x", "/root/b/c", "/root/d", "/root/b",
                                  "/root/b/x", "/root/b/b/c", "/root/b/c"}),
              0);
    EXPECT_EQ(Counter::take("names with a slash"), 7);
}

TEST(Children, DoNotExistWithAnEmptyName) {
    Graph graph;
    const StringAttribute names({"x", "", "d"}, 1);
    const Client client = graph.commit(graph.op(kSource, {{"children", names}}));
    EXPECT_TRUE(Exists(client, "/root"));
    EXPECT_TRUE(Exists(client, "/root/x"));
    EXPECT_FALSE(Exists(client, "/root/"));
    EXPECT_TRUE(Exists(client, "/root/d"));
}

TEST(Finalize, DropsResultsAndLeavesTheRuntimeUsable) {
    Graph graph;
    const Client client = graph.commit(graph.op(kSource, {Counted("finalize"), Value(3)}));
    const LocationData data = client->cookLocation("/root");
    graph.runtime->finalize();
    EXPECT_FALSE(client->getCachedLocation("/root").isValid());
    EXPECT_EQ(Number(data.getAttrs(), "value"), 3);
    EXPECT_EQ(ValueAt(client, "/root"), 3);
    EXPECT_TRUE(client->getCachedLocation("/root").isValid());
    EXPECT_EQ(Counter::take("finalize"), 1);
    graph.runtime->finalize();
    TellarRuntime::create()->finalize();
}
