#ifndef LANTERN_TESTS_DRAWING_DRAWINGSCENES_H
#define LANTERN_TESTS_DRAWING_DRAWINGSCENES_H

#include <array>
#include <cmath>
#include <cstddef>
#include <utility>
#include <vector>

#include "Report.h"
#include "SceneData.h"
#include "drawing/Draw.h"
#include "drawing/Picture.h"

/// Builders of small scenes. By default the camera is at the origin, looks along -Z and sees x and
/// y from -1 to 1 at depth 1.
namespace LanternTest {

using namespace lantern;

inline M44f Moved(float x, float y, float z) {
    M44f matrix;
    matrix.setTranslation(V3f(x, y, z));
    return matrix;
}

/// A part of a picture whose pixels `pixel(x, y)` returns, as four numbers each.
template <typename Pixel>
Picture PartOf(int width, int height, const Window& window, Pixel pixel) {
    Picture picture;
    picture.width = width;
    picture.height = height;
    picture.window = window;
    for (int y = window.y0; y < window.y1; ++y) {
        for (int x = window.x0; x < window.x1; ++x) {
            const std::array<float, 4> values = pixel(x, y);
            picture.pixels.insert(picture.pixels.end(), values.begin(), values.end());
        }
    }
    picture.worldToCamera = Moved(1, 2, 3);
    picture.worldToNdc = Moved(0.1f, -5, 6) * M44f().scale(V3f(2, 3, 4));
    return picture;
}

/// A rectangle in X and Y that faces +Z: one face of two triangles, with texture coordinates from 0
/// to 1.
inline Mesh Square(float left, float bottom, float right, float top, float z) {
    Mesh mesh;
    mesh.points = {{{left, bottom, z}, {right, bottom, z}, {right, top, z}, {left, top, z}}};
    mesh.triangles = {0, 1, 2, 0, 2, 3};
    mesh.faces = {0, 0};
    mesh.uvSets = {{"st", {{{0, 0}, {1, 0}, {1, 1}, {0, 1}}, {}}}};
    return mesh;
}

inline SceneData EmptyScene(int width = 8, int height = 8) {
    SceneData scene;
    scene.materials.emplace_back();
    scene.surfaces.emplace_back();
    scene.camera.fov = 90;
    scene.framing.width = width;
    scene.framing.height = height;
    scene.framing.window = {0, 0, width, height};
    scene.quality.samples = 16;
    scene.quality.clampIndirect = 0;
    return scene;
}

/// Returns the index of its material.
inline Index AddMaterial(SceneData& scene, const Material& material) {
    scene.materials.push_back(material);
    Surface surface;
    surface.material = static_cast<Index>(scene.materials.size() - 1);
    scene.surfaces.push_back(surface);
    return surface.material; // equal to the index of its surface
}

inline Index AddInstance(SceneData& scene, Index shape, const std::vector<M44f>& transforms,
                         Index surface) {
    Instance instance;
    instance.shape = shape;
    instance.surface = surface;
    instance.firstTransform = static_cast<Index>(scene.transforms.size());
    instance.transformCount = static_cast<Index>(transforms.size());
    scene.transforms.insert(scene.transforms.end(), transforms.begin(), transforms.end());
    scene.instances.push_back(instance);
    return static_cast<Index>(scene.instances.size() - 1);
}

inline Index AddMesh(SceneData& scene, Mesh mesh, Index surface = 0, const M44f& toWorld = M44f()) {
    Shape shape;
    shape.mesh = std::move(mesh);
    scene.shapes.push_back(std::move(shape));
    return AddInstance(scene, static_cast<Index>(scene.shapes.size() - 1), {toWorld}, surface);
}

inline Index AddSphere(SceneData& scene, const V3f& center, float radius, Index surface = 0) {
    Shape shape;
    shape.spheres.centers = {{center}};
    shape.spheres.radii = {radius};
    scene.shapes.push_back(std::move(shape));
    return AddInstance(scene, static_cast<Index>(scene.shapes.size() - 1), {M44f()}, surface);
}

inline void AddEnvironment(SceneData& scene, const Color& color = Color(1, 1, 1)) {
    EnvironmentLight light;
    light.scale = color;
    scene.lights.emplace_back(light);
}

/// A material that emits this radiance and reflects nothing.
inline Material Glowing(const Color& color) {
    Material material;
    material.baseColor = Color(0, 0, 0);
    material.specular = 0;
    material.emission = color;
    return material;
}

/// A purely diffuse material.
inline Material Matt(const Color& color) {
    Material material;
    material.baseColor = color;
    material.specular = 0;
    return material;
}

/// Feeds an input of a material with a step.
inline void Feed(Material& material, MaterialInput input, const ShadingStep& step) {
    material[input].step = static_cast<Index>(material.steps.size());
    material.steps.push_back(step);
}

/// Feeds an input of a material with a texture.
inline void Feed(Material& material, MaterialInput input, Index texture) {
    ShadingStep step;
    step.texture = texture;
    Feed(material, input, step);
}

struct Rgba {
    float r, g, b, a;
};

/// The pixel at coordinates of the whole picture, from the top.
inline Rgba At(const Picture& picture, int x, int y) {
    const std::size_t column = static_cast<std::size_t>(x - picture.window.x0);
    const std::size_t row = static_cast<std::size_t>(y - picture.window.y0);
    const float* pixel = &picture.pixels[4 * (row * picture.window.width() + column)];
    return {pixel[0], pixel[1], pixel[2], pixel[3]};
}

inline Rgba Mean(const Picture& picture) {
    std::array<double, 4> sum{};
    for (std::size_t i = 0; i < picture.pixels.size(); ++i)
        sum[i % 4] += picture.pixels[i];
    const double count = static_cast<double>(picture.pixels.size()) / 4;
    return {float(sum[0] / count), float(sum[1] / count), float(sum[2] / count),
            float(sum[3] / count)};
}

inline Picture Drawn(const SceneData& scene, int samples = 0, int threads = 2) {
    Report report;
    return Draw(scene, {samples, threads}, report);
}

} // namespace LanternTest

#endif
