#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include <OxTellarSDK/SubtreeFacts.h>

#include "OpTypeScenes.h"
#include "RunTogether.h"

namespace {

using namespace OxAttribute;
using namespace OpTypeScenes;
using testing::DoubleNear;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Pointwise;

constexpr double kHalf = 0.70710678118654752440; // sine and cosine of 45 degrees

Attribute Tuples(std::initializer_list<double> values, std::int64_t size) {
    return DoubleAttribute(values, size);
}

/// Balls and boxes of the small scene at /root/many.
GroupAttribute Args(Children more) {
    more.emplace_back("sources", Texts({"/root/world/geo/ball", "/root/world/geo/box"}));
    more.emplace_back("target", Text("/root/many"));
    return Group(more);
}

class InstancesOp : public testing::Test {
protected:
    Op instances(const Children& args) { return graph.add("Instances", Args(args), {scene}); }
    /// The matrix of an instance at a time.
    std::vector<double> matrix(const Op& op, const std::string& name, float time) {
        const GroupAttribute xform(graph.attr(op, "/root/many/" + name, "xform.instance0"));
        const auto sample =
            OxXFormUtil::CalcTransformMatrixAtTime(xform, time).first.getNearestSample(time);
        return {sample.begin(), sample.end()};
    }
    std::string errorOf(const Children& args) { return CookErrorOf("Instances", Args(args), 1); }

    Graph graph;
    const Op scene = graph.add("StaticScene", SmallScene());
};

TEST_F(InstancesOp, RepeatEachSourceAtItsPlaces) {
    const Op op = instances({{"indices", IntAttribute({1, 0, 1}, 1)},
                             {"translates", Tuples({0, 0, 0, 10, 20, 30, 5, 5, 5}, 3)}});
    EXPECT_THAT(graph.children(op, "/root/many"), ElementsAre("i_0", "i_1", "i_2"));
    EXPECT_EQ(graph.attr(op, "/root/many/i_0", "tag"), Int(4));
    EXPECT_EQ(graph.attr(op, "/root/many/i_1", "tag"), Int(3));
    EXPECT_THAT(Moved(graph.attrs(op, "/root/many/i_1")), ElementsAre(11, 22, 33));
    EXPECT_THAT(Moved(graph.attrs(op, "/root/many/i_2")), ElementsAre(5, 5, 5));
}

TEST_F(InstancesOp, ShareWhatIsBelowTheirSourcesWithoutACopy) {
    const Op op = instances(
        {{"indices", IntAttribute({1, 1}, 1)}, {"scales", Tuples({1, 1, 1, 2, 2, 2}, 3)}});
    EXPECT_THAT(graph.children(op, "/root/many/i_1"), ElementsAre("lid", "body"));
    EXPECT_EQ(graph.cook(op, "/root/many/i_1/lid").getRecord(),
              graph.cook(scene, "/root/world/geo/box/lid").getRecord());
    EXPECT_FALSE(graph.exists(op, "/root/many/i_1/other"));
}

TEST_F(InstancesOp, TakeTheTransformOutermost) {
    const Op op = instances({{"translates", Tuples({10, 0, 0}, 3)}});
    const GroupAttribute place(Children{{"translate", Doubles({10, 0, 0})}}, false);
    EXPECT_EQ(graph.attrs(op, "/root/many/i_0"),
              Group({{"tag", Int(3)},
                     {"xform", Group({{"instance0", place}, {"translate", Doubles({1, 2, 3})}})}}));
}

TEST_F(InstancesOp, ScaleThenRotateThenMove) {
    // A quarter turn about z, as a quaternion of length 2.
    const Op op = instances({{"translates", Tuples({10, 0, 0}, 3)},
                             {"rotates", Tuples({0, 0, 2 * kHalf, 2 * kHalf}, 4)},
                             {"scales", Tuples({2, 3, 4}, 3)}});
    EXPECT_THAT(matrix(op, "i_0", 0),
                Pointwise(DoubleNear(1e-15), {0.0, 2.0, 0.0, 0.0, -3.0, 0.0, 0.0, 0.0, 0.0, 0.0,
                                              4.0, 0.0, 10.0, 0.0, 0.0, 1.0}));
}

TEST_F(InstancesOp, ReadFloatsAndIntegersAsDoubles) {
    const Op floats = instances({{"translates", FloatAttribute({0.5f, 1, 2}, 3)}});
    const Op integers = instances({{"translates", IntAttribute({7, 1, 2}, 3)}});
    EXPECT_EQ(graph.attr(floats, "/root/many/i_0", "xform.instance0.translate"),
              Doubles({0.5, 1, 2}));
    EXPECT_EQ(graph.attr(integers, "/root/many/i_0", "xform.instance0.translate"),
              Doubles({7, 1, 2}));
}

TEST_F(InstancesOp, TakeMatricesAsTheyAre) {
    const std::vector<double> values = {1, 2, 3, 0, 4, 5, 6, 0, 7, 8, 9, 0, 10, 11, 12, 1};
    const Op op = instances({{"matrices", DoubleAttribute(values, 16)}});
    EXPECT_EQ(matrix(op, "i_0", 0), values);
}

TEST_F(InstancesOp, DoNotRotateByQuaternionsWithoutALength) {
    const double huge = 1e300;
    const Op op = instances({{"rotates", Tuples({0, 0, 0, 0, NAN, 0, 0, 1, 0, 0, huge, huge}, 4)}});
    const std::vector<double> identity = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    EXPECT_EQ(matrix(op, "i_0", 0), identity);
    EXPECT_EQ(matrix(op, "i_1", 0), identity);
    EXPECT_NEAR(matrix(op, "i_2", 0)[1], 1, 1e-15);
}

TEST_F(InstancesOp, LeaveOutHiddenOnesAndKeepTheNamesOfOthers) {
    const Op op = instances({{"translates", DoubleAttribute(std::vector<double>(15, 0), 3)},
                             {"hidden", IntAttribute({3, 0, 3}, 1)},
                             {"groupSize", Int(2)}});
    EXPECT_THAT(graph.children(op, "/root/many/g_0/g_0"), ElementsAre("i_1"));
    EXPECT_THAT(graph.children(op, "/root/many/g_0/g_1"), ElementsAre("i_2"));
    EXPECT_FALSE(graph.exists(op, "/root/many/g_0/g_0/i_0"));
    EXPECT_FALSE(graph.exists(op, "/root/many/g_0/g_0/i_0/lid"));
    EXPECT_TRUE(graph.exists(op, "/root/many/g_0/g_1/i_2"));
}

TEST_F(InstancesOp, HideOrKeepAllSources) {
    const Attribute place = Tuples({0, 0, 0}, 3);
    const Op hiding = instances({{"translates", place}});
    const Op keeping = instances({{"translates", place}, {"keepSource", Int(1)}});
    EXPECT_THAT(graph.children(hiding, "/root/world/geo"), IsEmpty());
    EXPECT_FALSE(graph.exists(hiding, "/root/world/geo/box"));
    EXPECT_FALSE(graph.exists(hiding, "/root/world/geo/box/lid"));
    EXPECT_TRUE(graph.shares(hiding, scene, "/root/materials"));
    EXPECT_TRUE(graph.shares(keeping, scene, "/root/world/geo"));
    EXPECT_TRUE(graph.shares(keeping, scene, "/root/world/geo/box/lid"));
}

TEST_F(InstancesOp, MayHaveSourcesThatLieInEachOther) {
    const Op op =
        graph.add("Instances",
                  Group({{"sources",
                          Texts({"/root/world/geo/box", "/root/world/geo", "/root/world/geo/box"})},
                         {"target", Text("/root/many")},
                         {"indices", IntAttribute({0, 1, 2}, 1)},
                         {"scales", DoubleAttribute(std::vector<double>(9, 1), 3)}}),
                  {scene});
    EXPECT_THAT(graph.children(op, "/root/world"), IsEmpty());
    EXPECT_THAT(graph.children(op, "/root/many/i_1"), ElementsAre("ball", "box"));
    EXPECT_EQ(graph.attr(op, "/root/many/i_2", "tag"), Int(4));
}

TEST_F(InstancesOp, CanBeNestedWithTheTransformsOfBoth) {
    const Op inner = instances({{"translates", Tuples({1, 0, 0, 2, 0, 0}, 3)}});
    const Op outer = graph.add("Instances",
                               Group({{"sources", Texts({"/root/many/i_1"})},
                                      {"target", Text("/root/all")},
                                      {"translates", Tuples({0, 100, 0}, 3)}}),
                               {inner});
    EXPECT_THAT(Moved(graph.attrs(outer, "/root/all/i_0")), ElementsAre(3, 102, 3));
    EXPECT_THAT(graph.children(outer, "/root/many"), ElementsAre("i_0"));
}

TEST_F(InstancesOp, HaveAnEmptyTargetWithoutPlaces) {
    const Op none = instances({{"translates", DoubleAttribute(std::vector<double>(), 3)},
                               {"indices", IntAttribute({}, 1)}});
    const Op noSources = graph.add("Instances",
                                   Group({{"sources", StringAttribute({}, 1)},
                                          {"target", Text("/root/many")},
                                          {"matrices", DoubleAttribute({}, 16)}}),
                                   {scene});
    EXPECT_TRUE(graph.exists(none, "/root/many"));
    EXPECT_THAT(graph.children(none, "/root/many"), IsEmpty());
    EXPECT_THAT(graph.children(noSources, "/root/many"), IsEmpty());
    EXPECT_TRUE(graph.shares(noSources, scene, "/root/world"));
}

TEST_F(InstancesOp, OfAMissingSourceDoNotExist) {
    const Op op = graph.add("Instances",
                            Group({{"sources", Texts({"/root/none", "/root/world/geo/bal"})},
                                   {"target", Text("/root/many")},
                                   {"translates", Tuples({0, 0, 0}, 3)}}),
                            {scene});
    EXPECT_FALSE(graph.exists(op, "/root/many/i_0"));
    EXPECT_THAT(graph.warnings(op),
                ElementsAre("Instances: the source \"/root/none\" does not exist",
                            "Instances: the source \"/root/world/geo/bal\" does not exist; did you "
                            "mean \"/root/world/geo/ball\"?"));
}

TEST_F(InstancesOp, InterpolateEachArrayOverItsOwnTimes) {
    const Op op =
        instances({{"translates", DoubleAttribute({{0.0f, {0, 0, 0}}, {1.0f, {8, 0, 0}}}, 3)},
                   {"scales", DoubleAttribute({{0.5f, {1, 1, 1}}, {2.5f, {3, 1, 1}}}, 3)}});
    const auto all =
        OxXFormUtil::CalcTransformMatrixAtExistingTimes(graph.attr(op, "/root/many/i_0", "xform"));
    ASSERT_EQ(all.first.getNumberOfTimeSamples(), 4);
    EXPECT_EQ(all.first.getSampleTime(3), 2.5f);
    EXPECT_EQ(matrix(op, "i_0", 0.5f)[12], 4);
    EXPECT_EQ(matrix(op, "i_0", 0.5f)[0], 1);
    EXPECT_EQ(matrix(op, "i_0", 2.0f)[12], 8);
    EXPECT_EQ(matrix(op, "i_0", 2.0f)[0], 2.5);
}

/// A rotation matrix about an axis of length 1, for row vectors.
std::vector<double> Turned(double degrees, const std::vector<double>& axis) {
    const double angle = degrees * std::acos(-1.0) / 180;
    const double c = std::cos(angle), s = std::sin(angle), t = 1 - c;
    const double x = axis[0], y = axis[1], z = axis[2];
    return {t * x * x + c,
            t * x * y + s * z,
            t * x * z - s * y,
            0,
            t * x * y - s * z,
            t * y * y + c,
            t * y * z + s * x,
            0,
            t * x * z + s * y,
            t * y * z - s * x,
            t * z * z + c,
            0,
            0,
            0,
            0,
            1};
}

TEST_F(InstancesOp, TurnEvenlyOnTheShortestWay) {
    // From 90 to 180 degrees about z; the second quaternion has its sign turned.
    const Op op = instances(
        {{"rotates", DoubleAttribute({{0.0f, {0, 0, kHalf, kHalf}}, {3.0f, {0, 0, -1, 0}}}, 4)}});
    for (const float time : {0.0f, 1.0f, 1.5f, 2.75f, 3.0f, 9.0f}) {
        SCOPED_TRACE(time);
        EXPECT_THAT(
            matrix(op, "i_0", time),
            Pointwise(DoubleNear(1e-14), Turned(90 + 30 * std::min(time, 3.0f), {0, 0, 1})));
    }
}

TEST_F(InstancesOp, TurnFromSampleToSampleAboutAnyAxes) {
    // Rests at first, then turns about x, back again, and then about y.
    const std::vector<double> none = {0, 0, 0, 1};
    const std::vector<double> aboutX = {kHalf, 0, 0, kHalf};
    const std::vector<double> aboutY = {0, kHalf, 0, kHalf};
    const Op op = instances(
        {{"rotates",
          DoubleAttribute(
              {{0.0f, none}, {1.0f, none}, {2.0f, aboutX}, {3.0f, none}, {4.0f, aboutY}}, 4)}});
    const auto expectTurned = [&](float time, double degrees, const std::vector<double>& axis) {
        SCOPED_TRACE(time);
        EXPECT_THAT(matrix(op, "i_0", time), Pointwise(DoubleNear(1e-14), Turned(degrees, axis)));
    };
    expectTurned(0.5f, 0, {1, 0, 0});
    expectTurned(1.5f, 45, {1, 0, 0});
    expectTurned(2.0f, 90, {1, 0, 0});
    expectTurned(2.5f, 45, {1, 0, 0});
    expectTurned(3.0f, 0, {1, 0, 0});
    expectTurned(3.25f, 22.5, {0, 1, 0});
    expectTurned(5.0f, 90, {0, 1, 0});
    // One step for each axis.
    const GroupAttribute steps(graph.attr(op, "/root/many/i_0", "xform.instance0"));
    EXPECT_EQ(steps.getNumberOfChildren(), 3);
}

TEST_F(InstancesOp, RefuseInvalidArguments) {
    const Attribute three = DoubleAttribute(std::vector<double>(9, 1), 3);
    const Attribute two = DoubleAttribute(std::vector<double>(6, 1), 3);
    EXPECT_THAT(errorOf({}), HasSubstr("Argument \"translates\" is missing, and so are "
                                       "\"matrices\", \"rotates\" and \"scales\""));
    EXPECT_THAT(errorOf({{"translates", three}, {"scales", two}}),
                HasSubstr("Argument \"scales\" has 2 tuples for 3 instances."));
    EXPECT_THAT(errorOf({{"translates", DoubleAttribute({1, 2, 3, 4}, 1)}}),
                HasSubstr("Argument \"translates\" must be double[3][]."));
    EXPECT_THAT(errorOf({{"matrices", three}}),
                HasSubstr("Argument \"matrices\" must be double[16][]."));
    EXPECT_THAT(errorOf({{"matrices", DoubleAttribute({}, 16)}, {"scales", two}}),
                HasSubstr("Argument \"scales\" must not be given beside \"matrices\"."));
    EXPECT_THAT(errorOf({{"translates", three}, {"indices", IntAttribute({0, 1}, 1)}}),
                HasSubstr("Argument \"indices\" has 2 values for 3 instances."));
    EXPECT_THAT(errorOf({{"translates", three}, {"indices", IntAttribute({0, 1, 2}, 1)}}),
                HasSubstr("Argument \"indices\" holds 2, but there are 2 sources."));
    EXPECT_THAT(errorOf({{"translates", three}, {"indices", IntAttribute({0, -1, 1}, 1)}}),
                HasSubstr("Argument \"indices\" holds -1, but there are 2 sources."));
    EXPECT_THAT(errorOf({{"translates", three}, {"hidden", Int(3)}}),
                HasSubstr("Argument \"hidden\" holds 3, but there are 3 instances."));
    const auto withPaths = [](std::initializer_list<std::string_view> sources, const char* target) {
        return CookErrorOf("Instances",
                           Group({{"sources", Texts(sources)},
                                  {"target", Text(target)},
                                  {"scales", Tuples({1, 1, 1}, 3)}}),
                           1);
    };
    EXPECT_THAT(withPaths({}, "/root/b"),
                HasSubstr("Argument \"sources\" must name a location to repeat."));
    EXPECT_THAT(withPaths({"/root/a", "b"}, "/root/b"),
                HasSubstr("Argument \"sources\" must be absolute location paths, not \"b\"."));
    EXPECT_THAT(withPaths({"/root/c", "/root/a"}, "/root/a/b"),
                HasSubstr("Argument \"target\" must not lie in the source \"/root/a\"."));
    EXPECT_THAT(withPaths({"/root/c", "/root/a/b"}, "/root/a"),
                HasSubstr("Argument \"sources\" must not lie in the target, as \"/root/a/b\" "
                          "does."));
}

/// A point at (x, 0, 0).
GroupAttribute PointAt(float x) {
    return Location(
        {{"type", Text("pointcloud")},
         {"geometry", Group({{"point", Group({{"P", FloatAttribute({x, 0, 0}, 3)}})}})}});
}

class FactsOfInstances : public testing::Test {
protected:
    /// `count` instances in a row, of points at 1 and 2 in turn.
    Op row(int count, const Children& more = {}) {
        std::vector<double> translates;
        std::vector<std::int32_t> indices;
        for (int i = 0; i < count; ++i) {
            translates.insert(translates.end(), {0, 10.0 * i, 0});
            indices.push_back(i % 2);
        }
        Children args{{"sources", Texts({"/root/one", "/root/two"})},
                      {"target", Text("/root/many")},
                      {"indices", IntAttribute(indices, 1)},
                      {"translates", DoubleAttribute(translates, 3)}};
        args.insert(args.end(), more.begin(), more.end());
        return graph.add("Instances", Group(args), {scene});
    }
    OxOpType::SubtreeFacts facts(const Op& op, const std::string& path) {
        return OxOpType::DescribeSubtree(*graph.client(op), path);
    }
    std::shared_ptr<const OxOpType::Instances> instances(const Op& op, const std::string& path) {
        return OxOpType::DescribeInstances(*graph.client(op), path);
    }

    Graph graph;
    const Op scene =
        graph.add("StaticScene", Location({}, {{"one", PointAt(1)}, {"two", PointAt(2)}}));
};

TEST_F(FactsOfInstances, CountEachSourceAsOftenAsItIsShown) {
    const Op op = row(5, {{"hidden", Int(4)}});
    const auto target = facts(op, "/root/many");
    EXPECT_EQ(target.locations, 5);
    EXPECT_EQ(target.types, OxOpType::kTypeGroup | OxOpType::kTypePointCloud);
    EXPECT_THAT(target.bound->values, ElementsAre(1, 2, 0, 30, 0, 0));
    EXPECT_EQ(facts(op, "/root").locations, 6);
    EXPECT_EQ(facts(op, "/root/many/i_4").exists, false);
    EXPECT_EQ(facts(op, "/root/many/i_3").identity, facts(scene, "/root/two").identity);
}

TEST_F(FactsOfInstances, EncloseManyInstancesInBlocks) {
    const Op op = row(30000);
    EXPECT_THAT(facts(op, "/root/many").bound->values, ElementsAre(1, 2, 0, 299990, 0, 0));
    EXPECT_EQ(facts(op, "/root/many").locations, 1 + 3 + 300 + 30000);
    EXPECT_THAT(facts(op, "/root/many/g_1/g_199").bound->values,
                ElementsAre(1, 2, 199000, 199990, 0, 0));
}

TEST_F(FactsOfInstances, AreToldWithAPrototypeForEachSource) {
    const Op op = row(6, {{"hidden", IntAttribute({0, 3}, 1)}, {"groupSize", Int(4)}});
    const auto all = instances(op, "/root/many");
    ASSERT_NE(all, nullptr);
    EXPECT_EQ(all->count(), 4);
    EXPECT_THAT(all->prototypes(), ElementsAre("g_0/i_2", "g_0/i_1"));
    std::vector<std::int64_t> prototypes(3);
    std::vector<double> matrices(16 * 3);
    all->read(1, 4, prototypes.data(), matrices.data());
    EXPECT_THAT(prototypes, ElementsAre(0, 0, 1));
    EXPECT_EQ(matrices[13], 20);
    EXPECT_EQ(matrices[16 + 13], 40);
    EXPECT_EQ(all->path(2), "g_1/i_4");
    EXPECT_EQ(instances(op, "/root/many/g_1")->count(), 2);
}

TEST_F(FactsOfInstances, AreNotToldWhenTheyMove) {
    const Op op = graph.add(
        "Instances",
        Group({{"sources", Texts({"/root/one"})},
               {"target", Text("/root/many")},
               {"translates", DoubleAttribute({{0.0f, {0, 0, 0}}, {1.0f, {1, 0, 0}}}, 3)}}),
        {scene});
    EXPECT_EQ(instances(op, "/root/many"), nullptr);
    EXPECT_THAT(facts(op, "/root/many").bound->values, ElementsAre(1, 2, 0, 0, 0, 0));
}

TEST_F(FactsOfInstances, HaveNoBoundIfAPlaceIsNotFiniteOrNotAffine) {
    const double infinity = std::numeric_limits<double>::infinity();
    const Op far = graph.add("Instances",
                             Group({{"sources", Texts({"/root/one"})},
                                    {"target", Text("/root/many")},
                                    {"translates", Tuples({0, 0, 0, NAN, 0, infinity}, 3)}}),
                             {scene});
    const Op skewed = graph.add(
        "Instances",
        Group({{"sources", Texts({"/root/one"})},
               {"target", Text("/root/many")},
               {"matrices", Tuples({1, 0, 0, 1, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}, 16)}}),
        {scene});
    EXPECT_FALSE(facts(far, "/root/many").bound);
    EXPECT_FALSE(facts(skewed, "/root/many").bound);
    EXPECT_EQ(facts(far, "/root/many").locations, 3);
}

TEST_F(FactsOfInstances, AreToldToManyThreadsAtOnce) {
    const auto client = graph.client(row(20000));
    RunTogether(8, [&](int) {
        const auto bound = OxOpType::DescribeSubtree(*client, "/root/many").bound;
        ASSERT_TRUE(bound);
        EXPECT_EQ(bound->values[3], 199990);
        EXPECT_EQ(OxOpType::DescribeInstances(*client, "/root/many")->count(), 20000);
    });
}

TEST_F(FactsOfInstances, OfAMillionCostNoCook) {
    const Op op = row(1000000);
    const auto cooksBefore = TellarRuntime::getNumberOfCooks();
    const auto all = instances(op, "/root/many");
    ASSERT_NE(all, nullptr);
    EXPECT_EQ(all->count(), 1000000);
    EXPECT_EQ(all->path(999999), "g_99/g_9999/i_999999");
    EXPECT_EQ(facts(op, "/root/many").locations, 1 + 10100 + 1000000);
    EXPECT_EQ(TellarRuntime::getNumberOfCooks(), cooksBefore);
}

} // namespace
