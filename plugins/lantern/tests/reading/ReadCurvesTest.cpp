#include "reading/ReadCurves.h"

#include <gmock/gmock.h>

#include "ReadingTest.h"

namespace {

using namespace LanternTest;
using testing::ElementsAre;
using testing::Eq;
using testing::IsEmpty;
using testing::SizeIs;

/// A location of curves with `count` control points at x = 0, 1, 2, ..., and more attributes.
std::string CurvesJson(int count, const std::string& more) {
    std::string points;
    for (int i = 0; i < count; ++i)
        points += (i ? ", [" : "[") + std::to_string(i) + ".0, 0, 0]";
    return SceneJson(R"("c": {"a": {"type": "curves", "geometry": {
        "point.P": {"$type": "float", "values": [)" +
                     points + "]}" + (more.empty() ? "" : ", ") + more + "}}}");
}

Curves ReadCurvesOf(int count, const std::string& more) {
    return ReadSilently(CurvesJson(count, more)).shapes.at(0).curves;
}

/// The warnings about curves of which nothing is drawn.
std::vector<std::string> WarningsOf(int count, const std::string& more) {
    Told told;
    EXPECT_THAT(ReadJson(CurvesJson(count, more), told).instances, IsEmpty());
    return told.warnings;
}

std::vector<float> RadiiOf(const Curves& curves) {
    std::vector<float> radii;
    for (const V4f& point : curves.points.at(0))
        radii.push_back(point.w);
    return radii;
}

std::vector<float> PlacesOf(const Curves& curves) {
    std::vector<float> places;
    for (const V4f& point : curves.points.at(0))
        places.push_back(point.x);
    return places;
}

TEST(ReadCurves, AreOneRoundLinearCurveByDefault) {
    const Curves curves = ReadCurvesOf(3, R"("constantWidth": 0.5)");
    EXPECT_EQ(curves.basis, Curves::Basis::Linear);
    EXPECT_FALSE(curves.isFlat);
    EXPECT_THAT(curves.points, ElementsAre(ElementsAre(V4f(0, 0, 0, 0.25f), V4f(1, 0, 0, 0.25f),
                                                       V4f(2, 0, 0, 0.25f))));
    EXPECT_THAT(curves.segments, ElementsAre(0, 1));
    EXPECT_THAT(curves.firstSegments, ElementsAre(0, 2));
    EXPECT_THAT(curves.uvSets, IsEmpty());
}

TEST(ReadCurves, FollowEachOther) {
    const Curves curves = ReadCurvesOf(5, R"("numVertices": [2, 3], "crossSection": "flat",
                                             "point.width": [2.0, 4, 6, 8, 10])");
    EXPECT_TRUE(curves.isFlat);
    EXPECT_THAT(curves.segments, ElementsAre(0, 2, 3));
    EXPECT_THAT(curves.firstSegments, ElementsAre(0, 1, 3));
    EXPECT_THAT(RadiiOf(curves), ElementsAre(1, 2, 3, 4, 5));
}

TEST(ReadCurves, HaveSegmentsOfTheirBasis) {
    EXPECT_THAT(ReadCurvesOf(7, R"("basis": "bezier")").segments, ElementsAre(0, 3));
    EXPECT_THAT(ReadCurvesOf(6, R"("basis": "bspline")").segments, ElementsAre(0, 1, 2));
    EXPECT_THAT(ReadCurvesOf(5, R"("basis": "catmull-rom")").segments, ElementsAre(0, 1));
    EXPECT_EQ(ReadCurvesOf(5, R"("basis": "catmull-rom")").basis, Curves::Basis::CatmullRom);
    EXPECT_EQ(ReadCurvesOf(4, R"("degree": 3)").basis, Curves::Basis::BSpline);
    EXPECT_EQ(ReadCurvesOf(4, R"("degree": 1, "basis": "bezier")").basis, Curves::Basis::Linear);
}

TEST(ReadCurves, RepeatThePointsOfClosedCurves) {
    const Curves linear = ReadCurvesOf(6, R"("closed": 1, "numVertices": [3, 3])");
    EXPECT_THAT(PlacesOf(linear), ElementsAre(0, 1, 2, 0, 3, 4, 5, 3));
    EXPECT_THAT(linear.segments, ElementsAre(0, 1, 2, 4, 5, 6));
    const Curves spline = ReadCurvesOf(4, R"("closed": 1, "basis": "bspline")");
    EXPECT_THAT(PlacesOf(spline), ElementsAre(0, 1, 2, 3, 0, 1, 2));
    EXPECT_THAT(spline.segments, ElementsAre(0, 1, 2, 3));
    const Curves bezier = ReadCurvesOf(6, R"("closed": 1, "basis": "bezier")");
    EXPECT_THAT(PlacesOf(bezier), ElementsAre(0, 1, 2, 3, 4, 5, 0));
    EXPECT_THAT(bezier.segments, ElementsAre(0, 3));
}

TEST(ReadCurves, AreAThousandthOfTheirSizeThickWithoutWidths) {
    EXPECT_THAT(RadiiOf(ReadCurvesOf(3, "")), ElementsAre(0.001f, 0.001f, 0.001f));
}

TEST(ReadCurves, HaveTextureCoordinatesByCurveAndByPoint) {
    const Curves curves = ReadCurvesOf(6, R"("closed": 1, "numVertices": [3, 3], "arbitrary": {
        "st": {"scope": "face", "value": {"$type": "float", "values": [[0.25, 0.5], [0.75, 1]]}},
        "st1": {"scope": "point", "indexedValue": {"$type": "float", "values": [[0, 0], [1, 1]]},
                "index": [0, 1, 0, 1, 0, 1]}})");
    ASSERT_THAT(curves.uvSets, SizeIs(2));
    EXPECT_EQ(curves.uvSets[0].name, "st");
    EXPECT_EQ(curves.uvSets[0].scope, CurveScope::Curve);
    EXPECT_THAT(curves.uvSets[0].values, ElementsAre(V2f(0.25f, 0.5f), V2f(0.75f, 1)));
    EXPECT_EQ(curves.uvSets[1].scope, CurveScope::Point);
    EXPECT_THAT(curves.uvSets[1].values,
                ElementsAre(V2f(0), V2f(1), V2f(0), V2f(0), V2f(1), V2f(0), V2f(1), V2f(1)));
}

TEST(ReadCurves, HaveColorsByCurveAndByPoint) {
    const Curves curves = ReadCurvesOf(4, R"("numVertices": [2, 2], "arbitrary": {
        "color": {"scope": "face", "value": {"$type": "float", "values": [[1, 0, 0], [0, 1, 0]]}},
        "tint": {"scope": "point", "inputType": "color4", "index": [0, 0, 1, 1],
            "indexedValue": {"$type": "float", "values": [[1, 0, 0, 0.5], [0, 1, 0, 0.25]]}}})");
    using Imath::C4f;
    ASSERT_THAT(curves.colorSets, SizeIs(2));
    EXPECT_EQ(curves.colorSets[0].name, "color");
    EXPECT_EQ(curves.colorSets[0].scope, CurveScope::Curve);
    EXPECT_THAT(curves.colorSets[0].values, ElementsAre(C4f(1, 0, 0, 1), C4f(0, 1, 0, 1)));
    EXPECT_EQ(curves.colorSets[1].scope, CurveScope::Point);
    EXPECT_THAT(curves.colorSets[1].values, ElementsAre(C4f(1, 0, 0, 0.5f), C4f(1, 0, 0, 0.5f),
                                                        C4f(0, 1, 0, 0.25f), C4f(0, 1, 0, 0.25f)));
}

TEST(ReadCurves, MoveWithTheirPoints) {
    const SceneData scene =
        ReadSilently(SceneJson(R"("c": {"a": {"type": "curves", "geometry": {"constantWidth": 2.0,
            "point.P": {"$type": "float", "times": [0, 1], "samples": [
                [0, 0, 0, 1, 0, 0], [0, 5, 0, 1, 5, 0]]}}}})",
                               R"("renderSettings": {"shutterOpen": 0.0, "shutterClose": 1.0})"));
    const Curves& curves = scene.shapes.at(0).curves;
    ASSERT_THAT(curves.points, SizeIs(testing::Ge(2)));
    EXPECT_EQ(curves.points.front()[1], V4f(1, 0, 0, 1));
    EXPECT_EQ(curves.points.back()[1], V4f(1, 5, 0, 1));
}

TEST(ReadCurves, LeaveOutWhatMakesNoSegment) {
    Told told;
    const SceneData scene =
        ReadJson(CurvesJson(13, R"("basis": "bezier", "numVertices": [3, 6, 4])"), told);
    const Curves& curves = scene.shapes.at(0).curves;
    EXPECT_THAT(PlacesOf(curves), ElementsAre(3, 4, 5, 6, 9, 10, 11, 12));
    EXPECT_THAT(curves.segments, ElementsAre(0, 4));
    EXPECT_THAT(curves.firstSegments, ElementsAre(0, 1, 2));
    EXPECT_THAT(told.warnings, ElementsAre("/root/world/c: \"geometry.numVertices\" has control "
                                           "points that do not make a whole segment"));
}

TEST(ReadCurves, AreLeftOutIfTheyAreInvalid) {
    const auto misfit =
        ElementsAre("/root/world/c: \"geometry.numVertices\" does not fit \"geometry.point.P\"");
    EXPECT_THAT(WarningsOf(3, R"("numVertices": [2, 2])"), misfit);
    EXPECT_THAT(WarningsOf(3, R"("numVertices": [4, -1])"), misfit);
    EXPECT_THAT(WarningsOf(3, R"("numVertices": [2147483647, 2147483647, 5])"), misfit);
    EXPECT_THAT(WarningsOf(4, R"("basis": "nurbs")"),
                ElementsAre("/root/world/c: \"geometry.basis\" has the unknown value \"nurbs\""));
    EXPECT_THAT(WarningsOf(3, R"("constantWidth": -1.0)"),
                ElementsAre("/root/world/c: \"geometry.constantWidth\" has widths that are "
                            "negative or not finite"));
    EXPECT_THAT(WarningsOf(1, ""),
                ElementsAre("/root/world/c: \"geometry.numVertices\" has control "
                            "points that do not make a whole segment"));
}

TEST(ReadCurves, LeaveOutTextureCoordinatesThatDoNotFit) {
    Told told;
    const SceneData scene = ReadJson(
        CurvesJson(3, R"("arbitrary.st": {"scope": "face", "value": [[0.0, 0], [1, 1]]})"), told);
    EXPECT_THAT(scene.shapes.at(0).curves.uvSets, IsEmpty());
    EXPECT_THAT(told.warnings, ElementsAre("/root/world/c: \"geometry.arbitrary.st\" does not fit "
                                           "the curves; it is left out"));
}

} // namespace
