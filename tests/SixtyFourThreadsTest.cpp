#include <OxTellarProducers/CreateGeometryProducer.h>

#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <xxhash.h>

#include <OxTellarSDK/AttributeStream.h>
#include <OxTellarSDK/TellarRuntime.h>

#include "RunTogether.h"
#include "Sanitized.h"
#include "SceneBuilders.h"
#include "TempDirectory.h"

// One scene for as many threads as a large machine has: more than the cores of any machine that
// runs this test, so that threads stop anywhere.

namespace {

using namespace TellarTest;
using TELLAR::GeometryProducer;
using Ptr = GeometryProducer::Ptr;

constexpr std::size_t kThreads = 64;
constexpr int kGroups = kSanitized ? 10 : 100;
constexpr int kLeaves = kSanitized ? 40 : 100;
constexpr std::uint64_t kLocations = kGroups * (1 + kLeaves); // below /root

/// /root has the tag; everything below it is the same for all tags.
OxAttribute::GroupAttribute Scene(const std::string& tag) {
    Children groups;
    for (int group = 0; group < kGroups; ++group) {
        Children leaves;
        for (int leaf = 0; leaf < kLeaves; ++leaf)
            leaves.emplace_back(
                "leaf" + std::to_string(leaf),
                Location({{"n", Int(group * kLeaves + leaf)}, {"type", Text("leaf")}}));
        groups.emplace_back("group" + std::to_string(group), Location({{"n", Int(group)}}, leaves));
    }
    return Location({{"tag", Text(tag)}}, groups);
}

struct Walked {
    std::uint64_t locations = 0;
    std::uint64_t sum = 0; // of the hashes of paths, contents and values, in any order

    bool operator==(const Walked& other) const {
        return locations == other.locations && sum == other.sum;
    }
};

std::uint64_t HashOf(const std::string& text) {
    return XXH3_64bits(text.data(), text.size());
}

/// The location and all below it.
void Walk(const Ptr& location, Walked& walked) {
    ++walked.locations;
    walked.sum += HashOf(location->getFullName() + location->getHash() + location->getType()) *
                  static_cast<std::uint64_t>(1 + IntOf(location->getAttribute("n")));
    for (Ptr child = location->getFirstChild(); child; child = child->getNextSibling())
        Walk(child, walked);
}

/// Everything below /root.
Walked WalkBelow(const Ptr& root) {
    Walked walked;
    for (Ptr child = root->getFirstChild(); child; child = child->getNextSibling())
        Walk(child, walked);
    return walked;
}

TEST(SixtyFourThreads, WalkOneSceneThatNobodyHasCooked) {
    const TempDirectory folder;
    const std::string file = folder.path("scene.oxop");
    OxAttribute::WriteOpFile(file, SceneTree(Scene(UniqueTag())));
    const Ptr root = TELLAR::CreateThreadAwareGeometryProducer(file, "/root");
    ASSERT_TRUE(root);
    const std::uint64_t cooks = TellarRuntime::getNumberOfCooks();
    std::vector<Walked> first(kThreads);
    std::vector<Walked> second(kThreads);
    RunTogether(static_cast<int>(kThreads), [&](int thread) {
        const auto number = static_cast<std::size_t>(thread);
        first[number] = WalkBelow(root);
        second[number] = WalkBelow(root);
    });
    EXPECT_EQ(TellarRuntime::getNumberOfCooks() - cooks, kLocations);
    // With another tag nothing is shared, so one thread cooks the same locations anew.
    const Walked expected = WalkBelow(
        TELLAR::CreateSyncGeometryProducer(MakeClient(SceneTree(Scene(UniqueTag()))), "/root"));
    EXPECT_EQ(expected.locations, kLocations);
    for (std::size_t thread = 0; thread < kThreads; ++thread) {
        EXPECT_TRUE(first[thread] == expected) << thread;
        EXPECT_TRUE(second[thread] == expected) << thread;
    }
}

} // namespace
