#include <OxTellarProducers/LocationHistory.h>

#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "HistoryScenes.h"
#include "SceneBuilders.h"

namespace {

using namespace TellarTest;
using OxAttribute::Attribute;
using OxAttribute::GroupAttribute;
using TELLAR::HistoryOutcome;
using TELLAR::LocationHistory;
using testing::ElementsAre;
using testing::IsEmpty;

/// The history of "show" at /root/x/y, where the locations on the way have these values of it.
LocationHistory HistoryOfShow(const Attribute& ofRoot, const Attribute& ofX, const Attribute& ofY) {
    const GroupAttribute y = Location({{"show", ofY}});
    const GroupAttribute x = Group({{"a", Group({{"show", ofX}})}, {"c", Group({{"y", y}})}});
    const GroupAttribute root = Group({{"a", Group({{"show", ofRoot}})}, {"c", Group({{"x", x}})}});
    return TELLAR::GetLocationHistory(MakeClient(SceneTree(root)), "/root/x/y", "show");
}

/// "/root seen", "/root/x hidden".
std::vector<std::string> AncestorsOf(const LocationHistory& history) {
    std::vector<std::string> lines;
    for (const auto& ancestor : history.ancestors)
        lines.push_back(ancestor.location + (ancestor.isSeen ? " seen" : " hidden"));
    return lines;
}

TEST(InheritedHistory, IsThatOfTheNearestAncestor) {
    const auto history = HistoryOfShow(Int(1), Int(2), {});
    EXPECT_EQ(history.outcome, HistoryOutcome::Inherited);
    EXPECT_EQ(history.location, "/root/x/y");
    EXPECT_EQ(history.subject, "/root/x");
    EXPECT_EQ(IntOf(history.value), 2);
    EXPECT_THAT(AncestorsOf(history), ElementsAre("/root/x seen", "/root hidden"));
    EXPECT_THAT(StepsOf(history), ElementsAre("scene made 2"));
}

TEST(InheritedHistory, IsThatOfTheLocationItselfIfItHasTheAttribute) {
    const auto history = HistoryOfShow(Int(1), {}, Int(3));
    EXPECT_EQ(history.outcome, HistoryOutcome::Found);
    EXPECT_EQ(history.subject, "/root/x/y");
    EXPECT_THAT(AncestorsOf(history), ElementsAre("/root/x/y seen", "/root hidden"));
}

TEST(InheritedHistory, NamesAllAncestorsOfAGroupThatInherits) {
    const auto history = HistoryOfShow(Group({{"a", Int(1)}}), Group({{"b", Int(2)}}), {});
    EXPECT_EQ(history.subject, "/root/x");
    EXPECT_THAT(NamesOf(GroupAttribute(history.value)), ElementsAre("a", "b"));
    EXPECT_THAT(AncestorsOf(history), ElementsAre("/root/x seen", "/root seen"));
}

TEST(InheritedHistory, HidesGroupsAboveOneThatDoesNotInherit) {
    const GroupAttribute closed(Children{{"b", Int(2)}}, false);
    const auto history = HistoryOfShow(Group({{"a", Int(1)}}), closed, {});
    EXPECT_THAT(AncestorsOf(history), ElementsAre("/root/x seen", "/root hidden"));
}

TEST(InheritedHistory, ShowsTheNearestValueEvenIfTheNextOneIsEqual) {
    EXPECT_THAT(AncestorsOf(HistoryOfShow(Int(1), Int(1), {})),
                ElementsAre("/root/x seen", "/root hidden"));
}

TEST(InheritedHistory, NamesTheOpThatDeletedTheLocationsOwnValue) {
    const GroupAttribute root = Group(
        {{"a", Group({{"show", Int(1)}})}, {"c", Group({{"x", Location({{"show", Int(2)}})}})}});
    const auto history =
        TELLAR::GetLocationHistory(MakeClient(Group({{"a", OpEntry("StaticScene", root)},
                                                     Edit("b", "a", "/root/x", {}, {"show"})})),
                                   "/root/x", "show");
    EXPECT_EQ(history.outcome, HistoryOutcome::Inherited);
    ASSERT_TRUE(history.ownDeletedBy);
    EXPECT_EQ(history.ownDeletedBy->getName(), "b");
    EXPECT_FALSE(HistoryOfShow(Int(1), Int(2), {}).ownDeletedBy);
}

TEST(InheritedHistory, KnowsNoAncestorsOfALocation) {
    const auto history =
        TELLAR::GetLocationHistory(MakeClient(SceneTree(Location({{"a", Int(1)}}))), "/root");
    EXPECT_THAT(history.ancestors, IsEmpty());
}

} // namespace
