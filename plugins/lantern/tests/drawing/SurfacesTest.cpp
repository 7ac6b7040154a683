#include "drawing/Materials.h"

#include <cmath>

#include <gtest/gtest.h>

#include "DrawingScenes.h"

// Materials, opacity, instances and normals of surfaces.

namespace {

using namespace LanternTest;

const Color kWhite(1, 1, 1);
const Color kRed(1, 0, 0);
const Color kGreen(0, 1, 0);

/// A square that fills the picture, at depth 3.
Mesh Wall(float z = -3) {
    return Square(-9, -9, 9, 9, z);
}

/// A green background.
SceneData BeforeGreen(const Material& material) {
    SceneData scene = EmptyScene();
    AddMesh(scene, Wall(-2), AddMaterial(scene, material));
    AddMesh(scene, Wall(-4), AddMaterial(scene, Glowing(kGreen)));
    return scene;
}

// Materials of faces ------------------------------------------------------------------------------

TEST(Faces, HaveTheirOwnMaterials) {
    SceneData scene = EmptyScene(4, 4);
    Mesh mesh = Square(-1, -1, 0, 1, -1);
    const Mesh right = Square(0, -1, 1, 1, -1);
    mesh.points[0].insert(mesh.points[0].end(), right.points[0].begin(), right.points[0].end());
    for (const Index point : right.triangles)
        mesh.triangles.push_back(point + 4);
    mesh.faces = {0, 0, 1, 1};
    mesh.uvSets.clear();
    AddMaterial(scene, Glowing(kRed));
    AddMaterial(scene, Glowing(kGreen));
    scene.surfaces.push_back({1, {kNone, 2}});
    AddMesh(scene, mesh, 3);
    const Picture picture = Drawn(scene);
    EXPECT_EQ(At(picture, 0, 2).r, 1);
    EXPECT_EQ(At(picture, 3, 2).g, 1);
    EXPECT_EQ(At(picture, 3, 2).r, 0);
}

// Opacity -----------------------------------------------------------------------------------------

TEST(Opacity, BlendsWithTheBackground) {
    Material veil = Glowing(kRed);
    veil.opacity = 0.3f;
    const Rgba mean = Mean(Drawn(BeforeGreen(veil), 256));
    EXPECT_NEAR(mean.r, 0.3, 0.01);
    EXPECT_NEAR(mean.g, 0.7, 0.01);
    EXPECT_EQ(mean.a, 1);
}

TEST(Opacity, IsTheAlphaWithoutABackground) {
    SceneData scene = EmptyScene();
    Material veil = Glowing(kWhite);
    veil.opacity = 0.3f;
    AddMesh(scene, Wall(), AddMaterial(scene, veil));
    EXPECT_NEAR(Mean(Drawn(scene, 256)).a, 0.3, 0.01);
}

TEST(AlphaCutoff, MakesASurfaceOpaqueOrInvisible) {
    Material leaf = Glowing(kRed);
    leaf.opacity = 0.5f;
    leaf.alphaCutoff = 0.5f;
    EXPECT_EQ(Mean(Drawn(BeforeGreen(leaf))).r, 1);
    leaf.alphaCutoff = 0.51f;
    EXPECT_EQ(Mean(Drawn(BeforeGreen(leaf))).g, 1);
}

TEST(Opacity, MultipliesTransmittancesOfShadowRays) {
    SceneData scene = EmptyScene();
    AddMesh(scene, Wall(-1), AddMaterial(scene, Matt(kWhite)));
    scene.camera.fov = 1;
    scene.quality.maxDepth = 1;
    DirectionalLight sun;
    sun.toWorld.rotate(Imath::V3d(0, M_PI / 3, 0));
    scene.lights = {sun};
    const float open = Mean(Drawn(scene)).g;
    Material veil = Matt(kWhite);
    veil.opacity = 0.2f;
    const Index of = AddMaterial(scene, veil);
    for (int i = 1; i <= 40; ++i) // beside the camera, between the square and the sun
        AddMesh(scene, Square(0.5f, -9, 90, 9, -0.5f + 0.01f * float(i)), of);
    EXPECT_NEAR(Mean(Drawn(scene)).g / open, std::pow(0.8, 40), 1e-6);
}

TEST(SingleSidedSurface, IsVisibleOnlyFromOutside) {
    Material material = Glowing(kRed);
    material.isDoubleSided = false;
    SceneData scene = BeforeGreen(material);
    EXPECT_EQ(Mean(Drawn(scene)).r, 1);
    scene.transforms[0] = M44f().rotate(V3f(0, float(M_PI), 0)) * Moved(0, 0, -5);
    EXPECT_EQ(Mean(Drawn(scene)).g, 1);
}

TEST(SingleSidedSurface, KeepsItsOutsideInAMirroredInstance) {
    Material material = Glowing(kRed);
    material.isDoubleSided = false;
    SceneData scene = BeforeGreen(material);
    scene.transforms[0] = M44f().scale(V3f(-1, 1, 1)); // mirroring keeps the outside
    EXPECT_EQ(Mean(Drawn(scene)).r, 1);
    scene.transforms[0] = M44f().scale(V3f(1, 1, -1)) * Moved(0, 0, -5);
    EXPECT_EQ(Mean(Drawn(scene)).g, 1);
}

/// Shadow rays go from the lit surface to the light, like rays that a BSDF samples.
TEST(SingleSidedSurface, BlocksShadowRaysOnlyFromOutside) {
    SceneData scene = EmptyScene();
    scene.camera.fov = 1;
    AddMesh(scene, Wall(-1), AddMaterial(scene, Matt(kWhite)));
    Material material = Matt(kWhite);
    material.isDoubleSided = false;
    AddMesh(scene, Square(0.5f, -9, 9, 9, 0), AddMaterial(scene, material));
    DirectionalLight sun;
    sun.toWorld.rotate(Imath::V3d(0, M_PI / 3, 0));
    scene.lights = {sun};
    scene.quality.maxDepth = 1;
    EXPECT_NEAR(Mean(Drawn(scene)).g, 0.5 / M_PI, 1e-3); // shadow rays hit the inside first
    scene.transforms[1] = M44f().scale(V3f(1, 1, -1));
    EXPECT_EQ(Mean(Drawn(scene)).g, 0);
}

// Instances ---------------------------------------------------------------------------------------

/// The irradiance of an instance of the square from a light in a direction.
float LitBy(const V3f& towards, const M44f& instance) {
    SceneData scene = EmptyScene();
    scene.camera.fov = 0.1f;
    AddMesh(scene, Square(-1, -1, 1, 1, 0), AddMaterial(scene, Matt(kWhite)), instance);
    DirectionalLight sun;
    const Imath::V3d z = Imath::V3d(towards).normalized();
    const Imath::V3d x = Imath::V3d(0, 1, 0).cross(z).normalized();
    const Imath::V3d y = z.cross(x);
    sun.toWorld = M44d(x.x, x.y, x.z, 0, y.x, y.y, y.z, 0, z.x, z.y, z.z, 0, 0, 0, 0, 1);
    scene.lights = {sun};
    scene.quality.maxDepth = 1;
    return Mean(Drawn(scene, 4)).g * float(M_PI);
}

TEST(Instance, TransformsNormalsOfAShearedShape) {
    M44f shear;
    shear[0][2] = 0.75f; // z grows with x: the normal is (-0.6, 0, 0.8)
    EXPECT_NEAR(LitBy({-0.6f, 0, 0.8f}, shear * Moved(0, 0, -3)), 1, 1e-4);
    EXPECT_NEAR(LitBy({0.28f, 0, 0.96f}, shear * Moved(0, 0, -3)), -0.6 * 0.28 + 0.8 * 0.96, 1e-4);
}

TEST(Instance, TransformsNormalsOfAMirroredShape) {
    M44f shear;
    shear[0][2] = 0.75f;
    const M44f mirrored = shear * M44f().scale(V3f(-1, 1, 1)) * Moved(0, 0, -3);
    EXPECT_NEAR(LitBy({0.6f, 0, 0.8f}, mirrored), 1, 1e-4);
}

TEST(Instance, ScalesASphereToAnEllipsoid) {
    SceneData scene = EmptyScene(16, 16);
    AddSphere(scene, {0, 0, 0}, 1, AddMaterial(scene, Glowing(kWhite)));
    scene.transforms[0] = M44f().scale(V3f(0.75f, 0.25f, 1)) * Moved(0, 0, -20);
    scene.camera.isOrthographic = true;
    scene.camera.orthographicWidth = 2;
    EXPECT_NEAR(Mean(Drawn(scene, 64)).a * 4, M_PI * 0.75 * 0.25, 0.01);
}

// Normals -----------------------------------------------------------------------------------------

/// The irradiance in the middle of a square that is lit along the axis.
float LitMiddle(const Mesh& mesh, SceneData scene = EmptyScene(1, 1)) {
    scene.camera.fov = 0.01f;
    AddMesh(scene, mesh, AddMaterial(scene, Matt(kWhite)));
    DirectionalLight sun;
    scene.lights = {sun};
    scene.quality.maxDepth = 1;
    return Mean(Drawn(scene, 4)).g * float(M_PI);
}

TEST(Normals, AreThoseOfTheTriangleIfTheMeshHasNone) {
    EXPECT_NEAR(LitMiddle(Wall()), 1, 1e-4);
}

TEST(Normals, AreInterpolatedBetweenPoints) {
    Mesh mesh = Wall();
    // On the diagonal between the first and third point the interpolated normal is (0, 0, 0.8).
    mesh.normals.values = {{-0.6f, 0, 0.8f}, {0, 0, 1}, {0.6f, 0, 0.8f}, {0, 0, 1}};
    EXPECT_NEAR(LitMiddle(mesh), 1, 1e-4);
    mesh.normals.values = {{0.6f, 0, 0.8f}, {0, 0, 1}, {0.6f, 0, 0.8f}, {0, 0, 1}};
    EXPECT_NEAR(LitMiddle(mesh), 0.8, 1e-4);
}

TEST(Normals, CanBelongToCorners) {
    Mesh mesh = Wall();
    mesh.normals.values = {{0, 0, 1}, {0.6f, 0, 0.8f}};
    mesh.normals.index = {1, 0, 1, 1, 1, 0};
    EXPECT_NEAR(LitMiddle(mesh), 0.8, 1e-4);
}

/// A wall that faces away from the light stays dark even if its normals face the light.
TEST(Normals, DoNotLeakLightFromBehind) {
    Mesh mesh = Wall();
    mesh.normals.values.assign(4, V3f(0.8f, 0, 0.6f).normalized());
    SceneData scene = EmptyScene(1, 1);
    scene.camera.fov = 0.01f;
    AddMesh(scene, mesh, AddMaterial(scene, Matt(kWhite)));
    DirectionalLight sun; // shines from the right, slightly from behind, above the normals' horizon
    sun.toWorld.rotate(Imath::V3d(0, 100 * M_PI / 180, 0));
    scene.lights = {sun};
    EXPECT_EQ(Mean(Drawn(scene, 4)).g, 0);
}

TEST(Spheres, HaveSphericalNormals) {
    SceneData scene = EmptyScene(1, 1);
    scene.camera.fov = 0.01f;
    AddSphere(scene, {0, 0, -3}, 1, AddMaterial(scene, Matt(kWhite)));
    DirectionalLight sun;
    sun.toWorld.rotate(Imath::V3d(0, M_PI / 3, 0));
    scene.lights = {sun};
    EXPECT_NEAR(Mean(Drawn(scene, 4)).g * M_PI, 0.5, 1e-3);
}

// Background --------------------------------------------------------------------------------------

TEST(Environment, FillsThePictureIfTheCameraSeesIt) {
    SceneData scene = EmptyScene();
    AddEnvironment(scene, {0.1f, 0.2f, 0.3f});
    EXPECT_FLOAT_EQ(Mean(Drawn(scene)).b, 0.3f);
    EXPECT_EQ(Mean(Drawn(scene)).a, 1);
    std::get<EnvironmentLight>(scene.lights[0]).isSeenByCamera = false;
    EXPECT_EQ(Mean(Drawn(scene)).b, 0);
    EXPECT_EQ(Mean(Drawn(scene)).a, 0);
}

} // namespace
