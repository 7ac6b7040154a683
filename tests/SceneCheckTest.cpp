#include <OxTellarProducers/SceneCheck.h>

#include <algorithm>
#include <atomic>
#include <stdexcept>
#include <string>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>

#include <OxTellarSDK/OpCheck.h>
#include <OxTellarSDK/TellarError.h>

#include "CheckScenes.h"
#include "TestOps.h"
#include "VisitScenes.h"

using namespace TellarTest;
using namespace OxAttribute;
using TELLAR::CheckFinding;
using TELLAR::CheckOptions;
using TELLAR::CheckReport;
using TELLAR::CheckScene;

namespace {

/// An op type that warns of nothing in particular.
class WarningOpType final : public OxOpType::OpType {
public:
    WarningOpType() { about.name = "TestWarning"; }
    const OxOpType::Description& description() const override { return about; }
    void cook(OxOpType::CookContext&) const override {}
    void check(OxOpType::CheckContext& context) const override { context.warn("it is odd"); }

private:
    OxOpType::Description about;
};

const bool isRegistered = [] {
    OxOpType::RegisterOpType(new WarningOpType);
    return true;
}();

/// A scene whose /root has children of these names.
GroupAttribute TreeOf(const std::vector<std::string>& names) {
    return Group({{"tree", OpEntry("TestTree", Group({{"children", Texts(names)}}))}});
}

Children Lamp(double intensity, double angle = 0) {
    return {{"type", Text("light")},
            {"light", Group({{"type", Text("directional")},
                             {"angle", Doubles({angle})},
                             {"intensity", Doubles({intensity})}})}};
}

/// All that a report tells, for comparisons.
std::vector<std::tuple<std::string, std::string, std::string, std::uint64_t>>
LinesOf(const CheckReport& report) {
    std::vector<std::tuple<std::string, std::string, std::string, std::uint64_t>> lines;
    for (const CheckFinding& one : report.findings)
        lines.emplace_back(one.rule, one.location, one.text, one.others);
    for (const auto& total : report.totals)
        lines.emplace_back(total.rule, "", "", total.count);
    return lines;
}

} // namespace

TEST(CheckScene, FindsNamesThatAreNoLevelOfAPath) {
    const CheckReport report = Check(TreeOf({"a/b", "", ".", "..", "fine"}));
    EXPECT_EQ(ProblemsOf(report, "name-level"),
              (std::vector<std::string>{"/root: one of its children has the name \"a/b\"",
                                        "/root: one of its children has the name \"\"",
                                        "/root: one of its children has the name \".\"",
                                        "/root: one of its children has the name \"..\""}));
}

TEST(CheckScene, FindsNamesThatAreNotUtf8) {
    const CheckReport report = Check(TreeOf({"w\xc3\xbcst", "a\xff"}));
    EXPECT_EQ(ProblemsOf(report, "name-utf8"),
              (std::vector<std::string>{
                  "/root: the name \"a\\xff\" of one of its children is not UTF-8"}));
}

TEST(CheckScene, FindsEachNameThatClashesOnce) {
    const CheckReport report = Check(TreeOf({"a", "b", "a", "a", "B"}));
    EXPECT_EQ(ProblemsOf(report, "name-clash"),
              (std::vector<std::string>{"/root: several of its children have the name \"a\""}));
}

TEST(CheckScene, TellsWarningsOfOpTypesThatItDoesNotKnow) {
    const CheckReport report =
        Check(Group({{"strange", OpEntry("TestWarning", Group({}))},
                     {"tree", OpEntry("TestTree", Group({}), {"strange"})}}));
    ASSERT_EQ(report.findings.size(), 1u);
    EXPECT_EQ(report.findings[0].rule, "op-warning");
    EXPECT_EQ(report.findings[0].op, "strange");
    EXPECT_EQ(report.findings[0].opType, "TestWarning");
    EXPECT_EQ(report.findings[0].location, "");
    EXPECT_EQ(report.findings[0].text, "it is odd; correct the arguments of the op");
}

TEST(CheckScene, TellsTheOpOfALocationThatCannotBeCooked) {
    const GroupAttribute scene =
        SceneTree(Location({}, {{"a", Location({})}, {"b", Location({})}}));
    Children ops{{"scene", scene.getChildByIndex(0)},
                 {"bad", OpEntry("TestThrow", Group({{"at", Text("/root/a")}}), {"scene"})}};
    const CheckReport report = Check(Group(ops));
    ASSERT_EQ(report.findings.size(), 1u);
    EXPECT_EQ(report.findings[0].rule, "cook-error");
    EXPECT_EQ(report.findings[0].location, "/root/a");
    EXPECT_EQ(report.findings[0].op, "bad");
    EXPECT_EQ(report.findings[0].opType, "TestThrow");
    EXPECT_NE(report.findings[0].text.find("It fails on purpose."), std::string::npos);
    EXPECT_EQ(report.locations, 3u);
    EXPECT_EQ(report.count(TELLAR::CheckSeverity::Error), 1u);
}

TEST(CheckScene, TakesEqualValuesForOneFindingAtTheFirstLocation) {
    const auto lamp = Location(Lamp(0));
    const CheckReport report = Check(SceneTree(
        Location({}, {{"z", lamp}, {"a", lamp}, {"dim", Location(Lamp(0, 2))}, {"b", lamp}})));
    ASSERT_EQ(report.findings.size(), 2u);
    EXPECT_EQ(report.findings[0].location, "/root/z");
    EXPECT_EQ(report.findings[0].others, 2u);
    EXPECT_EQ(report.findings[1].location, "/root/dim");
    EXPECT_EQ(report.findings[1].others, 0u);
    EXPECT_EQ(report.count(TELLAR::CheckSeverity::Warning), 4u);
}

TEST(CheckScene, ListsTheFirstFindingsAndCountsTheRest) {
    Children lamps;
    for (int i = 0; i < 20; ++i)
        lamps.emplace_back("l" + std::to_string(i), Location(Lamp(0, i)));
    CheckOptions options;
    options.mostFindings = 3;
    const CheckReport report = Check(SceneTree(Location({}, lamps)), options);
    ASSERT_EQ(report.findings.size(), 3u);
    EXPECT_EQ(report.findings[2].location, "/root/l2");
    ASSERT_EQ(report.totals.size(), 1u);
    EXPECT_EQ(report.totals[0].count, 20u);
}

TEST(CheckScene, AppliesTheWantedRulesOnly) {
    const GroupAttribute scene = SceneTree(Location(
        {}, {{"ball", Location({{"type", Text("sphere")}})}, {"lamp", Location(Lamp(0))}}));
    CheckOptions options;
    options.rules = {"light-dark", "mesh-index"};
    const CheckReport report = Check(scene, options);
    ASSERT_EQ(report.findings.size(), 1u);
    EXPECT_EQ(report.findings[0].rule, "light-dark");
}

TEST(CheckScene, RefusesAnUnknownRuleAndANullClient) {
    CheckOptions options;
    options.rules = {"mesh-indx"};
    EXPECT_THROW((void)Check(SceneTree(Location({})), options), std::invalid_argument);
    EXPECT_THROW((void)CheckScene(nullptr), std::invalid_argument);
}

TEST(CheckScene, RefusesAStartThatDoesNotExistOrCannotBeCooked) {
    CheckOptions options;
    options.start = "/root/nothing";
    EXPECT_THROW((void)Check(SceneTree(Location({})), options), std::runtime_error);
    const GroupAttribute bad =
        Group({{"bad", OpEntry("TestThrow", Group({{"at", Text("/root")}}))}});
    EXPECT_THROW((void)Check(bad), TellarError);
}

TEST(CheckScene, InheritsFromAboveAStartInTheMiddle) {
    const auto ball = Location({{"type", Text("sphere")}});
    const auto group =
        Location({{"material", Group({{"surfaceShader", Text("matte")}})}}, {{"ball", ball}});
    CheckOptions options;
    options.start = "/root/group/ball";
    EXPECT_TRUE(Check(SceneTree(Location({}, {{"group", group}})), options).findings.empty());
}

TEST(CheckScene, LeavesOutRulesThatNeedTheWholeSceneInAPart) {
    const GroupAttribute material = Location({{"type", Text("material")}});
    const GroupAttribute scene = SceneTree(Location({}, {{"a", Location({}, {{"m", material}})}}));
    EXPECT_EQ(RulesOf(Check(scene)), std::vector<std::string>{"material-unused"});
    CheckOptions options;
    options.start = "/root/a";
    EXPECT_TRUE(Check(scene, options).findings.empty());
}

TEST(CheckScene, EndsWhenItIsCancelled) {
    std::atomic<int> asked{0};
    CheckOptions options;
    options.isCancelled = [&] { return ++asked > 2; };
    const CheckReport report =
        Check(SceneTree(Location({}, {{"a", Location({})}, {"b", Location({})}})), options);
    EXPECT_TRUE(report.isCancelled);
    EXPECT_LT(report.locations, 3u);
}

TEST(CheckScene, CountsLocationsOntoTheProgressOfTheCaller) {
    std::atomic<std::uint64_t> progress{100};
    CheckOptions options;
    options.progress = &progress;
    const CheckReport report = Check(SceneTree(Location({}, {{"a", Location({})}})), options);
    EXPECT_EQ(report.locations, 2u);
    EXPECT_EQ(progress, 102u);
}

TEST(CheckScene, ReportsTheSameWithAnyNumberOfThreads) {
    for (const int seed : {1, 2, 3}) {
        const RandomTree tree{seed, 6, 7};
        CheckOptions options;
        options.mostFindings = 20;
        const CheckReport alone = Check(OpsOf(tree), options);
        ASSERT_FALSE(alone.findings.empty());
        for (const int threads : {2, 8}) {
            SCOPED_TRACE(threads);
            options.threads = threads;
            const CheckReport together = Check(OpsOf(tree), options);
            EXPECT_EQ(together.locations, alone.locations);
            EXPECT_EQ(LinesOf(together), LinesOf(alone));
        }
    }
}

TEST(CheckScene, FindsEqualValuesOnManyThreads) {
    Children lamps;
    for (int i = 0; i < 500; ++i)
        lamps.emplace_back("l" + std::to_string(i), Location(Lamp(0, i % 7)));
    CheckOptions options;
    const GroupAttribute scene = SceneTree(Location({}, lamps));
    const CheckReport alone = Check(scene, options);
    ASSERT_EQ(alone.findings.size(), 7u);
    options.threads = 8;
    EXPECT_EQ(LinesOf(Check(scene, options)), LinesOf(alone));
}

TEST(CheckScene, LeavesOutHowManyOthersThereAreWhenItCannotKnow) {
    Children lamps;
    for (int i = 0; i < 5000; ++i)
        lamps.emplace_back("l" + std::to_string(i), Location(Lamp(0, i)));
    lamps.emplace_back("again", Location(Lamp(0, 0)));
    const CheckReport report = Check(SceneTree(Location({}, lamps)));
    ASSERT_EQ(report.findings.size(), 100u);
    EXPECT_EQ(report.findings[0].location, "/root/l0");
    EXPECT_EQ(report.findings[0].others, 0u);
    EXPECT_EQ(report.totals[0].count, 5001u);
}

TEST(GetCheckRules, HasEachNameOnceAndTextsForAll) {
    std::vector<std::string> names;
    for (const TELLAR::CheckRule& rule : TELLAR::GetCheckRules()) {
        SCOPED_TRACE(rule.name);
        EXPECT_EQ(std::count(names.begin(), names.end(), rule.name), 0);
        EXPECT_FALSE(std::string(rule.catches).empty());
        EXPECT_FALSE(std::string(rule.advice).empty());
        names.emplace_back(rule.name);
    }
    EXPECT_GE(names.size(), 40u);
}
