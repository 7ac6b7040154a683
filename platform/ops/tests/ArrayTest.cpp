#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "OpTypeScenes.h"

namespace {

using namespace OxAttribute;
using namespace OpTypeScenes;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

GroupAttribute GridArgs(std::initializer_list<int> counts, Children more = {}) {
    more.emplace_back("source", Text("/root/world/geo/ball"));
    more.emplace_back("target", Text("/root/world/balls"));
    more.emplace_back("counts", IntAttribute(counts, 3));
    return Group(more);
}

GroupAttribute ScatterArgs(int count, int seed, Children more = {}) {
    more.emplace_back("source", Text("/root/world/geo/ball"));
    more.emplace_back("target", Text("/root/world/balls"));
    more.emplace_back("mode", Text("scatter"));
    more.emplace_back("count", Int(count));
    more.emplace_back("seed", Int(seed));
    more.emplace_back("extent", Doubles({-10, 10, 0, 0, 100, 200}));
    return Group(more);
}

TEST(ArrayOp, AGridCountsAlongXThenYThenZ) {
    Graph graph;
    const Op scene = graph.add("StaticScene", SmallScene());
    const Op op =
        graph.add("Array", GridArgs({2, 2, 2}, {{"spacing", Doubles({10, 20, 30})}}), {scene});
    EXPECT_THAT(graph.children(op, "/root/world/balls"),
                ElementsAre("i_0", "i_1", "i_2", "i_3", "i_4", "i_5", "i_6", "i_7"));
    EXPECT_THAT(Moved(graph.attrs(op, "/root/world/balls/i_0")), ElementsAre(1, 2, 3));
    EXPECT_THAT(Moved(graph.attrs(op, "/root/world/balls/i_1")), ElementsAre(11, 2, 3));
    EXPECT_THAT(Moved(graph.attrs(op, "/root/world/balls/i_2")), ElementsAre(1, 22, 3));
    EXPECT_THAT(Moved(graph.attrs(op, "/root/world/balls/i_7")), ElementsAre(11, 22, 33));
}

TEST(ArrayOp, AnInstanceIsItsSourceWithAnAdditionalTransform) {
    Graph graph;
    const Op scene = graph.add("StaticScene", SmallScene());
    const Op op = graph.add("Array", GridArgs({3, 1, 1}), {scene});
    const GroupAttribute moved(Children{{"translate", Doubles({2, 0, 0})}}, false);
    EXPECT_EQ(graph.attrs(op, "/root/world/balls/i_2"),
              Group({{"tag", Int(3)},
                     {"xform", Group({{"instance0", moved}, {"translate", Doubles({1, 2, 3})}})}}));
}

TEST(ArrayOp, SharesTheDescendantsOfTheSourceWithoutACopy) {
    Graph graph;
    const Op scene = graph.add("StaticScene", SmallScene());
    const Op op = graph.add("Array",
                            Group({{"source", Text("/root/world/geo/box")},
                                   {"target", Text("/root/world/boxes")},
                                   {"counts", IntAttribute({4, 1, 1}, 3)}}),
                            {scene});
    EXPECT_THAT(graph.children(op, "/root/world/boxes/i_3"), ElementsAre("lid", "body"));
    EXPECT_EQ(graph.cook(op, "/root/world/boxes/i_3/lid").getRecord(),
              graph.cook(scene, "/root/world/geo/box/lid").getRecord());
    EXPECT_FALSE(graph.exists(op, "/root/world/boxes/i_3/other"));
}

TEST(ArrayOp, HidesItsSourceByDefault) {
    Graph graph;
    const Op scene = graph.add("StaticScene", SmallScene());
    const Op hiding = graph.add("Array", GridArgs({2, 1, 1}), {scene});
    EXPECT_FALSE(graph.exists(hiding, "/root/world/geo/ball"));
    EXPECT_THAT(graph.children(hiding, "/root/world/geo"), ElementsAre("box"));
}

TEST(ArrayOp, CanKeepItsSourceVisible) {
    Graph graph;
    const Op scene = graph.add("StaticScene", SmallScene());
    const Op op = graph.add("Array", GridArgs({2, 1, 1}, {{"keepSource", Int(1)}}), {scene});
    EXPECT_TRUE(graph.shares(op, scene, "/root/world/geo/ball"));
    EXPECT_TRUE(graph.shares(op, scene, "/root/world/geo"));
    EXPECT_TRUE(graph.exists(op, "/root/world/balls/i_1"));
}

TEST(ArrayOp, MakesItsTargetAndSharesOtherLocationsWithoutACopy) {
    Graph graph;
    const Op scene = graph.add("StaticScene", SmallScene());
    const Op op = graph.add("Array", GridArgs({2, 1, 1}), {scene});
    EXPECT_TRUE(graph.shares(op, scene, "/root"));
    EXPECT_THAT(graph.children(op, "/root/world"), ElementsAre("geo", "balls"));
    EXPECT_EQ(graph.attrs(op, "/root/world/balls"), Group({{"type", Text("group")}}));
    EXPECT_TRUE(graph.shares(op, scene, "/root/world/geo/box"));
    EXPECT_FALSE(graph.exists(op, "/root/world/other"));
}

TEST(ArrayOp, CanUseAnExistingLocationAsItsTarget) {
    Graph graph;
    const Op scene = graph.add("StaticScene", SmallScene());
    const Op op = graph.add("Array",
                            Group({{"source", Text("/root/world/geo/ball")},
                                   {"target", Text("/root/world/geo/box")},
                                   {"counts", IntAttribute({2, 1, 1}, 3)}}),
                            {scene});
    EXPECT_THAT(graph.children(op, "/root/world/geo/box"),
                ElementsAre("lid", "body", "i_0", "i_1"));
    EXPECT_EQ(graph.attr(op, "/root/world/geo/box", "tag"), Int(4));
    EXPECT_TRUE(graph.shares(op, scene, "/root/world/geo/box/lid"));
    EXPECT_EQ(graph.attr(op, "/root/world/geo/box/i_1", "tag"), Int(3));
}

TEST(ArrayOp, SourceAndTargetMayBeSiblings) {
    Graph graph;
    const Op scene = graph.add("StaticScene", SmallScene());
    const Op op = graph.add("Array",
                            Group({{"source", Text("/root/world/geo/ball")},
                                   {"target", Text("/root/world/geo/balls")},
                                   {"counts", IntAttribute({2, 1, 1}, 3)}}),
                            {scene});
    EXPECT_THAT(graph.children(op, "/root/world/geo"), ElementsAre("box", "balls"));
    EXPECT_TRUE(graph.exists(op, "/root/world/geo/balls/i_0"));
}

TEST(ArrayOp, GroupsInstancesBeyondTheGroupSize) {
    Graph graph;
    const Op scene = graph.add("StaticScene", SmallScene());
    const Op op = graph.add("Array", GridArgs({11, 1, 1}, {{"groupSize", Int(3)}}), {scene});
    EXPECT_THAT(graph.children(op, "/root/world/balls"), ElementsAre("g_0", "g_1"));
    EXPECT_THAT(graph.children(op, "/root/world/balls/g_0"), ElementsAre("g_0", "g_1", "g_2"));
    EXPECT_THAT(graph.children(op, "/root/world/balls/g_0/g_2"),
                ElementsAre("i_06", "i_07", "i_08"));
    EXPECT_THAT(graph.children(op, "/root/world/balls/g_1"), ElementsAre("g_3"));
    EXPECT_THAT(graph.children(op, "/root/world/balls/g_1/g_3"), ElementsAre("i_09", "i_10"));
    EXPECT_EQ(graph.attrs(op, "/root/world/balls/g_1"), Group({{"type", Text("group")}}));
    EXPECT_THAT(Moved(graph.attrs(op, "/root/world/balls/g_1/g_3/i_10")), ElementsAre(11, 2, 3));
}

TEST(ArrayOp, OnlyTheListedInstancesExist) {
    Graph graph;
    const Op scene = graph.add("StaticScene", SmallScene());
    const Op op = graph.add("Array", GridArgs({11, 1, 1}, {{"groupSize", Int(3)}}), {scene});
    EXPECT_FALSE(graph.exists(op, "/root/world/balls/g_2"));
    EXPECT_FALSE(graph.exists(op, "/root/world/balls/g_1/g_2"));
    EXPECT_FALSE(graph.exists(op, "/root/world/balls/g_1/g_3/i_11"));
    EXPECT_FALSE(graph.exists(op, "/root/world/balls/g_1/g_3/i_08"));
    EXPECT_FALSE(graph.exists(op, "/root/world/balls/g_1/g_3/i_9"));
    EXPECT_FALSE(graph.exists(op, "/root/world/balls/g_1/g_3/i_+9"));
    EXPECT_FALSE(graph.exists(op, "/root/world/balls/g_1/g_3/i_0:")); // ':' follows '9'
    EXPECT_FALSE(graph.exists(op, "/root/world/balls/i_00"));
    EXPECT_FALSE(graph.exists(op, "/root/world/balls/g_0/i_00"));
}

TEST(ArrayOp, HasAnEmptyTargetWithoutInstancesOrSource) {
    Graph graph;
    const Op scene = graph.add("StaticScene", SmallScene());
    const Op none = graph.add("Array", GridArgs({0, 5, 5}), {scene});
    EXPECT_TRUE(graph.exists(none, "/root/world/balls"));
    EXPECT_THAT(graph.children(none, "/root/world/balls"), IsEmpty());
    EXPECT_FALSE(graph.exists(none, "/root/world/balls/i_0"));
    Graph empty;
    const Op overNothing = empty.add("Array", GridArgs({2, 1, 1}));
    EXPECT_TRUE(empty.exists(overNothing, "/root/world/balls"));
    EXPECT_FALSE(empty.exists(overNothing, "/root/world/balls/i_0"));
}

TEST(ArrayOp, CanBeNestedWithTheTransformsOfBoth) {
    Graph graph;
    const Op scene = graph.add("StaticScene", SmallScene());
    const Op row = graph.add("Array", GridArgs({3, 1, 1}), {scene});
    const Op rows = graph.add("Array",
                              Group({{"source", Text("/root/world/balls/i_2")},
                                     {"target", Text("/root/rows")},
                                     {"counts", IntAttribute({1, 4, 1}, 3)}}),
                              {row});
    EXPECT_THAT(Moved(graph.attrs(rows, "/root/rows/i_3")), ElementsAre(3, 5, 3));
    EXPECT_THAT(graph.children(rows, "/root/world/balls"), ElementsAre("i_0", "i_1"));
}

TEST(ArrayOp, ReachesOneOfATrillionInstancesQuickly) {
    Graph graph;
    const Op scene = graph.add("StaticScene", SmallScene());
    const Op op = graph.add("Array", GridArgs({10000, 10000, 10000}), {scene});
    const auto cooksBefore = TellarRuntime::getNumberOfCooks();
    EXPECT_EQ(graph.children(op, "/root/world/balls").size(), 100u);
    const std::string last = "/root/world/balls/g_99/g_9999/g_999999/g_99999999/g_9999999999";
    EXPECT_EQ(graph.children(op, last).size(), 100u);
    EXPECT_EQ(graph.children(op, last).back(), "i_999999999999");
    EXPECT_THAT(Moved(graph.attrs(op, last + "/i_999999999999")), ElementsAre(10000, 10001, 10002));
    EXPECT_THAT(Moved(graph.attrs(op, "/root/world/balls/g_12/g_1234/g_123456/g_12345678/"
                                      "g_1234567890/i_123456789012")),
                ElementsAre(9013, 5680, 1237));
    // Nothing was computed but what was asked for and what that is made of.
    EXPECT_LE(TellarRuntime::getNumberOfCooks() - cooksBefore, 8u);
}

TEST(ArrayOp, RefusesMoreInstancesThanItsLimit) {
    EXPECT_THAT(CookErrorOf("Array", GridArgs({2000000000, 2000000000, 2000000000}), 1),
                HasSubstr("Argument \"counts\" asks for more than 1099511627776 instances."));
    EXPECT_THAT(CookErrorOf("Array", GridArgs({1048576, 1048577, 1}), 1), HasSubstr("counts"));
    EXPECT_EQ(CookErrorOf("Array", GridArgs({1048576, 1048576, 1}), 1), "no error");
}

TEST(ArrayOp, RefusesInvalidArguments) {
    const auto withPaths = [](const char* source, const char* target) {
        return Group({{"source", Text(source)},
                      {"target", Text(target)},
                      {"counts", IntAttribute({1, 1, 1}, 3)}});
    };
    EXPECT_THAT(CookErrorOf("Array", withPaths("/root/a", "/root/a/b"), 1),
                HasSubstr("Argument \"target\" must not lie in the source \"/root/a\"."));
    EXPECT_THAT(CookErrorOf("Array", withPaths("/root/a", "/root/a"), 1),
                HasSubstr("Argument \"target\" must not lie in the source \"/root/a\"."));
    EXPECT_THAT(
        CookErrorOf("Array", withPaths("/root/a/b", "/root/a"), 1),
        HasSubstr("Argument \"source\" must not lie in the target, as \"/root/a/b\" does."));
    EXPECT_EQ(CookErrorOf("Array", withPaths("/root/a", "/root/ab"), 1), "no error");
    EXPECT_THAT(CookErrorOf("Array", GridArgs({1, -1, 1}), 1),
                HasSubstr("Argument \"counts\" must not be below 0, but holds -1."));
    EXPECT_THAT(CookErrorOf("Array", GridArgs({1, 1, 1}, {{"groupSize", Int(1)}}), 1),
                HasSubstr("Argument \"groupSize\" must be from 2 to 1000000, not 1."));
    EXPECT_THAT(CookErrorOf("Array", GridArgs({1, 1, 1}, {{"mode", Text("ring")}}), 1),
                HasSubstr("Argument \"mode\" must be \"grid\" or \"scatter\", not \"ring\"."));
    EXPECT_THAT(CookErrorOf("Array", Group({{"source", Text("/a")}, {"target", Text("/b")}}), 1),
                HasSubstr("Argument \"counts\" is missing; it must be int[3]."));
    EXPECT_THAT(CookErrorOf("Array",
                            Group({{"source", Text("/a")},
                                   {"target", Text("/b")},
                                   {"mode", Text("scatter")},
                                   {"count", Int(1)},
                                   {"extent", Doubles({1, 0, 0, 1, 0, 1})}}),
                            1),
                HasSubstr("Argument \"extent\" must not end before it begins on any axis."));
}

TEST(ArrayOp, AScatterStaysWithinItsExtent) {
    Graph graph;
    const Op scene = graph.add("StaticScene", SmallScene());
    const Op op = graph.add("Array", ScatterArgs(1000, 1, {{"groupSize", Int(1000)}}), {scene});
    double sumX = 0, sumZ = 0;
    for (const std::string& name : graph.children(op, "/root/world/balls")) {
        const std::vector<double> offset =
            Values(graph.attr(op, "/root/world/balls/" + name, "xform.instance0.translate"));
        ASSERT_EQ(offset.size(), 3u);
        ASSERT_TRUE(offset[0] >= -10 && offset[0] < 10) << name;
        ASSERT_EQ(offset[1], 0) << name;
        ASSERT_TRUE(offset[2] >= 100 && offset[2] < 200) << name;
        sumX += offset[0];
        sumZ += offset[2];
    }
    // Four standard deviations of the mean of 1000 even draws, and always the same draws.
    EXPECT_NEAR(sumX / 1000, 0, 4 * 20 / 109.5);
    EXPECT_NEAR(sumZ / 1000, 150, 4 * 100 / 109.5);
}

TEST(ArrayOp, AScatterHasKnownPositions) {
    Graph graph;
    const Op scene = graph.add("StaticScene", SmallScene());
    const Op op = graph.add("Array", ScatterArgs(10, 42, {{"spin", Int(1)}}), {scene});
    // Written out from the arithmetic by another program.
    EXPECT_THAT(Values(graph.attr(op, "/root/world/balls/i_7", "xform.instance0.translate")),
                ElementsAre(-3.301228836798911, 0.0, 124.08447467918495));
    EXPECT_THAT(Values(graph.attr(op, "/root/world/balls/i_7", "xform.instance0.rotate")),
                ElementsAre(345.04903073857577, 0.0, 1.0, 0.0));
}

TEST(ArrayOp, ADifferentSeedGivesDifferentPositions) {
    Graph graph;
    const Op scene = graph.add("StaticScene", SmallScene());
    const Op one = graph.add("Array", ScatterArgs(5, 1), {scene});
    const Op again = graph.add("Array", ScatterArgs(6, 1), {scene});
    const Op other = graph.add("Array", ScatterArgs(5, 2), {scene});
    EXPECT_EQ(graph.attrs(one, "/root/world/balls/i_3"),
              graph.attrs(again, "/root/world/balls/i_3"));
    EXPECT_NE(graph.attrs(one, "/root/world/balls/i_3"),
              graph.attrs(other, "/root/world/balls/i_3"));
    EXPECT_NE(graph.attrs(one, "/root/world/balls/i_3"), graph.attrs(one, "/root/world/balls/i_4"));
}

TEST(ArrayOp, ASpinTurnsAboutYBeforeItMoves) {
    Graph graph;
    const Op scene = graph.add("StaticScene", SmallScene());
    const Op op = graph.add("Array", ScatterArgs(5, 1, {{"spin", Int(1)}}), {scene});
    const GroupAttribute edit(graph.attr(op, "/root/world/balls/i_3", "xform.instance0"));
    ASSERT_EQ(edit.getNumberOfChildren(), 2);
    EXPECT_EQ(edit.getChildName(0), "translate");
    EXPECT_EQ(edit.getChildName(1), "rotate");
    const std::vector<double> rotate = Values(edit.getChildByIndex(1));
    ASSERT_EQ(rotate.size(), 4u);
    EXPECT_TRUE(rotate[0] >= 0 && rotate[0] < 360);
    EXPECT_EQ(rotate[2], 1);
}

} // namespace
