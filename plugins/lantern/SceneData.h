#ifndef LANTERN_SCENEDATA_H
#define LANTERN_SCENEDATA_H

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include <Imath/ImathBox.h>
#include <Imath/ImathMatrix.h>
#include <Imath/ImathVec.h>

/// All that is drawn, as plain values: made once by the reader, then only read, by any number of
/// threads.
///
/// Row vectors: a point is p M. What moves while the shutter is open has several steps, evenly
/// spaced from its opening to its closing and joined linearly; what stands still has one. Indices
/// are into the vectors of SceneData.
namespace lantern {

using Imath::M44d;
using Imath::M44f;
using Imath::V2f;
using Imath::V3f;

using Index = std::uint32_t;
constexpr Index kNone = ~Index(0);

/// Three floats in scene-linear light.
using Color = V3f;

// What is seen ------------------------------------------------------------------------------------

/// Values at a mesh's corners: `index` has three entries a triangle; empty means those of the
/// points. No values at all: the mesh has none.
template <typename Value>
struct CornerValues {
    std::vector<Value> values;
    std::vector<Index> index;
};

/// One set of texture coordinates; the second grows upwards.
struct UvSet {
    std::string name; ///< "st", "st1", ...
    CornerValues<V2f> st;
};

/// Triangles in the space of their location.
struct Mesh {
    std::vector<std::vector<V3f>> points; ///< one or more steps, each of equally many points
    std::vector<Index> triangles; ///< three points each, counter-clockwise seen from outside
    std::vector<Index> faces;     ///< for each triangle the face that it is part of
    CornerValues<V3f> normals;    ///< unit length
    std::vector<UvSet> uvSets;
};

/// Round points in the space of their location.
struct Spheres {
    std::vector<std::vector<V3f>> centers; ///< one or more steps
    std::vector<float> radii;              ///< one each
};

/// One of the two; the other is empty.
struct Shape {
    Mesh mesh;
    Spheres spheres;
};

/// An image that stands in for a value of a material.
struct Texture {
    enum class Wrap { Repeat, Clamp, Mirror, Black };
    std::string file;
    std::string uvSet = "st";
    Wrap wrapU = Wrap::Repeat;
    Wrap wrapV = Wrap::Repeat;
    bool isSrgb = false;     ///< to be made linear
    int channel = -1;        ///< a single one: 0 to 3; -1: the first three
    Color multiply{1, 1, 1}; ///< a single channel is multiplied by the first
    // Applied to the coordinates before they are looked up: scaled, turned, moved.
    V2f uvScale{1, 1};
    float uvTurn = 0; ///< radians, counter-clockwise
    V2f uvOffset{0, 0};
};

/// A standard surface. Numbers are from 0 to 1 unless said otherwise.
struct Material {
    std::string name;
    Color baseColor{0.8f, 0.8f, 0.8f};
    Color emission{0, 0, 0}; ///< radiance
    Color specularColor{1, 1, 1};
    float specular = 1; ///< weight of the reflection at the surface of what is no metal
    float metalness = 0;
    float roughness = 0.5f; ///< squared, it is the width of the facets' distribution
    float ior = 1.5f;       ///< 1 or more
    float transmission = 0;
    float coat = 0;
    float coatRoughness = 0.1f;
    float opacity = 1;
    float alphaCutoff = -1; ///< not below 0: opacity is 1 from there on, else 0
    float normalScale = 1;
    bool isDoubleSided = true; ///< else seen from outside only

    // Each is kNone or a texture in place of the value above; the last one a map of normals in
    // tangent space.
    Index baseColorTexture = kNone;
    Index emissionTexture = kNone;
    Index specularTexture = kNone;
    Index metalnessTexture = kNone;
    Index roughnessTexture = kNone;
    Index opacityTexture = kNone;
    Index transmissionTexture = kNone;
    Index normalTexture = kNone;
};

/// What the faces of an instance are made of.
struct Surface {
    Index material = 0;               ///< that of faces without one of their own
    std::vector<Index> faceMaterials; ///< empty, or for each face its own or kNone

    Index materialOf(Index face) const {
        const bool hasOwn = face < faceMaterials.size() && faceMaterials[face] != kNone;
        return hasOwn ? faceMaterials[face] : material;
    }
};

/// One location's shape in the world.
struct Instance {
    Index shape = 0;
    Index surface = 0;
    Index firstTransform = 0; ///< into transforms
    Index transformCount = 1; ///< steps
};

// What lights it ----------------------------------------------------------------------------------

/// Shines down -Z of its own space, where that matters.
struct Light {
    enum class Kind {
        Directional, ///< `color` is the irradiance on what faces it
        Point,       ///< `color` is the intensity: irradiance times squared distance
        Spot,        ///< a point that shines into a cone only
        Area,        ///< a rectangle around the origin in X and Y; `color` is its radiance
        Environment  ///< from all around; `color` times the gradient or texture is the radiance
    };
    Kind kind = Kind::Point;
    M44d toWorld; ///< as the shutter opens
    Color color{1, 1, 1};
    V3f decay{0, 0, 1};   ///< points and spots: the light is divided by x + y d + z d d
    float angle = 0;      ///< directional: how wide the light is seen, degrees
    float radius = 0;     ///< points and spots: of the ball that shines
    float coneInner = 30; ///< spots: degrees, whole angles
    float coneOuter = 40;
    V2f size{1, 1};        ///< areas
    Index texture = kNone; ///< environments: longitude and latitude, +Y up, -Z in the middle
    // Environments without a texture: the colours at the horizon, above and below.
    Color horizon{1, 1, 1};
    Color zenith{1, 1, 1};
    Color ground{1, 1, 1};
    bool isSeen = true; ///< environments: by the camera
};

// How it is looked at -----------------------------------------------------------------------------

/// As the scene's camera tells; docs/cameras.md has the formulas.
struct Camera {
    bool isOrthographic = false;
    float fov = 70; ///< degrees, over the width of the window
    float near = 0.1f;
    float far = 100000;
    float left = -1, right = 1, top = 1, bottom = -1; ///< the screen window
    float orthographicWidth = 30;
    std::vector<M44d> toWorld{M44d()}; ///< one or more steps
};

/// Pixels [x0, x1) by [y0, y1); rows count from the top.
struct Window {
    int x0 = 0, y0 = 0, x1 = 0, y1 = 0;

    int width() const { return x1 - x0; }
    int height() const { return y1 - y0; }
};

/// The whole picture, and what of it is drawn.
struct Framing {
    int width = 512;
    int height = 512;
    Window window{0, 0, 512, 512}; ///< of crop window and tile; never empty
};

/// The renderer's own settings, "renderSettings.lantern".
struct Quality {
    int samples = 64;         ///< paths per pixel
    int maxDepth = 8;         ///< bounces
    float exposure = 0;       ///< stops; applied to the picture
    float clampIndirect = 10; ///< the most that one path may bring after its first bounce; 0: all
};

struct SceneData {
    std::vector<Shape> shapes;
    std::vector<Material> materials; ///< never empty: the first is that of what has none
    std::vector<Texture> textures;
    std::vector<Surface> surfaces;
    std::vector<M44f> transforms;    ///< to the world; of all instances
    std::vector<Instance> instances; ///< in the order of a depth-first walk
    std::vector<Light> lights;
    Camera camera;
    Framing framing;
    Quality quality;
};

} // namespace lantern

#endif
