#include "reading/ReadSubdivision.h"

#include <gmock/gmock.h>

#include "ReadingTest.h"

namespace {

using namespace LanternTest;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::IsNull;
using testing::NotNull;
using testing::SizeIs;

/// Two squares side by side, with an edge of two points between them.
std::string Squares(const std::string& more, const std::string& type = "subdmesh") {
    return SceneJson(R"("m": {"a": {"type": ")" + type + R"(", "geometry": {
        "point.P": {"$type": "float", "values": [[0,0,0], [1,0,0], [2,0,0],
                                                 [0,1,0], [1,1,0], [2,1,0]]},
        "poly": {"vertexList": [0, 1, 4, 3, 1, 4, 1, 2, 5, 4], "startIndex": [0, 4, 6, 10]})" +
                     (more.empty() ? "" : ", ") + more + "}}}");
}

Subdivision ReadRules(const std::string& more) {
    const SceneData scene = ReadSilently(Squares(more));
    EXPECT_THAT(scene.shapes.at(0).subdivision, NotNull());
    return *scene.shapes.at(0).subdivision;
}

/// The warnings about a surface that is drawn all the same.
std::vector<std::string> WarningsOf(const std::string& more) {
    Told told;
    EXPECT_THAT(ReadJson(Squares(more), told).shapes.at(0).subdivision, NotNull());
    return told.warnings;
}

TEST(ReadSubdivision, HasTheFacesOfTheCage) {
    const Subdivision rules = ReadRules("");
    EXPECT_EQ(rules.scheme, Subdivision::Scheme::CatmullClark);
    EXPECT_EQ(rules.boundary, Subdivision::Boundary::EdgesAndCorners);
    EXPECT_EQ(rules.faceVarying, Subdivision::FaceVarying::CornersPlus1);
    EXPECT_THAT(rules.faceSizes, ElementsAre(4, 4));
    EXPECT_THAT(rules.corners, ElementsAre(0, 1, 4, 3, 1, 2, 5, 4));
    EXPECT_THAT(rules.faces, ElementsAre(0, 2));
    EXPECT_THAT(rules.creases, IsEmpty());
    EXPECT_THAT(rules.holes, IsEmpty());
}

TEST(ReadSubdivision, IsChosenByTheTypeOrTheScheme) {
    const auto rulesOf = [](const std::string& more, const std::string& type) {
        return ReadSilently(Squares(more, type)).shapes.at(0).subdivision;
    };
    EXPECT_THAT(rulesOf("", "polymesh"), IsNull());
    EXPECT_THAT(rulesOf(R"("subdivisionScheme": "bilinear")", "polymesh"), NotNull());
    EXPECT_THAT(rulesOf(R"("subdivisionScheme": "none")", "subdmesh"), IsNull());
}

TEST(ReadSubdivision, HasNoNormalsOfItsOwn) {
    const SceneData scene =
        ReadSilently(Squares(R"("point.N": {"$type": "float", "values": [[0,0,1], [0,0,1], [0,0,1],
                                                            [0,0,1], [0,0,1], [0,0,1]]})"));
    EXPECT_THAT(scene.shapes.at(0).mesh.normals.values, IsEmpty());
}

TEST(ReadSubdivision, ReadsItsRules) {
    const Subdivision rules = ReadRules(R"("subdivisionScheme": "bilinear",
        "interpolateBoundary": "edges", "interpolateFaceVarying": "all", "holeFaces": [1, 2])");
    EXPECT_EQ(rules.scheme, Subdivision::Scheme::Bilinear);
    EXPECT_EQ(rules.boundary, Subdivision::Boundary::Edges);
    EXPECT_EQ(rules.faceVarying, Subdivision::FaceVarying::All);
    EXPECT_THAT(rules.holes, ElementsAre(1)) << "face 1 has no surface, face 2 is the second one";
}

TEST(ReadSubdivision, ReadsCreasesWithOneSharpnessEach) {
    const Subdivision rules = ReadRules(R"("creaseIndices": [0, 1, 2, 3, 4],
        "creaseLengths": [3, 2], "creaseSharpness": [2.0, 99],
        "cornerIndices": [5], "cornerSharpness": [1.5])");
    EXPECT_THAT(rules.creases, ElementsAre(0, 1, 1, 2, 3, 4));
    EXPECT_THAT(rules.creaseSharpness, ElementsAre(2, 2, 10));
    EXPECT_THAT(rules.sharpPoints, ElementsAre(5));
    EXPECT_THAT(rules.pointSharpness, ElementsAre(1.5f));
}

TEST(ReadSubdivision, ReadsCreasesWithASharpnessByEdge) {
    EXPECT_THAT(ReadRules(R"("creaseIndices": [0, 1, 2, 3, 4], "creaseLengths": [3, 2],
                             "creaseSharpness": [1.0, 2, 3])")
                    .creaseSharpness,
                ElementsAre(1, 2, 3));
}

TEST(ReadSubdivision, IgnoresCreasesAndCornersThatDoNotFit) {
    const auto noCreases = ElementsAre(
        "/root/world/m: \"geometry.creaseIndices\", \"creaseLengths\" and \"creaseSharpness\" do "
        "not fit; there are no creases");
    for (const char* creases :
         {R"("creaseIndices": [0, 6], "creaseLengths": [2], "creaseSharpness": [1.0])",
          R"("creaseIndices": [0, -1], "creaseLengths": [2], "creaseSharpness": [1.0])",
          R"("creaseIndices": [0, 1, 2], "creaseLengths": [2], "creaseSharpness": [1.0])",
          R"("creaseIndices": [0, 1], "creaseLengths": [2147483647], "creaseSharpness": [1.0])",
          R"("creaseIndices": [0, 1], "creaseLengths": [1, 1], "creaseSharpness": [1.0, 1])",
          R"("creaseIndices": [0, 1], "creaseLengths": [2], "creaseSharpness": [-1.0])",
          R"("creaseIndices": [0, 1], "creaseLengths": [2])"}) {
        SCOPED_TRACE(creases);
        EXPECT_THAT(WarningsOf(creases), noCreases);
    }
    EXPECT_THAT(WarningsOf(R"("cornerIndices": [6], "cornerSharpness": [1.0])"),
                ElementsAre("/root/world/m: \"geometry.cornerIndices\" and \"cornerSharpness\" do "
                            "not fit; there are no sharp corners"));
    EXPECT_THAT(WarningsOf(R"("holeFaces": [3])"),
                ElementsAre("/root/world/m: \"geometry.holeFaces\" has faces that the mesh does "
                            "not have"));
}

TEST(ReadSubdivision, WarnsAboutUnknownRules) {
    EXPECT_THAT(WarningsOf(R"("subdivisionScheme": "doo-sabin")"),
                ElementsAre("/root/world/m: \"geometry.subdivisionScheme\" has the unknown value "
                            "\"doo-sabin\""));
    EXPECT_THAT(WarningsOf(R"("subdivisionScheme": "loop")"),
                ElementsAre("/root/world/m: \"geometry.subdivisionScheme\" is \"loop\", which is "
                            "for triangles only; \"catmull-clark\" is used"));
}

TEST(ReadSubdivision, HasTextureCoordinatesByCorner) {
    const Subdivision rules = ReadRules(R"("arbitrary": {
        "st": {"scope": "vertex", "indexedValue": {"$type": "float",
                "values": [[0, 0], [0.5, 0], [1, 1]]}, "index": [0, 1, 1, 0, 2, 2, 1, 2, 2, 1]},
        "st1": {"scope": "point", "value": {"$type": "float",
                "values": [[0, 0], [1, 0], [2, 0], [0, 1], [1, 1], [2, 1]]}},
        "st2": {"scope": "face", "value": {"$type": "float",
                "values": [[0, 0], [1, 0], [2, 0]]}}})");
    ASSERT_THAT(rules.uvSets, SizeIs(3));
    EXPECT_EQ(rules.uvSets[0].name, "st");
    EXPECT_THAT(rules.uvSets[0].st.index, ElementsAre(0, 1, 1, 0, 1, 2, 2, 1));
    EXPECT_THAT(rules.uvSets[1].st.index, ElementsAre(0, 1, 4, 3, 1, 2, 5, 4));
    EXPECT_THAT(rules.uvSets[2].st.index, ElementsAre(0, 0, 0, 0, 2, 2, 2, 2));
}

} // namespace
