#include <OxTellarProducers/RenderSettingsReport.h>

#include <algorithm>
#include <set>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "CameraScenes.h"
#include "SceneBuilders.h"

namespace {

using namespace TellarTest;
using OxAttribute::Attribute;
using OxAttribute::FloatAttribute;
using OxAttribute::IntAttribute;
using TELLAR::FindKnownRenderSetting;
using TELLAR::GetKnownRenderSettings;
using TELLAR::RenderSettingFacts;
using TELLAR::RenderSettingOverride;
using testing::ElementsAre;

using Origin = TELLAR::RenderSettingOrigin;
using Problem = TELLAR::RenderSettingProblem;
using Ptr = TELLAR::GeometryProducer::Ptr;

Ptr RootWith(const Children& settings) {
    return StaticRoot(
        CameraScene(CameraAttrs(UnitLens()), {}, {{"renderSettings", Group(settings)}}));
}

std::vector<RenderSettingFacts> ReportOf(const Children& settings,
                                         const std::vector<RenderSettingOverride>& overrides = {}) {
    return TELLAR::ReportRenderSettings(RootWith(settings), overrides);
}

/// A setting without a name if there is none of this name.
RenderSettingFacts FactsOf(const std::vector<RenderSettingFacts>& report, const std::string& name) {
    const auto found = std::find_if(report.begin(), report.end(),
                                    [&name](const auto& facts) { return facts.name == name; });
    return found == report.end() ? RenderSettingFacts() : *found;
}

/// What is wrong with the only setting that the scene has.
std::string ProblemOf(const std::string& name, const Attribute& value) {
    return FactsOf(ReportOf({{name, value}}), name).problemText;
}

/// The same for a member of "lantern".
std::string LanternProblemOf(const std::string& name, const Attribute& value) {
    return FactsOf(ReportOf({{"lantern", Group({{name, value}})}}), "lantern." + name).problemText;
}

// The table ---------------------------------------------------------------------------------------

TEST(KnownRenderSettings, HaveNamesOfTheirOwnAndASentenceEach) {
    std::set<std::string> names;
    for (const auto& setting : GetKnownRenderSettings()) {
        SCOPED_TRACE(setting.name);
        EXPECT_TRUE(names.insert(setting.name).second);
        ASSERT_FALSE(setting.summary.empty());
        EXPECT_EQ(setting.summary.back(), '.');
        EXPECT_LE(setting.least, setting.most);
    }
}

TEST(KnownRenderSettings, HaveDefaultsThatTheyTakeThemselves) {
    for (const auto& setting : GetKnownRenderSettings()) {
        if (!setting.defaultValue.isValid()) continue;
        EXPECT_EQ(TELLAR::FindDefect(setting, setting.defaultValue).text, "") << setting.name;
    }
}

TEST(KnownRenderSettings, AreFoundByTheWholeName) {
    ASSERT_NE(FindKnownRenderSetting("lantern.maxDepth"), nullptr);
    EXPECT_EQ(FindKnownRenderSetting("lantern.maxDepth")->name, "lantern.maxDepth");
    for (const char* name : {"", "lantern", "lantern.", "maxDepth", "lantern.maxDepth.x", "Scene"})
        EXPECT_EQ(FindKnownRenderSetting(name), nullptr) << name;
}

TEST(KnownRenderSettings, AreFoundWithAnyNameInThePlaceOfAStar) {
    ASSERT_NE(FindKnownRenderSetting("outputs.beauty.tempRenderId"), nullptr);
    EXPECT_EQ(FindKnownRenderSetting("outputs.beauty.tempRenderId")->name,
              "outputs.*.tempRenderId");
    EXPECT_EQ(FindKnownRenderSetting("outputs.tempRenderId"), nullptr);
    EXPECT_EQ(FindKnownRenderSetting("outputs.a.b.tempRenderId"), nullptr);
}

TEST(KnownRenderSettings, TellWhichNamesAreLikeAnother) {
    EXPECT_THAT(TELLAR::SimilarRenderSettings("lantern.maxdepht"), ElementsAre("lantern.maxDepth"));
    EXPECT_THAT(TELLAR::SimilarRenderSettings("something else"), ElementsAre());
}

// Where values come from --------------------------------------------------------------------------

TEST(RenderSettingsReport, TellsTheDefaultsOfAllKnownSettingsForASceneWithoutAny) {
    for (const Ptr& root : {Ptr(), StaticRoot(Location({})), RootWith({})}) {
        std::vector<std::string> names;
        for (const auto& facts : TELLAR::ReportRenderSettings(root)) {
            names.push_back(facts.name);
            EXPECT_EQ(facts.origin, Origin::Default);
            EXPECT_EQ(facts.source, "");
            EXPECT_EQ(facts.problemText, "");
            ASSERT_NE(facts.known, nullptr);
            EXPECT_EQ(facts.value, facts.known->defaultValue);
        }
        std::vector<std::string> all;
        for (const auto& setting : GetKnownRenderSettings())
            if (setting.name.find('*') == std::string::npos) all.push_back(setting.name);
        EXPECT_EQ(names, all);
    }
}

TEST(RenderSettingsReport, NamesTheLocationThatHoldsAValue) {
    const auto facts = FactsOf(ReportOf({{"resolution", Text("hd_720")}}), "resolution");
    EXPECT_EQ(facts.value, Text("hd_720"));
    EXPECT_EQ(facts.origin, Origin::Location);
    EXPECT_EQ(facts.source, "/root");
    EXPECT_FALSE(facts.replaced.isValid());
    EXPECT_EQ(facts.problem, Problem::None);
}

TEST(RenderSettingsReport, NamesAnOverrideAndTheValueWhosePlaceItTakes) {
    const auto report =
        ReportOf({{"resolution", Text("hd_720")}}, {{"resolution", Text("hd_1080"), "--resolution"},
                                                    {"lantern.maxDepth", Int(3), "--set"}});
    const auto resolution = FactsOf(report, "resolution");
    EXPECT_EQ(resolution.value, Text("hd_1080"));
    EXPECT_EQ(resolution.origin, Origin::Override);
    EXPECT_EQ(resolution.source, "--resolution");
    EXPECT_EQ(resolution.replaced, Text("hd_720"));
    const auto depth = FactsOf(report, "lantern.maxDepth");
    EXPECT_EQ(depth.value, Int(3));
    EXPECT_EQ(depth.source, "--set");
    EXPECT_FALSE(depth.replaced.isValid());
}

TEST(RenderSettingsReport, TakesTheLastOfSeveralOverrides) {
    const auto facts =
        FactsOf(ReportOf({}, {{"noise", Int(1), "--set"}, {"noise", Int(0), "--noise"}}), "noise");
    EXPECT_EQ(facts.value, Int(0));
    EXPECT_EQ(facts.source, "--noise");
}

TEST(RenderSettingsReport, ListsSettingsThatItDoesNotKnowAfterTheOthers) {
    const auto report = ReportOf({{"echo", Group({{"depth", Int(4)}})}, {"noise", Int(0)}});
    const auto& last = report.back();
    EXPECT_EQ(last.name, "echo.depth");
    EXPECT_EQ(last.value, Int(4));
    EXPECT_EQ(last.source, "/root");
    EXPECT_EQ(last.known, nullptr);
    EXPECT_EQ(last.problem, Problem::None);
}

TEST(RenderSettingsReport, TakesUnknownSettingsForThoseOfAnotherRendererInGroupsOfOtherNames) {
    EXPECT_EQ(ReportOf({{"echo", Group({{"depth", Int(4)}})}}).back().problemText, "");
    EXPECT_EQ(ReportOf({{"depth", Int(4)}}).back().problemText, "is not known");
    EXPECT_EQ(LanternProblemOf("thickness", Int(4)), "is not known");
    EXPECT_EQ(ReportOf({{"lanten", Group({{"maxDepth", Int(4)}})}}).back().problemText,
              "is not known; did you mean \"lantern.maxDepth\"?");
}

TEST(RenderSettingsReport, ListsSettingsOfOutputsWhereThereAreAny) {
    const auto outputs = Group({{"beauty", Group({{"tempRenderId", Text("shot")}})}});
    const auto facts = FactsOf(ReportOf({{"outputs", outputs}}), "outputs.beauty.tempRenderId");
    EXPECT_EQ(facts.value, Text("shot"));
    EXPECT_EQ(facts.problem, Problem::None);
    EXPECT_NE(facts.known, nullptr);
}

// What is wrong -----------------------------------------------------------------------------------

TEST(RenderSettingsReport, AsksWhetherAnotherNameWasMeant) {
    const auto report = ReportOf({{"lantern", Group({{"maxDpeth", Int(4)}})}});
    const auto& facts = report.back();
    EXPECT_EQ(facts.problem, Problem::UnknownName);
    EXPECT_EQ(facts.problemText, "is not known; did you mean \"lantern.maxDepth\"?");
    EXPECT_THAT(facts.similar, ElementsAre("lantern.maxDepth"));
}

TEST(RenderSettingsReport, TellsWrongTypes) {
    EXPECT_EQ(FactsOf(ReportOf({{"noise", Text("x")}}), "noise").problem, Problem::WrongType);
    EXPECT_EQ(ProblemOf("noise", Text("x")), "must be one finite number from 0 to 1");
    EXPECT_EQ(ProblemOf("noise", Doubles({0, 0})), "must be one finite number from 0 to 1");
    EXPECT_EQ(ProblemOf("noise", Group({})), "must be one finite number from 0 to 1");
    EXPECT_EQ(ProblemOf("shutterOpen", Text("x")), "must be one finite number");
    EXPECT_EQ(ProblemOf("resolution", Int(512)), "must be one string");
    EXPECT_EQ(ProblemOf("cameraName", Texts({"/root/a", "/root/b"})), "must be one string");
    EXPECT_EQ(ProblemOf("aovs", Int(1)), "must be strings");
    EXPECT_EQ(ProblemOf("cropWindow", Doubles({0, 1, 0})), "must be 4 finite numbers");
    EXPECT_EQ(ProblemOf("tileRender", Doubles({0, 0, 2, 2})), "must be 4 integers");
    EXPECT_EQ(LanternProblemOf("samples", Text("4")), "must be one whole number from 1 to 1000000");
}

TEST(RenderSettingsReport, TellsWrongValues) {
    EXPECT_EQ(FactsOf(ReportOf({{"noise", Int(2)}}), "noise").problem, Problem::WrongValue);
    EXPECT_EQ(ProblemOf("noise", Int(2)), "must be one finite number from 0 to 1, not 2");
    EXPECT_EQ(ProblemOf("minutes", Double(1.0 / 0.0)),
              "must be one finite number from 0 to 1000000, not inf");
    EXPECT_EQ(LanternProblemOf("maxDepth", Double(2.5)),
              "must be one whole number from 1 to 100, not 2.5");
    EXPECT_EQ(LanternProblemOf("maxDepth", Int(101)),
              "must be one whole number from 1 to 100, not 101");
    EXPECT_EQ(ProblemOf("resolution", Text("cinema")), "names \"cinema\", which is no resolution");
    EXPECT_EQ(ProblemOf("aovs", Texts({"depth,normal", "albdo,id"})),
              "has \"albdo\", which is no layer; did you mean \"albedo\"?");
    EXPECT_EQ(ProblemOf("tileRender", IntAttribute({2, 0, 2, 2}, 1)),
              "is no tile: its column and row count from 0 and must be less than the numbers of "
              "columns and rows");
}

TEST(RenderSettingsReport, TakesNumbersOfEveryNumericType) {
    EXPECT_EQ(ProblemOf("noise", FloatAttribute(0.5f)), "");
    EXPECT_EQ(ProblemOf("cropWindow", IntAttribute({0, 1, 0, 1}, 1)), "");
    EXPECT_EQ(LanternProblemOf("maxDepth", Double(4)), "");
    EXPECT_EQ(ProblemOf("aovs", Texts({"depth,", "cryptomatte"})), "");
}

TEST(RenderSettingsReport, TellsAShutterThatClosesBeforeItOpens) {
    const auto report = ReportOf({{"shutterOpen", Double(0.5)}, {"shutterClose", Double(-0.25)}});
    EXPECT_EQ(FactsOf(report, "shutterClose").problemText,
              "must not be less than \"shutterOpen\", which is 0.5, not -0.25");
    EXPECT_EQ(FactsOf(report, "shutterOpen").problemText, "");
}

TEST(RenderSettingsReport, LooksForTheCameraThatIsSet) {
    EXPECT_EQ(ProblemOf("cameraName", Text("/root/world/cam/camera")), "");
    EXPECT_EQ(ProblemOf("cameraName", Text("/root/nowhere")),
              "names \"/root/nowhere\", where there is no location");
    EXPECT_EQ(ProblemOf("cameraName", Text("")), "names \"\", where there is no location");
    EXPECT_EQ(ProblemOf("cameraName", Text("/root/world")),
              "names \"/root/world\", which is no camera");
}

TEST(RenderSettingsReport, TellsAValueInThePlaceOfAGroup) {
    EXPECT_EQ(ProblemOf("lantern", Int(1)), "must be a group of settings");
    const Ptr root = StaticRoot(Location({{"renderSettings", Int(1)}}));
    const auto facts = FactsOf(TELLAR::ReportRenderSettings(root), "renderSettings");
    EXPECT_EQ(facts.problemText, "must be a group of settings");
    EXPECT_EQ(facts.problem, Problem::WrongType);
    EXPECT_EQ(facts.value, Int(1));
}

TEST(RenderSettingsReport, TellsANameWithADotWhichNobodyFinds) {
    const auto report = ReportOf({{"lantern.maxDepth", Int(3)}});
    EXPECT_EQ(report.back().problemText,
              "cannot be found, because its name has a dot: put it into a group");
    EXPECT_EQ(FactsOf(report, "lantern.maxDepth").origin, Origin::Default);
}

} // namespace
