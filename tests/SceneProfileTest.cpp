#include <OxTellarProducers/SceneProfile.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <exception>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

#include "ErrorOf.h"
#include "ProfiledScenes.h"

// What a profile tells of the cooks of one thread: counts, times, bytes and errors.

namespace {

using namespace TellarTest;
using TELLAR::CookedLocations;
using TELLAR::CookProfiler;
using TELLAR::CookTotals;
using TELLAR::ProfiledCall;
using TELLAR::ProfiledEvent;
using TELLAR::SceneProfile;
using testing::IsEmpty;

constexpr double kRounding = 1e-9;

/// Ops on top of each other, each of which naps at /root/a and then cooks the one below.
OxAttribute::GroupAttribute Naps(const std::vector<std::string>& names) {
    Children ops{{"source", TaggedTree({"a", "b"})}};
    for (const std::string& name : names) {
        const std::string input = ops.back().first;
        ops.emplace_back(name, NapAt("/root/a", input));
    }
    return Group(ops);
}

TEST(SceneProfile, CountsCooksByOpOpTypeAndLocation) {
    const SceneProfile profile = ProfileOf(Naps({"one", "two"}));
    EXPECT_EQ(profile.totals.cooks, 9u); // three ops at three locations
    EXPECT_EQ(TotalsOfOp(profile, "source").cooks, 3u);
    EXPECT_EQ(TotalsOfOp(profile, "one").cooks, 3u);
    EXPECT_EQ(OpNamed(profile, "two").type, "TestNap");
    EXPECT_EQ(TypeNamed(profile, "TestNap").totals.cooks, 6u);
    EXPECT_EQ(TypeNamed(profile, "TestNap").ops, 2u);
    EXPECT_EQ(TotalsAt(profile, "/root/a").cooks, 3u);
    EXPECT_EQ(profile.threads, 1u);
    EXPECT_EQ(profile.cooksLost, 0u);
}

TEST(SceneProfile, OwnTimeLeavesOutTheCooksOfInputs) {
    const SceneProfile profile = ProfileOf(Naps({"one", "two"}));
    const CookTotals& outer = TotalsOfOp(profile, "two");
    const CookTotals& inner = TotalsOfOp(profile, "one");
    EXPECT_GE(inner.ownSeconds, kNap);
    EXPECT_GE(outer.ownSeconds, kNap);
    EXPECT_GE(outer.totalSeconds, 2 * kNap);
    EXPECT_NEAR(outer.totalSeconds, outer.ownSeconds + inner.totalSeconds, kRounding);
}

TEST(SceneProfile, TheTotalTimeOfATypeCountsCooksWithinEachOtherOnce) {
    const SceneProfile profile = ProfileOf(Naps({"one", "two", "three"}));
    const CookTotals& type = TypeNamed(profile, "TestNap").totals;
    EXPECT_NEAR(type.totalSeconds, TotalsOfOp(profile, "three").totalSeconds, kRounding);
    EXPECT_GE(type.ownSeconds, 3 * kNap);
}

TEST(SceneProfile, TheTotalTimeOfALocationCountsCooksWithinEachOtherOnce) {
    const SceneProfile profile = ProfileOf(Naps({"one", "two"}));
    const CookTotals& location = TotalsAt(profile, "/root/a");
    EXPECT_GE(location.totalSeconds, 2 * kNap);
    EXPECT_NEAR(location.totalSeconds, location.ownSeconds, kRounding);
}

TEST(SceneProfile, ALocationIsNotChargedWithWhatItNeedsOfOthers) {
    const SceneProfile profile = ProfileOf(
        Group({{"source", TaggedTree({"b"})},
               {"nap", NapAt("/root/a", "source")},
               {"copy", OpEntry("TestCopy", Group({{"from", Text("/root/a")}}), {"nap"})}}));
    EXPECT_GE(TotalsAt(profile, "/root/a").ownSeconds, kNap);
    const CookTotals& copy = TotalsAt(profile, "/root/b");
    EXPECT_GE(copy.totalSeconds - copy.ownSeconds, kNap);
}

TEST(SceneProfile, AnOpThatCooksItselfIsNotCountedTwice) {
    const auto client = MakeClient(Group({{"source", TaggedTree({"a"})},
                                          {"hook", OpEntry("TestHook", {}, {"source"})},
                                          {"nap", NapAt("/root/a", "hook")}}));
    CookProfiler profiler;
    bool isWithin = false;
    TestHookNow() = [&] {
        if (std::exchange(isWithin, true)) return;
        client->cookLocation("/root/a");
    };
    client->cookLocation("/root");
    TestHookNow() = [] {};
    const SceneProfile profile = profiler.take();
    const CookTotals& nap = TotalsOfOp(profile, "nap");
    EXPECT_EQ(nap.cooks, 2u);
    EXPECT_EQ(profile.ops[profile.calls[0].op].name, "nap");
    EXPECT_NEAR(nap.totalSeconds, profile.calls[0].totals.totalSeconds, kRounding);
    EXPECT_GE(nap.totalSeconds, kNap);
}

TEST(SceneProfile, ASharedInputIsCookedForTheFirstThatNeedsIt) {
    const SceneProfile profile =
        ProfileOf(Group({{"source", TaggedTree({"a"})},
                         {"nap", NapAt("/root/a", "source")},
                         {"left", OpEntry("TestMerge", Group({{"n", Int(1)}}), {"nap"})},
                         {"right", OpEntry("TestMerge", Group({{"n", Int(2)}}), {"nap"})},
                         {"both", OpEntry("TestMerge", {}, {"left", "right"})}}));
    const CookTotals& both = TotalsOfOp(profile, "both");
    const CookTotals& left = TotalsOfOp(profile, "left");
    const CookTotals& right = TotalsOfOp(profile, "right");
    EXPECT_EQ(TotalsOfOp(profile, "nap").cooks, 2u);
    EXPECT_GE(left.totalSeconds, kNap);
    EXPECT_NEAR(right.totalSeconds, right.ownSeconds, kRounding);
    EXPECT_NEAR(both.totalSeconds, both.ownSeconds + left.totalSeconds + right.totalSeconds,
                kRounding);
}

TEST(SceneProfile, ACallTakesItsOwnTimeAndThatOfTheCallsBelow) {
    const SceneProfile profile = ProfileOf(Naps({"one", "two", "three"}));
    ASSERT_EQ(profile.calls.size(), 4u);
    EXPECT_EQ(profile.calls[0].parent, ProfiledCall::kNoParent);
    for (std::size_t i = 1; i < 4; ++i) {
        const CookTotals& above = profile.calls[i - 1].totals;
        EXPECT_EQ(profile.calls[i].parent, i - 1);
        EXPECT_NEAR(above.totalSeconds, above.ownSeconds + profile.calls[i].totals.totalSeconds,
                    kRounding);
    }
    EXPECT_EQ(profile.ops[profile.calls[0].op].name, "three");
    EXPECT_NEAR(profile.totals.totalSeconds, profile.calls[0].totals.totalSeconds, kRounding);
    EXPECT_NEAR(profile.totals.ownSeconds, profile.totals.totalSeconds, kRounding);
    EXPECT_LE(profile.totals.totalSeconds, profile.seconds);
}

TEST(SceneProfile, PutsTheCostliestOpsTypesAndLocationsFirst) {
    const SceneProfile profile = ProfileOf(Naps({"one"}));
    const auto isSorted = [](const auto& costs) {
        return std::is_sorted(costs.begin(), costs.end(), [](const auto& one, const auto& next) {
            return one.totals.ownSeconds > next.totals.ownSeconds;
        });
    };
    EXPECT_TRUE(isSorted(profile.ops));
    EXPECT_TRUE(isSorted(profile.opTypes));
    EXPECT_TRUE(isSorted(profile.locations));
    EXPECT_GE(profile.ops.front().totals.ownSeconds, kNap);
    EXPECT_GE(profile.locations.front().totals.ownSeconds, kNap);
}

TEST(SceneProfile, EqualOpsAreOne) {
    const auto tree = TaggedTree({"a"});
    const SceneProfile profile = ProfileOf(Group(
        {{"one", tree}, {"same", tree}, {"both", OpEntry("TestMerge", {}, {"one", "same"})}}));
    EXPECT_EQ(profile.ops.size(), 2u);
    EXPECT_EQ(TotalsOfOp(profile, "one").cooks, 2u);
}

TEST(SceneProfile, CountsAnErrorWhereItArose) {
    const SceneProfile profile = ProfileOf(
        Group({{"source", TaggedTree({"a", "b", "c"})},
               {"broken", OpEntry("TestThrow", Group({{"at", Text("/root/b")}}), {"source"})},
               {"top", OpEntry("TestMerge", {}, {"broken"})}}));
    EXPECT_EQ(profile.totals.errors, 1u);
    EXPECT_EQ(TotalsOfOp(profile, "broken").errors, 1u);
    EXPECT_EQ(TotalsOfOp(profile, "top").errors, 0u);
    EXPECT_EQ(TotalsOfOp(profile, "top").cooks, 4u);
    EXPECT_EQ(TotalsAt(profile, "/root/b").errors, 1u);
    ASSERT_EQ(profile.errors.size(), 1u);
    EXPECT_EQ(profile.errors[0].text,
              "Op \"broken\" (TestThrow) at \"/root/b\": It fails on purpose.");
}

TEST(SceneProfile, KeepsTheWantedNumberOfErrors) {
    TELLAR::ProfileLimits limits;
    limits.errors = 0;
    const SceneProfile profile = ProfileOf(
        Group({{"source", TaggedTree({"a"})},
               {"broken", OpEntry("TestThrow", Group({{"at", Text("/root/a")}}), {"source"})}}),
        limits);
    EXPECT_THAT(profile.errors, IsEmpty());
    EXPECT_EQ(profile.totals.errors, 1u);
}

TEST(SceneProfile, CountsTheBytesThatAnOpMakes) {
    const SceneProfile profile = ProfileOf(Group({{"source", TaggedTree({"a"})},
                                                  {"pass", OpEntry("TestMerge", {}, {"source"})},
                                                  {"give", OpEntry("TestGive", {}, {"pass"})}}));
    EXPECT_EQ(TotalsOfOp(profile, "source").bytesMade, 5u + 1u + 7u); // "/root", "a", "/root/a"
    EXPECT_EQ(TotalsOfOp(profile, "pass").bytesMade, 0u);
    EXPECT_EQ(TotalsOfOp(profile, "give").bytesMade, 2 * 8000u);
    EXPECT_EQ(TotalsAt(profile, "/root/a").bytesMade, 8007u);
}

TEST(SceneProfile, AValueThatWasReadUnderAnotherNameIsNotMade) {
    const SceneProfile profile = ProfileOf(Group({{"source", TaggedTree({})},
                                                  {"give", OpEntry("TestGive", {}, {"source"})},
                                                  {"move", OpEntry("TestMove", {}, {"give"})}}));
    EXPECT_EQ(TotalsOfOp(profile, "give").bytesMade, 8000u);
    EXPECT_EQ(TotalsOfOp(profile, "move").bytesMade, 0u);
}

// More locations than a profile remembers. On a busy machine others may cost more than a nap.
TEST(SceneProfile, KeepsTheCostliestOfManyLocations) {
    std::vector<std::string> names(20000);
    for (std::size_t i = 0; i < names.size(); ++i)
        names[i] = std::to_string(i);
    TELLAR::ProfileLimits limits;
    limits.locations = 50;
    const SceneProfile profile = ProfileOf(Group({{"source", TaggedTree(names)},
                                                  {"early", NapAt("/root/5", "source")},
                                                  {"late", NapAt("/root/19000", "early")}}),
                                           limits);
    ASSERT_EQ(profile.locations.size(), 50u);
    EXPECT_GE(profile.locations[0].totals.ownSeconds, kNap);
    EXPECT_GE(profile.locations[1].totals.ownSeconds, kNap);
    EXPECT_EQ(profile.totals.cooks, 3 * 20001u);
}

TEST(SceneProfile, HasNoEventsUnlessTheyAreWanted) {
    const SceneProfile profile = ProfileOf(Naps({"one"}));
    EXPECT_THAT(profile.events, IsEmpty());
    EXPECT_EQ(profile.eventsLeftOut, 6u);
}

TEST(SceneProfile, EventsStandWithinThoseThatNeededThem) {
    TELLAR::ProfileLimits limits;
    limits.events = 100;
    const SceneProfile profile = ProfileOf(Naps({"one", "two"}), limits);
    ASSERT_EQ(profile.events.size(), 9u);
    EXPECT_EQ(profile.eventsLeftOut, 0u);
    for (std::size_t i = 0; i < 9; i += 3) { // a location's events follow each other
        const ProfiledEvent& outer = profile.events[i];
        const ProfiledEvent& inner = profile.events[i + 1];
        EXPECT_EQ(profile.ops[outer.op].name, "two");
        EXPECT_EQ(profile.ops[inner.op].name, "one");
        EXPECT_EQ(outer.location, inner.location);
        EXPECT_LE(outer.start, inner.start);
        EXPECT_GE(outer.start + outer.seconds, inner.start + inner.seconds);
        EXPECT_EQ(outer.kind, ProfiledEvent::Cook);
    }
}

TEST(SceneProfile, KeepsTheLongestEvents) {
    TELLAR::ProfileLimits limits;
    limits.events = 2;
    const SceneProfile profile = ProfileOf(Naps({"one", "two"}), limits);
    ASSERT_EQ(profile.events.size(), 2u);
    EXPECT_EQ(profile.eventsLeftOut, 7u);
    EXPECT_GE(profile.events[0].seconds, kNap);
    EXPECT_GE(profile.events[1].seconds, kNap);
}

TEST(SceneProfile, AnEventTellsThatItsCookFailed) {
    TELLAR::ProfileLimits limits;
    limits.events = 10;
    const SceneProfile profile = ProfileOf(
        Group({{"source", TaggedTree({"a"})},
               {"broken", OpEntry("TestThrow", Group({{"at", Text("/root/a")}}), {"source"})}}),
        limits);
    for (const ProfiledEvent& event : profile.events)
        EXPECT_EQ(event.hasFailed, event.location == "/root/a");
}

TEST(SceneProfile, DoesNotSeeWhatWasCookedBeforeAndAfter) {
    const auto client = MakeClient(Group({{"source", TaggedTree({"a", "b"})}}));
    client->cookLocation("/root");
    CookProfiler profiler;
    client->cookLocation("/root");
    client->cookLocation("/root/a");
    profiler.stop();
    client->cookLocation("/root/b");
    const SceneProfile profile = profiler.take();
    ASSERT_EQ(profile.locations.size(), 1u);
    EXPECT_EQ(profile.locations[0].path, "/root/a");
}

TEST(SceneProfile, TwoProfilersAtOnceSeeTheSame) {
    CookProfiler other;
    const SceneProfile profile = ProfileOf(Naps({"one"}));
    EXPECT_EQ(other.take().totals.cooks, profile.totals.cooks);
}

TEST(SceneProfile, NothingCookedIsAnEmptyProfile) {
    const SceneProfile profile = CookProfiler().take();
    EXPECT_EQ(profile.totals.cooks, 0u);
    EXPECT_THAT(profile.ops, IsEmpty());
    EXPECT_THAT(profile.calls, IsEmpty());
    EXPECT_EQ(profile.threads, 0u);
}

TEST(CookLocations, CountsLocationsAndFailures) {
    const auto root = TELLAR::CreateSyncGeometryProducer(
        MakeClient(Group(
            {{"source", TaggedTree({"a", "b", "c"})},
             {"broken", OpEntry("TestThrow", Group({{"at", Text("/root/b")}}), {"source"})}})),
        "/root");
    std::atomic<std::uint64_t> count{5};
    const CookedLocations cooked = TELLAR::CookLocations(root, {}, &count);
    EXPECT_EQ(cooked.locations, 3u);
    EXPECT_EQ(cooked.failed, 1u);
    EXPECT_EQ(count, 9u);
    EXPECT_EQ(ErrorOf([&] { std::rethrow_exception(cooked.firstError); }),
              "Op \"broken\" (TestThrow) at \"/root/b\": It fails on purpose.");
    EXPECT_EQ(cooked.end, TELLAR::VisitEnd::Done);
}

TEST(CookLocations, TellsThatItWasCancelled) {
    const auto root =
        TELLAR::CreateSyncGeometryProducer(MakeClient(Group({{"s", TaggedTree({"a"})}})), "/root");
    const CookedLocations cooked = TELLAR::CookLocations(root, {1, false, [] { return true; }});
    EXPECT_EQ(cooked.end, TELLAR::VisitEnd::Cancelled);
    EXPECT_EQ(cooked.locations, 0u);
}

} // namespace
