#include <OxTellarSDK/TellarRuntime.h>

#include <cstdint>
#include <deque>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "TestOps.h"

// Children that are cooked from their parent's data, without a path.

using namespace OxAttribute;
using namespace TestOps;

namespace {

GroupAttribute::Child Children(const std::vector<std::string>& names) {
    return {"children", StringAttribute(names, 1)};
}

std::string PathOf(const LocationData& data) {
    return Text(data.getAttrs(), "path");
}

std::string PathOfChild(const Client& client, const LocationData& parent, std::int64_t index) {
    return PathOf(client->cookChild(parent, index));
}

} // namespace

TEST(CookChild, CooksTheLocationThatTheParentsDataNames) {
    Graph graph;
    const Client client = graph.commit(graph.chain(
        graph.op(kSource, {Children({"a", "b"}), {"counter", StringAttribute("by index")}}), 2));
    const LocationData root = client->cookLocation("/root");
    const LocationData b = client->cookChild(root, 1);
    EXPECT_EQ(PathOf(b), "/root/b");
    EXPECT_EQ(PathOfChild(client, b, 0), "/root/b/a");
    EXPECT_EQ(PathOf(client->cookLocation("/root/b")), "/root/b");
    EXPECT_TRUE(client->getCachedLocation("/root/b/a").isValid());
    EXPECT_EQ(Counter::take("by index"), 3);
}

TEST(CookChild, FindsChildrenThatWereAskedForInAnotherOrder) {
    constexpr int kCount = 1000;
    std::vector<std::string> names;
    for (int i = 0; i < kCount; ++i)
        names.push_back("child with a long name " + std::to_string(i));
    Graph graph;
    const Client client = graph.commit(
        graph.op(kSource, {Children(names), {"counter", StringAttribute("any order")}}));
    const LocationData root = client->cookLocation("/root");
    client->cookLocation("/root/" + names[500]);
    for (int i = 0; i < kCount; ++i)
        ASSERT_EQ(PathOfChild(client, root, i * 7 % kCount), "/root/" + names[i * 7 % kCount]);
    for (int i = 0; i < kCount; ++i)
        ASSERT_EQ(PathOfChild(client, root, i), "/root/" + names[i]);
    EXPECT_EQ(Counter::take("any order"), 1 + kCount);
}

TEST(CookChild, FindsPotentialChildrenAndOthersInListsOfAnyLength) {
    for (const int count : {7, 9, 96, 97, 127, 128, 129, 160, 16384, 32769}) {
        SCOPED_TRACE(count);
        std::vector<std::string> names;
        for (int i = 0; i < count; ++i)
            names.push_back("child" + std::to_string(i));
        Graph graph;
        const Client client = graph.commit(
            graph.op(kSource, {Children(names), {"counter", StringAttribute("any length")}}));
        const LocationData root = client->cookLocation("/root");
        const auto other = [](int i) { return "/root/other" + std::to_string(i); };
        // Every fourth block, others among them, and then all from the last one on.
        for (int i = 0; i < count; i += 128)
            ASSERT_EQ(PathOfChild(client, root, i), "/root/" + names[i]);
        for (int i = 0; i < 150; ++i)
            ASSERT_EQ(PathOf(client->cookLocation(other(i))), other(i));
        for (int i = count; i-- > 0;)
            ASSERT_EQ(PathOf(client->cookLocation("/root/" + names[i])), "/root/" + names[i]);
        for (int i = 150; i-- > 0;)
            ASSERT_EQ(PathOf(client->cookLocation(other(i))), other(i));
        EXPECT_EQ(Counter::take("any length"), 1 + count + 150);
    }
}

TEST(CookChild, TellsTheOpThePathWhereverTheLastOneWas) {
    const std::vector<std::string> names{"a", "bb", "ccc"};
    Graph graph;
    const Client client = graph.commit(graph.op(kSource, {Children(names)}));
    std::deque<LocationData> known{client->cookLocation("/root")};
    const auto cook = [&](const LocationData& parent, std::size_t index) -> LocationData {
        known.push_back(client->cookChild(parent, static_cast<std::int64_t>(index)));
        EXPECT_EQ(PathOf(known.back()), PathOf(parent) + '/' + names[index]);
        return known.back();
    };
    // Down and up again, by up to six levels at once.
    const std::function<void(const LocationData&, int)> walk = [&](const LocationData& parent,
                                                                   int levels) {
        for (std::size_t index = 0; levels > 0 && index < names.size(); ++index)
            walk(cook(parent, index), levels - 1);
    };
    walk(known.front(), 6);
    std::mt19937 random(1);
    for (int jump = 0; jump < 1000; ++jump)
        cook(known[random() % known.size()], random() % names.size());
}

TEST(CookChild, CooksAnewWhatWasEvicted) {
    Graph graph;
    const Client client = graph.commit(graph.chain(
        graph.op(kSource, {Children({"a"}), {"counter", StringAttribute("child evicted")}}), 1));
    const LocationData root = client->cookLocation("/root");
    client->cookChild(root, 0);
    graph.runtime->evict("/root/a");
    EXPECT_FALSE(client->getCachedChild(root, 0).isValid());
    EXPECT_EQ(PathOfChild(client, root, 0), "/root/a");
    EXPECT_TRUE(client->getCachedChild(root, 0).isValid());
    EXPECT_EQ(Counter::take("child evicted"), 3);
}

TEST(CookChild, GivesNothingForANameThatIsNoLevelOfAPath) {
    Graph graph;
    const Client client = graph.commit(graph.op(kSource, {Children({"", "b/c", "d"})}));
    const LocationData root = client->cookLocation("/root");
    for (const std::int64_t index : {0, 1, 3, -1}) {
        EXPECT_FALSE(client->cookChild(root, index).isValid()) << index;
        EXPECT_FALSE(client->getCachedChild(root, index).isValid()) << index;
    }
    EXPECT_EQ(PathOfChild(client, root, 2), "/root/d");
    EXPECT_FALSE(client->cookChild(root, 1).isValid());
}

TEST(CookChild, GivesNothingForDataOfAnotherOrigin) {
    Graph graph, other;
    const Client client = graph.commit(graph.op(kSource, {Children({"a"})}));
    const Client stranger =
        other.commit(other.op(kSource, {Children({"a"}), {"value", IntAttribute(1)}}));
    const LocationData made(
        GroupAttribute({{"pc", StringAttribute(std::vector<std::string>{"a"}, 1)}}, true));
    for (const LocationData& parent : {LocationData(), made, stranger->cookLocation("/root")}) {
        EXPECT_FALSE(client->cookChild(parent, 0).isValid());
        EXPECT_FALSE(client->getCachedChild(parent, 0).isValid());
    }
}

TEST(CookChild, TakesDataFromAClientOfAnEqualOp) {
    Graph graph, equal;
    const std::vector<GroupAttribute::Child> args = {Children({"a"}), {"value", IntAttribute(2)}};
    const Client client = graph.commit(graph.op(kSource, args));
    const Client other = equal.commit(equal.op(kSource, args));
    const LocationData root = client->cookLocation("/root");
    EXPECT_FALSE(other->getCachedChild(root, 0).isValid());
    EXPECT_EQ(PathOfChild(other, root, 0), "/root/a");
    EXPECT_FALSE(client->getCachedChild(root, 0).isValid());
}

TEST(CookChild, GivesNothingForDataFromBeforeTheResultsWereTaken) {
    Graph graph;
    const Client client = graph.commit(graph.op(kSource, {Children({"a"})}));
    const LocationData root = client->cookLocation("/root");
    client->takeResults();
    EXPECT_FALSE(client->cookChild(root, 0).isValid());
    EXPECT_FALSE(client->getCachedChild(root, 0).isValid());
    const LocationData again = client->cookLocation("/root");
    EXPECT_FALSE(client->cookChild(root, 0).isValid());
    EXPECT_EQ(PathOfChild(client, again, 0), "/root/a");
}

TEST(CookChild, LetsTheErrorOfAnOpThrough) {
    Graph graph;
    const auto fail = Register("TestFailBelowRoot", [](CookContext& context) {
        if (context.path() != "/root") throw std::runtime_error("It fails on purpose.");
        context.pass(context.input(0));
    });
    const Client client =
        graph.commit(graph.op(fail, {}, {graph.op(kSource, {Children({"a"})})}, "failing"));
    const LocationData root = client->cookLocation("/root");
    for (int round = 0; round < 2; ++round) {
        try {
            client->cookChild(root, 0);
            ADD_FAILURE() << "it did not fail";
        } catch (const std::runtime_error& error) {
            EXPECT_STREQ(error.what(), "Op \"failing\" (TestFailBelowRoot) at \"/root/a\": "
                                       "It fails on purpose.");
        }
    }
}
