#include <OxTellarProducers/LocationHistory.h>

#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "ErrorOf.h"
#include "HistoryScenes.h"
#include "RunTogether.h"
#include "SceneBuilders.h"
#include "TestOps.h"

namespace {

using namespace TellarTest;
using OxAttribute::GroupAttribute;
using TELLAR::GetLocationHistory;
using TELLAR::HistoryOutcome;
using TELLAR::LocationHistory;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

LocationHistory HistoryOf(const GroupAttribute& ops, const std::string& location,
                          const std::string& attribute = {}) {
    return GetLocationHistory(MakeClient(ops), location, attribute);
}

TEST(LocationHistory, TellsAllOpsFromTheSourceToTheLastOne) {
    const auto history = HistoryOf(Group({Scene("a", Location({{"size", Int(1)}})),
                                          Edit("b", "a", "/root/other", {{"size", Int(2)}}),
                                          Edit("c", "b", "/root/x", {{"size", Int(3)}}),
                                          Edit("d", "c", "/root/x", {{"new", Int(4)}})}),
                                   "/root/x", "size");
    EXPECT_THAT(StepsOf(history),
                ElementsAre("a made 1", "b passed 0", "c changed 1 -> 3 from 1", "d passed 2"));
    EXPECT_EQ(history.outcome, HistoryOutcome::Found);
    EXPECT_EQ(history.subject, "/root/x");
    EXPECT_EQ(IntOf(history.value), 3);
    EXPECT_EQ(history.decidedBy, 2u);
    EXPECT_EQ(history.numberOfOps, 4u);
}

TEST(LocationHistory, TellsWhoSetAnAttributeThatTheLocationWasMadeWithout) {
    const auto history =
        HistoryOf(Group({Scene("a", Location({})), Edit("b", "a", "/root/x", {{"size", Int(3)}})}),
                  "/root/x", "size");
    EXPECT_THAT(StepsOf(history), ElementsAre("a made none", "b set 3 from 0"));
    EXPECT_EQ(history.decidedBy, 1u);
}

TEST(LocationHistory, FindsAttributesInGroups) {
    const auto history =
        HistoryOf(Group({Scene("a", Location({{"light", Group({{"size", Int(1)}})}})),
                         Edit("b", "a", "/root/x", {{"light", Group({{"size", Int(2)}})}})}),
                  "/root/x", "light.size");
    EXPECT_THAT(StepsOf(history), ElementsAre("a made 1", "b changed 1 -> 2 from 0"));
}

TEST(LocationHistory, TakesAGroupApart) {
    const auto history = HistoryOf(
        Group({Scene("a", Location({{"light", Group({{"size", Int(1)}, {"on", Int(1)}})}})),
               Edit("b", "a", "/root/x", {{"light", Group({{"size", Int(2)}, {"far", Int(9)}})}},
                    {"light.on"})}),
        "/root/x", "light");
    EXPECT_THAT(ChangesOf(history.steps.at(1)),
                testing::UnorderedElementsAre("light.size 1 -> 2", "light.far none -> 9",
                                              "light.on 1 -> none"));
}

TEST(LocationHistory, CountsTheValuesThatDiffer) {
    const auto history =
        HistoryOf(Group({Scene("a", Location({{"p", Doubles({1, 2, 3})}})),
                         Edit("b", "a", "/root/x", {{"p", Doubles({1, 5, 3.5})}})}),
                  "/root/x", "p");
    const TELLAR::HistoryChange& change = history.steps.at(1).changes.at(0);
    EXPECT_EQ(change.kind, TELLAR::ValueDifference::Values);
    EXPECT_EQ(change.compared, 3);
    EXPECT_EQ(change.differing, 2);
    EXPECT_EQ(change.largest, 3);
    EXPECT_EQ(history.steps.at(0).changes.at(0).kind, TELLAR::ValueDifference::Added);
}

TEST(LocationHistory, TellsWhichInputOfAMergeWins) {
    const auto history = HistoryOf(
        Group({Scene("a", Location({{"size", Int(1)}})), Scene("b", Location({{"size", Int(2)}})),
               Scene("c", Location({{"other", Int(2)}})), OpOf("m", "Merge", {}, {"a", "b", "c"})}),
        "/root/x", "size");
    EXPECT_THAT(StepsOf(history), ElementsAre("b made 2", "a made 1", "m passed 0 not 1"));
    EXPECT_EQ(history.steps.at(2).reads.at(0).input, 1u);
    EXPECT_EQ(history.steps.at(2).reads.at(1).input, 0u);
    EXPECT_EQ(history.decidedBy, 0u);
}

TEST(LocationHistory, TellsWhichLocationsOfAMergeHaveLostAllValues) {
    const auto history =
        HistoryOf(Group({Scene("lost", Location({{"size", Int(1)}, {"g", Group({{"p", Int(2)}})}})),
                         Scene("won", Location({{"size", Int(1)}, {"g", Group({{"p", Int(3)}})}})),
                         Scene("part", Location({{"g", Group({{"p", Int(3)}})}})),
                         OpOf("m", "Merge", {}, {"lost", "won", "part"})}),
                  "/root/x");
    EXPECT_THAT(StepsOf(history), ElementsAre("won made", "lost made", "m passed 0 not 1"));
}

TEST(LocationHistory, PrefersTheValueItselfToAnEqualOne) {
    const auto history = HistoryOf(
        Group({Scene("a", Location({{"p", Doubles({1, 2})}, {"q", Int(1)}})),
               Scene("b", Location({{"p", Doubles({1, 2})}})), OpOf("m", "Merge", {}, {"a", "b"})}),
        "/root/x", "p");
    EXPECT_EQ(history.steps.at(0).op->getName(), "b");
    EXPECT_EQ(history.steps.size(), 2u);
}

TEST(LocationHistory, TellsWhatEachInputOfAMergeContributesToAGroup) {
    const auto history =
        HistoryOf(Group({Scene("a", Location({{"g", Group({{"p", Int(1)}, {"q", Int(2)}})}})),
                         Scene("b", Location({{"g", Group({{"q", Int(3)}})}})),
                         OpOf("m", "Merge", {}, {"a", "b"})}),
                  "/root/x", "g");
    EXPECT_EQ(StepsOf(history).at(2), "m changed group -> group from 0 and 1");
    EXPECT_THAT(ChangesOf(history.steps.at(2)), ElementsAre("g.q 2 -> 3 from /root/x of 1"));
}

TEST(LocationHistory, TellsWhoDeletedAnAttribute) {
    const auto history = HistoryOf(
        Group({Scene("empty", Location({})), Scene("a", Location({{"size", Int(1)}})),
               Edit("b", "a", "/root/x", {}, {"size"}), OpOf("m", "Merge", {}, {"empty", "b"})}),
        "/root/x", "size");
    EXPECT_EQ(history.outcome, HistoryOutcome::Dropped);
    EXPECT_FALSE(history.value.isValid());
    EXPECT_THAT(StepsOf(history), ElementsAre("empty made none", "a made 1",
                                              "b deleted 1 -> none from 1", "m passed 0 and 2"));
    EXPECT_EQ(history.decidedBy, 2u);
}

TEST(LocationHistory, ListsWhatEachOpDidToALocation) {
    const auto history =
        HistoryOf(Group({Scene("a", Location({{"size", Int(1)}}, {{"y", Location({})}})),
                         Edit("b", "a", "/root/x", {{"size", Int(2)}, {"new", Int(3)}}),
                         OpOf("c", "Prune", Group({{"paths", Texts({"/root/x/y"})}}), {"b"})}),
                  "/root/x");
    EXPECT_THAT(StepsOf(history), ElementsAre("a made", "b changed from 0", "c changed from 1"));
    EXPECT_THAT(ChangesOf(history.steps.at(0)), ElementsAre("size none -> 1"));
    EXPECT_THAT(ValuesOf(history.steps.at(0).addedChildren), ElementsAre("y"));
    EXPECT_THAT(ChangesOf(history.steps.at(1)), ElementsAre("size 1 -> 2", "new none -> 3"));
    EXPECT_FALSE(history.steps.at(1).addedChildren.isValid());
    EXPECT_THAT(ChangesOf(history.steps.at(2)), IsEmpty());
    EXPECT_THAT(ValuesOf(history.steps.at(2).removedChildren), ElementsAre("y"));
}

TEST(LocationHistory, TellsOfChildrenInAnotherOrder) {
    const auto history =
        HistoryOf(Group({Scene("a", Location({}, {{"p", Location({})}, {"q", Location({})}})),
                         OpOf("b", "TestReverseChildren", {}, {"a"})}),
                  "/root/x");
    EXPECT_TRUE(history.steps.at(1).areChildrenReordered);
    EXPECT_FALSE(history.steps.at(1).addedChildren.isValid());
    EXPECT_FALSE(history.steps.at(1).removedChildren.isValid());
    EXPECT_FALSE(history.steps.at(0).areChildrenReordered);
}

TEST(LocationHistory, FollowsALocationToThePlaceThatItIsCopiedFrom) {
    const auto history =
        HistoryOf(Group({Scene("a", Location({{"size", Int(1)}})),
                         Edit("b", "a", "/root/x", {{"size", Int(2)}}),
                         OpOf("c", "TestMove",
                              Group({{"from", Text("/root/x")}, {"to", Text("/root/z")}}), {"b"}),
                         Edit("d", "c", "/root/z", {{"size", Int(3)}})}),
                  "/root/z", "size");
    EXPECT_THAT(StepsOf(history),
                ElementsAre("a at /root/x made 1", "b at /root/x changed 1 -> 2 from 0",
                            "c copied 2 from 1", "d changed 2 -> 3 from 2"));
}

TEST(LocationHistory, TellsOfAnAttributeThatIsCopiedFromAnotherLocation) {
    const GroupAttribute red = Group({{"color", Int(1)}});
    const GroupAttribute blue = Group({{"color", Int(2)}});
    const GroupAttribute scene = Group({{"c", Group({{"x", Location({{"material", blue}})},
                                                     {"red", Location({{"material", red}})}})}});
    const auto history = HistoryOf(
        Group(
            {{"a", OpEntry("StaticScene", scene)},
             OpOf("b", "MaterialAssign",
                  Group({{"paths", Texts({"/root/x"})}, {"material", Text("/root/red")}}), {"a"})}),
        "/root/x", "material");
    EXPECT_THAT(StepsOf(history), ElementsAre("a at /root/red made group", "a made group",
                                              "b copied group -> group from 0 not 1"));
    EXPECT_THAT(ChangesOf(history.steps.at(2)), ElementsAre("material.color 2 -> 1"));
    EXPECT_EQ(history.decidedBy, 2u);
}

TEST(LocationHistory, TakesValuesThatAreEqualByChanceForNoCopies) {
    const auto history = HistoryOf(
        Group({{"a", OpEntry("StaticScene",
                             Group({{"c", Group({{"x", Location({})},
                                                 {"y", Location({{"size", Int(7)}})}})}}))},
               OpOf("b", "TestReadOther", Group({{"other", Text("/root/y")}, {"size", Int(7)}}),
                    {"a"})}),
        "/root/x", "size");
    EXPECT_THAT(StepsOf(history), ElementsAre("a made none", "b set 7 from 0"));
    EXPECT_EQ(history.steps.at(1).changes.at(0).copiedFrom, "");
}

TEST(LocationHistory, TellsWhichOpRemovedALocation) {
    // A Prune does not even read what it removes.
    const auto history =
        HistoryOf(Group({Scene("a", Location({}, {{"y", Location({})}})),
                         OpOf("b", "Prune", Group({{"paths", Texts({"/root/x"})}}), {"a"}),
                         Edit("c", "b", "/root/x", {{"size", Int(1)}})}),
                  "/root/x/y", "size");
    EXPECT_EQ(history.outcome, HistoryOutcome::Dropped);
    EXPECT_EQ(history.subject, "/root/x");
    EXPECT_TRUE(history.wasThereBefore);
    EXPECT_THAT(StepsOf(history), ElementsAre("a made", "b pruned from 0", "c absent 1"));
    EXPECT_EQ(history.decidedBy, 1u);
}

TEST(LocationHistory, TellsWhetherALocationWasInARemovedOne) {
    const auto history =
        HistoryOf(Group({Scene("a", Location({})),
                         OpOf("b", "Prune", Group({{"paths", Texts({"/root/x"})}}), {"a"})}),
                  "/root/x/y");
    EXPECT_EQ(history.outcome, HistoryOutcome::Dropped);
    EXPECT_EQ(history.subject, "/root/x");
    EXPECT_FALSE(history.wasThereBefore);
}

TEST(LocationHistory, TellsOfTheInputsFromWhichALocationWasRemoved) {
    const GroupAttribute atX = Group({{"at", Text("/root/x")}});
    const auto history =
        HistoryOf(Group({Scene("a", Location({})), OpOf("early", "TestDrop", atX, {"a"}),
                         OpOf("late", "TestDrop", atX, {"early", "a", "a"})}),
                  "/root/x");
    EXPECT_THAT(StepsOf(history),
                ElementsAre("a made", "early pruned from 0", "late pruned from 0 and 0"));
}

TEST(LocationHistory, LeavesOutInputsThatNeverHadALocationThatWasRemoved) {
    const auto history =
        HistoryOf(Group({Scene("a", Location({})),
                         {"z", OpEntry("StaticScene", Group({}))},
                         OpOf("b", "Prune", Group({{"paths", Texts({"/root/x"})}}), {"a"}),
                         OpOf("m", "Merge", {}, {"z", "b"})}),
                  "/root/x");
    EXPECT_THAT(StepsOf(history), ElementsAre("a made", "b pruned from 0", "m absent 1"));
}

TEST(LocationHistory, SaysThatALocationWasNeverMade) {
    const auto history = HistoryOf(Group({Scene("a", Location({}, {{"wheel", Location({})}})),
                                          Edit("b", "a", "/root/x", {{"size", Int(1)}})}),
                                   "/root/x/weel/rim");
    EXPECT_EQ(history.outcome, HistoryOutcome::NeverMade);
    EXPECT_EQ(history.subject, "/root/x/weel");
    EXPECT_THAT(history.steps, IsEmpty());
    EXPECT_FALSE(history.decidedBy.has_value());
    EXPECT_THAT(history.similar, ElementsAre("/root/x/wheel"));
    EXPECT_THAT(ValuesOf(history.siblings), ElementsAre("wheel"));
}

TEST(LocationHistory, SuggestsTheRootThatAPathLacks) {
    const auto history = HistoryOf(Group({Scene("a", Location({}))}), "/x");
    EXPECT_EQ(history.outcome, HistoryOutcome::NeverMade);
    EXPECT_THAT(history.similar, ElementsAre("/root/x"));
}

TEST(LocationHistory, SaysThatAnAttributeWasNeverMade) {
    const GroupAttribute ops =
        Group({Scene("a", Location({{"light", Group({{"angle", Int(1)}})}}))});
    const auto history = HistoryOf(ops, "/root/x", "light.angel");
    EXPECT_EQ(history.outcome, HistoryOutcome::NeverMade);
    EXPECT_THAT(history.similar, testing::Contains("light.angle"));
    EXPECT_THAT(StepsOf(history), ElementsAre("a made none"));
    EXPECT_FALSE(history.decidedBy.has_value());
    EXPECT_THAT(HistoryOf(ops, "/root/x", "angle").similar, ElementsAre("light.angle"));
}

TEST(LocationHistory, TellsOfALocationThatItsParentDoesNotName) {
    const auto history = HistoryOf(TestTree(Texts({"a"})), "/root/b/c");
    EXPECT_EQ(history.outcome, HistoryOutcome::Unnamed);
    EXPECT_EQ(history.subject, "/root/b");
    EXPECT_FALSE(history.decidedBy.has_value());
    EXPECT_THAT(StepsOf(history), ElementsAre("tree at /root made none"));
}

TEST(LocationHistory, TellsWhoTookALocationsNameFromItsParent) {
    const auto history =
        HistoryOf(Group({Scene("a", Location({})), OpOf("b", "TestNoChildren", {}, {"a"}),
                         OpOf("c", "TestNoChildren", {}, {"b"})}),
                  "/root/x");
    EXPECT_EQ(history.outcome, HistoryOutcome::Unnamed);
    EXPECT_THAT(StepsOf(history),
                ElementsAre("a at /root made \"x\"", "b at /root deleted \"x\" -> none from 0",
                            "c at /root passed 1"));
    EXPECT_EQ(history.decidedBy, 1u);
}

TEST(LocationHistory, TellsWhichOpFailed) {
    const auto history =
        HistoryOf(Group({Scene("a", Location({})),
                         OpOf("b", "TestThrow", Group({{"at", Text("/root/x")}}), {"a"}),
                         Edit("c", "b", "/root/x", {{"size", Int(1)}})}),
                  "/root/x/y", "size");
    EXPECT_EQ(history.outcome, HistoryOutcome::Failed);
    EXPECT_EQ(history.subject, "/root/x");
    EXPECT_THAT(StepsOf(history), ElementsAre("b failed", "c failed from 0"));
    EXPECT_EQ(history.decidedBy, 0u);
    EXPECT_EQ(history.steps.at(0).error.op, "b");
    EXPECT_THAT(history.steps.at(0).error.text, HasSubstr("It fails on purpose."));
}

TEST(LocationHistory, TellsOfAnOpWhoseTypeIsUnknown) {
    const auto history = HistoryOf(Group({OpOf("a", "NoSuchType", {}, {})}), "/root");
    EXPECT_EQ(history.outcome, HistoryOutcome::Failed);
    EXPECT_THAT(StepsOf(history), ElementsAre("a failed"));
}

TEST(LocationHistory, FollowsALongChain) {
    Children ops = {Scene("a", Location({{"size", Int(0)}}))};
    for (int i = 1; i <= 500; ++i)
        ops.push_back(Edit("e" + std::to_string(i), ops.back().first, "/root/x",
                           {{i % 100 == 0 ? "size" : "other", Int(i)}}));
    const auto history = HistoryOf(Group(ops), "/root/x", "size");
    EXPECT_EQ(history.steps.size(), 501u);
    EXPECT_EQ(IntOf(history.value), 500);
    EXPECT_EQ(history.decidedBy, 500u);
}

TEST(LocationHistory, TracesSharedOpsOnce) {
    Children ops = {Scene("a", Location({{"size", Int(0)}, {"tag", Text(UniqueTag())}}))};
    for (int i = 1; i <= 50; ++i) {
        const std::string below = ops.back().first;
        const std::string end = std::to_string(i);
        ops.push_back(Edit("l" + end, below, "/root/x", {{"left", Int(i)}}));
        ops.push_back(Edit("r" + end, below, "/root/x", {{"size", Int(i)}}));
        ops.push_back(OpOf("m" + end, "Merge", {}, {"l" + end, "r" + end}));
    }
    const auto client = MakeClient(Group(ops));
    const std::uint64_t before = TellarRuntime::getNumberOfCooks();
    const auto history = GetLocationHistory(client, "/root/x", "size");
    // All 151 ops, cooked at both locations of the path and traced once.
    EXPECT_EQ(history.steps.size(), 151u);
    EXPECT_LE(TellarRuntime::getNumberOfCooks() - before, 151u * 4);
}

TEST(LocationHistory, RefusesWhatIsNoQuestion) {
    const auto client = MakeClient(Group({Scene("a", Location({}))}));
    for (const char* path : {"", "x", "/", "/root/", "/root//x"}) {
        SCOPED_TRACE(path);
        EXPECT_EQ(ErrorOf<std::invalid_argument>([&] { GetLocationHistory(client, path); }),
                  '"' + std::string(path) + "\" is no absolute location path");
    }
    EXPECT_EQ(ErrorOf<std::invalid_argument>([] { GetLocationHistory(nullptr, "/root"); }),
              "a history needs a client");
}

TEST(LocationHistory, FindsNothingWithoutAnOp) {
    const auto runtime = TellarRuntime::create();
    const auto transaction = runtime->createTransaction();
    const auto client = transaction->createClient();
    runtime->commit(transaction);
    const auto history = GetLocationHistory(client, "/root", "size");
    EXPECT_EQ(history.outcome, HistoryOutcome::NeverMade);
    EXPECT_EQ(history.numberOfOps, 0u);
}

TEST(LocationHistory, AnswersSeveralThreadsAtOnce) {
    const auto client =
        MakeClient(Group({Scene("a", Location({{"size", Int(1)}, {"tag", Text(UniqueTag())}})),
                          Edit("b", "a", "/root/x", {{"size", Int(2)}})}));
    RunTogether(4, [&](int) {
        const auto history = GetLocationHistory(client, "/root/x", "size");
        EXPECT_THAT(StepsOf(history), ElementsAre("a made 1", "b changed 1 -> 2 from 0"));
    });
}

TEST(SimilarLocations, HasNoSuggestionsWithoutARoot) {
    EXPECT_THAT(TELLAR::SimilarLocations(nullptr, "/root"), IsEmpty());
}

} // namespace
