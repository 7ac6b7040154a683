#include <OxTellarProducers/CreateGeometryProducer.h>

#include <atomic>
#include <map>
#include <string>
#include <utility>

#include <gmock/gmock.h>

#include <OxTellarSDK/MemoryBudget.h>

#include "ProducerHelpers.h"
#include "RunTogether.h"
#include "SceneBuilders.h"

// What producers give when locations were dropped because memory is short.

namespace {

using namespace TellarTest;
using OxAttribute::GroupAttribute;
using TELLAR::CreateAsyncGeometryProducer;
using TELLAR::CreateSyncGeometryProducer;
using TELLAR::CreateThreadAwareGeometryProducer;
using TELLAR::GeometryProducer;

using Client = std::shared_ptr<TellarRuntime::Client>;
using Ptr = GeometryProducer::Ptr;
using Hashes = std::map<std::string, std::string>;

constexpr std::uint64_t kLimit = OxTellarMemory::kSmallestMemoryLimit;

// Long names make a scene large that has few locations, which threads walk quickly.
const std::string kLongName(150, 'n');

/// /root/world with groups of leaves, each of which has a matrix of its own, made by an op.
GroupAttribute Forest(int groups, int leaves, const std::string& names = "") {
    Children groupEntries;
    for (int group = 0; group < groups; ++group) {
        Children leafEntries;
        for (int leaf = 0; leaf < leaves; ++leaf)
            leafEntries.emplace_back("leaf" + std::to_string(leaf) + names,
                                     Location({{"n", Int(group * leaves + leaf)}}));
        groupEntries.emplace_back("group" + std::to_string(group), Location({}, leafEntries));
    }
    const GroupAttribute world = Location({{"tag", Text(UniqueTag())}}, groupEntries);
    const GroupAttribute move =
        Group({{"paths", Text("/root/world/*/*")}, {"translate", Doubles({1, 2, 3})}});
    return Group({{"forest", OpEntry("StaticScene", Location({}, {{"world", world}}))},
                  {"moved", OpEntry("Transform", move, {"forest"})}});
}

void AddHashes(const Ptr& location, Hashes& hashes) {
    hashes[location->getFullName()] = location->getHash();
    for (Ptr child = location->getFirstChild(false); child; child = child->getNextSibling(false))
        AddHashes(child, hashes);
}

Hashes HashesBelow(const Ptr& location) {
    Hashes hashes;
    AddHashes(location, hashes);
    return hashes;
}

std::uint64_t BytesOfResults() {
    for (const auto& cache : OxTellarMemory::GetMemoryStatistics().caches)
        if (cache.name == "results") return cache.bytes;
    return 0;
}

class DroppedLocations : public testing::Test {
protected:
    ~DroppedLocations() override {
        OxTellarMemory::SetMemoryLimit(OxTellarMemory::GetDefaultMemoryLimit());
    }

    /// Drops what nobody holds: a scene of several times the limit is walked.
    static void dropOthers() {
        OxTellarMemory::SetMemoryLimit(kLimit);
        const Client other = MakeClient(Forest(40, 100));
        HashesBelow(CreateSyncGeometryProducer(other, "/root"));
    }
};

TEST_F(DroppedLocations, AreMadeAgainWithTheSameHash) {
    const Client client = MakeClient(Forest(8, 40));
    const Hashes before = HashesBelow(CreateSyncGeometryProducer(client, "/root"));
    dropOthers();
    EXPECT_EQ(HashesBelow(CreateSyncGeometryProducer(client, "/root")), before);
}

TEST_F(DroppedLocations, DoNotExistForAsyncProducersUntilTheyAreCookedAgain) {
    const Client client = MakeClient(Forest(2, 3));
    const std::string path = "/root/world/group1/leaf2";
    const Hashes before = HashesBelow(CreateSyncGeometryProducer(client, "/root"));
    EXPECT_EQ(NameOf(CreateAsyncGeometryProducer(client, path)), path);
    dropOthers();
    EXPECT_EQ(NameOf(CreateAsyncGeometryProducer(client, path)), "nothing");
    for (const char* ancestor : {"/root", "/root/world", "/root/world/group1"})
        client->cookLocation(ancestor);
    EXPECT_EQ(NameOf(CreateAsyncGeometryProducer(client, path)), "nothing");
    client->cookLocation(path);
    const Ptr again = CreateAsyncGeometryProducer(client, path);
    ASSERT_EQ(NameOf(again), path);
    EXPECT_EQ(again->getHash(), before.at(path));
}

TEST_F(DroppedLocations, LeaveProducersThatWereMadeBefore) {
    const Client client = MakeClient(Forest(2, 3));
    HashesBelow(CreateSyncGeometryProducer(client, "/root"));
    const Ptr sync = CreateSyncGeometryProducer(client, "/root/world/group1");
    const Ptr async = CreateAsyncGeometryProducer(client, "/root/world/group1");
    const std::string hash = sync->getHash();
    dropOthers();
    EXPECT_EQ(sync->getHash(), hash);
    EXPECT_EQ(async->getHash(), hash);
    EXPECT_THAT(WalkChildren(async), testing::IsEmpty());
    EXPECT_THAT(WalkChildren(sync), testing::SizeIs(3)); // cooks them again
}

TEST_F(DroppedLocations, AreTheSameForThreadsThatWalkATenfoldOfTheLimit) {
    const GroupAttribute forest = Forest(90, 200, kLongName);
    const Client client = MakeClient(forest);
    OxTellarMemory::SetMemoryLimit(OxTellarMemory::kUnlimitedMemory);
    const Hashes expected = HashesBelow(CreateSyncGeometryProducer(client, "/root"));
    ASSERT_GE(BytesOfResults(), 10 * kLimit) << "the scene is too small for this test";
    OxTellarMemory::SetMemoryLimit(kLimit);
    std::atomic<int> wrong{0};
    RunTogether(8, [&](int number) {
        const Ptr root = number % 2 == 0 ? CreateSyncGeometryProducer(client, "/root")
                                         : CreateThreadAwareGeometryProducer(forest, "/root");
        wrong += HashesBelow(root) != expected;
    });
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(OxTellarMemory::GetMemoryStatistics().beyondLimit, 0u);
}

} // namespace
