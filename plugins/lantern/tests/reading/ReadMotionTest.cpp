#include "reading/Transform.h"

#include <gmock/gmock.h>

#include <OxTellarSDK/XFormUtil.h>

#include "ReadingTest.h"

namespace {

using namespace LanternTest;
using testing::ElementsAre;
using testing::SizeIs;

/// The product of the location's transforms that the platform computes.
M44f MatrixByThePlatform(const Location& location, float time) {
    const OxAttribute::GroupAttribute chain =
        OxAttribute::Attribute::CreateAndRetain(location.transformsFromTheRoot().get());
    const auto matrix = OxXFormUtil::CalcTransformMatrixAtTime(chain, time).first;
    M44d result;
    if (!matrix.isValid()) return M44f(result);
    const auto values = matrix.getNearestSample(time);
    std::copy(values.begin(), values.end(), result.getValue());
    return M44f(result);
}

/// The transforms of the only instance.
std::vector<M44f> StepsOf(const SceneData& scene) {
    EXPECT_THAT(scene.instances, SizeIs(1));
    const Instance& instance = scene.instances.at(0);
    const auto first = scene.transforms.begin() + instance.firstTransform;
    return {first, first + instance.transformCount};
}

/// The x coordinate of the transformed origin at each step.
std::vector<float> Xs(const std::vector<M44f>& steps) {
    std::vector<float> xs;
    xs.reserve(steps.size());
    for (const M44f& step : steps)
        xs.push_back(step[3][0]);
    return xs;
}

const char* const kShutter = R"("renderSettings": {"shutterOpen": 0.0, "shutterClose": 1.0})";

std::string Nested(const std::string& xforms) {
    return R"("outer": {"a": {"xform": {"translate": [1.0, 2.0, 3.0], "rotate": [30.0, 0, 1, 0]}},
             "c": {"inner": {"a": {"xform": {)" +
           xforms + R"(}}, "c": {)" + Triangle("leaf") + "}}}}";
}

/// The same for the leaf of the scene above.
void ExpectAsThePlatformHasIt(const std::string& xforms) {
    SCOPED_TRACE(xforms);
    const Location root = RootOfJson(SceneJson(Nested(xforms), kShutter));
    Told told;
    const std::vector<M44f> steps = StepsOf(Read(root, told));
    const Location leaf = root.byPath("/root/world/outer/inner/leaf");
    for (std::size_t i = 0; i < steps.size(); ++i) {
        const float time = steps.size() == 1 ? 0.0f : float(i) / float(steps.size() - 1);
        EXPECT_EQ(steps[i], MatrixByThePlatform(leaf, time)) << "step " << i;
    }
}

TEST(ReadTransforms, AgreeWithThePlatform) {
    ExpectAsThePlatformHasIt("");
    ExpectAsThePlatformHasIt(R"("translate": [1.0, -2.0, 0.5], "scale": [2.0, 3.0, 4.0])");
    ExpectAsThePlatformHasIt(R"("rotateX": [10.0, 1, 0, 0], "rotateY": [20.0, 0, 1, 0])");
    ExpectAsThePlatformHasIt(R"("rotate": [40.0, 0, 0, 0])");
    ExpectAsThePlatformHasIt(R"("shear": [0.5, 0.25, 0.125], "translate": [1, 2, 3])");
    ExpectAsThePlatformHasIt(R"("matrix": [1.0,0,0,0, 0,2,0,0, 0,0,3,0, 4,5,6,1])");
    ExpectAsThePlatformHasIt(R"("translate": {"$type": "float", "values": [0.1, 0.2, 0.3]})");
    ExpectAsThePlatformHasIt(R"("edit0": {"translate": [1.0, 0, 0], "more": {"scale": [2, 2, 2]}},
                                "rotate": [15.0, 1, 1, 0])");
    ExpectAsThePlatformHasIt(R"("translate": [9.0, 9, 9], "origin": 1, "scale": [2.0, 2, 2])");
    ExpectAsThePlatformHasIt(R"("unknown": [1.0, 2, 3], "translate": [1.0, 2])");
}

TEST(ReadTransforms, AgreeWithThePlatformInMotion) {
    ExpectAsThePlatformHasIt(R"("translate": {"$type": "double", "times": [0, 1],
                                "samples": [[0, 0, 0], [4, 0, 0]]}, "scale": [2.0, 2, 2])");
    ExpectAsThePlatformHasIt(R"("translate": {"$type": "int", "times": [0, 1],
                                "samples": [[0, 0, 0], [5, -3, 1]]}, "scale": [2.0, 2, 2])");
    ExpectAsThePlatformHasIt(R"("rotate": {"$type": "double", "times": [-1, 2],
                                "samples": [[0, 0, 1, 0], [90, 0, 1, 0]]})");
    ExpectAsThePlatformHasIt(R"("a": {"translate": {"$type": "float", "times": [0, 0.5, 1],
                                "samples": [[0, 0, 0], [4, 0, 0], [4, 1, 0]]}}, "shear": [1, 2, 3])");
}

TEST(ReadTransforms, HaveOneStepWithoutMotion) {
    const std::string translate = R"("translate": {"$type": "double", "times": [0, 1],
                                     "samples": [[5, 0, 0], [5, 0, 0]]})";
    const SceneData scene =
        ReadSilently(SceneJson(Triangle("t", "\"xform\": {" + translate + "}"), kShutter));
    EXPECT_THAT(Xs(StepsOf(scene)), ElementsAre(5));
}

TEST(ReadTransforms, InterpolateIntegersAsDoubles) {
    const std::string xform = R"("xform": {"translate": {"$type": "int", "times": [0, 4],
                                 "samples": [[0, 0, 0], [3, 0, 0]]}})";
    const SceneData scene = ReadSilently(SceneJson(Triangle("t", xform), kShutter));
    EXPECT_THAT(Xs(StepsOf(scene)), ElementsAre(0, 0.75f));
}

TEST(ReadTransforms, HaveTwoStepsBetweenTwoSamplesWhateverTheirTimes) {
    const std::string xform = R"("xform": {"translate": {"$type": "double", "times": [-1, 3],
                                 "samples": [[0, 0, 0], [8, 0, 0]]}})";
    const SceneData scene = ReadSilently(SceneJson(Triangle("t", xform), kShutter));
    EXPECT_THAT(Xs(StepsOf(scene)), ElementsAre(2, 4));
}

TEST(ReadTransforms, HaveAStepForEachSampleWithinTheShutter) {
    const std::string xform = R"("xform": {"translate": {"$type": "double",
        "times": [-5, 0, 0.5, 1, 9], "samples": [[9, 0, 0], [0, 0, 0], [4, 0, 0], [5, 0, 0], [9, 0, 0]]}})";
    const SceneData scene = ReadSilently(SceneJson(Triangle("t", xform), kShutter));
    EXPECT_THAT(Xs(StepsOf(scene)), ElementsAre(0, 4, 5));
}

TEST(ReadTransforms, HaveTheFinestStepsForSamplesAtIrregularTimes) {
    const std::string xform = R"("xform": {"translate": {"$type": "double",
        "times": [0, 0.3, 1], "samples": [[0, 0, 0], [3, 0, 0], [3, 0, 0]]}})";
    const SceneData scene = ReadSilently(SceneJson(Triangle("t", xform), kShutter));
    EXPECT_THAT(StepsOf(scene), SizeIs(9));
}

TEST(ReadTransforms, HaveTheLargerNumberOfStepsOfParentAndChild) {
    const std::string json = SceneJson(
        R"("p": {"a": {"xform": {"translate": {"$type": "double", "times": [0, 1],
               "samples": [[0, 0, 0], [8, 0, 0]]}}}, "c": {)" +
            Triangle("t", R"("xform": {"translate": {"$type": "double", "times": [0, 0.5, 1],
               "samples": [[0, 0, 0], [1, 0, 0], [1, 0, 0]]}})") +
            "}}",
        kShutter);
    EXPECT_THAT(Xs(StepsOf(ReadSilently(json))), ElementsAre(0, 5, 9));
}

TEST(ReadTransforms, DiscardTheMotionOfAncestorsAtAnOrigin) {
    const std::string json = SceneJson(
        R"("p": {"a": {"xform": {"translate": {"$type": "double", "times": [0, 1],
               "samples": [[0, 0, 0], [8, 0, 0]]}}}, "c": {)" +
            Triangle("t", R"("xform": {"origin": 1, "translate": [3.0, 0, 0]})") + "}}",
        kShutter);
    EXPECT_THAT(Xs(StepsOf(ReadSilently(json))), ElementsAre(3));
}

TEST(ReadTransforms, AreThoseOfTheFrame) {
    const std::string xform = R"("xform": {"translate": {"$type": "double", "times": [0, 100],
                                 "samples": [[0, 0, 0], [100, 0, 0]]}})";
    const std::string json = SceneJson(
        Triangle("t", xform), R"("renderSettings": {"shutterOpen": -0.25, "shutterClose": 0.25})");
    EXPECT_THAT(Xs(StepsOf(ReadSilently(json, {10, 1}))), ElementsAre(9.75f, 10.25f));
}

TEST(ReadTransforms, WithoutAShutterAreThoseOfTheFrameAlone) {
    const std::string xform = R"("xform": {"translate": {"$type": "double", "times": [0, 100],
                                 "samples": [[0, 0, 0], [100, 0, 0]]}})";
    EXPECT_THAT(Xs(StepsOf(ReadSilently(SceneJson(Triangle("t", xform)), {10, 1}))),
                ElementsAre(10));
}

TEST(ReadMotion, TellsTheTimeAtWhichPointsAreNotFinite) {
    Told told;
    ReadJson(SceneJson(R"("t": {"a": {"type": "polymesh", "geometry": {
        "poly": {"startIndex": [0, 3], "vertexList": [0, 1, 2]},
        "point.P": {"$type": "float", "times": [0, 0.5], "samples": [
            [0, 0, 0, 1, 0, 0, 0, 1, 0], [0, 0, 0, 1, 0, "inf", 0, 1, 0]]}}}})",
                       R"("renderSettings": {"shutterOpen": 0.0, "shutterClose": 0.5})"),
             told);
    EXPECT_THAT(told.warnings, ElementsAre("/root/world/t: \"geometry.point.P\" has numbers that "
                                           "are not finite at the time 0.5"));
}

TEST(ReadTransforms, LeaveOutTheShapeIfTheyAreNotFinite) {
    const std::string json = SceneJson(
        Triangle("t", R"("xform": {"scale": {"$type": "double", "values": ["inf", 1, 1]}})"));
    Told told;
    EXPECT_THAT(ReadJson(json, told).instances, SizeIs(0));
    EXPECT_THAT(told.warnings, ElementsAre("/root/world/t: its transform is not finite"));
}

TEST(ReadTransforms, RefuseAShutterThatClosesFirst) {
    EXPECT_EQ(ReadErrorOf(SceneJson("", R"("renderSettings": {"shutterOpen": 0.5,
                                       "shutterClose": -0.25})")),
              "the shutter closes before it opens: \"renderSettings.shutterOpen\" is 0.5, "
              "\"renderSettings.shutterClose\" is -0.25");
}

TEST(ReadPoints, MoveWithTheirSamples) {
    const std::string json = SceneJson(R"("t": {"a": {"type": "polymesh", "geometry": {
        "point": {"P": {"$type": "float", "tuple": 3, "times": [0, 1],
                  "samples": [[0,0,0, 1,0,0, 0,1,0], [0,0,2, 1,0,2, 0,1,2]]}},
        "poly": {"vertexList": [0, 1, 2], "startIndex": [0, 3]}}}})",
                                       R"("renderSettings": {"shutterOpen": 0.25,
                                          "shutterClose": 0.5})");
    const SceneData scene = ReadSilently(json);
    const auto& points = scene.shapes.at(0).mesh.points;
    ASSERT_THAT(points, SizeIs(2));
    EXPECT_EQ(points[0][1], V3f(1, 0, 0.5f));
    EXPECT_EQ(points[1][1], V3f(1, 0, 1));
    EXPECT_EQ(scene.instances.at(0).transformCount, 1);
}

} // namespace
