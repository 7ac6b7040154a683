// Findings that come in any order, as those of several threads do.

#include "Findings.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "BoundRules.h"
#include "ProducerHelpers.h"
#include "SceneBuilders.h"

using namespace TELLAR;
using OxAttribute::Hash;

namespace {

constexpr Rule kRule = Rule::LightDark;
constexpr std::size_t kMostRemembered = 4096; // of each rule

std::array<bool, kRuleCount> AllRules() {
    std::array<bool, kRuleCount> wanted;
    wanted.fill(true);
    return wanted;
}

void Add(Findings& findings, std::int64_t place, std::uint64_t key) {
    findings.add(kRule, {place}, Hash{{key, 0}}, [&] {
        return FoundProblem{"/" + std::to_string(place), {}, {}, {}, "it is dark"};
    });
}

/// The locations of the findings that are listed.
std::vector<std::string> LocationsOf(Findings& findings) {
    CheckReport report;
    findings.moveTo(report);
    std::vector<std::string> locations;
    for (const CheckFinding& finding : report.findings)
        locations.push_back(finding.location);
    return locations;
}

} // namespace

TEST(Findings, ListsTheFirstPlacesWhateverComesFirst) {
    Findings findings(AllRules(), 3);
    for (const std::int64_t place : {5, 1, 9, 3, 7, 2})
        Add(findings, place, 0);
    EXPECT_EQ(LocationsOf(findings), (std::vector<std::string>{"/1", "/2", "/3"}));
}

TEST(Findings, MovesEqualOnesToTheFirstOfTheirPlaces) {
    Findings findings(AllRules(), 3);
    for (const std::int64_t place : {5, 1, 9})
        Add(findings, place, 77);
    CheckReport report;
    findings.moveTo(report);
    ASSERT_EQ(report.findings.size(), 1u);
    EXPECT_EQ(report.findings[0].location, "/1");
    EXPECT_EQ(report.findings[0].others, 2u);
    EXPECT_EQ(report.totals[0].count, 3u);
}

TEST(Findings, KeepsTheFirstPlacesOfMoreThanItRemembers) {
    Findings findings(AllRules(), 2);
    const auto last = static_cast<std::int64_t>(2 * kMostRemembered);
    for (std::int64_t place = last; place > 0; --place)
        Add(findings, place, static_cast<std::uint64_t>(place));
    EXPECT_FALSE(findings.has(kRule, Hash{{static_cast<std::uint64_t>(last), 0}}));
    EXPECT_TRUE(findings.has(kRule, Hash{{1, 0}}));
    EXPECT_EQ(LocationsOf(findings), (std::vector<std::string>{"/1", "/2"}));
}

TEST(Findings, DescribesAFindingAnew) {
    Findings findings(AllRules(), 3);
    Add(findings, 4, 77);
    findings.describeAnew(kRule, Hash{{77, 0}}, [] {
        return FoundProblem{"/4", {}, {}, {}, "it is darker"};
    });
    findings.describeAnew(kRule, Hash{{78, 0}}, []() -> FoundProblem {
        ADD_FAILURE() << "there is no such finding";
        return {};
    });
    CheckReport report;
    findings.moveTo(report);
    EXPECT_EQ(report.findings.at(0).text.find("it is darker; "), 0u);
    EXPECT_EQ(report.totals.at(0).count, 1u);
}

TEST(Findings, LeavesOutRulesThatAreNotWanted) {
    auto wanted = AllRules();
    wanted[static_cast<std::size_t>(kRule)] = false;
    Findings findings(wanted, 3);
    Add(findings, 1, 0);
    EXPECT_TRUE(LocationsOf(findings).empty());
}

TEST(BoundAbove, TellsTheFirstLocationThatStandsOutWhateverComesFirst) {
    Findings findings(AllRules(), 3);
    const GeometryProducer::Ptr root = TellarTest::StaticRoot(TellarTest::Location(
        {}, {{"a", TellarTest::Location({})}, {"b", TellarTest::Location({})}}));
    BoundAbove bound({}, root, {}, findings);
    const std::shared_ptr<const void> nothing;
    for (const std::int64_t index : {1, 0, 1}) {
        const Place place{index};
        const GeometryProducer::Ptr child = root->getChildByIndex(index);
        const VisitedLocation below{child.get(), nullptr, root.get(), place, 0, nothing, nullptr};
        bound.report(below);
    }
    EXPECT_FALSE(bound.isWorthKnowing({1}));
    CheckReport report;
    findings.moveTo(report);
    ASSERT_EQ(report.findings.size(), 1u);
    EXPECT_EQ(report.findings[0].location, "/root");
    EXPECT_NE(report.findings[0].text.find("the points of \"/root/a\";"), std::string::npos);
    EXPECT_EQ(report.totals[0].count, 1u);
}
