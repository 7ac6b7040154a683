// Many scenes and many edits one after the other: what the process has allocated ends where it was
// after the first tenth, but for what is kept of every scene by contract: a client with its runtime
// and its Ops, a store for the clients of threads, and the description that they were made of.

#include <OxTellarProducers/CreateGeometryProducer.h>

#include <cstddef>
#include <string>

#include <gmock/gmock.h>

#include <OxTellarProducers/ClientFactory.h>

#include "AllocatedBytes.h"
#include "SceneBuilders.h"

namespace {

using namespace TellarTest;
using OxAttribute::GroupAttribute;
using TELLAR::OpTreeSource;
using Producer = TELLAR::GeometryProducer::Ptr;

constexpr std::ptrdiff_t kKeptOfAScene = 8000;
constexpr std::ptrdiff_t kNoise = 100000; // tables and pools that grow in steps

/// A location with so many leaves below it that their results would be noticed.
GroupAttribute Leaves(int count) {
    Children leaves;
    for (int i = 0; i < count; ++i)
        leaves.emplace_back("leaf" + std::to_string(i), Location({{"type", Text("polymesh")}}));
    return Location({}, leaves);
}

/// Two Ops, so that there are results of both. The leaves are one value in all scenes.
GroupAttribute Scene(const GroupAttribute& leaves, int number) {
    return Group({{"scene", OpEntry("StaticScene", Location({}, {{"world", leaves}}))},
                  {"edit", OpEntry("AttributeEdit",
                                   Group({{"paths", Texts({"/root/world/leaf0"})},
                                          {"set", Group({{"edit", Int(number)}})}}),
                                   {"scene"})}});
}

int Walk(const Producer& location) {
    int count = 1;
    for (Producer child = location->getFirstChild(); child; child = child->getNextSibling())
        count += Walk(child);
    return count;
}

/// Bytes by which the process has grown from the first tenth of so many rounds to the last.
template <typename Round>
std::ptrdiff_t GrowthOver(int rounds, Round round) {
    std::size_t after = 0;
    for (int i = 0; i < rounds; ++i) {
        round(i);
        if (i == rounds / 10 - 1) after = AllocatedBytes();
    }
    return static_cast<std::ptrdiff_t>(AllocatedBytes() - after);
}

TEST(MemorySoak, TenThousandScenesLeaveTheirClientsAndDescriptionsAlone) {
    constexpr int kScenes = 10000;
    const GroupAttribute leaves = Leaves(100);
    const std::ptrdiff_t growth = GrowthOver(kScenes, [&leaves](int i) {
        const Producer root = TELLAR::CreateThreadAwareGeometryProducer(Scene(leaves, i), "/root");
        ASSERT_EQ(Walk(root), 102);
    });
    EXPECT_LT(growth / (kScenes * 9 / 10), kKeptOfAScene);
}

TEST(MemorySoak, ScenesOpenedAgainAndAgainLeaveNothing) {
    const GroupAttribute leaves = Leaves(100);
    const std::ptrdiff_t growth = GrowthOver(10000, [&leaves](int i) {
        const GroupAttribute scene = Scene(leaves, -1 - i % 100);
        if (i % 2 == 0) {
            Walk(TELLAR::CreateThreadAwareGeometryProducer(scene, "/root"));
            return;
        }
        const auto client =
            TELLAR::ClientCreateWithOpTree(OpTreeSource::createFromGroupAttribute(scene));
        Walk(TELLAR::CreateSyncGeometryProducer(client, "/root"));
        TELLAR::ClientInvalidate(client);
    });
    EXPECT_LT(growth, kNoise);
}

TEST(MemorySoak, AThousandEditsOfASceneLeaveTheirClientsAndDescriptionsAlone) {
    constexpr int kEdits = 1000;
    const GroupAttribute leaves = Leaves(1000);
    Producer shown; // kept until the next one is there, as in an editor
    const std::ptrdiff_t growth = GrowthOver(kEdits, [&](int i) {
        const Producer edited =
            TELLAR::CreateThreadAwareGeometryProducer(Scene(leaves, i), "/root");
        ASSERT_EQ(Walk(edited), 1002);
        ASSERT_EQ(IntOf(edited->getProducerByPath("/root/world/leaf0")->getAttribute("edit")), i);
        shown = edited;
    });
    EXPECT_LT(growth, kEdits * 9 / 10 * kKeptOfAScene + kNoise);
}

} // namespace
