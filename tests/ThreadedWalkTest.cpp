#include <OxTellarProducers/CreateGeometryProducer.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include <gmock/gmock.h>

#include "RunTogether.h"
#include "Sanitized.h"
#include "SceneBuilders.h"
#include "ScopedRuntimeFactory.h"
#include "TestOps.h"

// Many threads in one thread-aware tree.

namespace {

using namespace TellarTest;
using OxAttribute::GroupAttribute;
using TELLAR::CreateAsyncGeometryProducer;
using TELLAR::CreateThreadAwareGeometryProducer;
using TELLAR::GeometryProducer;
using testing::ElementsAre;

using Client = std::shared_ptr<TellarRuntime::Client>;
using Ptr = GeometryProducer::Ptr;
using Lines = std::vector<std::string>;

constexpr int kThreads = 8;

/// Calls visit(producer) for the location and all below it, parents first.
template <typename Visit>
void Walk(const Ptr& producer, const Visit& visit) {
    visit(producer);
    for (Ptr child = producer->getFirstChild(false); child; child = child->getNextSibling(false))
        Walk(child, visit);
}

std::string LineOf(const Ptr& producer) {
    return producer->getFullName() + "=" + std::to_string(IntOf(producer->getAttribute("n")));
}

Lines WalkedLines(const Ptr& root) {
    Lines lines;
    Walk(root, [&lines](const Ptr& producer) { lines.push_back(LineOf(producer)); });
    return lines;
}

/// /root with groups of leaves, each of which has a number.
class Grove {
public:
    Grove(int groupCount, int leafCount) : groups(groupCount), leaves(leafCount) {}

    std::uint64_t size() const {
        return 1 + static_cast<std::uint64_t>(groups) * (1 + static_cast<std::uint64_t>(leaves));
    }
    static std::string groupName(int group) { return "group" + std::to_string(group); }
    static std::string leafName(int leaf) { return "leaf" + std::to_string(leaf); }
    int number(int group, int leaf) const { return group * leaves + leaf; }

    GroupAttribute scene() const {
        Children groupEntries;
        for (int group = 0; group < groups; ++group) {
            Children leafEntries;
            for (int leaf = 0; leaf < leaves; ++leaf)
                leafEntries.emplace_back(leafName(leaf),
                                         Location({{"n", Int(number(group, leaf))}}));
            groupEntries.emplace_back(groupName(group), Location({{"n", Int(group)}}, leafEntries));
        }
        return Location({{"n", Int(0)}, {"tag", Text(UniqueTag())}}, groupEntries);
    }

    /// The expected result of a walk, computed without one.
    Lines lines() const {
        Lines lines{"/root=0"};
        for (int group = 0; group < groups; ++group) {
            const std::string path = "/root/" + groupName(group);
            lines.push_back(path + "=" + std::to_string(group));
            for (int leaf = 0; leaf < leaves; ++leaf)
                lines.push_back(path + "/" + leafName(leaf) + "=" +
                                std::to_string(number(group, leaf)));
        }
        return lines;
    }

    const int groups;
    const int leaves;
};

// Walks -------------------------------------------------------------------------------------------

/// 20,201 locations that two Ops make, and 5,051 under a sanitizer.
class ThreadedWalk : public testing::Test {
protected:
    const Grove grove{kSanitized ? 50 : 200, 100};
    const GroupAttribute tree = Group({{"scene", OpEntry("StaticScene", grove.scene())},
                                       {"merge", OpEntry("Merge", {}, {"scene"})}});
    const Lines expected = grove.lines();
};

TEST_F(ThreadedWalk, CooksEveryLocationOnceAndShowsEveryThreadTheSameScene) {
    const std::uint64_t cooks = TellarRuntime::getNumberOfCooks();
    const Ptr root = CreateThreadAwareGeometryProducer(tree, "/root");
    RunTogether(kThreads, [&](int) { EXPECT_TRUE(WalkedLines(root) == expected); });
    EXPECT_EQ(TellarRuntime::getNumberOfCooks() - cooks, 2 * grove.size());
    EXPECT_TRUE(WalkedLines(root) == expected) << "one thread alone sees it as well";
    EXPECT_EQ(TellarRuntime::getNumberOfCooks() - cooks, 2 * grove.size());
}

TEST_F(ThreadedWalk, CooksEveryLocationOnceWhateverWayTheThreadsGo) {
    const std::uint64_t cooks = TellarRuntime::getNumberOfCooks();
    const Ptr root = CreateThreadAwareGeometryProducer(tree, "/root");
    const auto expectLeaf = [this](const Ptr& leaf, int group, int number) {
        ASSERT_TRUE(leaf);
        EXPECT_EQ(IntOf(leaf->getAttribute("n")), grove.number(group, number));
    };
    const auto walkBackwardsByName = [&] {
        for (int group = grove.groups - 1; group >= 0; --group) {
            const Ptr parent = root->getChildByName(Grove::groupName(group).c_str(), false);
            for (int leaf = grove.leaves - 1; leaf >= 0; --leaf)
                expectLeaf(parent->getChildByName(Grove::leafName(leaf).c_str(), false), group,
                           leaf);
        }
    };
    const auto walkByPathAcrossGroups = [&] {
        for (int leaf = 0; leaf < grove.leaves; ++leaf)
            for (int group = 0; group < grove.groups; ++group)
                expectLeaf(root->getProducerByPath("/root/" + Grove::groupName(group) + "/" +
                                                       Grove::leafName(leaf),
                                                   false),
                           group, leaf);
    };
    RunTogether(kThreads, [&](int number) {
        if (number % 3 == 0)
            EXPECT_TRUE(WalkedLines(root) == expected);
        else if (number % 3 == 1)
            walkBackwardsByName();
        else
            walkByPathAcrossGroups();
    });
    EXPECT_EQ(TellarRuntime::getNumberOfCooks() - cooks, 2 * grove.size());
}

TEST_F(ThreadedWalk, CooksEveryLocationOnceForTreesThatTheThreadsMakeThemselves) {
    const std::uint64_t cooks = TellarRuntime::getNumberOfCooks();
    RunTogether(kThreads, [&](int) {
        EXPECT_TRUE(WalkedLines(CreateThreadAwareGeometryProducer(tree, "/root")) == expected);
    });
    EXPECT_EQ(TellarRuntime::getNumberOfCooks() - cooks, 2 * grove.size());
}

TEST_F(ThreadedWalk, MayPassProducersFromThreadToThread) {
    const Ptr root = CreateThreadAwareGeometryProducer(tree, "/root");
    std::vector<Ptr> groups;
    for (Ptr group = root->getFirstChild(false); group; group = group->getNextSibling(false))
        groups.push_back(group);
    std::vector<std::vector<Ptr>> leavesByThread(kThreads);
    RunTogether(kThreads, [&](int number) {
        for (std::size_t i = static_cast<std::size_t>(number); i < groups.size(); i += kThreads)
            Walk(groups[i], [&](const Ptr& producer) {
                leavesByThread[static_cast<std::size_t>(number)].push_back(producer);
            });
    });
    // Each thread reads and drops what its neighbour made.
    std::atomic<std::uint64_t> seen{0};
    RunTogether(kThreads, [&](int number) {
        auto& leaves = leavesByThread[static_cast<std::size_t>((number + 1) % kThreads)];
        for (const Ptr& leaf : leaves)
            EXPECT_EQ(leaf->getRootProducer(), root);
        seen += leaves.size();
        leaves.clear();
    });
    EXPECT_EQ(seen + 1, grove.size());
    groups.clear();
    EXPECT_EQ(root->use_count(), 1u);
}

TEST(ThreadedWalkOfSlowOps, CooksALocationOnceThatAllThreadsWantAtTheSameTime) {
    const Grove grove(4, 10);
    const std::uint64_t cooks = TellarRuntime::getNumberOfCooks();
    const Ptr root =
        CreateThreadAwareGeometryProducer(Group({{"scene", OpEntry("StaticScene", grove.scene())},
                                                 {"slow", OpEntry("TestSlow", {}, {"scene"})}}),
                                          "/root");
    RunTogether(kThreads, [&](int) { EXPECT_TRUE(WalkedLines(root) == grove.lines()); });
    EXPECT_EQ(TellarRuntime::getNumberOfCooks() - cooks, 2 * grove.size());
}

TEST(ThreadedWalkOfFailingOps, TellsEveryThreadOfTheErrorAndHangsNone) {
    const Grove grove(4, 10);
    const Ptr root = CreateThreadAwareGeometryProducer(
        Group({{"scene", OpEntry("StaticScene", grove.scene())},
               {"fault",
                OpEntry("TestThrow", Group({{"at", Text("/root/group2/leaf5")}}), {"scene"})},
               {"slow", OpEntry("TestSlow", {}, {"fault"})}}),
        "/root");
    std::atomic<int> failures{0};
    RunTogether(kThreads, [&](int) {
        try {
            WalkedLines(root);
        } catch (const std::runtime_error& error) {
            EXPECT_STREQ(error.what(), "Op \"fault\" (TestThrow) at \"/root/group2/leaf5\": "
                                       "It fails on purpose.");
            ++failures;
        }
    });
    EXPECT_EQ(failures, kThreads);
    EXPECT_TRUE(root->getProducerByPath("/root/group2/leaf6", false));
}

// A million locations -----------------------------------------------------------------------------

/// The instances in all: a million, or a tenth of it under a sanitizer.
constexpr int kBricks = kSanitized ? 100000 : 1000000;

/// Instances of one location in a grid, in groups of a hundred.
GroupAttribute MillionLocations() {
    const OxAttribute::IntAttribute counts({100, 100, kBricks / 10000}, 1);
    const GroupAttribute args = Group({{"source", Text("/root/brick")},
                                       {"target", Text("/root/wall")},
                                       {"counts", counts},
                                       {"groupSize", Int(100)}});
    const GroupAttribute scene =
        Location({{"tag", Text(UniqueTag())}}, {{"brick", Location({{"n", Int(7)}})}});
    return Group(
        {{"scene", OpEntry("StaticScene", scene)}, {"array", OpEntry("Array", args, {"scene"})}});
}

/// The result of a walk in a few numbers, which depend on every path and on the order.
struct Digest {
    std::uint64_t locations = 0;
    std::uint64_t bricks = 0;
    std::uint64_t hash = 14695981039346656037u;

    void add(const Ptr& producer) {
        ++locations;
        if (IntOf(producer->getAttribute("n")) == 7) ++bricks;
        for (const char character : producer->getFullName())
            hash = (hash ^ static_cast<unsigned char>(character)) * 1099511628211u;
    }
    friend bool operator==(const Digest& a, const Digest& b) {
        return a.locations == b.locations && a.bricks == b.bricks && a.hash == b.hash;
    }
};

Digest DigestOf(const Ptr& root) {
    Digest digest;
    Walk(root, [&digest](const Ptr& producer) { digest.add(producer); });
    return digest;
}

TEST(ThreadedWalkOfAMillionLocations, CooksEachOnceAndShowsEveryThreadTheSameScene) {
    // One thread, in a tree of its own that is the same but for its tag.
    const std::uint64_t before = TellarRuntime::getNumberOfCooks();
    const Digest alone = DigestOf(CreateThreadAwareGeometryProducer(MillionLocations(), "/root"));
    const std::uint64_t cooksAlone = TellarRuntime::getNumberOfCooks() - before;
    EXPECT_EQ(alone.bricks, std::uint64_t{kBricks});
    EXPECT_EQ(alone.locations, 1u + 1u + kBricks / 10000 + kBricks / 100 + kBricks)
        << "root, wall, groups, bricks";
    EXPECT_GE(cooksAlone, alone.locations);

    const std::uint64_t cooks = TellarRuntime::getNumberOfCooks();
    const Ptr root = CreateThreadAwareGeometryProducer(MillionLocations(), "/root");
    RunTogether(kThreads, [&](int) { EXPECT_TRUE(DigestOf(root) == alone); });
    EXPECT_EQ(TellarRuntime::getNumberOfCooks() - cooks, cooksAlone);
}

// Threads that come and go ------------------------------------------------------------------------

/// The clients in use by living threads.
class ClientsInUse {
public:
    /// False when another thread has it.
    bool enter(const Client& client) {
        const std::lock_guard<std::mutex> guard(lock);
        seen.insert(client);
        return inUse.insert(client).second;
    }
    void leave(const Client& client) {
        const std::lock_guard<std::mutex> guard(lock);
        inUse.erase(client);
    }
    std::size_t numberSeen() {
        const std::lock_guard<std::mutex> guard(lock);
        return seen.size();
    }

private:
    std::mutex lock;
    std::set<Client> inUse;
    std::set<Client> seen;
};

TEST(ThreadsThatComeAndGo, ReuseTheClientsOfThoseThatEndedAndShareNone) {
    const Grove grove(10, 10);
    const Lines expected = grove.lines();
    const Ptr root = CreateThreadAwareGeometryProducer(SceneTree(grove.scene()), "/root");
    const ScopedRuntimeFactory runtimes;
    ClientsInUse clients;
    // Eight at any time, each replaced as soon as it has ended.
    RunTogether(kThreads, [&](int) {
        for (int life = 0; life < 25; ++life) {
            std::thread([&] {
                const Client client = root->getClient();
                EXPECT_TRUE(clients.enter(client));
                EXPECT_TRUE(WalkedLines(root) == expected);
                EXPECT_EQ(root->getClient(), client);
                clients.leave(client);
            }).join();
        }
    });
    EXPECT_LE(runtimes.count(), kThreads);
    EXPECT_EQ(clients.numberSeen(), static_cast<std::size_t>(runtimes.count()));
}

TEST(ThreadsThatComeAndGo, LeaveTheirProducersUsableForOthers) {
    const Grove grove(3, 4);
    std::vector<Ptr> roots(kThreads);
    const GroupAttribute tree = SceneTree(grove.scene());
    RunTogether(kThreads, [&](int number) {
        roots[static_cast<std::size_t>(number)] = CreateThreadAwareGeometryProducer(tree, "/root");
    });
    for (const Ptr& root : roots)
        EXPECT_TRUE(WalkedLines(root) == grove.lines());
}

TEST(ThreadsThatComeAndGo, FindWhatTheThreadBeforeThemCooked) {
    const Grove grove(2, 2);
    const Ptr root = CreateThreadAwareGeometryProducer(SceneTree(grove.scene()), "/root");
    Client first;
    std::thread([&] {
        first = root->getClient();
        WalkedLines(root);
    }).join();
    std::thread([&] {
        const Client second = root->getClient();
        EXPECT_EQ(second, first);
        EXPECT_TRUE(second->getCachedLocation("/root/group1/leaf1").isValid());
    }).join();
}

// Evictions ---------------------------------------------------------------------------------------

TEST(ThreadedEviction, NeverDisturbsWhatOtherThreadsSee) {
    const Grove grove(10, 20);
    const Lines expected = grove.lines();
    const Ptr root =
        CreateThreadAwareGeometryProducer(Group({{"scene", OpEntry("StaticScene", grove.scene())},
                                                 {"merge", OpEntry("Merge", {}, {"scene"})}}),
                                          "/root");
    std::atomic<int> walking{kThreads - 1};
    RunTogether(kThreads, [&](int number) {
        if (number != 0) {
            for (int round = 0; round < 10; ++round)
                EXPECT_TRUE(WalkedLines(root) == expected);
            --walking;
            return;
        }
        while (walking > 0)
            for (Ptr group = root->getFirstChild(true); group; group = group->getNextSibling(true))
                EXPECT_TRUE(group->getChildByName("leaf7", true));
    });
    EXPECT_TRUE(WalkedLines(root) == expected);
}

/// /root/leaf with the attribute "version": what TestVersionNow held when it was cooked.
Ptr OpenVersioned() {
    return CreateThreadAwareGeometryProducer(
        Group({{"scene", OpEntry("StaticScene",
                                 Location({{"tag", Text(UniqueTag())}}, {{"leaf", Location({})}}))},
               {"version", OpEntry("TestVersion", {}, {"scene"})},
               {"hook", OpEntry("TestHook", {}, {"version"})}}),
        "/root");
}

int VersionOf(const Ptr& producer) {
    return IntOf(producer->getAttribute("version"));
}

TEST(ThreadedEviction, NeverGivesTheOldResultWhileAnotherThreadComputesTheNewOne) {
    const Ptr root = OpenVersioned();
    root->getChildByName("leaf", false);
    const int version = ++TestVersionNow();
    root->getClient()->getRuntime()->evict("/root/leaf");

    std::atomic<bool> isComputing{false};
    std::atomic<bool> isAsking{false};
    TestHookNow() = [&] {
        isComputing = true;
        while (!isAsking)
            std::this_thread::yield();
        // Time for a look at the old result, which is not to be had.
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    };
    std::thread other([&root] { root->getChildByName("leaf", false); });
    while (!isComputing)
        std::this_thread::yield();
    isAsking = true;
    EXPECT_GE(VersionOf(root->getChildByName("leaf", false)), version);
    other.join();
    TestHookNow() = [] {};
}

TEST(ThreadedEviction, NeverGivesAResultOlderThanItself) {
    const Ptr root = OpenVersioned();
    std::atomic<int> tooOld{0};
    constexpr int kRounds = kSanitized ? 5000 : 50000;
    RunTogether(kThreads, [&](int) {
        for (int round = 0; round < kRounds; ++round) {
            const int version = ++TestVersionNow();
            if (VersionOf(root->getChildByName("leaf", true)) < version) ++tooOld;
        }
    });
    EXPECT_EQ(tooOld, 0);
}

TEST(ThreadedEviction, MayGoOnWhileOthersReadOnlyWhatIsCooked) {
    const Grove grove(2, 10);
    const GroupAttribute tree = SceneTree(grove.scene());
    const Client client = MakeClient(tree);
    const Ptr cooking = TELLAR::CreateSyncGeometryProducer(client, "/root");
    WalkedLines(cooking);
    const Ptr reading = CreateAsyncGeometryProducer(client, "/root");
    std::atomic<bool> isDone{false};
    RunTogether(4, [&](int number) {
        if (number == 0) {
            for (int round = 0; round < 500; ++round)
                cooking->getFirstChild(true)->getFirstChild(true);
            isDone = true;
        }
        while (!isDone)
            Walk(reading, [&](const Ptr& producer) { EXPECT_NE(LineOf(producer), ""); });
    });
    EXPECT_TRUE(WalkedLines(reading) == grove.lines());
}

} // namespace
