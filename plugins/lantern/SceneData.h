#ifndef LANTERN_SCENEDATA_H
#define LANTERN_SCENEDATA_H

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include <Imath/ImathBox.h>
#include <Imath/ImathColor.h>
#include <Imath/ImathMatrix.h>
#include <Imath/ImathVec.h>

/// The scene to draw, as plain values. The reader makes it once; after that any number of threads
/// may read it.
///
/// Matrices are for row vectors: a point p becomes p M. Motion is given in steps that are evenly
/// spaced over the time in which the shutter is open, with linear interpolation between them; a
/// thing that does not move has one step. An Index points into a vector of SceneData.
namespace lantern {

using Imath::M44d;
using Imath::M44f;
using Imath::V2f;
using Imath::V3f;
using Imath::V4f;

using Index = std::uint32_t;
constexpr Index kNone = ~Index(0);

/// Three floats in scene-linear light.
using Color = V3f;

// Shapes and materials ----------------------------------------------------------------------------

/// Values at the corners of a mesh's triangles, three entries of `index` per triangle. An empty
/// `index` means that of the points (Mesh::triangles). Empty `values`: the mesh has no such values.
template <typename Value>
struct CornerValues {
    std::vector<Value> values;
    std::vector<Index> index;
};

/// One set of texture coordinates. The second coordinate grows upwards.
struct UvSet {
    std::string name; ///< "st", "st1", ...
    CornerValues<V2f> st;
};

/// One set of colors, red, green, blue and alpha in scene-linear light.
struct ColorSet {
    std::string name; ///< "color", "color1", ...
    CornerValues<Imath::C4f> colors;
};

/// Triangles in the space of their location.
struct Mesh {
    std::vector<std::vector<V3f>> points; ///< one or more steps of equal size
    std::vector<Index> triangles; ///< three points each, counter-clockwise seen from outside
    std::vector<Index> faces;     ///< for each triangle the face that it belongs to
    CornerValues<V3f> normals;    ///< unit length
    std::vector<UvSet> uvSets;
    std::vector<ColorSet> colorSets;
};

/// The polygons and rules of a subdivision surface. Its points are those of the mesh beside it.
struct Subdivision {
    enum class Scheme { CatmullClark, Loop, Bilinear };
    enum class Boundary { None, Edges, EdgesAndCorners };
    enum class FaceVarying { None, CornersOnly, CornersPlus1, CornersPlus2, Boundaries, All };

    Scheme scheme = Scheme::CatmullClark;
    Boundary boundary = Boundary::EdgesAndCorners;
    FaceVarying faceVarying = FaceVarying::CornersPlus1; ///< for texture coordinates
    std::vector<int> faceSizes;                          ///< at least 3
    std::vector<int> corners;           ///< the points of all faces, one face after the other
    std::vector<Index> faces;           ///< for each face the one of the location that it is
    std::vector<int> creases;           ///< two points for each crease edge
    std::vector<float> creaseSharpness; ///< one per crease edge
    std::vector<int> sharpPoints;
    std::vector<float> pointSharpness;
    std::vector<int> holes;          ///< faces that are not drawn
    std::vector<UvSet> uvSets;       ///< one index per corner
    std::vector<ColorSet> colorSets; ///< the same
};

/// Spheres in the space of their location.
struct Spheres {
    std::vector<std::vector<V3f>> centers; ///< one or more steps
    std::vector<float> radii;              ///< one per sphere
    std::vector<ColorSet> colorSets;       ///< one color per sphere, without an index
};

/// Values along curves, such as texture coordinates, with their name.
template <typename Value>
struct CurveValues {
    enum class Scope { Point, Curve, All };

    std::string name;
    Scope scope = Scope::All;
    std::vector<Value> values; ///< one per point, one per curve, or one
};

/// Tubes or ribbons in the space of their location. A segment has consecutive control points: two
/// of a linear curve, four of a cubic one.
struct Curves {
    enum class Basis { Linear, Bezier, BSpline, CatmullRom };

    Basis basis = Basis::Linear;
    bool isFlat = false;                  ///< ribbons that face each ray
    std::vector<std::vector<V4f>> points; ///< one or more steps of x, y, z and radius
    std::vector<Index> segments;          ///< the first control point of each
    std::vector<Index> firstSegments;     ///< of each curve, and the end
    std::vector<CurveValues<V2f>> uvSets;
};

/// A mesh, spheres or curves; the other members are empty.
struct Shape {
    Mesh mesh;
    /// Only of a subdivision surface whose mesh is still the cage.
    std::shared_ptr<const Subdivision> subdivision;
    Spheres spheres;
    Curves curves;

    bool isEmpty() const {
        return mesh.triangles.empty() && spheres.radii.empty() && curves.segments.empty();
    }
};

/// An affine map of texture coordinates.
struct UvTransform {
    V2f alongS{1, 0}; ///< what (1, 0) becomes, without the offset
    V2f alongT{0, 1};
    V2f offset{0, 0};

    V2f operator()(const V2f& st) const { return alongS * st.x + alongT * st.y + offset; }
};

/// An image that replaces a value of a material, or gives the radiance of an environment light.
struct Texture {
    enum class Wrap { Repeat, Clamp, Mirror, Black };
    std::string file;
    std::string uvSet = "st";
    Wrap wrapU = Wrap::Repeat;
    Wrap wrapV = Wrap::Repeat;
    bool isSrgb = false;     ///< else its values are linear
    int channel = -1;        ///< 0 to 3 for a single channel; -1 for the first three
    Color multiply{1, 1, 1}; ///< a single channel is multiplied by the first component
    UvTransform uvTransform; ///< of the coordinates before the lookup
};

/// A value in a shading network: the result of a step, or a constant.
struct ShadingValue {
    Color constant{0, 0, 0}; ///< also if the step has no result, as an image that cannot be read
    Index step = kNone;      ///< index into Material::steps
    int channel = -1;        ///< 0 to 2: that component of the step's result, three times
};

/// One operation of a shading network. Its inputs are earlier steps or constants.
struct ShadingStep {
    enum class Kind {
        Image,       ///< `texture`; no result if it cannot be read
        VertexColor, ///< of the color set `set`; no result if the shape has none of that name
        VertexAlpha, ///< its alpha
        Checker,     ///< input 0 or 1, alternating between unit squares
        Noise,       ///< from input 0 to input 1, gradient noise with `octaves`
        Ramp,        ///< `stops` at the red component of input 0
        CoordinateS, ///< the first texture coordinate
        CoordinateT, ///< the second one
        Mix,         ///< from input 0 to input 1 by input 2
        Add,         ///< input 0 + input 1
        Multiply,    ///< input 0 * input 1
        Invert,      ///< 1 - input 0
        Combine,     ///< the first components of inputs 0, 1 and 2
    };
    struct Stop {
        float place = 0;
        Color color;
    };

    Kind kind = Kind::Image;
    std::array<ShadingValue, 3> inputs;
    Index texture = kNone;
    std::string set = "st"; ///< of texture coordinates or of colors
    UvTransform uvTransform;
    int octaves = 1;
    bool isStepped = false;  ///< a ramp keeps the color of the last stop
    std::vector<Stop> stops; ///< ascending, at least one for a ramp
};

constexpr std::size_t kMostShadingSteps = 64; ///< of one material

/// The values of a material that a shading network can feed.
enum class MaterialInput {
    BaseColor,
    Emission,
    Specular,
    SpecularColor,
    Metalness,
    Roughness,
    Ior,
    Opacity,
    Transmission,
    Thickness,
    AttenuationDistance,
    AttenuationColor,
    Coat,
    CoatRoughness,
    SheenColor,
    SheenRoughness,
    Anisotropy,
    AnisotropyRotation,
    Normal,
    CoatNormal,
    Count
};
constexpr std::size_t kMaterialInputs = static_cast<std::size_t>(MaterialInput::Count);

/// A standard surface. Numbers are from 0 to 1 unless a comment says otherwise.
struct Material {
    std::string name; ///< the path of the assigned material, or else the name of its shader
    Color baseColor{0.8f, 0.8f, 0.8f};
    Color emission{0, 0, 0};      ///< radiance
    Color specularColor{1, 1, 1}; ///< of the reflection of a dielectric at normal incidence
    float specular = 1;           ///< weight of the reflection of a dielectric
    float metalness = 0;
    float roughness = 0.5f; ///< the GGX parameter alpha is its square
    float ior = 1.5f;       ///< 1 or more
    float transmission = 0;
    float thickness = -1; ///< 0: a thin sheet that does not refract; else the shape is solid
    float attenuationDistance = 0; ///< where the inside has attenuationColor; 0: it is clear
    Color attenuationColor{1, 1, 1};
    float coat = 0;
    float coatRoughness = 0.1f;
    Color sheenColor{0, 0, 0};
    float sheenRoughness = 0.3f;
    float anisotropy = 0;
    float anisotropyRotation = 0; ///< radians, from the direction of growing s
    float opacity = 1;
    float alphaCutoff = -1; ///< from 0 on: opacity is 1 from this value on, else 0
    float normalScale = 1;
    float coatNormalScale = 1;
    bool isDoubleSided = true; ///< else invisible from inside
    bool isUnlit = false;      ///< the base color has become the emission

    /// The network that replaces values above. A normal is a color of a normal map in tangent
    /// space; its constant is unused.
    std::vector<ShadingStep> steps;
    std::array<ShadingValue, kMaterialInputs> fed;
    std::string normalUvSet = "st"; ///< of tangent space

    bool isEmissive() const {
        return emission != Color(0) || (*this)[MaterialInput::Emission].step != kNone;
    }
    ShadingValue& operator[](MaterialInput input) { return fed[static_cast<std::size_t>(input)]; }
    const ShadingValue& operator[](MaterialInput input) const {
        return fed[static_cast<std::size_t>(input)];
    }
};

/// The materials of the faces of an instance.
struct Surface {
    Index material = 0;               ///< of the faces that have none of their own
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
    Color irradiance{1, 1, 1}; ///< on a surface that faces the light
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
    V3f decay{0, 0, 1};           ///< at distance d the light is divided by x + y d + z d^2
    float radius = 0;             ///< of the sphere; 0 for a delta light
    std::optional<SpotCone> cone; ///< only of spot lights
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
    Index texture = kNone; ///< by longitude and latitude: +Y at the top, -Z in the middle
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
    float apertureRadius = 0; ///< of a thin lens; 0: a pinhole, for which everything is in focus
    float focusDistance = 1;  ///< depth of the plane that is in focus
    std::vector<M44d> toWorld{M44d()}; ///< one or more steps
};

/// The pixels [x0, x1) by [y0, y1). Rows count from the top.
struct Window {
    int x0 = 0, y0 = 0, x1 = 0, y1 = 0;

    int width() const { return x1 - x0; }
    int height() const { return y1 - y0; }
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
    float exposure = 0; ///< in stops, applied to the picture
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

struct SceneData {
    std::vector<Shape> shapes;
    std::vector<Material> materials; ///< never empty; the first one is the default
    std::vector<Texture> textures;
    std::vector<Surface> surfaces;
    std::vector<M44f> transforms;    ///< of all instances, to the world
    std::vector<Instance> instances; ///< in depth-first order
    std::vector<Light> lights;
    Camera camera;
    Framing framing;
    Quality quality;
    LayerChoice layers;
    std::vector<std::string> locations; ///< paths of all instances; empty if no layer needs them
    SceneFacts facts;
};

} // namespace lantern

#endif
