// Scenes that several threads share and edit; these tests run under ThreadSanitizer.

#include <OxTellarProducers/Scene.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "LiveScenes.h"
#include "RunTogether.h"

namespace {

using namespace TellarTest;
using TELLAR::GeometryProducer;
using TELLAR::Scene;

constexpr int kThreads = 8;

int CountBelow(const GeometryProducer::Ptr& location) {
    int count = 1;
    for (auto child = location->getFirstChild(false); child; child = child->getNextSibling(false))
        count += CountBelow(child);
    return count;
}

/// A scene of 1 + 30 + 900 locations.
std::shared_ptr<Scene> WideScene() {
    Children groups;
    for (int i = 0; i < 30; ++i) {
        Children leaves;
        for (int j = 0; j < 30; ++j)
            leaves.emplace_back("leaf" + std::to_string(j), Location({{"number", Int(j)}}));
        groups.emplace_back("group" + std::to_string(i), Location({}, leaves));
    }
    return Scene::FromDescription(SceneTree(Location({{"tag", Text(UniqueTag())}}, groups)));
}

TEST(SceneThreads, WalkOneSceneTogether) {
    const auto scene = WideScene();
    std::vector<int> counts(kThreads);
    RunTogether(kThreads, [&](int thread) {
        counts[static_cast<std::size_t>(thread)] = CountBelow(scene->getRoot());
    });
    EXPECT_EQ(counts, std::vector<int>(kThreads, 931));
}

TEST(SceneThreads, WalkTheProducersOfOneTreeTogether) {
    const auto root = WideScene()->getRoot();
    std::vector<int> counts(kThreads);
    RunTogether(kThreads,
                [&](int thread) { counts[static_cast<std::size_t>(thread)] = CountBelow(root); });
    EXPECT_EQ(counts, std::vector<int>(kThreads, 931));
}

/// Commits the same number to both ops.
void SetBoth(Scene& scene, int value) {
    TELLAR::SceneEdit edit = scene.edit();
    edit.setOpArg("scene", "a.number", Int(value));
    edit.setOpArg("edit", "set.edit", Int(value));
    edit.commit();
}

TEST(SceneThreads, ReadersSeeAllOfAnEditOrNothingOfIt) {
    const auto scene = LiveScene();
    SetBoth(*scene, 0);
    constexpr int kEdits = 100;
    std::atomic<int> torn{0};
    RunTogether(kThreads + 1, [&](int thread) {
        if (thread == 0) {
            for (int i = 1; i <= kEdits; ++i)
                SetBoth(*scene, i);
            return;
        }
        for (int last = 0; last < kEdits;) {
            const auto root = scene->getRoot();
            const int number = IntOf(root->getAttribute("number"));
            if (EditOf(root) != number || number < last) ++torn;
            last = number;
        }
    });
    EXPECT_EQ(torn, 0);
}

TEST(SceneThreads, ReadersOfAnOldRevisionGoOnInIt) {
    const auto scene = LiveScene();
    const auto oldRoot = scene->getRoot();
    std::atomic<int> wrong{0};
    std::atomic<bool> isDone{false};
    RunTogether(kThreads + 1, [&](int thread) {
        if (thread == 0) {
            for (int i = 1; i <= 50; ++i)
                SetEdit(*scene, i);
            isDone = true;
            return;
        }
        do
            if (EditOf(oldRoot) != 0) ++wrong;
        while (!isDone);
    });
    EXPECT_EQ(wrong, 0);
}

TEST(SceneThreads, WaitWithACommitForTheOneThatBegan) {
    const auto scene = LiveScene();
    TELLAR::SceneEdit first = scene->edit();
    first.addOp("hook", "TestHook", {}, {"edit"});
    first.setTerminal("hook");
    first.commit();
    EditOf(scene->getRoot()); // the hook is for the new revision alone
    std::atomic<bool> isStarted{false};
    std::atomic<bool> isDone{false};
    std::thread other;
    TestHookNow() = [&] { // called while the first commit compares
        if (isStarted.exchange(true)) return;
        other = std::thread([&] {
            SetEdit(*scene, 1);
            isDone = true;
        });
        for (int i = 0; i < 100 && !isDone; ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
    };
    first.setOpArg("scene", "a.number", Int(2));
    first.commit();
    other.join();
    TestHookNow() = [] {};
    EXPECT_EQ(EditOf(scene->getRoot()), 1);
    EXPECT_EQ(IntOf(scene->getRoot()->getAttribute("number")), 2);
}

TEST(SceneThreads, EditTogetherWithoutLosingAnEdit) {
    const auto scene = LiveScene();
    RunTogether(kThreads, [&](int thread) {
        for (int i = 0; i < 10; ++i) {
            TELLAR::SceneEdit edit = scene->edit();
            edit.setOpArg("edit", "set.thread" + std::to_string(thread), Int(i));
            edit.commit();
        }
    });
    EXPECT_EQ(scene->getRevision(), 10u * kThreads);
    const auto thing =
        scene->getRoot()->getChildByName("world", false)->getChildByName("thing", false);
    for (int thread = 0; thread < kThreads; ++thread)
        EXPECT_EQ(IntOf(thing->getAttribute(("thread" + std::to_string(thread)).c_str())), 9);
}

TEST(SceneThreads, ReceiveEveryStateThatStays) {
    const auto scene = LiveScene();
    std::atomic<int> late{0};
    std::vector<std::shared_ptr<TELLAR::SceneSubscription>> subscriptions;
    for (int i = 0; i < kThreads; ++i)
        subscriptions.push_back(scene->subscribe());
    RunTogether(kThreads + 1, [&](int thread) {
        if (thread == kThreads) {
            for (int i = 1; i <= 50; ++i)
                SetEdit(*scene, i);
            return;
        }
        TELLAR::SceneSubscription& subscription = *subscriptions[static_cast<std::size_t>(thread)];
        for (int seen = 0; seen < 50;) {
            if (!subscription.wait(std::chrono::seconds(60))) {
                ++late;
                return;
            }
            const auto update = subscription.take();
            if (!update) continue;
            seen = EditOf(update->getNewRoot());
            subscription.acknowledge(*update);
        }
    });
    EXPECT_EQ(late, 0);
}

} // namespace
