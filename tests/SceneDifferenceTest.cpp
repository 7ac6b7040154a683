#include <OxTellarProducers/SceneDifference.h>

#include <cmath>
#include <limits>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "ErrorOf.h"
#include "RunTogether.h"
#include "SceneBuilders.h"
#include "TestOps.h"

namespace {

using namespace TellarTest;
using OxAttribute::DoubleAttribute;
using OxAttribute::FloatAttribute;
using OxAttribute::GroupAttribute;
using TELLAR::DifferenceOptions;
using TELLAR::DifferenceSummary;
using TELLAR::LocationDifference;
using TELLAR::ValueDifference;
using TELLAR::VisitDifferences;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

using Client = std::shared_ptr<TellarRuntime::Client>;
using Lines = std::vector<std::string>;

/// "user.a values 1/3 0.5".
std::string TextOfValue(const ValueDifference& difference) {
    const char* const kinds[] = {"added", "removed", "type",        "size",
                                 "times", "values",  "inheritance", "order"};
    std::string text = difference.attribute + ' ' + kinds[difference.kind];
    if (difference.compared == 0) return text;
    text += ' ' + std::to_string(difference.differing) + '/' + std::to_string(difference.compared);
    if (difference.largest == 0) return text;
    return text + ' ' +
           (std::isinf(difference.largest) ? "inf" : std::to_string(difference.largest));
}

Lines LinesOf(const LocationDifference& difference) {
    const char* const kinds[] = {"removed ", "added ", "changed ", "failed "};
    std::string line = kinds[difference.kind] + difference.path;
    if (difference.below > 0) line += " +" + std::to_string(difference.below);
    if (difference.isReordered) line += " reordered";
    if (difference.oldError) line += " old";
    if (difference.newError) line += " new";
    Lines lines{line};
    for (const ValueDifference& value : difference.values)
        lines.push_back("  " + TextOfValue(value));
    return lines;
}

Lines Differences(const Client& before, const Client& after,
                  const DifferenceOptions& options = {}) {
    Lines all;
    VisitDifferences(before, after, options, [&all](const LocationDifference& difference) {
        for (std::string& line : LinesOf(difference))
            all.push_back(std::move(line));
        return true;
    });
    return all;
}

/// Compares two static scenes.
Lines Compared(const GroupAttribute& before, const GroupAttribute& after,
               const DifferenceOptions& options = {}) {
    return Differences(MakeClient(SceneTree(before)), MakeClient(SceneTree(after)), options);
}

/// What differs between two attributes "v" of /root, without the name.
Lines ComparedValues(const OxAttribute::Attribute& before, const OxAttribute::Attribute& after,
                     double tolerance = 0) {
    DifferenceOptions options;
    options.tolerance = tolerance;
    Lines lines = Compared(Location({{"v", before}}), Location({{"v", after}}), options);
    if (!lines.empty()) lines.erase(lines.begin());
    return lines;
}

/// A scene whose location `failing` cannot be cooked.
Client SceneThatFails(const char* failing, const GroupAttribute& root) {
    return MakeClient(
        Group({{"scene", OpEntry("StaticScene", root)},
               {"throw", OpEntry("TestThrow", Group({{"at", Text(failing)}}), {"scene"})}}));
}

} // namespace

TEST(VisitDifferences, FindsNothingBetweenEqualScenes) {
    const GroupAttribute root = Location({{"n", Int(1)}}, {{"a", Location({})}});
    EXPECT_THAT(Compared(root, root), IsEmpty());
    EXPECT_THAT(Differences(nullptr, nullptr), IsEmpty());
    EXPECT_TRUE(VisitDifferences(nullptr, nullptr, {}, nullptr).areEqual());
}

TEST(VisitDifferences, TellsOfLocationsThatAreRemovedAddedAndChanged) {
    const GroupAttribute tree =
        Location({}, {{"x", Location({})}, {"y", Location({}, {{"z", Location({})}})}});
    EXPECT_THAT(
        Compared(Location({}, {{"old", tree}, {"both", Location({{"n", Int(1)}})}}),
                 Location({}, {{"both", Location({{"n", Int(3)}})}, {"new", Location({})}})),
        ElementsAre("removed /root/old +3", "changed /root/both", "  n values 1/1 2.000000",
                    "added /root/new"));
}

TEST(VisitDifferences, TakesAMissingClientForASceneWithoutLocations) {
    const Client client = MakeClient(SceneTree(Location({}, {{"a", Location({})}})));
    EXPECT_THAT(Differences(nullptr, client), ElementsAre("added /root +1"));
    EXPECT_THAT(Differences(client, nullptr), ElementsAre("removed /root +1"));
}

TEST(VisitDifferences, TellsOfAnotherOrderOfChildren) {
    const GroupAttribute none = Location({});
    EXPECT_THAT(Compared(Location({}, {{"a", none}, {"b", none}}),
                         Location({}, {{"b", none}, {"a", none}})),
                ElementsAre("changed /root reordered"));
}

TEST(VisitDifferences, SumsUpTheDifferences) {
    const GroupAttribute one = Location({{"n", Int(1)}});
    const DifferenceSummary summary =
        VisitDifferences(MakeClient(SceneTree(Location({}, {{"a", one}, {"b", one}, {"c", one}}))),
                         MakeClient(SceneTree(Location({}, {{"c", Location({})}, {"d", one}}))), {},
                         [](const LocationDifference&) { return true; });
    EXPECT_EQ(summary.removed, 2u);
    EXPECT_EQ(summary.added, 1u);
    EXPECT_EQ(summary.changed, 1u);
    EXPECT_EQ(summary.failed, 0u);
    EXPECT_EQ(summary.end, TELLAR::VisitEnd::Done);
    EXPECT_FALSE(summary.areEqual());
}

TEST(VisitDifferences, ComparesValuesOneByOne) {
    EXPECT_THAT(ComparedValues(Doubles({1, 2, 3}), Doubles({1, 2.5, 2})),
                ElementsAre("  v values 2/3 1.000000"));
    EXPECT_THAT(ComparedValues(Texts({"a", "b"}), Texts({"a", "c"})),
                ElementsAre("  v values 1/2"));
    EXPECT_THAT(ComparedValues(Int(1), Text("1")), ElementsAre("  v type"));
    EXPECT_THAT(ComparedValues(Int(1), Group({{"x", Int(1)}})), ElementsAre("  v type"));
    EXPECT_THAT(ComparedValues(Doubles({1}), Doubles({1, 2})), ElementsAre("  v size"));
    EXPECT_THAT(ComparedValues(DoubleAttribute({1, 2}, 1), DoubleAttribute({1, 2}, 2)),
                ElementsAre("  v size"));
}

TEST(VisitDifferences, ComparesAllTimeSamples) {
    const auto moving = [](float end, double value) {
        return DoubleAttribute(std::map<float, std::vector<double>>{{0.0f, {1}}, {end, {value}}},
                               1);
    };
    EXPECT_THAT(ComparedValues(moving(1, 2), moving(1, 4)), ElementsAre("  v values 1/2 2.000000"));
    EXPECT_THAT(ComparedValues(moving(1, 2), moving(0.5, 2)), ElementsAre("  v times 0/2"));
    EXPECT_THAT(ComparedValues(moving(1, 2), moving(0.5, 3)),
                ElementsAre("  v times 1/2 1.000000"));
    EXPECT_THAT(ComparedValues(moving(1, 2), DoubleAttribute(1.0)), ElementsAre("  v times"));
}

TEST(VisitDifferences, ListsTheValuesInGroups) {
    const auto settings = [](const Children& children) {
        return Group({{"deep", Group(children)}});
    };
    EXPECT_THAT(
        ComparedValues(settings({{"a", Int(1)}, {"b", Int(1)}}),
                       settings({{"c", Int(1)}, {"b", Int(2)}})),
        ElementsAre("  v.deep.c added", "  v.deep.b values 1/1 1.000000", "  v.deep.a removed"));
    EXPECT_THAT(Compared(Location({}), Location({{"g", Group({{"a", Int(1)}, {"b", Int(1)}})}})),
                ElementsAre("changed /root", "  g.a added", "  g.b added"));
    EXPECT_THAT(Compared(Location({{"g", Group({})}}), Location({})),
                ElementsAre("changed /root", "  g removed"));
}

TEST(VisitDifferences, TellsOfTheOrderAndTheInheritanceOfGroups) {
    EXPECT_THAT(ComparedValues(Group({{"a", Int(1)}, {"b", Int(1)}}),
                               Group({{"b", Int(1)}, {"a", Int(1)}})),
                ElementsAre("  v order"));
    EXPECT_THAT(ComparedValues(GroupAttribute(false), GroupAttribute(true)),
                ElementsAre("  v inheritance"));
}

TEST(VisitDifferences, ComparesNumbersBitByBitWithoutTolerance) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_THAT(ComparedValues(Doubles({0.0}), Doubles({-0.0})), ElementsAre("  v values 1/1"));
    EXPECT_THAT(ComparedValues(Doubles({nan}), Doubles({nan})), IsEmpty());
    EXPECT_THAT(ComparedValues(Doubles({nan}), Doubles({1})), ElementsAre("  v values 1/1 inf"));
}

TEST(VisitDifferences, TakesNumbersWithinTheToleranceForEqual) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double infinity = std::numeric_limits<double>::infinity();
    EXPECT_THAT(ComparedValues(Doubles({1, 2}), Doubles({1.5, 2.5}), 0.5), IsEmpty());
    EXPECT_THAT(ComparedValues(Doubles({1, 2}), Doubles({1.5, 3}), 0.5),
                ElementsAre("  v values 1/2 1.000000"));
    EXPECT_THAT(ComparedValues(FloatAttribute(1.0f), FloatAttribute(1.25f), 0.25), IsEmpty());
    EXPECT_THAT(ComparedValues(Int(4), Int(5), 1), IsEmpty());
    EXPECT_THAT(ComparedValues(Doubles({-0.0}), Doubles({0.0}), 1e-9), IsEmpty());
    EXPECT_THAT(ComparedValues(Doubles({nan}), Doubles({-nan}), 1e-9), IsEmpty());
    EXPECT_THAT(ComparedValues(Doubles({nan}), Doubles({1}), 1e9),
                ElementsAre("  v values 1/1 inf"));
    EXPECT_THAT(ComparedValues(Doubles({infinity}), Doubles({-infinity}), 1e9),
                ElementsAre("  v values 1/1 inf"));
    EXPECT_THAT(ComparedValues(Text("1"), Text("2"), 10), ElementsAre("  v values 1/1"));
}

TEST(VisitDifferences, RefusesWhatIsNoTolerance) {
    DifferenceOptions options;
    for (const double tolerance : {-1.0, std::numeric_limits<double>::quiet_NaN()}) {
        options.tolerance = tolerance;
        EXPECT_THROW(VisitDifferences(nullptr, nullptr, options, nullptr), std::invalid_argument);
    }
}

TEST(VisitDifferences, ComparesOnlyAttributesThatMatchAPattern) {
    const auto scene = [](int n) {
        return Location({{"xform", Group({{"translate", Int(n)}})},
                         {"geometry", Group({{"point", Group({{"P", Int(n)}, {"N", Int(n)}})}})},
                         {"n", Int(n)}},
                        n == 1 ? Children{{"a", Location({})}, {"b", Location({})}}
                               : Children{{"b", Location({})}, {"a", Location({})}});
    };
    const auto only = [&](const std::vector<std::string>& patterns) {
        DifferenceOptions options;
        options.attributes = patterns;
        return Compared(scene(1), scene(2), options);
    };
    EXPECT_THAT(only({"xform"}), ElementsAre("changed /root", HasSubstr("xform.translate")));
    EXPECT_THAT(only({"geometry.**.P"}), ElementsAre("changed /root", HasSubstr("point.P")));
    EXPECT_THAT(only({"geometry.*.N", "?"}),
                ElementsAre("changed /root", HasSubstr("point.N"), HasSubstr(" n values")));
    EXPECT_THAT(only({"P", "geometry.poly"}), IsEmpty());
    EXPECT_EQ(only({"**"}).size(), 5u);
}

TEST(VisitDifferences, NamesAPatternThatIsNotSound) {
    DifferenceOptions options;
    options.attributes = {"xform", "a[b"};
    EXPECT_EQ(ErrorOf([&] { VisitDifferences(nullptr, nullptr, options, nullptr); }),
              "\"a[b\" is no pattern of attribute names");
}

TEST(VisitDifferences, ComparesTheLocationsBelowOneAlone) {
    const auto scene = [](int n) {
        const GroupAttribute group = Location({{"n", Int(n)}}, {{"x", Location({{"n", Int(n)}})}});
        return Location({{"n", Int(n)}}, {{"a", group}, {"b", group}});
    };
    DifferenceOptions options;
    options.location = "/root/b";
    EXPECT_THAT(Compared(scene(1), scene(2), options),
                ElementsAre("changed /root/b", "  n values 1/1 1.000000", "changed /root/b/x",
                            "  n values 1/1 1.000000"));
    options.location = "/root/none";
    EXPECT_THAT(Compared(scene(1), scene(2), options), IsEmpty());
}

TEST(VisitDifferences, TellsOfErrorsAndGoesOnWithTheSiblings) {
    const auto root = [](int n) {
        const GroupAttribute child = Location({{"n", Int(n)}}, {{"below", Location({})}});
        return Location({}, {{"a", child}, {"b", child}, {"c", child}});
    };
    const Lines around{"changed /root/a", "  n values 1/1 1.000000", "changed /root/c",
                       "  n values 1/1 1.000000"};
    const auto expected = [&](const char* failure) {
        return Lines{around[0], around[1], failure, around[2], around[3]};
    };
    EXPECT_EQ(Differences(SceneThatFails("no", root(1)), SceneThatFails("/root/b", root(2))),
              expected("failed /root/b new"));
    EXPECT_EQ(Differences(SceneThatFails("/root/b", root(1)), SceneThatFails("no", root(2))),
              expected("failed /root/b old"));
    EXPECT_EQ(Differences(SceneThatFails("/root/b", root(1)), SceneThatFails("/root/b", root(2))),
              expected("failed /root/b old new"));
}

TEST(VisitDifferences, TellsOfErrorsBelowALocationThatIsAdded) {
    const GroupAttribute tree = Location({}, {{"x", Location({})}, {"y", Location({})}});
    EXPECT_THAT(Differences(SceneThatFails("no", Location({})),
                            SceneThatFails("/root/new/x", Location({}, {{"new", tree}}))),
                ElementsAre("added /root/new +2", "failed /root/new/x new"));
}

TEST(VisitDifferences, ComparesScenesOfDifferentOpTypes) {
    const GroupAttribute names = Location({}, {{"a", Location({{"path", Text("/root/a")}})}});
    const Lines lines =
        Differences(MakeClient(TestTree(Texts({"a", "b"}))), MakeClient(SceneTree(names)));
    EXPECT_THAT(lines, ElementsAre("changed /root", "  path removed", "removed /root/b"));
}

TEST(VisitDifferences, CooksOnlyWhereTheOpsLetADifferenceShow) {
    const auto child = [](int n) { return Location({{"n", Int(n)}, {"tag", Text("same")}}); };
    const auto scene = [&](int n) {
        return MakeClient(SceneTree(Location({}, {{"a", child(1)}, {"b", child(n)}})));
    };
    const Client before = scene(1);
    const Client after = scene(2);
    EXPECT_EQ(Differences(before, after).size(), 2u);
    EXPECT_FALSE(after->getCachedLocation("/root/a").isValid());
}

TEST(VisitDifferences, LeavesOutSubtreesThatAreKnownToBeEqual) {
    const GroupAttribute same =
        Location({{"n", Int(1)}}, {{"x", Location({{"n", Int(2)}})}, {"y", Location({})}});
    // Inputs in another order, of which nothing is known but what the subtrees are.
    const auto scene = [&](const std::vector<std::string>& inputs) {
        return MakeClient(
            Group({{"same", OpEntry("StaticScene", Location({}, {{"same", same}}))},
                   {"other", OpEntry("StaticScene", Location({}, {{"other", Location({})}}))},
                   {"merge", OpEntry("Merge", Group({}), inputs)}}));
    };
    const Client before = scene({"same", "other"});
    const Client after = scene({"other", "same"});
    EXPECT_THAT(Differences(before, after), ElementsAre("changed /root reordered"));
    EXPECT_TRUE(after->getCachedLocation("/root/same").isValid());
    EXPECT_FALSE(after->getCachedLocation("/root/same/x").isValid());
}

TEST(VisitDifferences, EndsWhenTheVisitorWantsNoMore) {
    const auto scene = [](int n) {
        const GroupAttribute child = Location({{"n", Int(n)}});
        return MakeClient(SceneTree(Location({{"n", Int(n)}}, {{"a", child}, {"b", child}})));
    };
    int calls = 0;
    const DifferenceSummary summary = VisitDifferences(
        scene(1), scene(2), {}, [&](const LocationDifference&) { return ++calls < 2; });
    EXPECT_EQ(calls, 2);
    EXPECT_EQ(summary.changed, 2u);
    EXPECT_EQ(summary.end, TELLAR::VisitEnd::Stopped);
}

TEST(VisitDifferences, EndsWhenItIsCancelled) {
    const auto scene = [](int n) {
        return MakeClient(SceneTree(Location({{"n", Int(n)}}, {{"a", Location({{"n", Int(n)}})}})));
    };
    DifferenceOptions options;
    int questions = 0;
    options.isCancelled = [&] { return ++questions == 2; };
    const DifferenceSummary summary = VisitDifferences(
        scene(1), scene(2), options, [](const LocationDifference&) { return true; });
    EXPECT_EQ(summary.changed, 1u);
    EXPECT_EQ(summary.end, TELLAR::VisitEnd::Cancelled);
}

TEST(VisitDifferences, EndsTheCountOfAddedLocationsWhenItIsCancelled) {
    DifferenceOptions options;
    int questions = 0;
    options.isCancelled = [&] { return ++questions == 100; };
    int calls = 0;
    const Client endless =
        MakeClient(Group({{"tree", OpEntry("TestTree", Group({{"endless", Int(1)}}))}}));
    const DifferenceSummary summary =
        VisitDifferences(nullptr, endless, options, [&](const LocationDifference&) {
            ++calls;
            return true;
        });
    EXPECT_EQ(calls, 0);
    EXPECT_EQ(summary.end, TELLAR::VisitEnd::Cancelled);
}

TEST(VisitDifferences, PassesOnWhatTheVisitorThrows) {
    const Client before = MakeClient(SceneTree(Location({{"n", Int(1)}})));
    const Client after = MakeClient(SceneTree(Location({{"n", Int(2)}})));
    EXPECT_EQ(ErrorOf([&] {
                  VisitDifferences(before, after, {}, [](const LocationDifference&) -> bool {
                      throw std::runtime_error("no more");
                  });
              }),
              "no more");
}

TEST(VisitDifferences, GoesToTheEndOfADeepScene) {
    const auto scene = [](int n) {
        GroupAttribute location = Location({{"n", Int(n)}});
        for (int depth = 0; depth < 500; ++depth)
            location = Location({}, {{"a", location}});
        return location;
    };
    EXPECT_EQ(Compared(scene(1), scene(2)).size(), 2u);
}

TEST(VisitDifferences, GivesEightThreadsTheSameAnswer) {
    const auto scene = [](int n) {
        Children groups;
        for (int i = 0; i < 200; ++i)
            groups.emplace_back("group" + std::to_string(i), Location({{"n", Int(n * i)}}));
        return MakeClient(SceneTree(Location({{"tag", Text(UniqueTag())}}, groups)));
    };
    const Client before = scene(1);
    const Client after = scene(2);
    std::vector<Lines> lines(8);
    RunTogether(8, [&](int number) {
        lines[static_cast<std::size_t>(number)] = Differences(before, after);
    });
    EXPECT_EQ(lines[0].size(), 2u + 2 * 199);
    for (const Lines& each : lines)
        EXPECT_EQ(each, lines[0]);
}
