// Live edits through version 4 of the suite for iterators.

#include <OxTellarProducers/OxScenegraphIteratorHostSuite4.h>

#include <atomic>
#include <limits>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>

#include <OxTellarProducers/OxSceneHandle.h>

#include "IteratorScenes4.h"
#include "LiveScenes.h"
#include "RunTogether.h"

namespace {

using namespace TellarTest;
using testing::ElementsAre;

const OxScenegraphIteratorHostSuite_v4& Suite() {
    return Scenes4();
}

/// A scene that is edited in C++ and subscribed to in C.
class Changes4 : public testing::Test {
protected:
    ~Changes4() override { Suite().releaseSubscription(subscription); }

    OxChangesStruct* receive() {
        CallError error;
        OxChangesStruct* const changes = Suite().receiveChanges(subscription, error.out());
        EXPECT_TRUE(error.isNull()) << error.text();
        return changes;
    }
    static int editAt(OxSgIteratorStruct* root) {
        const At top(root);
        const At thing = Suite().getProducerByPath(top.get(), "/root/world/thing", nullptr);
        return IntOf(Owned(Suite().getAttribute(thing.get(), "edit", nullptr)));
    }

    const std::shared_ptr<TELLAR::Scene> scene = LiveScene();
    const SceneHandle handle{TELLAR::OxSceneToHandle(scene)};
    OxSubscriptionStruct* const subscription = Suite().subscribe(handle.get(), nullptr);
};

TEST_F(Changes4, ComeAsOneListUntilTheyAreAcknowledged) {
    EXPECT_EQ(Suite().waitForChanges(subscription, 0), 0);
    EXPECT_EQ(receive(), nullptr);
    SetEdit(*scene, 1);
    SetEdit(*scene, 2);
    EXPECT_EQ(Suite().getSceneRevision(handle.get()), 2);
    EXPECT_EQ(Suite().waitForChanges(subscription, 0), 1);
    OxChangesStruct* changes = receive();
    ASSERT_EQ(Suite().getNumberOfChanges(changes), 1);
    OxChange change;
    EXPECT_EQ(Suite().getChange(changes, 0, &change), 1);
    EXPECT_STREQ(change.path, "/root/world/thing");
    EXPECT_EQ(change.kind, kOxChangeChanged);
    EXPECT_EQ(change.mask, std::uint32_t(kOxChangeOther));
    ASSERT_EQ(change.attributeCount, 1);
    EXPECT_STREQ(change.attributes[0], "edit");
    EXPECT_EQ(editAt(Suite().getPreviousRoot(changes, nullptr)), 0);
    EXPECT_EQ(editAt(Suite().getChangedRoot(changes, nullptr)), 2);
    Suite().releaseChanges(changes);

    changes = receive();
    EXPECT_EQ(Suite().getNumberOfChanges(changes), 1) << "again, for nothing was acknowledged";
    Suite().acknowledgeChanges(subscription, changes);
    Suite().releaseChanges(changes);
    EXPECT_EQ(Suite().waitForChanges(subscription, 0), 0);
    EXPECT_EQ(receive(), nullptr);
}

TEST_F(Changes4, TellWhatWasAddedRemovedAndWhatFails) {
    TELLAR::SceneEdit edit = scene->edit();
    edit.setOpArgs("scene", Location({}, {{"world", Location({{"type", Text("group")}})},
                                          {"new", Location({})}}));
    edit.addOp("fails", "TestThrow", Group({{"at", Text("/root/world")}}), {"edit"});
    edit.setTerminal("fails");
    edit.commit();
    OxChangesStruct* const changes = receive();
    std::vector<std::string> lines;
    for (std::int64_t i = 0; i < Suite().getNumberOfChanges(changes); ++i) {
        OxChange change;
        EXPECT_EQ(Suite().getChange(changes, i, &change), 1);
        lines.push_back(change.path + (" " + std::to_string(change.kind)) +
                        (change.mask & kOxChangeError ? " fails" : "") +
                        (change.kind != kOxChangeChanged && change.mask == 0 ? " whole" : ""));
    }
    EXPECT_THAT(lines, testing::IsSupersetOf(
                           {std::string("/root/new 1 whole"), std::string("/root/world 2 fails")}));
    Suite().releaseChanges(changes);
}

TEST_F(Changes4, GiveARootThatFails) {
    TELLAR::SceneEdit edit = scene->edit();
    edit.addOp("fails", "TestThrow", Group({{"at", Text("/root")}}), {"edit"});
    edit.setTerminal("fails");
    edit.commit();
    OxChangesStruct* const changes = receive();
    CallError error;
    const At root = Suite().getChangedRoot(changes, error.out());
    EXPECT_THAT(Answer(root, error), testing::StartsWith("/root, Op \"fails\""));
    const At before = Suite().getPreviousRoot(changes, error.out());
    EXPECT_EQ(Answer(before, error), "/root, no error");
    Suite().releaseChanges(changes);
}

TEST_F(Changes4, RefuseIndicesOutOfRange) {
    SetEdit(*scene, 1);
    OxChangesStruct* const changes = receive();
    OxChange change;
    for (const std::int64_t index : {-1, 1}) {
        EXPECT_EQ(Suite().getChange(changes, index, &change), 0);
        EXPECT_STREQ(change.path, "");
        EXPECT_EQ(change.attributeCount, 0);
    }
    EXPECT_EQ(Suite().getChange(changes, 0, nullptr), 0);
    EXPECT_EQ(Suite().getChange(nullptr, 0, &change), 0);
    EXPECT_EQ(Suite().getNumberOfChanges(nullptr), 0);
    EXPECT_EQ(Suite().waitForChanges(nullptr, 0), 0);
    EXPECT_EQ(Suite().waitForChanges(subscription, std::numeric_limits<double>::quiet_NaN()), 0);
    Suite().acknowledgeChanges(subscription, nullptr);
    Suite().acknowledgeChanges(nullptr, changes);
    EXPECT_EQ(Suite().waitForChanges(subscription, 0), 1);
    Suite().releaseChanges(changes);
}

TEST_F(Changes4, WakeAThreadThatWaits) {
    for (const double seconds : {-1.0, 1e300, 60.0}) {
        std::thread editor([&] { SetEdit(*scene, static_cast<int>(scene->getRevision()) + 1); });
        EXPECT_EQ(Suite().waitForChanges(subscription, seconds), 1);
        editor.join();
        OxChangesStruct* const changes = receive();
        Suite().acknowledgeChanges(subscription, changes);
        Suite().releaseChanges(changes);
    }
}

TEST_F(Changes4, ComeToManyThreadsWhileTheSceneIsEdited) {
    constexpr int kEdits = 40;
    std::atomic<bool> isDone{false};
    std::thread editor([&] {
        for (int i = 1; i <= kEdits; ++i)
            SetEdit(*scene, i);
        isDone = true;
    });
    RunTogether(7, [&](int) {
        OxSubscriptionStruct* const own = Suite().subscribe(handle.get(), nullptr);
        int last = 0;
        for (bool isLast = false; !isLast;) {
            isLast = isDone;
            Suite().waitForChanges(own, 0.001);
            OxChangesStruct* const changes = Suite().receiveChanges(own, nullptr);
            if (!changes) continue;
            const int seen = editAt(Suite().getChangedRoot(changes, nullptr));
            EXPECT_GE(seen, last);
            last = seen;
            Suite().acknowledgeChanges(own, changes);
            Suite().releaseChanges(changes);
        }
        Suite().retainSubscription(own);
        Suite().releaseSubscription(own);
        Suite().releaseSubscription(own);
    });
    editor.join();
    EXPECT_EQ(editAt(Suite().getSceneRoot(handle.get(), nullptr)), kEdits);
}

TEST_F(Changes4, AreKeptByTheirHandleAlone) {
    SetEdit(*scene, 1);
    OxChangesStruct* const changes = receive();
    Suite().retainChanges(changes);
    Suite().releaseChanges(changes);
    SetEdit(*scene, 2);
    OxChange change;
    EXPECT_EQ(Suite().getChange(changes, 0, &change), 1);
    EXPECT_STREQ(change.path, "/root/world/thing");
    EXPECT_EQ(editAt(Suite().getChangedRoot(changes, nullptr)), 1);
    Suite().releaseChanges(changes);
}

} // namespace
