#include <map>
#include <vector>

#include <gmock/gmock.h>

#include "OpTypeScenes.h"

namespace {

using namespace OxAttribute;
using namespace OpTypeScenes;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(Transform, IsAppliedAfterTheLocationsOwnTransformByDefault) {
    Graph graph;
    const Op scene = graph.add("StaticScene", SmallScene());
    const Op op = graph.add(
        "Transform", Group({{"paths", Texts({"/**/ball"})}, {"scale", Doubles({10, 10, 10})}}),
        {scene});
    EXPECT_EQ(graph.attr(op, "/root/world/geo/ball", "xform"),
              Group({{"edit0", GroupAttribute(Children{{"scale", Doubles({10, 10, 10})}}, false)},
                     {"translate", Doubles({1, 2, 3})}}));
    EXPECT_THAT(Moved(graph.attrs(op, "/root/world/geo/ball"), 1), ElementsAre(20, 20, 30));
}

TEST(Transform, CanBeAppliedBeforeTheLocationsOwnTransform) {
    Graph graph;
    const Op scene = graph.add("StaticScene", SmallScene());
    const Op op = graph.add("Transform",
                            Group({{"paths", Texts({"/**/ball"})},
                                   {"scale", Doubles({10, 10, 10})},
                                   {"order", Text("before")}}),
                            {scene});
    EXPECT_THAT(Moved(graph.attrs(op, "/root/world/geo/ball"), 1), ElementsAre(11, 2, 3));
}

TEST(Transform, ScalesThenRotatesThenTranslates) {
    Graph graph;
    const Op scene = graph.add("StaticScene", SmallScene());
    const Op op = graph.add("Transform",
                            Group({{"scale", Doubles({2, 1, 1})},
                                   {"rotate", Doubles({180, 0, 0, 1})},
                                   {"translate", Doubles({100, 0, 0})},
                                   {"paths", Texts({"/root/world"})}}),
                            {scene});
    EXPECT_DOUBLE_EQ(Moved(graph.attrs(op, "/root/world"), 1).at(0), 98);
    const GroupAttribute edit(graph.attr(op, "/root/world", "xform.edit0"));
    ASSERT_EQ(edit.getNumberOfChildren(), 3);
    EXPECT_EQ(edit.getChildName(0), "translate");
    EXPECT_EQ(edit.getChildName(1), "rotate");
    EXPECT_EQ(edit.getChildName(2), "scale");
}

TEST(Transform, AddsATransformToALocationWithoutOne) {
    Graph graph;
    const Op scene = graph.add("StaticScene", SmallScene());
    const Attribute matrix = Doubles({1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 7, 8, 9, 1});
    const Op op = graph.add(
        "Transform", Group({{"paths", Texts({"/root/world"})}, {"matrix", matrix}}), {scene});
    EXPECT_THAT(Moved(graph.attrs(op, "/root/world")), ElementsAre(7, 8, 9));
    EXPECT_EQ(graph.attr(op, "/root/world", "tag"), Int(1));
    EXPECT_THAT(graph.children(op, "/root/world"), ElementsAre("geo"));
}

TEST(Transform, GivesEachTransformAFreeName) {
    const GroupAttribute args =
        Group({{"paths", Texts({"/root"})}, {"translate", Doubles({1, 0, 0})}});
    Graph graph;
    const Op scene = graph.add("StaticScene", SmallScene());
    const Op second = graph.add("Transform", args, {graph.add("Transform", args, {scene})});
    const GroupAttribute xform(graph.attr(second, "/root", "xform"));
    ASSERT_EQ(xform.getNumberOfChildren(), 2);
    EXPECT_EQ(xform.getChildName(0), "edit1");
    EXPECT_EQ(xform.getChildName(1), "edit0");
    EXPECT_THAT(Moved(graph.attrs(second, "/root")), ElementsAre(2, 0, 0));
}

TEST(Transform, KeepsTimeSamplesAndFloatsAndConvertsIntegersToDoubles) {
    const FloatAttribute moving(std::map<float, std::vector<float>>{{0, {0, 0, 0}}, {1, {4, 0, 0}}},
                                3);
    Graph graph;
    const Op scene = graph.add("StaticScene", SmallScene());
    const Op op = graph.add("Transform",
                            Group({{"paths", Texts({"/root"})},
                                   {"translate", moving},
                                   {"scale", IntAttribute({2, 3, 4}, 3)}}),
                            {scene});
    EXPECT_EQ(graph.attr(op, "/root", "xform.edit0.translate"), moving);
    EXPECT_EQ(graph.attr(op, "/root", "xform.edit0.scale"), Doubles({2, 3, 4}));
}

TEST(Transform, SharesOtherLocationsWithoutACopy) {
    Graph graph;
    const Op scene = graph.add("StaticScene", SmallScene());
    const Op op = graph.add(
        "Transform", Group({{"paths", Texts({"/root/world"})}, {"scale", Doubles({2, 2, 2})}}),
        {scene});
    const Op idle = graph.add("Transform", Group({{"paths", Texts({"/**"})}}), {scene});
    EXPECT_TRUE(graph.shares(op, scene, "/root"));
    EXPECT_TRUE(graph.shares(op, scene, "/root/world/geo"));
    EXPECT_FALSE(graph.exists(op, "/root/none"));
    EXPECT_TRUE(graph.shares(idle, scene, "/root/world"));
}

TEST(AttributeEdit, MergesTheAttributesToSet) {
    Graph graph;
    const Op scene = graph.add(
        "StaticScene", Location({{"g", Group({{"x", Int(1)}, {"y", Int(1)}})}, {"t", Int(1)}}));
    const Op op =
        graph.add("AttributeEdit",
                  Group({{"paths", Texts({"/root"})},
                         {"set", Group({{"g", Group({{"y", Int(2)}})}, {"new", Text("n")}})}}),
                  {scene});
    EXPECT_EQ(
        graph.attrs(op, "/root"),
        Group({{"g", Group({{"x", Int(1)}, {"y", Int(2)}})}, {"t", Int(1)}, {"new", Text("n")}}));
}

TEST(AttributeEdit, DeletesByDottedName) {
    Graph graph;
    const Op scene = graph.add(
        "StaticScene", Location({{"g", Group({{"x", Int(1)}, {"y", Int(1)}})}, {"t", Int(1)}}));
    const Op op =
        graph.add("AttributeEdit",
                  Group({{"paths", Texts({"/root"})}, {"delete", Texts({"g.x", "t"})}}), {scene});
    EXPECT_EQ(graph.attrs(op, "/root"), Group({{"g", Group({{"y", Int(1)}})}}));
}

TEST(AttributeEdit, DeletesBeforeItSets) {
    Graph graph;
    const Op scene = graph.add("StaticScene", Location({{"g", Group({{"x", Int(1)}})}}));
    const Op op = graph.add("AttributeEdit",
                            Group({{"paths", Texts({"/root"})},
                                   {"set", Group({{"g", Group({{"y", Int(2)}})}})},
                                   {"delete", Texts({"g"})}}),
                            {scene});
    EXPECT_EQ(graph.attrs(op, "/root"), Group({{"g", Group({{"y", Int(2)}})}}));
}

TEST(AttributeEdit, GivesAttributesToALocationWithoutAny) {
    Graph graph;
    const Op scene = graph.add("StaticScene", Group({{"c", Group({{"x", Group({})}})}}));
    const Op op =
        graph.add("AttributeEdit",
                  Group({{"paths", Texts({"/root/x"})}, {"set", Group({{"t", Int(1)}})}}), {scene});
    EXPECT_EQ(graph.attrs(op, "/root/x"), Group({{"t", Int(1)}}));
}

TEST(AttributeEdit, SharesUnchangedLocationsWithoutACopy) {
    Graph graph;
    const Op scene = graph.add("StaticScene", SmallScene());
    const Op op = graph.add(
        "AttributeEdit",
        Group({{"paths", Texts({"/root/world/**"})}, {"delete", Texts({"xform"})}}), {scene});
    EXPECT_TRUE(graph.shares(op, scene, "/root"));
    EXPECT_TRUE(graph.shares(op, scene, "/root/world/geo/box"));
    EXPECT_FALSE(graph.shares(op, scene, "/root/world/geo/ball"));
    EXPECT_FALSE(graph.attr(op, "/root/world/geo/ball", "xform").isValid());
}

TEST(MaterialAssign, SetsThePathAndTheMaterialItself) {
    Graph graph;
    const Op scene = graph.add("StaticScene", SmallScene());
    const Op op = graph.add(
        "MaterialAssign",
        Group({{"paths", Texts({"/root/world/geo/*"})}, {"material", Text("/root/materials/red")}}),
        {scene});
    EXPECT_EQ(graph.attr(op, "/root/world/geo/box", "materialAssign"), Text("/root/materials/red"));
    EXPECT_EQ(graph.attr(op, "/root/world/geo/box", "material"), Group({{"color", Text("red")}}));
    EXPECT_EQ(graph.attr(op, "/root/world/geo/box", "tag"), Int(4));
    EXPECT_THAT(graph.children(op, "/root/world/geo/box"), ElementsAre("lid", "body"));
    EXPECT_TRUE(graph.shares(op, scene, "/root/world/geo/box/lid"));
}

TEST(MaterialAssign, SetsOnlyThePathIfThereIsNoMaterial) {
    Graph graph;
    const Op scene = graph.add("StaticScene", SmallScene());
    const Op missing = graph.add(
        "MaterialAssign",
        Group({{"paths", Texts({"/root/world"})}, {"material", Text("/root/m/no")}}), {scene});
    const Op empty = graph.add(
        "MaterialAssign",
        Group({{"paths", Texts({"/root/world"})}, {"material", Text("/root/materials/empty")}}),
        {scene});
    EXPECT_EQ(graph.attrs(missing, "/root/world"),
              Group({{"tag", Int(1)}, {"materialAssign", Text("/root/m/no")}}));
    EXPECT_EQ(graph.attrs(empty, "/root/world"),
              Group({{"tag", Int(1)}, {"materialAssign", Text("/root/materials/empty")}}));
}

TEST(RenderSettings, AreMergedIntoTheRootsSettings) {
    Graph graph;
    const Op scene = graph.add(
        "StaticScene",
        Location({{"renderSettings", Group({{"resolution", Text("512sq")}, {"samples", Int(1)}})},
                  {"tag", Int(0)}},
                 {{"world", Location({})}}));
    const Op op =
        graph.add("RenderSettings",
                  Group({{"settings", Group({{"samples", Int(64)}, {"depth", Int(3)}})}}), {scene});
    EXPECT_EQ(
        graph.attrs(op, "/root"),
        Group({{"renderSettings",
                Group({{"resolution", Text("512sq")}, {"samples", Int(64)}, {"depth", Int(3)}})},
               {"tag", Int(0)}}));
    EXPECT_THAT(graph.children(op, "/root"), ElementsAre("world"));
    EXPECT_TRUE(graph.shares(op, scene, "/root/world"));
}

TEST(RenderSettings, MakeAMissingRoot) {
    Graph graph;
    const Op op = graph.add("RenderSettings", Group({{"settings", Group({{"samples", Int(64)}})}}));
    EXPECT_EQ(graph.attr(op, "/root", "renderSettings.samples"), Int(64));
    EXPECT_FALSE(graph.cook(op, "/root").getPotentialChildren().isValid());
}

TEST(Camera, HasADefaultLens) {
    Graph graph;
    const Op op = graph.add("Camera", GroupAttribute());
    const GroupAttribute attrs = graph.attrs(op, "/root/world/cam/camera");
    EXPECT_EQ(attrs.getChildByName("type"), Text("camera"));
    EXPECT_EQ(attrs.getChildByName("geometry"), Group({{"projection", Text("perspective")},
                                                       {"fov", Doubles({45})},
                                                       {"near", Doubles({0.1})},
                                                       {"far", Doubles({100000})},
                                                       {"left", Doubles({-1})},
                                                       {"right", Doubles({1})},
                                                       {"top", Doubles({1})},
                                                       {"bottom", Doubles({-1})}}));
    EXPECT_EQ(attrs.getNumberOfChildren(), 2);
}

TEST(Camera, KeepsEveryNumberAsADoubleWithItsTimeSamples) {
    const FloatAttribute zoom(std::map<float, std::vector<float>>{{0, {30}}, {1, {60}}}, 1);
    Graph graph;
    const Op op = graph.add("Camera", Group({{"fov", zoom},
                                             {"near", Int(2)},
                                             {"projection", Text("orthographic")},
                                             {"orthographicWidth", FloatAttribute(8.0f)},
                                             {"translate", IntAttribute({0, 0, 5}, 3)},
                                             {"rotate", Doubles({90, 0, 1, 0})}}));
    const GroupAttribute attrs = graph.attrs(op, "/root/world/cam/camera");
    const std::map<float, std::vector<double>> zoomInDoubles = {{0, {30}}, {1, {60}}};
    EXPECT_EQ(attrs.getChildByName("geometry.fov"), DoubleAttribute(zoomInDoubles, 1));
    EXPECT_EQ(attrs.getChildByName("geometry.near"), DoubleAttribute(2.0));
    EXPECT_EQ(attrs.getChildByName("geometry.projection"), Text("orthographic"));
    EXPECT_EQ(attrs.getChildByName("geometry.orthographicWidth"), DoubleAttribute(8.0));
    const GroupAttribute xform(attrs.getChildByName("xform"));
    ASSERT_EQ(xform.getNumberOfChildren(), 2);
    EXPECT_EQ(xform.getChildName(0), "translate");
    EXPECT_EQ(xform.getChildByIndex(0), Doubles({0, 0, 5}));
    EXPECT_EQ(xform.getChildName(1), "rotate");
}

TEST(Camera, MakesMissingAncestorsAndIsListedInExistingOnes) {
    Graph graph;
    const Op scene = graph.add("StaticScene", SmallScene());
    const Op op = graph.add("Camera", Group({{"path", Text("/root/world/cams/hero")}}), {scene});
    EXPECT_TRUE(graph.shares(op, scene, "/root"));
    EXPECT_THAT(graph.children(op, "/root/world"), ElementsAre("geo", "cams"));
    EXPECT_EQ(graph.attrs(op, "/root/world"), Group({{"tag", Int(1)}}));
    EXPECT_EQ(graph.attrs(op, "/root/world/cams"), Group({{"type", Text("group")}}));
    EXPECT_THAT(graph.children(op, "/root/world/cams"), ElementsAre("hero"));
    EXPECT_THAT(graph.children(op, "/root/world/cams/hero"), IsEmpty());
    EXPECT_TRUE(graph.shares(op, scene, "/root/world/geo/ball"));
    EXPECT_FALSE(graph.exists(op, "/root/world/cams/other"));
}

TEST(Camera, ReplacesTheLensOfAnExistingLocationAndKeepsTheRest) {
    Graph graph;
    const Op scene = graph.add(
        "StaticScene", Location({}, {{"cam", Location({{"type", Text("light")},
                                                       {"geometry", Group({{"radius", Int(1)}})},
                                                       {"tag", Int(7)}},
                                                      {{"rig", Location({})}})}}));
    const Op op = graph.add("Camera", Group({{"path", Text("/root/cam")}}), {scene});
    EXPECT_EQ(graph.attr(op, "/root/cam", "type"), Text("camera"));
    EXPECT_FALSE(graph.attr(op, "/root/cam", "geometry.radius").isValid());
    EXPECT_EQ(graph.attr(op, "/root/cam", "tag"), Int(7));
    EXPECT_THAT(graph.children(op, "/root/cam"), ElementsAre("rig"));
    EXPECT_TRUE(graph.shares(op, scene, "/root/cam/rig"));
}

} // namespace
