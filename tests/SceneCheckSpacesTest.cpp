// What the rules for transforms and bounds find, and what they must not take for a problem. One
// defect for each rule, and what is printed about it, are in tests/tellar/check_defects.py.

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "CheckScenes.h"

using namespace TellarTest;
using namespace OxAttribute;

namespace {

/// A group with a transform of one step.
Children Moved(const char* step, const Attribute& value) {
    return {{"type", Text("group")}, {"xform", Group({{step, value}})}};
}

Children With(Children attrs, const char* name, const Attribute& value) {
    attrs.emplace_back(name, value);
    return attrs;
}

Attribute Box(double size) {
    return Doubles({-size, size, -size, size, -size, size});
}

Attribute Rotation(double degrees) {
    return Group({{"rotate", Doubles({degrees, 0, 0, 1})}});
}

Attribute Translation(double x) {
    return Group({{"translate", Doubles({x, 0, 0})}});
}

} // namespace

// Transforms --------------------------------------------------------------------------------------

TEST(TransformRules, TakeSmallAndMirroredTransformsForSound) {
    for (const std::vector<double>& scale :
         std::vector<std::vector<double>>{{1e-6, 1e-6, 1e-6}, {-1, 1, 1}, {1e9, 1e-3, 1}}) {
        SCOPED_TRACE(scale[0]);
        EXPECT_EQ(RulesOf(CheckLocation(Moved("scale", DoubleAttribute(scale, 3)))), Names{});
    }
}

TEST(TransformRules, FindMatricesWithoutAnInverse) {
    const DoubleAttribute flat({1, 2, 3, 0, 2, 4, 6, 0, 0, 0, 1, 0, 5, 6, 7, 1}, 16);
    EXPECT_EQ(RulesOf(CheckLocation(Moved("matrix", flat))), Names{"transform-singular"});
}

TEST(TransformRules, TellTheTimeAtWhichATransformIsFlat) {
    const DoubleAttribute scale({{0, {1, 1, 1}}, {0.5, {0, 1, 1}}}, 3);
    EXPECT_EQ(ProblemsOf(CheckLocation(Moved("scale", scale)), "transform-singular"),
              Names{"/root/it: xform: it flattens everything below the location at time 0.5"});
}

TEST(TransformRules, FindStepsThatAreIgnored) {
    EXPECT_EQ(ProblemsOf(CheckLocation(Moved("tranlate", Doubles({1, 2, 3}))), "transform-value"),
              Names{"/root/it: xform.tranlate: it is no step of a transform"});
    EXPECT_EQ(ProblemsOf(CheckLocation(Moved("rotateX", Doubles({90}))), "transform-value"),
              Names{"/root/it: xform.rotateX: it holds 1 number, and needs 4"});
    EXPECT_EQ(ProblemsOf(CheckLocation(Moved("scale", Text("2 2 2"))), "transform-value"),
              Names{"/root/it: xform.scale: it does not hold numbers"});
    EXPECT_EQ(
        ProblemsOf(CheckLocation(Moved("translate", Floats({0, kNan, 0}))), "transform-value"),
        Names{"/root/it: xform.translate: it holds numbers that are not finite"});
    EXPECT_EQ(RulesOf(CheckLocation({{"xform", Text("none")}})), Names{"transform-value"});
}

TEST(TransformRules, TakeNestedGroupsAndOriginsForSound) {
    const GroupAttribute nested = Group({{"edit0", Group({{"translate", Doubles({1, 2, 3})}})},
                                         {"origin", Doubles({0})},
                                         {"note", Text("by hand")}});
    EXPECT_EQ(RulesOf(CheckLocation({{"xform", nested}})), Names{});
}

TEST(TransformRules, TakeEqualTimesAndRestingStepsForSound) {
    const DoubleAttribute moving({{-0.25f, {0, 0, 0}}, {0.25f, {1, 0, 0}}}, 3);
    const GroupAttribute xform =
        Group({{"translate", moving}, {"rotateX", Doubles({90, 1, 0, 0})}, {"translate2", moving}});
    EXPECT_EQ(RulesOf(CheckLocation({{"xform", xform}})), Names{});
}

// Bounds ------------------------------------------------------------------------------------------

TEST(BoundRules, FindLocationsBelowThatStandOut) {
    const auto ball = Location(Ball(1, {{"xform", Translation(1)}}));
    const auto middle = Location({{"xform", Translation(1.5)}}, {{"ball", ball}});
    EXPECT_EQ(ProblemsOf(CheckLocation({{"bound", Box(3)}}, {{"middle", middle}}), "bound-small"),
              Names{"/root/it: bound: it does not enclose the points of "
                    "\"/root/it/middle/ball\""});
    EXPECT_EQ(RulesOf(CheckLocation({{"bound", Box(3.5)}}, {{"middle", middle}})), Names{});
}

TEST(BoundRules, LeaveOutTheTransformOfTheBoundsOwnLocation) {
    const Children attrs{{"bound", Box(1)}, {"xform", Translation(100)}};
    EXPECT_EQ(RulesOf(CheckLocation(attrs, {{"ball", Location(Ball(1))}})), Names{});
}

TEST(BoundRules, LookAtPointsWhereTheBoxOfAChildStandsOut) {
    // The corners of the ball's box, turned by 45 degrees, are 1.41 from the axis.
    const auto ball = Location(Ball(1, {{"bound", Box(1)}, {"xform", Rotation(45)}}));
    EXPECT_EQ(RulesOf(CheckLocation({{"bound", Box(1)}}, {{"ball", ball}})), Names{});
}

TEST(BoundRules, LookThroughBoundsOnTheWay) {
    // The inner bound encloses its ball with room to spare, and stands out itself.
    const auto inner = Location({{"bound", Box(9)}}, {{"ball", Location(Ball(1))}});
    EXPECT_EQ(RulesOf(CheckLocation({{"bound", Box(2)}}, {{"inner", inner}})), Names{});
    const auto larger = Location({{"bound", Box(9)}}, {{"ball", Location(Ball(3))}});
    EXPECT_EQ(ProblemsOf(CheckLocation({{"bound", Box(2)}}, {{"inner", larger}}), "bound-small"),
              Names{"/root/it: bound: it does not enclose the points of "
                    "\"/root/it/inner/ball\""});
}

TEST(BoundRules, TellTheFirstLocationThatStandsOut) {
    Children balls;
    for (int i = 0; i < 300; ++i)
        balls.emplace_back("b" + std::to_string(i), Location(Ball(i < 40 ? 1 : 5)));
    const GroupAttribute scene =
        SceneTree(Location({}, {{"it", Location({{"bound", Box(1)}}, balls)}}));
    for (const int threads : {1, 8}) {
        TELLAR::CheckOptions options;
        options.threads = threads;
        const TELLAR::CheckReport report = Check(scene, options);
        EXPECT_EQ(ProblemsOf(report, "bound-small"),
                  Names{"/root/it: bound: it does not enclose the points of \"/root/it/b40\""});
        EXPECT_EQ(report.totals[0].count, 1u);
    }
}

TEST(BoundRules, EndAtATransformThatMoves) {
    const DoubleAttribute moving({{0, {5, 0, 0}}, {1, {6, 0, 0}}}, 3);
    const auto ball = Location(Ball(1, {{"xform", Group({{"translate", moving}})}}));
    EXPECT_EQ(RulesOf(CheckLocation({{"bound", Box(1)}}, {{"ball", ball}})), Names{});
}

TEST(BoundRules, EndAtAnOrigin) {
    const auto ball = Location(Ball(9, {{"xform", Group({{"origin", Int(1)}})}}));
    EXPECT_EQ(RulesOf(CheckLocation({{"bound", Box(1)}}, {{"ball", ball}})), Names{});
}

TEST(BoundRules, AllowForRoundingAndForEmptyBoxes) {
    EXPECT_EQ(RulesOf(CheckLocation(Ball(1, {{"bound", Box(0.99999)}}))), Names{});
    EXPECT_EQ(RulesOf(CheckLocation(Ball(1, {{"bound", Box(0.99)}}))), Names{"bound-small"});
    const Attribute empty = Doubles({1, -1, 1, -1, 1, -1});
    EXPECT_EQ(RulesOf(CheckLocation({{"bound", empty}})), Names{});
    EXPECT_EQ(RulesOf(CheckLocation(Ball(1, {{"bound", empty}}))), Names{"bound-small"});
}

TEST(BoundRules, HoldMovingPointsAgainstTheOwnBoundAtAllTimes) {
    const FloatAttribute moving({{0, {0, 0, 0}}, {1, {5, 0, 0}}}, 3);
    const Children cloud{{"type", Text("pointcloud")},
                         {"material", Matte()},
                         {"geometry", Group({{"point", Group({{"P", moving}})}})}};
    EXPECT_EQ(RulesOf(CheckLocation(With(cloud, "bound", Box(1)))), Names{"bound-small"});
    EXPECT_EQ(RulesOf(CheckLocation(With(cloud, "bound", Box(5)))), Names{});
}

TEST(BoundRules, FindBoundsThatAreNoBox) {
    EXPECT_EQ(RulesOf(CheckLocation({{"bound", Text("large")}})), Names{"bound-value"});
    EXPECT_EQ(RulesOf(CheckLocation({{"bound", Floats({0, 1, 0, 1, 0, kNan}, 1)}})),
              Names{"bound-value"});
}
