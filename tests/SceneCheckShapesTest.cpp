// What the rules for shapes find, and what they must not take for a problem. One
// defect for each rule, and what is printed about it, are in tests/tellar/check_defects.py.

#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "CheckScenes.h"

using namespace TellarTest;
using namespace OxAttribute;

TEST(ShapeRules, FindNegativeIndices) {
    const Children geometry{
        {"point", Group({{"P", Floats({0, 0, 0, 1, 0, 0, 1, 1, 0})}})},
        {"poly", Group({{"vertexList", Ints({0, 1, -1})}, {"startIndex", Ints({0, 3})}})}};
    const Children mesh{
        {"type", Text("polymesh")}, {"material", Matte()}, {"geometry", Group(geometry)}};
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
            {"type", Text("polymesh")}, {"material", Matte()}, {"geometry", Group(geometry)}};
        EXPECT_EQ(ProblemsOf(CheckLocation(mesh), "mesh-faces"),
                  Names{"/root/it: geometry.poly.startIndex: " + problem});
    }
}

TEST(ShapeRules, AcceptMeshesWithoutFaces) {
    const Children geometry{{"point", Group({{"P", Floats({})}})},
                            {"poly", Group({{"vertexList", Ints({})}, {"startIndex", Ints({0})}})}};
    EXPECT_EQ(
        RulesOf(CheckLocation(
            {{"type", Text("polymesh")}, {"material", Matte()}, {"geometry", Group(geometry)}})),
        Names{});
}

TEST(ShapeRules, FindNumbersThatAreNotFiniteAtLaterTimes) {
    const FloatAttribute moving({{0, {0, 0, 0}}, {1, {kNan, 0, 0}}}, 3);
    EXPECT_EQ(RulesOf(CheckLocation({{"type", Text("pointcloud")},
                                     {"material", Matte()},
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
                 {"material", Matte()},
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
                                      {"material", Matte()},
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
