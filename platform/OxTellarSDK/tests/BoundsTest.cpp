#include <OxTellarSDK/Bounds.h>

#include <cmath>
#include <limits>
#include <optional>

#include <gmock/gmock.h>

namespace {

using namespace OxAttribute;
using OxXFormUtil::Bounds;
using OxXFormUtil::MoveBounds;
using OxXFormUtil::RestingMatrix;
using testing::ElementsAre;
using testing::Pointwise;

constexpr double kNoNumber = std::numeric_limits<double>::quiet_NaN();

Bounds Box(double low, double high) {
    Bounds bounds;
    bounds.values = {low, high, low, high, low, high};
    return bounds;
}

GroupAttribute XForm(const std::vector<GroupAttribute::Child>& steps) {
    return GroupAttribute(steps, true);
}

Attribute Moving(const std::vector<double>& first, const std::vector<double>& last) {
    return DoubleAttribute({{0.0f, first}, {1.0f, last}}, 1);
}

TEST(Bounds, StartsOutEmptyAndEnclosesWhatIsAdded) {
    Bounds bounds;
    EXPECT_TRUE(bounds.isEmpty());
    bounds.add(1, 2, 3);
    bounds.add(-1, 5, 0);
    bounds.add(Bounds());
    EXPECT_THAT(bounds.values, ElementsAre(-1, 1, 2, 5, 0, 3));
}

TEST(Bounds, LeavesOutPointsThatAreNotFinite) {
    Bounds bounds;
    bounds.add(kNoNumber, 0, 0);
    bounds.add(0, INFINITY, 0);
    EXPECT_TRUE(bounds.isEmpty());
}

TEST(Bounds, EnclosesItsCornersAfterATransform) {
    const double quarterTurn[16] = {0, 2, 0, 0, -2, 0, 0, 0, 0, 0, 1, 0, 10, 0, 0, 1};
    Bounds bounds;
    bounds.values = {1, 2, 3, 4, 5, 6};
    EXPECT_THAT(bounds.transformed(quarterTurn).values, ElementsAre(2, 4, 2, 4, 5, 6));
    EXPECT_TRUE(Bounds().transformed(quarterTurn).isEmpty());
}

TEST(MoveBounds, LeavesTheBoxWithoutATransform) {
    EXPECT_THAT(MoveBounds(Box(1, 2), GroupAttribute())->values, ElementsAre(1, 2, 1, 2, 1, 2));
    const GroupAttribute none = XForm({{"user", StringAttribute("text")}});
    EXPECT_THAT(MoveBounds(Box(1, 2), none)->values, ElementsAre(1, 2, 1, 2, 1, 2));
}

TEST(MoveBounds, ComposesStepsThatRest) {
    const GroupAttribute xform =
        XForm({{"translate", DoubleAttribute({10, 0, 0}, 3)},
               {"edit", XForm({{"rotate", IntAttribute({90, 0, 0, 1}, 4)}})},
               {"scale", FloatAttribute({2, 1, 1}, 3)}});
    Bounds bounds;
    bounds.values = {1, 2, 3, 4, 5, 6};
    EXPECT_THAT(MoveBounds(bounds, xform)->values,
                Pointwise(testing::DoubleNear(1e-12), {6.0, 7.0, 2.0, 4.0, 5.0, 6.0}));
}

TEST(MoveBounds, EnclosesAllSamplesOfATransform) {
    const GroupAttribute xform = XForm({{"translate", Moving({0, 0, 0}, {10, -5, 0})}});
    EXPECT_THAT(MoveBounds(Box(0, 1), xform)->values, ElementsAre(0, 11, -5, 1, 0, 1));
}

TEST(MoveBounds, EnclosesTheProductOfTwoMovingStepsBetweenTheirSamples) {
    // At time 0.5 the point (1, 1, 1) is at x = 0.25, beyond its places at times 0 and 1.
    const GroupAttribute xform =
        XForm({{"scaleA", Moving({1, 1, 1}, {0, 1, 1})}, {"scaleB", Moving({0, 1, 1}, {1, 1, 1})}});
    Bounds point;
    point.add(1, 1, 1);
    EXPECT_GE(MoveBounds(point, xform)->values[1], 0.25);
}

TEST(MoveBounds, EnclosesARotationBetweenItsSamples) {
    const GroupAttribute xform = XForm({{"rotate", Moving({0, 0, 0, 1}, {180, 0, 0, 1})}});
    Bounds point;
    point.add(2, 0, 0);
    const std::optional<Bounds> moved = MoveBounds(point, xform);
    EXPECT_LE(moved->values[0], -2);
    EXPECT_GE(moved->values[3], 2); // at a quarter turn
}

TEST(MoveBounds, KnowsNothingAboutAnOriginOrWhatIsNotFinite) {
    EXPECT_FALSE(MoveBounds(Box(0, 1), XForm({{"origin", IntAttribute(1)}})));
    EXPECT_FALSE(MoveBounds(Box(0, 1), XForm({{"scale", DoubleAttribute({INFINITY, 1, 1}, 3)}})));
    EXPECT_FALSE(
        MoveBounds(Box(0, 1), XForm({{"translate", Moving({0, 0, 0}, {kNoNumber, 0, 0})}})));
    DoubleAttribute perspective({1, 0, 0, 1, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}, 16);
    EXPECT_FALSE(MoveBounds(Box(0, 1), XForm({{"matrix", perspective}})));
}

TEST(MoveBounds, KeepsAnEmptyBoxEmpty) {
    const GroupAttribute xform = XForm({{"translate", Moving({0, 0, 0}, {1, 1, 1})}});
    EXPECT_TRUE(MoveBounds(Bounds(), xform)->isEmpty());
}

TEST(RestingMatrix, IsThatOfAllSteps) {
    const GroupAttribute xform = XForm({{"translate", DoubleAttribute({1, 2, 3}, 3)},
                                        {"edit", XForm({{"scale", IntAttribute({2, 2, 2}, 3)}})}});
    EXPECT_THAT(*RestingMatrix(xform), ElementsAre(2, 0, 0, 0, 0, 2, 0, 0, 0, 0, 2, 0, 1, 2, 3, 1));
    EXPECT_THAT(*RestingMatrix(GroupAttribute()),
                ElementsAre(1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1));
}

TEST(RestingMatrix, IsNotKnownForWhatMovesOrLeavesItsParent) {
    EXPECT_FALSE(RestingMatrix(XForm({{"rotate", Moving({0, 0, 0, 1}, {360, 0, 0, 1})}})));
    EXPECT_FALSE(RestingMatrix(XForm({{"origin", IntAttribute(1)}})));
}

} // namespace
