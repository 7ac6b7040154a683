#include <OxTellarProducers/SceneSubscription.h>

#include <chrono>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include <OxTellarProducers/Scene.h>

#include "LiveScenes.h"

namespace {

using namespace TellarTest;
using std::chrono::milliseconds;
using std::chrono::seconds;
using TELLAR::SceneUpdate;

TEST(SceneSubscription, HasNothingBeforeTheFirstEdit) {
    const auto scene = LiveScene();
    const auto subscription = scene->subscribe();
    EXPECT_FALSE(subscription->wait(milliseconds(1)));
    EXPECT_FALSE(subscription->take());
}

TEST(SceneSubscription, BeginsAtTheNewestRevision) {
    const auto scene = LiveScene();
    SetEdit(*scene, 1);
    EXPECT_FALSE(scene->subscribe()->take());
}

TEST(SceneSubscription, TakesManyEditsAsOneListWithEachLocationOnce) {
    const auto scene = LiveScene();
    const auto subscription = scene->subscribe();
    for (int i = 1; i <= 5; ++i)
        SetEdit(*scene, i);
    ASSERT_TRUE(subscription->wait(seconds(0)));
    const std::optional<SceneUpdate> update = subscription->take();
    ASSERT_TRUE(update);
    ASSERT_EQ(update->getChanges().size(), 1u);
    EXPECT_EQ(update->getChanges()[0].path, "/root/world/thing");
    EXPECT_EQ(update->getOldRevision(), 0u);
    EXPECT_EQ(update->getNewRevision(), 5u);
    EXPECT_EQ(EditOf(update->getOldRoot()), 0);
    EXPECT_EQ(EditOf(update->getNewRoot()), 5);
}

TEST(SceneSubscription, RepeatsWhatWasNotAcknowledgedTogetherWithNewerChanges) {
    const auto scene = LiveScene();
    const auto subscription = scene->subscribe();
    SetEdit(*scene, 1);
    ASSERT_TRUE(subscription->take());
    SetEdit(*scene, 2);
    const auto update = subscription->take();
    ASSERT_TRUE(update);
    EXPECT_EQ(update->getOldRevision(), 0u);
    EXPECT_EQ(update->getNewRevision(), 2u);
}

TEST(SceneSubscription, GoesOnFromWhatWasAcknowledged) {
    const auto scene = LiveScene();
    const auto subscription = scene->subscribe();
    SetEdit(*scene, 1);
    const auto first = subscription->take();
    SetEdit(*scene, 2);
    subscription->acknowledge(*first);
    const auto second = subscription->take();
    ASSERT_TRUE(second);
    EXPECT_EQ(second->getOldRevision(), 1u);
    subscription->acknowledge(*second);
    EXPECT_FALSE(subscription->wait(milliseconds(1)));
    EXPECT_FALSE(subscription->take());
    subscription->acknowledge(*first); // older, and therefore ignored
    EXPECT_FALSE(subscription->take());
}

TEST(SceneSubscription, HasNothingAfterEditsThatCancelOut) {
    const auto scene = LiveScene();
    const auto subscription = scene->subscribe();
    SetEdit(*scene, 1);
    SetEdit(*scene, 0);
    EXPECT_FALSE(subscription->wait(milliseconds(1)));
    EXPECT_FALSE(subscription->take());
}

TEST(SceneSubscription, OfTwoReceiversAcknowledgesForItselfAlone) {
    const auto scene = LiveScene();
    const auto quick = scene->subscribe();
    const auto slow = scene->subscribe();
    SetEdit(*scene, 1);
    quick->acknowledge(*quick->take());
    EXPECT_FALSE(quick->take());
    EXPECT_TRUE(slow->take());
}

TEST(SceneSubscription, WakesAThreadThatWaits) {
    const auto scene = LiveScene();
    const auto subscription = scene->subscribe();
    std::chrono::steady_clock::duration waited{};
    std::thread receiver([&] {
        const auto start = std::chrono::steady_clock::now();
        subscription->wait(seconds(60));
        waited = std::chrono::steady_clock::now() - start;
    });
    std::this_thread::sleep_for(milliseconds(50)); // the receiver probably waits by now
    SetEdit(*scene, 4);
    receiver.join();
    EXPECT_LT(waited, seconds(30));
}

/// For times without an end.
void ExpectToWaitForAnEdit(double time) {
    const auto scene = LiveScene();
    const auto subscription = scene->subscribe();
    std::thread editor([&] {
        std::this_thread::sleep_for(milliseconds(10));
        SetEdit(*scene, 4);
    });
    EXPECT_TRUE(subscription->wait(std::chrono::duration<double>(time)));
    editor.join();
}

TEST(SceneSubscription, WaitsWithoutAnEndForANegativeOrAnAbsurdTime) {
    ExpectToWaitForAnEdit(-1);
    ExpectToWaitForAnEdit(1e300);
    ExpectToWaitForAnEdit(std::numeric_limits<double>::infinity());
}

TEST(SceneSubscription, DoesNotWaitForATimeThatIsNoNumber) {
    const auto subscription = LiveScene()->subscribe();
    const std::chrono::duration<double> time(std::numeric_limits<double>::quiet_NaN());
    EXPECT_FALSE(subscription->wait(time));
}

TEST(SceneSubscription, KeepsTheSceneAlive) {
    auto scene = LiveScene();
    const auto subscription = scene->subscribe();
    SetEdit(*scene, 1);
    scene.reset();
    EXPECT_TRUE(subscription->take());
}

} // namespace
