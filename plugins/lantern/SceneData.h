#ifndef LANTERN_SCENEDATA_H
#define LANTERN_SCENEDATA_H

#include <algorithm>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "MaterialData.h"
#include "SceneTypes.h"
#include "ShapeData.h"

/// The scene to draw, as plain values. The reader makes it once; after that any number of threads
/// may read it.
///
/// Matrices are for row vectors: a point p becomes p M. Motion is given in steps that are evenly
/// spaced over the time in which the shutter is open, with linear interpolation between them; a
/// thing that does not move has one step. An Index points into a vector of SceneData.
namespace lantern {

// Instances ---------------------------------------------------------------------------------------

/// The materials of the faces of an instance.
struct Surface {
    Index material = 0;               ///< for faces without a material of their own
    std::vector<Index> faceMaterials; ///< empty, or for each face its own material or kNone

    Index materialOf(Index face) const {
        const bool hasOwn = face < faceMaterials.size() && faceMaterials[face] != kNone;
        return hasOwn ? faceMaterials[face] : material;
    }
};

/// A shape placed in the world.
struct Instance {
    Index shape = 0;
    Index surface = 0;
    Index firstTransform = 0; ///< index into SceneData::transforms
    Index transformCount = 1; ///< number of motion steps
};

// Lights ------------------------------------------------------------------------------------------

// Lights shine along -Z of their own space. They do not move: `toWorld` holds for the opening of
// the shutter.

/// A light so far away that its rays are parallel, such as the sun.
struct DirectionalLight {
    M44d toWorld;
    Color irradiance{1, 1, 1}; ///< for a surface that faces the light
    float angle = 0;           ///< apparent diameter in degrees; 0 for a delta light
};

/// Full angles at the apex of a spot light, in degrees: full intensity inside of the inner cone,
/// none outside of the outer one.
struct SpotCone {
    float inner = 30;
    float outer = 40;
};

/// A point light, a spot light, or a sphere that shines in their place.
struct PointLight {
    M44d toWorld;
    Color intensity{1, 1, 1};     ///< irradiance times squared distance, with the default decay
    V3f decay{0, 0, 1};           ///< the light at distance d is divided by x + y d + z d^2
    float radius = 0;             ///< radius of the sphere; 0 for a delta light
    std::optional<SpotCone> cone; ///< only for spot lights
};

/// A rectangle in X and Y around the origin that shines to one side.
struct AreaLight {
    M44d toWorld;
    Color radiance{1, 1, 1};
    V2f size{1, 1};
};

/// Light from all directions: `scale` times the texture or, without one, times a gradient.
struct EnvironmentLight {
    M44d toWorld;
    Color scale{1, 1, 1};
    Index texture = kNone; ///< laid out by longitude and latitude, +Y at the top, -Z in the middle
    // The gradient's radiance at the horizon, straight above and straight below.
    Color horizon{1, 1, 1};
    Color zenith{1, 1, 1};
    Color ground{1, 1, 1};
    bool isSeenByCamera = true;
};

using Light = std::variant<DirectionalLight, PointLight, AreaLight, EnvironmentLight>;

// Camera and picture ------------------------------------------------------------------------------

/// The scene's camera; docs/cameras.md has the formulas.
struct Camera {
    bool isOrthographic = false;
    float fov = 70; ///< degrees, across the width of the window
    float near = 0.1f;
    float far = 100000;
    float left = -1, right = 1, top = 1, bottom = -1; ///< the screen window
    float orthographicWidth = 30;
    float apertureRadius = 0;          ///< radius of a thin lens; 0: a pinhole, always in focus
    float focusDistance = 1;           ///< depth of the plane that is in focus
    std::vector<M44d> toWorld{M44d()}; ///< one or more steps
};

/// The pixels [x0, x1) by [y0, y1). Rows count from the top.
struct Window {
    int x0 = 0, y0 = 0, x1 = 0, y1 = 0;

    int width() const { return x1 - x0; }
    int height() const { return y1 - y0; }
    bool isEmpty() const { return x0 >= x1 || y0 >= y1; }
    bool contains(int x, int y) const { return x >= x0 && x < x1 && y >= y0 && y < y1; }
    /// The part that lies in another window, which may be empty.
    Window within(const Window& other) const {
        return {std::max(x0, other.x0), std::max(y0, other.y0), std::min(x1, other.x1),
                std::min(y1, other.y1)};
    }
};

/// The size of the whole picture and the part of it to draw.
struct Framing {
    int width = 512;
    int height = 512;
    Window window{0, 0, 512, 512}; ///< crop window and tile together; never empty
};

/// The settings of how long and how to draw.
struct Quality {
    int samples = 64;   ///< paths per pixel; with a noise goal, the most that a pixel gets
    float noise = 0;    ///< a part of the picture with less noise gets no more paths; 0: no goal
    double minutes = 0; ///< time limit of the whole render; 0: no limit
    int maxDepth = 8;   ///< number of bounces
    float exposure = 0; ///< stops; applied to the picture
    float clampIndirect =
        10; ///< largest contribution of one path after its first bounce; 0: no limit
    float subdivisionEdge = 1;    ///< length of the edges of subdivision surfaces, in pixels
    int subdivisionMemory = 2048; ///< megabytes for all subdivision surfaces
    int textureMemory = 0;        ///< megabytes for all textures of the process; 0: the default
};

/// The layers of the picture besides its colors and alpha.
struct LayerChoice {
    bool depth = false;
    bool normal = false;
    bool position = false;
    bool albedo = false;
    bool id = false;
    bool motion = false;
    bool objectMatte = false;
    bool materialMatte = false;
    bool assetMatte = false;

    bool needsNames() const { return id || objectMatte || assetMatte; }
    bool any() const {
        return depth || normal || position || albedo || motion || materialMatte || needsNames();
    }
};

/// Facts for the header of the picture's file.
struct SceneFacts {
    std::string scene; ///< its file, or empty
    std::string camera;
    float frame = 0;
};

/// The camera's side of a scene.
struct SceneView {
    Camera camera;
    Framing framing;
    Quality quality;
    LayerChoice layers;
    SceneFacts facts;
};

/// Everything that the camera may see.
struct SceneWorld {
    std::vector<Shape> shapes;
    std::vector<Material> materials; ///< never empty; the first one is the default
    std::vector<Texture> textures;
    std::vector<Surface> surfaces;
    std::vector<M44f> transforms;    ///< local to world, for all instances
    std::vector<Instance> instances; ///< depth-first order
    std::vector<Light> lights;
    std::vector<std::string> locations; ///< paths of all instances; empty if no layer needs them
};

struct SceneData : SceneWorld, SceneView {};

} // namespace lantern

#endif
