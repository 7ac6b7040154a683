#include <OxTellarProducers/SceneProfile.h>

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include <OxTellarSDK/CookObserver.h>
#include <gtest/gtest.h>

#include "ProfiledScenes.h"
#include "RunTogether.h"
#include "Sanitized.h"
#include "VisitScenes.h"

// Profiles of several threads, and of threads that wait for each other.

namespace {

using namespace TellarTest;
using TELLAR::CookProfiler;
using TELLAR::CookTotals;
using TELLAR::ProfiledEvent;
using TELLAR::SceneProfile;

/// Lets a cook wait until another thread waits for it.
class Meeting : public OxOpType::CookObserver {
public:
    void waitBegins(const OxOpType::ObservedCook& /*cook*/) noexcept override {
        const std::lock_guard<std::mutex> guard(lock);
        isAwaited = true;
        changed.notify_all();
    }
    void waitForWaiter() {
        std::unique_lock<std::mutex> guard(lock);
        changed.wait(guard, [this] { return isAwaited; });
    }

private:
    std::mutex lock;
    std::condition_variable changed;
    bool isAwaited = false;
};

/// Two threads cook /root of "left" and "right", which both need the slow op "shared". One of them
/// waits for the other at least as long as a nap.
SceneProfile ProfileOfAWait() {
    TELLAR::ProfileLimits limits;
    limits.events = 100;
    const auto meeting = std::make_shared<Meeting>();
    TestHookNow() = [&] {
        meeting->waitForWaiter();
        Nap();
    };
    const Children shared{{"source", TaggedTree({})},
                          {"shared", OpEntry("TestHook", {}, {"source"})}};
    const auto sideOf = [&](const std::string& name) {
        Children ops = shared;
        ops.emplace_back(name, OpEntry("TestMerge", Group({{"name", Text(name)}}), {"shared"}));
        return MakeClient(Group(ops));
    };
    const auto left = sideOf("left");
    const auto right = sideOf("right");
    CookProfiler profiler(limits);
    const OxOpType::CookObservation observation(meeting);
    RunTogether(2, [&](int number) { (number == 0 ? left : right)->cookLocation("/root"); });
    TestHookNow() = [] {};
    return profiler.take();
}

TEST(SceneProfile, CountsAWaitAtWhatWasAwaited) {
    const SceneProfile profile = ProfileOfAWait();
    const CookTotals& shared = TotalsOfOp(profile, "shared");
    EXPECT_EQ(shared.waits, 1u);
    EXPECT_GE(shared.waitSeconds, kNap);
    EXPECT_EQ(shared.cooks, 1u);
    EXPECT_GE(shared.ownSeconds, kNap);
    EXPECT_EQ(TypeNamed(profile, "TestHook").totals.waits, 1u);
    EXPECT_EQ(TotalsAt(profile, "/root").waits, 1u);
    EXPECT_EQ(profile.totals.waits, 1u);
    EXPECT_EQ(profile.threads, 2u);
}

TEST(SceneProfile, AWaitIsPartOfTheTotalTimeAndNotOfTheOwnTime) {
    const SceneProfile profile = ProfileOfAWait();
    const CookTotals& left = TotalsOfOp(profile, "left");
    const CookTotals& right = TotalsOfOp(profile, "right");
    EXPECT_GE(left.totalSeconds - left.ownSeconds, kNap);
    EXPECT_GE(right.totalSeconds - right.ownSeconds, kNap);
    EXPECT_GE(profile.totals.totalSeconds, 2 * kNap);
}

TEST(SceneProfile, AWaitIsAnEventOfItsThread) {
    const SceneProfile profile = ProfileOfAWait();
    int waits = 0;
    for (const ProfiledEvent& event : profile.events) {
        if (event.kind != ProfiledEvent::Wait) continue;
        ++waits;
        EXPECT_EQ(profile.ops[event.op].name, "shared");
        EXPECT_EQ(event.location, "/root");
        EXPECT_GE(event.seconds, kNap);
        EXPECT_LT(event.thread, 2u);
    }
    EXPECT_EQ(waits, 1);
}

TEST(SceneProfile, CountsEveryCookOfManyThreadsOnce) {
    const RandomTree tree{3, 5, 9};
    TELLAR::ProfileLimits limits;
    limits.events = 500;
    const std::uint64_t before = TellarRuntime::getNumberOfCooks();
    const SceneProfile profile = ProfileOf(OpsOf(tree), limits, 8);
    EXPECT_EQ(profile.totals.cooks, TellarRuntime::getNumberOfCooks() - before);
    EXPECT_GT(profile.totals.cooks, 1000u);
    EXPECT_EQ(profile.events.size(), 500u);
    EXPECT_EQ(profile.eventsLeftOut + 500, profile.totals.cooks + profile.totals.waits);
    EXPECT_EQ(profile.locations.size(), 100u);
}

TEST(SceneProfile, MayBeTakenWhileThreadsGoOnCooking) {
    const int rounds = kSanitized ? 300 : 3000;
    const auto client = MakeClient(
        Group({{"source", TaggedTree({})}, {"top", OpEntry("TestMerge", {}, {"source"})}}));
    std::atomic<bool> isOver{false};
    std::thread cooking([&] {
        RunTogether(3, [&](int number) {
            for (int i = 0; i < rounds; ++i)
                client->cookLocation("/root/" + std::to_string(number) + "/" + std::to_string(i));
        });
        isOver = true;
    });
    std::uint64_t cooks = 0;
    while (!isOver) {
        TELLAR::ProfileLimits limits;
        limits.events = 10;
        CookProfiler profiler(limits);
        std::this_thread::yield();
        const SceneProfile profile = profiler.take();
        EXPECT_EQ(profile.totals.errors, 0u);
        EXPECT_LE(profile.threads, 3u);
        cooks += profile.totals.cooks;
    }
    cooking.join();
    EXPECT_LE(cooks, 3u * 2u * unsigned(rounds));
}

} // namespace
