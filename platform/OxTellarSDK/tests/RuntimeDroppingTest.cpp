#include <OxTellarSDK/TellarRuntime.h>

#include <atomic>
#include <random>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include <OxTellarSDK/MemoryBudget.h>

#include "RunTogether.h"
#include "Sanitized.h"
#include "TestOps.h"

// Results that are dropped because memory is short.

using namespace OxAttribute;
using namespace TestOps;

namespace {

constexpr std::uint64_t kLimit = OxTellarMemory::kSmallestMemoryLimit;

/// Another limit while it lives.
class Limited {
public:
    explicit Limited(std::uint64_t bytes = kLimit) { OxTellarMemory::SetMemoryLimit(bytes); }
    ~Limited() { OxTellarMemory::SetMemoryLimit(OxTellarMemory::kUnlimitedMemory); }
    Limited(const Limited&) = delete;
    Limited& operator=(const Limited&) = delete;
};

OxTellarMemory::CacheStatistics ResultStatistics() {
    for (const auto& cache : OxTellarMemory::GetMemoryStatistics().caches)
        if (cache.name == "results") return cache;
    return {};
}

std::vector<std::string> NamesOf(int count, const std::string& prefix = "c") {
    std::vector<std::string> names;
    for (int i = 0; i < count; ++i)
        names.push_back(prefix + std::to_string(i));
    return names;
}

GroupAttribute::Child Children(const std::vector<std::string>& names) {
    return {"children", StringAttribute(names, 1)};
}

std::string PathOf(const LocationData& data) {
    return Text(data.getAttrs(), "path");
}

/// As a producer does: by index, or by path when the parent was dropped.
LocationData Child(const Client& client, const LocationData& parent, const std::string& path,
                   std::int64_t index) {
    LocationData data = client->cookChild(parent, index);
    if (data.isValid()) return data;
    return client->cookLocation(path + "/" +
                                std::string(parent.getPotentialChildren().getValueView(index)));
}

/// Counts the locations that are not what they should be.
int WrongBelow(const Client& client, const LocationData& parent, const std::string& path,
               int levels) {
    int wrong = PathOf(parent) != path;
    if (levels == 0) return wrong;
    const StringAttribute names = parent.getPotentialChildren();
    for (std::int64_t i = 0; i < names.getNumberOfValues(); ++i)
        wrong += WrongBelow(client, Child(client, parent, path, i),
                            path + "/" + std::string(names.getValueView(i)), levels - 1);
    return wrong;
}

/// Drops all results that nobody holds, by cooking others.
void DropAll() {
    Graph graph;
    const Client client = graph.commit(
        graph.op(kSource, {Children(NamesOf(20)), {"purpose", StringAttribute("fill")}}));
    EXPECT_EQ(WrongBelow(client, client->cookLocation("/root"), "/root", 3), 0);
}

} // namespace

TEST(Dropping, KeepsAWalkOfAFlatListBelowTheLimit) {
    constexpr int kCount = TellarTest::kSanitized ? 10000 : 100000;
    const Limited limited;
    Graph graph;
    const Client client = graph.commit(
        graph.chain(graph.op(kSource, {Children(NamesOf(kCount)), Counted("flat")}), 1));
    const LocationData root = client->cookLocation("/root");
    const std::uint64_t heldBytes = OxTellarMemory::GetMemoryStatistics().bytes;
    OxTellarMemory::ResetMemoryStatistics();
    std::vector<Hash> hashes;
    for (int i = 0; i < kCount; ++i)
        hashes.push_back(Child(client, root, "/root", i).getHash());
    EXPECT_LT(OxTellarMemory::GetMemoryStatistics().peak, heldBytes + kLimit * 5 / 4);
    EXPECT_GT(ResultStatistics().drops, static_cast<std::uint64_t>(kCount / 2));
    int wrong = 0;
    for (int i = 0; i < kCount; ++i)
        wrong += Child(client, root, "/root", i).getHash() != hashes[static_cast<std::size_t>(i)];
    EXPECT_EQ(wrong, 0);
    EXPECT_GT(Counter::take("flat"), kCount * 3 / 2);
}

TEST(Dropping, DropsNothingBelowTheLimit) {
    Graph graph;
    const Client client = graph.commit(graph.op(kSource, {Children(NamesOf(20)), Counted("kept")}));
    for (int walk = 0; walk < 2; ++walk)
        EXPECT_EQ(WrongBelow(client, client->cookLocation("/root"), "/root", 3), 0);
    EXPECT_EQ(Counter::take("kept"), 1 + 20 + 400 + 8000);
}

TEST(Dropping, LeavesWhatIsHeldAsItIs) {
    Graph graph;
    const Client client = graph.commit(graph.op(kSource, {Children(NamesOf(40)), Counted("held")}));
    const LocationData root = client->cookLocation("/root");
    std::vector<LocationData> held;
    for (int i = 0; i < 40; ++i)
        held.push_back(client->cookChild(root, i));
    const Hash hash = held[7].getHash();
    {
        const Limited limited;
        DropAll();
    }
    for (int i = 0; i < 40; ++i)
        EXPECT_EQ(PathOf(held[static_cast<std::size_t>(i)]), "/root/c" + std::to_string(i));
    EXPECT_EQ(held[7].getHash(), hash);
    EXPECT_EQ(client->cookLocation("/root/c7").getHash(), hash);
    EXPECT_EQ(Counter::take("held"), 42);
}

TEST(Dropping, MakesHandlesInvalidUntilTheLocationIsAskedForByItsPath) {
    Graph graph;
    const Client client = graph.commit(graph.op(kSource, {Children(NamesOf(3)), Counted("stale")}));
    const LocationData root = client->cookLocation("/root");
    {
        const Limited limited;
        DropAll();
    }
    EXPECT_FALSE(client->cookChild(root, 0).isValid());
    EXPECT_FALSE(client->getCachedChild(root, 0).isValid());
    const LocationData again = client->cookLocation("/root");
    EXPECT_FALSE(client->cookChild(root, 0).isValid()); // the same memory, but not the same node
    EXPECT_EQ(PathOf(client->cookChild(again, 2)), "/root/c2");
    EXPECT_EQ(Counter::take("stale"), 3);
}

TEST(Dropping, TellsThatDroppedLocationsAreNotCached) {
    Graph graph;
    const Client client = graph.commit(graph.op(kSource, {Children(NamesOf(3))}));
    client->cookLocation("/root/c1");
    EXPECT_TRUE(client->getCachedLocation("/root/c1").isValid());
    {
        const Limited limited;
        DropAll();
    }
    EXPECT_FALSE(client->getCachedLocation("/root/c1").isValid());
    const LocationData root = client->cookLocation("/root");
    client->cookChild(root, 0); // makes nodes of its siblings, with numbers that were used before
    for (int i = 1; i < 3; ++i)
        EXPECT_FALSE(client->getCachedChild(root, i).isValid()) << i;
    client->cookLocation("/root/c1");
    EXPECT_TRUE(client->getCachedLocation("/root/c1").isValid());
}

TEST(Dropping, LosesNoEviction) {
    static std::atomic<int> outside{0};
    static const std::string kOutside = Register("TestOutsideOfDropping", [](CookContext& context) {
        context.setAttrs(GroupAttribute({{"value", IntAttribute(outside.load())}}, true));
    });
    Graph graph;
    const Op source = graph.op(kOutside, {Counted("outside")});
    const Client client = graph.commit(graph.chain(source, 1));
    outside = 1;
    EXPECT_EQ(Number(client->cookLocation("/root").getAttrs(), "value"), 1);
    {
        const Limited limited;
        DropAll();
    }
    Graph other; // has the result of the source again, which the chain will ask
    const Client onSource = other.commit(other.op(kOutside, {Counted("outside")}));
    EXPECT_EQ(Number(onSource->cookLocation("/root").getAttrs(), "value"), 1);
    outside = 2;
    graph.runtime->evict("/root");
    EXPECT_EQ(Number(client->cookLocation("/root").getAttrs(), "value"), 2);
    EXPECT_EQ(Counter::take("outside"), 3);
}

TEST(Dropping, CountsNothingAfterTheLastUserIsGone) {
    { // What this test and its helpers keep for good.
        Graph graph;
        graph.commit(graph.op(kSource))->cookLocation("/root");
    }
    const OxTellarMemory::CacheStatistics before = ResultStatistics();
    {
        Graph graph;
        const Client client = graph.commit(
            graph.op(kSource, {Children(NamesOf(20, "a name that is too long for its node ")),
                               Counted("gone")}));
        EXPECT_EQ(WrongBelow(client, client->cookLocation("/root"), "/root", 2), 0);
        client->cookLocation("/root/stray/one");
        const OxTellarMemory::CacheStatistics during = ResultStatistics();
        EXPECT_EQ(during.entries, before.entries + 422);
        EXPECT_GT(during.bytes, before.bytes + 422 * 96);
    }
    EXPECT_EQ(ResultStatistics().entries, before.entries);
    EXPECT_EQ(ResultStatistics().bytes, before.bytes);
    EXPECT_EQ(Counter::take("gone"), 422);
}

TEST(Dropping, WorksBesideThreadsThatWalkATenfoldOfTheLimit) {
    constexpr int kWidth = TellarTest::kSanitized ? 27 : 34;
    Graph graph;
    const Client client = graph.commit(
        graph.chain(graph.op(kSource, {Children(NamesOf(kWidth, "a long name of a child number ")),
                                       Counted("many")}),
                    1));
    ASSERT_EQ(WrongBelow(client, client->cookLocation("/root"), "/root", 3), 0);
    ASSERT_GE(ResultStatistics().bytes, 10 * kLimit) << "the scene is too small for this test";
    const Limited limited;
    OxTellarMemory::ResetMemoryStatistics();
    std::atomic<int> wrong{0};
    RunTogether(8, [&](int number) {
        const LocationData root = client->cookLocation("/root");
        for (int i = 0; i < kWidth; ++i) {
            const int index = (i + number * 5) % kWidth;
            const std::string path =
                "/root/" + std::string(root.getPotentialChildren().getValueView(index));
            wrong += WrongBelow(client, Child(client, root, "/root", index), path, 2);
        }
    });
    EXPECT_EQ(wrong, 0);
    EXPECT_GT(ResultStatistics().drops, static_cast<std::uint64_t>(kWidth * kWidth * kWidth / 2));
}

TEST(Dropping, WorksBesideEvictionsAndLooksAtTheCache) {
    constexpr int kSteps = TellarTest::kSanitized ? 3000 : 30000;
    const Limited limited;
    Graph graph;
    const Client client = graph.commit(
        graph.chain(graph.op(kSource, {Children(NamesOf(70)), Counted("evicted beside")}), 1));
    std::atomic<int> wrong{0};
    RunTogether(6, [&](int number) {
        std::mt19937 random(static_cast<unsigned>(number));
        for (int i = 0; i < kSteps; ++i) {
            std::string path = "/root";
            for (unsigned level = random() % 4; level > 0; --level)
                path += "/c" + std::to_string(random() % 70);
            if (number == 0 && i % 20 == 0) graph.runtime->evict(path);
            const LocationData known = client->getCachedLocation(path);
            wrong += known.isValid() && PathOf(known) != path;
            wrong += PathOf(client->cookLocation(path)) != path;
        }
    });
    EXPECT_EQ(wrong, 0);
}

TEST(Dropping, WorksBesideScenesThatComeAndGo) {
    constexpr int kScenes = TellarTest::kSanitized ? 10 : 40;
    const Limited limited;
    std::atomic<int> wrong{0};
    RunTogether(4, [&](int number) {
        for (int scene = 0; scene < kScenes; ++scene) {
            Graph graph;
            const Client client = graph.commit(
                graph.chain(graph.op(kSource, {Children(NamesOf(12)),
                                               {"scene", IntAttribute(number % 2 * 1000 + scene)}}),
                            1));
            wrong += WrongBelow(client, client->cookLocation("/root"), "/root", 3);
        }
    });
    EXPECT_EQ(wrong, 0);
}

TEST(Dropping, FollowsAChainOfManyLevels) {
    const Limited limited;
    Graph graph;
    const Client client = graph.commit(graph.op(kSource, {Children({"c"}), Counted("deep")}));
    std::string path = "/root";
    LocationData data = client->cookLocation(path);
    for (int i = 0; i < 1500; ++i) {
        data = Child(client, data, path, 0);
        path += "/c";
        ASSERT_EQ(PathOf(data), path);
    }
    DropAll();
    EXPECT_EQ(PathOf(client->cookLocation(path)), path);
}
