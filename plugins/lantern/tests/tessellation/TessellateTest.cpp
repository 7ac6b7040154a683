#include "tessellation/Tessellate.h"

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "Cages.h"
#include "DrawingScenes.h"
#include "tessellation/SubdivisionSurface.h"

namespace {

using namespace LanternTest;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

class Tessellation : public testing::Test {
protected:
    /// A smooth cube at this depth in front of the camera of a picture of 100 pixels.
    static SceneData cubeAt(float depth) {
        SceneData scene = EmptyScene(100, 100);
        const Cage cage = Cube();
        Shape shape;
        shape.mesh.points = {cage.points};
        shape.subdivision = std::make_shared<Subdivision>(cage.rules);
        scene.shapes.push_back(shape);
        AddInstance(scene, 0, {Moved(0, 0, -depth)}, 0);
        return scene;
    }

    std::size_t tessellate(SceneData& scene) {
        OxRenderListener_v1 listener{};
        listener.user = &messages;
        listener.onMessage = [](int, const char* message, void* user) {
            static_cast<std::vector<std::string>*>(user)->emplace_back(message);
        };
        Report report(listener);
        TessellateSubdivisions(scene, 2, report);
        return scene.shapes[0].mesh.triangles.size() / 3;
    }

    std::vector<std::string> messages;
};

/// The longest edge of the shape in pixels, as the camera of cubeAt() sees it.
float LongestEdge(const SceneData& scene) {
    float longest = 0;
    const Mesh& mesh = scene.shapes[0].mesh;
    for (std::size_t i = 0; i < mesh.triangles.size(); i += 3) {
        for (std::size_t k = 0; k < 3; ++k) {
            const V3f from = mesh.points[0][mesh.triangles[i + k]] * scene.transforms[0];
            const V3f to = mesh.points[0][mesh.triangles[i + (k + 1) % 3]] * scene.transforms[0];
            const V2f a(from.x / -from.z, from.y / -from.z), b(to.x / -to.z, to.y / -to.z);
            longest = std::max(longest, (b - a).length() * 50);
        }
    }
    return longest;
}

TEST_F(Tessellation, MakesEdgesOfAPixel) {
    SceneData scene = cubeAt(10);
    tessellate(scene);
    EXPECT_LE(LongestEdge(scene), 1.5f) << "the diagonal of a square is longer than its sides";
    EXPECT_GE(LongestEdge(scene), 0.5f);
    EXPECT_EQ(scene.shapes[0].subdivision, nullptr);
    EXPECT_THAT(messages, IsEmpty());
}

TEST_F(Tessellation, IsFinerNearTheCameraAndCoarserWithLongerEdges) {
    SceneData near = cubeAt(5), far = cubeAt(50), coarse = cubeAt(5);
    coarse.quality.subdivisionEdge = 4;
    const std::size_t countNear = tessellate(near);
    EXPECT_GT(countNear, 50 * tessellate(far));
    EXPECT_GT(countNear, 10 * tessellate(coarse));
}

TEST_F(Tessellation, IsMadeForTheNearestInstance) {
    SceneData scene = cubeAt(5), many = cubeAt(60);
    for (int i = 0; i < 40; ++i)
        AddInstance(many, 0, {Moved(0, 0, i == 20 ? -5.0f : -60.0f)}, 0);
    EXPECT_EQ(tessellate(many), tessellate(scene));
}

TEST_F(Tessellation, StaysWithinItsMemory) {
    SceneData scene = cubeAt(1.5f);
    scene.quality.subdivisionEdge = 0.1f;
    scene.quality.subdivisionMemory = 2;
    EXPECT_LE(tessellate(scene), 2e6 / 180 * 1.1);
    EXPECT_THAT(messages, ElementsAre(StartsWith("edges of subdivision surfaces are ")));
}

TEST_F(Tessellation, IsAsCoarseAsPossibleWithoutInstances) {
    SceneData scene = cubeAt(10);
    scene.instances.clear();
    EXPECT_EQ(tessellate(scene), std::size_t(12));
}

TEST_F(Tessellation, MakesAPictureOfTheLimitSurface) {
    SceneData scene = cubeAt(4);
    scene.surfaces[0].material = AddMaterial(scene, Glowing(Color(1, 1, 1)));
    tessellate(scene);
    const Picture picture = Drawn(scene, 4);
    EXPECT_EQ(At(picture, 50, 50).a, 1);
    // The cage would cover pixels 33 to 66 of the middle row; the limit surface is smaller.
    EXPECT_EQ(At(picture, 35, 50).a, 0);
    EXPECT_EQ(At(picture, 39, 39).a, 0) << "round corners";
}

TEST_F(Tessellation, LeavesCagesWithTooManyEdgesAroundAFaceAlone) {
    SceneData scene = cubeAt(5);
    Cage cage;
    std::vector<int> corners;
    for (int i = 0; i <= SubdivisionSurface::kMostEdgesAround; ++i) {
        corners.push_back(i);
        cage.points.emplace_back(std::cos(0.01f * float(i)), std::sin(0.01f * float(i)), 0.0f);
    }
    AddFace(cage, corners);
    scene.shapes[0].mesh.points = {cage.points};
    scene.shapes[0].subdivision = std::make_shared<Subdivision>(cage.rules);
    EXPECT_EQ(tessellate(scene), 0U);
    EXPECT_THAT(messages,
                ElementsAre("a subdivision surface of 1 faces cannot be subdivided, or has more "
                            "than 600 edges around a face or point; its cage is drawn"));
}

} // namespace
