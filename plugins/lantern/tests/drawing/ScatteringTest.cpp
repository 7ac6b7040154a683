#include "drawing/ShadingNormals.h"

#include <cmath>

#include <gtest/gtest.h>

#include "DrawingScenes.h"
#include "drawing/Numbers.h"

// Scattering at surfaces in whole pictures: shading normals, clear insides and emissive spheres.

namespace {

using namespace LanternTest;

const Color kWhite(1, 1, 1);

// Shading normals ---------------------------------------------------------------------------------

TEST(BentTowards, KeepsANormalWhoseMirrorDirectionIsAboveTheSurface) {
    const V3f up(0, 0, 1), wo = V3f(0.6f, 0, 0.8f), normal = V3f(0.1f, 0, 1).normalized();
    EXPECT_EQ(BentTowards(wo, up, normal), normal);
}

TEST(BentTowards, MirrorsAlongTheSurfaceAtLeast) {
    const V3f up(0, 0, 1), wo = V3f(0.8f, 0, 0.6f);
    for (const V3f& normal : {V3f(1, 0, 0.2f), V3f(-1, 0, 0.1f), V3f(-0.7f, 0.7f, 0.2f)}) {
        const V3f bent = BentTowards(wo, up, normal.normalized());
        const V3f mirrored = bent * (2 * (bent ^ wo)) - wo;
        EXPECT_NEAR(bent.length(), 1, 1e-5f);
        EXPECT_GT(bent ^ wo, 0);
        EXPECT_GE(mirrored.z, -1e-5f);
    }
}

/// A sphere of few faces with the normals of a round one.
Mesh LowPolySphere(int columns, int rows) {
    Mesh mesh;
    mesh.points.emplace_back();
    for (int row = 0; row <= rows; ++row)
        for (int column = 0; column <= columns; ++column) {
            const float theta = kPi * float(row) / float(rows);
            const float phi = 2 * kPi * float(column) / float(columns);
            mesh.points[0].emplace_back(std::sin(theta) * std::sin(phi), std::cos(theta),
                                        std::sin(theta) * std::cos(phi));
        }
    const auto at = [&](int row, int column) {
        return static_cast<Index>(row * (columns + 1) + column);
    };
    for (int row = 0; row < rows; ++row)
        for (int column = 0; column < columns; ++column) {
            const Index a = at(row, column), b = at(row + 1, column), c = at(row + 1, column + 1),
                        d = at(row, column + 1);
            if (row + 1 < rows) mesh.triangles.insert(mesh.triangles.end(), {a, b, c});
            if (row > 0) mesh.triangles.insert(mesh.triangles.end(), {a, c, d});
        }
    mesh.faces.resize(mesh.triangles.size() / 3);
    mesh.normals.values = mesh.points[0];
    return mesh;
}

/// The darkest pixel of a low-poly sphere in a white environment that only it hides.
float DarkestOnLowPolySphere(const Material& material) {
    SceneData scene = EmptyScene(32, 32);
    AddEnvironment(scene);
    AddMesh(scene, LowPolySphere(8, 5), AddMaterial(scene, material), Moved(0, 0, -4));
    scene.camera.fov = 30;
    const Picture picture = Drawn(scene, 1024);
    float darkest = 1;
    for (std::size_t i = 0; i < picture.pixels.size(); i += 4)
        darkest = std::min(darkest, picture.pixels[i]);
    return darkest;
}

TEST(ShadingNormals, LeaveNoDarkRimsOnLowPolyShapes) {
    EXPECT_GT(DarkestOnLowPolySphere(Matt(kWhite)), 0.97f);
    Material metal;
    metal.baseColor = kWhite;
    metal.metalness = 1;
    for (const float roughness : {0.0f, 0.3f, 1.0f}) {
        metal.roughness = roughness;
        EXPECT_GT(DarkestOnLowPolySphere(metal), 0.94f) << roughness;
    }
}

// Clear insides -----------------------------------------------------------------------------------

SceneData Ahead(const Mesh& mesh, const Material& material) {
    SceneData scene = EmptyScene(1, 1);
    scene.camera.fov = 0.01f;
    AddEnvironment(scene);
    AddMesh(scene, mesh, AddMaterial(scene, material));
    return scene;
}

Material Glass(float ior) {
    Material glass;
    glass.baseColor = kWhite;
    glass.transmission = 1;
    glass.roughness = 0;
    glass.ior = ior;
    return glass;
}

TEST(Volume, AbsorbsLightByTheWayThroughIt) {
    Material glass = Glass(1);
    glass.attenuationColor = {0.25f, 0.5f, 1};
    glass.attenuationDistance = 1;
    SceneData scene = Ahead(Square(-9, -9, 9, 9, -1), glass);
    const M44f turned =
        M44f().rotate(V3f(0, float(M_PI), 0)) * Moved(0, 0, -4); // moves z from -1 to -3
    AddInstance(scene, 0, {turned}, scene.instances[0].surface);
    const Rgba mean = Mean(Drawn(scene, 16));
    EXPECT_NEAR(mean.r, 0.0625f, 1e-3f);
    EXPECT_NEAR(mean.g, 0.25f, 1e-3f);
    EXPECT_NEAR(mean.b, 1, 1e-3f);
}

TEST(ThinSheet, TransmitsStraightAheadWithItsColor) {
    Material sheet = Glass(1.5f);
    sheet.thickness = 0;
    sheet.baseColor = Color(0.5f);
    EXPECT_NEAR(Mean(Drawn(Ahead(Square(-9, -9, 9, 9, -1), sheet), 1024)).g, 0.04 + 0.96 * 0.5,
                0.005);
}

// Emissive spheres --------------------------------------------------------------------------------

/// The radiance of a white wall at the distance 1.5 from an emissive sphere, which is `scaled`.
float LitBySphere(const V3f& scaled) {
    SceneData scene = EmptyScene(1, 1);
    scene.camera.fov = 0.01f;
    scene.quality.maxDepth = 1;
    AddMesh(scene, Square(-9, -9, 9, 9, -1), AddMaterial(scene, Matt(kWhite)));
    AddSphere(scene, {0, 0, 0}, 0.05f, AddMaterial(scene, Glowing(Color(1000))));
    scene.transforms[1] = M44f().scale(scaled) * Moved(0, 0, 0.5f);
    return Mean(Drawn(scene, 64)).g;
}

TEST(EmissiveSphere, IsSampledAsALight) {
    const double expected = 1000 * std::pow(0.05 / 1.5, 2);
    EXPECT_NEAR(LitBySphere({1, 1, 1}), expected, 0.01 * expected);
}

TEST(EmissiveSphere, IsSampledAsALightInAScaledInstance) {
    const double expected = 1000 * std::pow(0.05 / 1.5, 2);
    EXPECT_NEAR(LitBySphere({2, 2, 2}), 4 * expected, 0.02 * expected);
    EXPECT_NEAR(LitBySphere({-2, 1, 0.01f}), 2 * expected, 0.02 * expected);
}

} // namespace
