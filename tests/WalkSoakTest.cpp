// Sixty-four threads in one process for some seconds: most walk a scene, some evict its locations,
// and some open edited versions of it, whose Ops share its results. Every value read must be right,
// and everybody must come to the end.

#include <OxTellarProducers/CreateGeometryProducer.h>

#include <array>
#include <atomic>
#include <chrono>
#include <random>
#include <string>

#include <gmock/gmock.h>

#include <OxTellarProducers/ClientFactory.h>

#include "RunTogether.h"
#include "Sanitized.h"
#include "SceneBuilders.h"

namespace {

using namespace TellarTest;
using OxAttribute::GroupAttribute;
using TELLAR::OpTreeSource;
using Clock = std::chrono::steady_clock;
using Producer = TELLAR::GeometryProducer::Ptr;
using testing::Each;
using testing::Gt;

constexpr int kThreads = 64;
constexpr int kGroups = 8;
constexpr int kLeaves = 16;
constexpr int kEdits = 20;
constexpr std::chrono::seconds kDuration{TellarTest::kSanitized ? 5 : 10};

/// Leaves that know their numbers, below an Op that writes the number of the edit to /root.
GroupAttribute EditedScene(int edit) {
    Children groups;
    for (int group = 0; group < kGroups; ++group) {
        Children leaves;
        for (int leaf = 0; leaf < kLeaves; ++leaf)
            leaves.emplace_back("leaf" + std::to_string(leaf),
                                Location({{"number", Int(group * kLeaves + leaf)}}));
        groups.emplace_back("group" + std::to_string(group), Location({}, leaves));
    }
    return Group({{"scene", OpEntry("StaticScene", Location({}, groups))},
                  {"edit", OpEntry("AttributeEdit",
                                   Group({{"paths", Texts({"/root"})},
                                          {"set", Group({{"edit", Int(edit)}})}}),
                                   {"scene"})}});
}

/// Returns how many of the leaves have the right number.
int Walk(const Producer& root, bool evict = false) {
    int next = 0;
    for (Producer group = root->getFirstChild(evict); group; group = group->getNextSibling(evict))
        for (Producer leaf = group->getFirstChild(evict); leaf; leaf = leaf->getNextSibling(evict))
            if (IntOf(leaf->getAttribute("number")) == next) ++next;
    return next;
}

class Soak {
public:
    void run() {
        RunTogether(kThreads, [this](int number) {
            std::mt19937 random(static_cast<unsigned>(number));
            while (Clock::now() < end) {
                if (number % 4 == 0)
                    openAnEdit(static_cast<int>(random() % kEdits), number);
                else if (number % 4 == 1)
                    evictAt(random);
                else
                    wrong += Walk(root) != kGroups * kLeaves;
                ++rounds[static_cast<std::size_t>(number)];
            }
        });
    }

    std::atomic<int> wrong{0};
    std::array<int, kThreads> rounds{};

private:
    void evictAt(std::mt19937& random) {
        if (random() % 8 == 0) {
            wrong += Walk(root, true) != kGroups * kLeaves;
            return;
        }
        const int group = static_cast<int>(random() % kGroups);
        const int leaf = static_cast<int>(random() % kLeaves);
        const auto at = root->getProducerByPath(
            "/root/group" + std::to_string(group) + "/leaf" + std::to_string(leaf), true);
        wrong += !at || IntOf(at->getAttribute("number")) != group * kLeaves + leaf;
    }

    /// Half of the editors open it for all threads, the others with a client of their own, which
    /// they give back. One of them frees what is unused in between.
    void openAnEdit(int edit, int number) {
        const GroupAttribute scene = EditedScene(edit);
        Producer edited;
        std::shared_ptr<TellarRuntime::Client> client;
        if (number % 8 == 0) {
            edited = TELLAR::CreateThreadAwareGeometryProducer(scene, "/root");
        } else {
            client = TELLAR::ClientCreateWithOpTree(OpTreeSource::createFromGroupAttribute(scene));
            edited = TELLAR::CreateSyncGeometryProducer(client, "/root");
        }
        wrong += !edited || IntOf(edited->getAttribute("edit")) != edit;
        wrong += Walk(edited) != kGroups * kLeaves;
        if (client) TELLAR::ClientInvalidate(client);
        if (number == 0) TELLAR::ClientFreeUnusedResults();
    }

    const Producer root = TELLAR::CreateThreadAwareGeometryProducer(EditedScene(-1), "/root");
    const Clock::time_point end = Clock::now() + kDuration;
};

TEST(WalkSoak, SixtyFourThreadsThatWalkEvictAndCommitReadTheRightValues) {
    Soak soak;
    soak.run();
    EXPECT_EQ(soak.wrong, 0);
    EXPECT_THAT(soak.rounds, Each(Gt(0))) << "everybody has come round";
}

} // namespace
