// What the rules find, and what they must not take for a problem. One defect for each rule, and the
// exact text of each finding, are in tests/tellar/check_defects.py.

#include <cmath>
#include <limits>
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "CheckScenes.h"
#include "TestOps.h"

using namespace TellarTest;
using namespace OxAttribute;
using Names = std::vector<std::string>;

namespace {

constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

Attribute Floats(const std::vector<float>& values, int tupleSize = 3) {
    return FloatAttribute(values, tupleSize);
}

Attribute Ints(const std::vector<std::int32_t>& values) {
    return IntAttribute(values, 1);
}

const GroupAttribute kMatte = Group({{"surfaceShader", Text("matte")}});

/// A group with a transform of one step.
Children Moved(const char* step, const Attribute& value) {
    return {{"type", Text("group")}, {"xform", Group({{step, value}})}};
}

/// Two triangles around the unit square.
Children Square(Children geometry = {}) {
    Children whole{{"point", Group({{"P", Floats({0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0})}})},
                   {"poly", Group({{"vertexList", Ints({0, 1, 2, 0, 2, 3})},
                                   {"startIndex", Ints({0, 3, 6})}})}};
    whole.insert(whole.end(), geometry.begin(), geometry.end());
    return {{"type", Text("polymesh")}, {"material", kMatte}, {"geometry", Group(whole)}};
}

Children With(Children attrs, const char* name, const Attribute& value) {
    attrs.emplace_back(name, value);
    return attrs;
}

GroupAttribute Set(const char* scope, const char* type, const Attribute& value) {
    return Group({{"scope", Text(scope)}, {"inputType", Text(type)}, {"value", value}});
}

Children WithSet(const char* name, const GroupAttribute& set) {
    return Square({{"arbitrary", Group({{name, set}})}});
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

namespace {

Attribute Box(double size) {
    return Doubles({-size, size, -size, size, -size, size});
}

Children Ball(double radius, const Children& more = {}) {
    Children attrs{{"type", Text("sphere")},
                   {"material", kMatte},
                   {"geometry", Group({{"radius", DoubleAttribute(radius)}})}};
    attrs.insert(attrs.end(), more.begin(), more.end());
    return attrs;
}

Attribute Rotation(double degrees) {
    return Group({{"rotate", Doubles({degrees, 0, 0, 1})}});
}

Attribute Translation(double x) {
    return Group({{"translate", Doubles({x, 0, 0})}});
}

} // namespace

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
                         {"material", kMatte},
                         {"geometry", Group({{"point", Group({{"P", moving}})}})}};
    EXPECT_EQ(RulesOf(CheckLocation(With(cloud, "bound", Box(1)))), Names{"bound-small"});
    EXPECT_EQ(RulesOf(CheckLocation(With(cloud, "bound", Box(5)))), Names{});
}

TEST(BoundRules, FindBoundsThatAreNoBox) {
    EXPECT_EQ(RulesOf(CheckLocation({{"bound", Text("large")}})), Names{"bound-value"});
    EXPECT_EQ(RulesOf(CheckLocation({{"bound", Floats({0, 1, 0, 1, 0, kNan}, 1)}})),
              Names{"bound-value"});
}

// Shapes ------------------------------------------------------------------------------------------

TEST(ShapeRules, FindNegativeIndices) {
    const Children geometry{
        {"point", Group({{"P", Floats({0, 0, 0, 1, 0, 0, 1, 1, 0})}})},
        {"poly", Group({{"vertexList", Ints({0, 1, -1})}, {"startIndex", Ints({0, 3})}})}};
    const Children mesh{
        {"type", Text("polymesh")}, {"material", kMatte}, {"geometry", Group(geometry)}};
    EXPECT_EQ(ProblemsOf(CheckLocation(mesh), "mesh-index"),
              Names{"/root/it: geometry.poly.vertexList: its entry 2 is the point -1, and there "
                    "are 3 points"});
}

TEST(ShapeRules, FindFacesThatDoNotFit) {
    const std::map<std::string, Attribute> starts{
        {"it is missing", {}},
        {"it does not hold integers", Floats({0, 3}, 1)},
        {"it is empty", Ints({})},
        {"its first entry is -1", Ints({-1, 3})},
        {"its entry 2 is 1, and the one before it 3", Ints({0, 3, 1})},
        {"it ends at 4, and \"vertexList\" has 3 entries", Ints({0, 4})}};
    for (const auto& [problem, start] : starts) {
        SCOPED_TRACE(problem);
        const Children geometry{
            {"point", Group({{"P", Floats({0, 0, 0, 1, 0, 0, 1, 1, 0})}})},
            {"poly", Group({{"vertexList", Ints({0, 1, 2})}, {"startIndex", start}})}};
        const Children mesh{
            {"type", Text("polymesh")}, {"material", kMatte}, {"geometry", Group(geometry)}};
        EXPECT_EQ(ProblemsOf(CheckLocation(mesh), "mesh-faces"),
                  Names{"/root/it: geometry.poly.startIndex: " + problem});
    }
}

TEST(ShapeRules, AcceptMeshesWithoutFaces) {
    const Children geometry{{"point", Group({{"P", Floats({})}})},
                            {"poly", Group({{"vertexList", Ints({})}, {"startIndex", Ints({0})}})}};
    EXPECT_EQ(
        RulesOf(CheckLocation(
            {{"type", Text("polymesh")}, {"material", kMatte}, {"geometry", Group(geometry)}})),
        Names{});
}

TEST(ShapeRules, FindNumbersThatAreNotFiniteAtLaterTimes) {
    const FloatAttribute moving({{0, {0, 0, 0}}, {1, {kNan, 0, 0}}}, 3);
    EXPECT_EQ(RulesOf(CheckLocation({{"type", Text("pointcloud")},
                                     {"material", kMatte},
                                     {"geometry", Group({{"point", Group({{"P", moving}})}})}})),
              Names{"shape-finite"});
}

TEST(ShapeRules, AcceptValuesOfEveryScope) {
    EXPECT_EQ(RulesOf(CheckLocation(
                  WithSet("st", Set("point", "vector2", Floats({0, 0, 1, 0, 1, 1, 0, 1}, 2))))),
              Names{});
    EXPECT_EQ(RulesOf(CheckLocation(
                  WithSet("st", Set("point", "vector2", Floats({0, 0, 1, 0, 1, 1, 0, 1}, 1))))),
              Names{});
    EXPECT_EQ(
        RulesOf(CheckLocation(WithSet("color", Set("face", "color3", Floats({1, 0, 0, 0, 1, 0}))))),
        Names{});
    EXPECT_EQ(RulesOf(CheckLocation(
                  WithSet("width", Set("vertex", "float", Floats({1, 2, 3, 4, 5, 6}, 1))))),
              Names{});
    EXPECT_EQ(RulesOf(CheckLocation(WithSet("name", Set("primitive", "string", Text("a"))))),
              Names{});
    EXPECT_EQ(RulesOf(CheckLocation(
                  WithSet("other", Set("face", "matrix9", Floats(std::vector<float>(18), 1))))),
              Names{});
}

TEST(ShapeRules, FindValuesThatDoNotFitTheirScope) {
    EXPECT_EQ(ProblemsOf(CheckLocation(WithSet("color", Set("face", "color3", Floats({1, 0, 0})))),
                         "arbitrary-count"),
              Names{"/root/it: geometry.arbitrary.color.value: it holds 3 numbers for 2 elements"});
    EXPECT_EQ(ProblemsOf(CheckLocation(WithSet("color", Set("faces", "color3", Floats({1, 0, 0})))),
                         "arbitrary-count"),
              Names{"/root/it: geometry.arbitrary.color.scope: it is \"faces\" and not point, "
                    "vertex, face or primitive"});
    const auto indexed = [](const std::vector<std::int32_t>& index) {
        return Group({{"scope", Text("face")},
                      {"inputType", Text("color3")},
                      {"indexedValue", Floats({1, 0, 0})},
                      {"index", Ints(index)}});
    };
    EXPECT_EQ(RulesOf(CheckLocation(WithSet("color", indexed({0, 0})))), Names{});
    EXPECT_EQ(ProblemsOf(CheckLocation(WithSet("color", indexed({0, 1}))), "arbitrary-count"),
              Names{"/root/it: geometry.arbitrary.color.index: it holds the index 1, and there is "
                    "1 value"});
    EXPECT_EQ(ProblemsOf(CheckLocation(WithSet("color", indexed({0}))), "arbitrary-count"),
              Names{"/root/it: geometry.arbitrary.color.index: it holds 1 number for 2 elements"});
    const GroupAttribute chosen = Group({{"scope", Text("face")},
                                         {"inputType", Text("color3")},
                                         {"value", Floats({1, 0, 0})},
                                         {"index", Ints({0, 0})}});
    EXPECT_EQ(RulesOf(CheckLocation(WithSet("color", chosen))), Names{});
}

TEST(ShapeRules, FindTagsOfSubdivisionSurfacesThatDoNotFit) {
    const auto problems = [](const Children& tags) {
        Children attrs = Square(tags);
        attrs[0].second = Text("subdmesh");
        return ProblemsOf(CheckLocation(attrs), "subdivision-tags");
    };
    const Attribute sharp = Doubles({2});
    EXPECT_EQ(problems({{"creaseIndices", Ints({0, 1, 2})},
                        {"creaseLengths", Ints({3})},
                        {"creaseSharpness", sharp}}),
              Names{});
    EXPECT_EQ(problems({{"creaseIndices", Ints({0, 1, 2})},
                        {"creaseLengths", Ints({3})},
                        {"creaseSharpness", Doubles({2, 3})}}),
              Names{});
    EXPECT_EQ(
        problems({{"creaseIndices", Ints({0, 1, 2})},
                  {"creaseLengths", Ints({2})},
                  {"creaseSharpness", sharp}}),
        Names{
            "/root/it: geometry.creaseLengths: its sum is 2, and \"creaseIndices\" has 3 points"});
    EXPECT_EQ(problems({{"creaseIndices", Ints({0})},
                        {"creaseLengths", Ints({1})},
                        {"creaseSharpness", sharp}}),
              Names{"/root/it: geometry.creaseLengths: it holds the length 1"});
    EXPECT_EQ(problems({{"creaseIndices", Ints({0, 1})},
                        {"creaseLengths", Ints({2})},
                        {"creaseSharpness", Doubles({-1})}}),
              Names{"/root/it: geometry.creaseSharpness: it holds the sharpness -1"});
    EXPECT_EQ(problems({{"cornerIndices", Ints({0, 3})}, {"cornerSharpness", sharp}}),
              Names{"/root/it: geometry.cornerSharpness: it holds 1 number for 2 points"});
    EXPECT_EQ(problems({{"holeFaces", Ints({2})}}),
              Names{"/root/it: geometry.holeFaces: it holds the face 2, and there are 2 faces"});
    EXPECT_EQ(problems({{"subdivisionScheme", Text("catmull")}}).size(), 1u);
}

TEST(ShapeRules, FindCurvesWithoutABasisOrPoints) {
    const auto problems = [](const char* name, const Attribute& value) {
        return ProblemsOf(
            CheckLocation(
                {{"type", Text("curves")},
                 {"material", kMatte},
                 {"geometry",
                  Group({{"point", Group({{"P", Floats({0, 0, 0, 1, 1, 1})}})}, {name, value}})}}),
            "curves-count");
    };
    EXPECT_EQ(problems("numVertices", Ints({2})), Names{});
    EXPECT_EQ(problems("numVertices", Ints({-1, 3})),
              Names{"/root/it: geometry.numVertices: it holds the number -1"});
    EXPECT_EQ(
        problems("numVertices", Ints({1})),
        Names{"/root/it: geometry.numVertices: its curves have 1 point, and there are 2 points"});
    EXPECT_EQ(problems("basis", Text("hermite")),
              Names{"/root/it: geometry.basis: it has the unknown value \"hermite\""});
}

TEST(ShapeRules, AcceptOneWidthForAllOrOneForEach) {
    const auto rules = [](const std::vector<float>& widths) {
        const GroupAttribute point =
            Group({{"P", Floats({0, 0, 0, 1, 1, 1, 2, 2, 2})}, {"width", Floats(widths, 1)}});
        return RulesOf(CheckLocation({{"type", Text("pointcloud")},
                                      {"material", kMatte},
                                      {"geometry", Group({{"point", point}})}}));
    };
    EXPECT_EQ(rules({1}), Names{});
    EXPECT_EQ(rules({1, 0, 2}), Names{});
    EXPECT_EQ(rules({1, 2}), Names{"shape-width"});
    EXPECT_EQ(rules({1, -1, 2}), Names{"shape-width"});
    EXPECT_EQ(RulesOf(CheckLocation(Ball(-1))), Names{"shape-width"});
}

TEST(ShapeRules, FindFacesetsWithoutFaces) {
    const auto faceset = [](const Attribute& faces) {
        return Location({{"type", Text("faceset")}, {"geometry", Group({{"faces", faces}})}});
    };
    EXPECT_EQ(RulesOf(CheckLocation(Square(), {{"part", faceset(Ints({0, 1}))}})), Names{});
    EXPECT_EQ(RulesOf(CheckLocation(Square(), {{"part", faceset(Ints({}))}})),
              Names{"faceset-unused"});
    EXPECT_EQ(RulesOf(CheckLocation(Square(), {{"part", faceset(Floats({0}, 1))}})),
              Names{"faceset-index"});
}

// Materials and textures --------------------------------------------------------------------------

namespace {

Children Node(const char* name, const Children& more = {}) {
    Children node{{"name", Text(name)}, {"type", Text("standard_surface")}};
    node.insert(node.end(), more.begin(), more.end());
    return node;
}

Children Networked(const Children& nodes, const Children& more = {}) {
    Children material{{"style", Text("network")},
                      {"terminals", Group({{"surface", Text("s")}, {"surfacePort", Text("out")}})},
                      {"nodes", Group(nodes)}};
    material.insert(material.end(), more.begin(), more.end());
    return {{"material", Group(material)}};
}

GroupAttribute Feeds(const char* input, const char* source) {
    return Group({{input, Text(source)}});
}

} // namespace

TEST(MaterialRules, FindNodesByTheirKeysAndNames) {
    const Children nodes{
        {"s", Group(Node("s", {{"connections", Feeds("baseColor", " out @ wood ")}}))},
        {"key", Group(Node("wood", {{"connections", Group({{"in", Feeds("a", "r@grain")}})}}))},
        {"grain", Group(Node("grain"))}};
    EXPECT_EQ(RulesOf(CheckLocation(Networked(nodes))), Names{});
}

TEST(MaterialRules, FindConnectionsThatAreNone) {
    const auto problems = [](const char* source) {
        return ProblemsOf(CheckLocation(Networked(
                              {{"s", Group(Node("s", {{"connections", Feeds("a", source)}}))}})),
                          "material-node");
    };
    const std::string place = "/root/it: material.nodes.s.connections.a: ";
    EXPECT_EQ(problems("paint"), Names{place + "\"paint\" is no connection \"port@node\""});
    EXPECT_EQ(problems("out@"), Names{place + "\"out@\" is no connection \"port@node\""});
    EXPECT_EQ(problems("out@t"), Names{place + "there is no node \"t\""});
}

TEST(MaterialRules, FindNodesWithoutAType) {
    EXPECT_EQ(ProblemsOf(CheckLocation(Networked({{"s", Group({{"name", Text("s")}})}})),
                         "material-node"),
              Names{"/root/it: material.nodes.s: it has no type"});
}

TEST(MaterialRules, LookAtTheInterfaceOfExposedParametersOnly) {
    const auto rules = [](const char* source, const char* exposed) {
        return RulesOf(CheckLocation(
            Networked({{"s", Group(Node("s"))}},
                      {{"parameters", Group({{exposed, Doubles({1})}})},
                       {"interface", Group({{"wear", Group({{"src", Text(source)}})}})}})));
    };
    EXPECT_EQ(rules("s.roughness", "wear"), Names{});
    EXPECT_EQ(rules("t.roughness", "wear"), Names{"material-node"});
    EXPECT_EQ(rules("t.roughness", "other"), Names{});
    EXPECT_EQ(rules("s", "wear"), Names{"material-node"});
}

TEST(MaterialRules, FindACircleOfSeveralNodes) {
    const auto loop = [](const char* last) {
        return RulesOf(CheckLocation(
            Networked({{"s", Group(Node("s", {{"connections", Feeds("a", "out@b")}}))},
                       {"b", Group(Node("b", {{"connections", Feeds("a", "out@c")}}))},
                       {"c", Group(Node("c", {{"connections", Feeds("a", last)}}))},
                       {"d", Group(Node("d"))}})));
    };
    EXPECT_EQ(loop("out@d"), Names{});
    EXPECT_EQ(loop("out@b"), Names{"material-loop"});
}

TEST(MaterialRules, TakeMaterialsThatAreCopiedForUsed) {
    const auto material = Location({{"type", Text("material")}, {"material", kMatte}});
    const auto unused =
        Location({{"type", Text("material")}, {"material", Group({{"other", Int(1)}})}});
    const GroupAttribute scene =
        SceneTree(Location({}, {{"red", material}, {"blue", unused}, {"ball", Location(Ball(1))}}));
    EXPECT_EQ(ProblemsOf(Check(scene), "material-unused"),
              Names{"/root/blue: no location has this material"});
}

TEST(MaterialRules, FindAssignmentsWithoutEffect) {
    const auto problems = [](const Children& target) {
        const auto ball = Location({{"materialAssign", Text("/root/red")}});
        return ProblemsOf(Check(SceneTree(Location({}, {{"red", Location(target)}, {"it", ball}}))),
                          "material-missing");
    };
    const std::string place = "/root/it: materialAssign: ";
    EXPECT_EQ(problems({{"type", Text("group")}}), Names{place + "\"/root/red\" has no material"});
    EXPECT_EQ(problems({{"type", Text("material")}, {"material", kMatte}}),
              Names{place + "the location does not have the material of \"/root/red\""});
}

TEST(MaterialRules, KnowMeshesThatNeedNoMaterial) {
    const GroupAttribute colors = Set("face", "color3", Floats({1, 0, 0, 0, 1, 0}));
    Children colored = WithSet("color", colors);
    colored.erase(colored.begin() + 1);
    EXPECT_EQ(RulesOf(CheckLocation(colored)), Names{});
    Children plain = Square();
    plain.erase(plain.begin() + 1);
    EXPECT_EQ(RulesOf(CheckLocation(plain)), Names{"material-none"});
    const auto part = Location({{"type", Text("faceset")},
                                {"material", kMatte},
                                {"geometry", Group({{"faces", Ints({0})}})}});
    EXPECT_EQ(RulesOf(CheckLocation(plain, {{"part", part}})), Names{});
    EXPECT_EQ(
        RulesOf(Check(SceneTree(Location({{"material", kMatte}}, {{"it", Location(plain)}})))),
        Names{});
}

TEST(TextureRules, TellAMissingFileOnce) {
    const auto look = [](const char* name, const char* file) {
        return Location(
            Networked({{"s", Group(Node("s", {{"connections", Feeds("a", "out@i")}}))},
                       {"i", Group(Node(name, {{"parameters", Group({{"file", Text(file)}})}}))}}));
    };
    const TELLAR::CheckReport report =
        Check(SceneTree(Location({}, {{"a", look("i", "/none/x.png")},
                                      {"b", look("k", "/none/x.png")},
                                      {"c", look("i", "$NONE/y.png")}})));
    ASSERT_EQ(report.findings.size(), 1u);
    EXPECT_EQ(report.findings[0].location, "/root/a");
    EXPECT_EQ(report.findings[0].others, 1u);
    EXPECT_EQ(report.findings[0].attribute, "material.nodes.i.parameters.file");
}

TEST(TextureRules, FindTexturesOfNodesThatNothingUses) {
    const Children image = Node("i", {{"parameters", Group({{"file", Text("$A/b.png")}})}});
    EXPECT_EQ(ProblemsOf(CheckLocation(Networked({{"s", Group(Node("s"))}, {"i", Group(image)}})),
                         "texture-unused"),
              Names{"/root/it: material.nodes.i.parameters.file: no terminal uses the node of the "
                    "texture \"$A/b.png\""});
}

TEST(TextureRules, LeaveTexturesOfOtherMaterialsAlone) {
    const Children attrs{{"material", kMatte}, {"textures", Group({{"a", Text("$A/b.png")}})}};
    EXPECT_EQ(RulesOf(CheckLocation(attrs)), Names{});
}

// Lights and cameras ------------------------------------------------------------------------------

namespace {

Children Light(const char* type, const Children& more = {}) {
    Children light{{"type", Text(type)}};
    light.insert(light.end(), more.begin(), more.end());
    return {{"type", Text("light")}, {"light", Group(light)}};
}

Names RulesOfLight(const char* type, const Children& more) {
    return RulesOf(CheckLocation(Light(type, more)));
}

} // namespace

TEST(LightRules, FindLightsWithoutEffect) {
    EXPECT_EQ(RulesOfLight("point", {{"color", Doubles({0, 0, 0})}}), Names{"light-dark"});
    EXPECT_EQ(RulesOfLight("point", {{"exposure", Doubles({-200})}}), Names{"light-dark"});
    EXPECT_EQ(RulesOfLight("spot", {{"coneOuter", Doubles({0})}}), Names{"light-dark"});
    const Attribute black = Doubles({0, 0, 0});
    EXPECT_EQ(
        RulesOfLight("environment", {{"horizon", black}, {"zenith", black}, {"ground", black}}),
        Names{"light-dark"});
    EXPECT_EQ(RulesOfLight("environment", {{"horizon", black}, {"zenith", black}}), Names{});
    EXPECT_EQ(RulesOfLight("environment", {{"horizon", black},
                                           {"zenith", black},
                                           {"ground", black},
                                           {"texture", Text("$A/b.exr")}}),
              Names{});
    EXPECT_EQ(RulesOf(CheckLocation({{"type", Text("light")}})), Names{"light-type"});
}

TEST(LightRules, FindValuesThatAreNotUsed) {
    EXPECT_EQ(RulesOfLight("area", {{"size", Doubles({1, 0})}}), Names{"light-value"});
    EXPECT_EQ(RulesOfLight("area", {{"size", Doubles({1})}}), Names{"light-value"});
    EXPECT_EQ(RulesOfLight("point", {{"decay", Doubles({0, 0, 0})}}), Names{"light-value"});
    EXPECT_EQ(RulesOfLight("point", {{"color", Doubles({1, 1})}}), Names{"light-value"});
    EXPECT_EQ(RulesOfLight("point", {{"color", Doubles({1, -1, 1})}}), Names{"light-value"});
    EXPECT_EQ(RulesOfLight("point", {{"intensity", Text("2")}}), Names{"light-value"});
    EXPECT_EQ(RulesOfLight("spot", {{"coneOuter", Doubles({-5})}}), Names{"light-value"});
    EXPECT_EQ(RulesOfLight("point", {{"color", Doubles({0.5})}, {"decay", Doubles({1, 0, 0})}}),
              Names{});
}

TEST(CameraRules, FindLensesThatAreNotWhole) {
    const auto problems = [](const char* changed, const Attribute& value) {
        Children lens;
        for (const char* name : {"fov", "near", "far", "left", "right", "bottom", "top"}) {
            const bool isLow = std::string(name) == "left" || std::string(name) == "bottom";
            const double number = std::string(name) == "fov"   ? 40
                                  : std::string(name) == "far" ? 100
                                  : isLow                      ? -1
                                                               : 1;
            lens.emplace_back(name, DoubleAttribute(number));
        }
        if (*changed != '\0') lens.emplace_back(changed, value); // the last of a name wins
        return ProblemsOf(CheckLocation({{"type", Text("camera")}, {"geometry", Group(lens)}}),
                          "camera-lens");
    };
    const std::string place = "/root/it: geometry.";
    EXPECT_EQ(problems("", {}), Names{});
    EXPECT_EQ(problems("near", Floats({1}, 1)), Names{place + "near: it is no double"});
    EXPECT_EQ(problems("near", Text("1")), Names{place + "near: it holds no number"});
    EXPECT_EQ(problems("near", Doubles({0})), Names{place + "near: it is 0"});
    EXPECT_EQ(problems("far", Doubles({1})),
              Names{place + "far: it is 1, which is not beyond near"});
    EXPECT_EQ(problems("right", Doubles({-1})).size(), 1u);
    EXPECT_EQ(problems("projection", Text("orthographic")),
              Names{place + "orthographicWidth: it is 0"});
    EXPECT_EQ(problems("focusDistance", Doubles({0})), Names{place + "focusDistance: it is 0"});
    EXPECT_EQ(ProblemsOf(CheckLocation({{"type", Text("camera")}}), "camera-lens").size(), 7u);
}

TEST(CameraRules, DoNotMissACameraThatNoSettingNames) {
    const auto camera = Location({{"type", Text("group")}});
    EXPECT_EQ(RulesOf(Check(SceneTree(Location({}, {{"a", camera}})))), Names{});
    const GroupAttribute settings = Group({{"cameraName", Text("/root/a")}});
    EXPECT_EQ(RulesOf(Check(SceneTree(Location({{"renderSettings", settings}}, {{"a", camera}})))),
              Names{"camera-missing"});
}

// Render settings ---------------------------------------------------------------------------------

namespace {

TELLAR::CheckReport CheckSettings(const Attribute& settings) {
    return Check(SceneTree(Location({{"renderSettings", settings}})));
}

} // namespace

TEST(SettingRules, SuggestANameForAnUnknownSetting) {
    const TELLAR::CheckReport report = CheckSettings(Group({{"nois", Doubles({0.1})}}));
    ASSERT_EQ(report.findings.size(), 1u);
    EXPECT_EQ(report.findings[0].text, "it is not known; did you mean \"noise\"?");
}

TEST(SettingRules, LeaveSettingsOfOtherRenderersAlone) {
    EXPECT_EQ(RulesOf(CheckSettings(Group({{"toaster", Group({{"heat", Int(3)}})}}))), Names{});
}

TEST(SettingRules, TellAWrongTypeOnce) {
    EXPECT_EQ(RulesOf(CheckSettings(Group({{"cameraName", Int(3)}}))), Names{"setting-type"});
    EXPECT_EQ(RulesOf(CheckSettings(Group({{"cameraName", Text("/root/none")}}))),
              Names{"camera-missing"});
    const TELLAR::CheckReport report = CheckSettings(Int(3));
    ASSERT_EQ(report.findings.size(), 1u);
    EXPECT_EQ(report.findings[0].attribute, "renderSettings");
}

TEST(CameraRules, LeaveACameraThatCannotBeCookedToItsError) {
    const GroupAttribute settings = Group({{"cameraName", Text("/root/a")}});
    const auto camera = Location({{"type", Text("camera")}});
    const GroupAttribute scene =
        SceneTree(Location({{"renderSettings", settings}}, {{"a", camera}}));
    EXPECT_EQ(RulesOf(Check(Group(
                  {{"scene", scene.getChildByIndex(0)},
                   {"bad", OpEntry("TestThrow", Group({{"at", Text("/root/a")}}), {"scene"})}}))),
              Names{"cook-error"});
}
