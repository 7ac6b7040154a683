#ifndef LANTERN_SHAPEDATA_H
#define LANTERN_SHAPEDATA_H

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "SceneTypes.h"

/// Meshes, subdivision surfaces, spheres and curves.
namespace lantern {

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

/// The elements of curves that have a value each.
enum class CurveScope { Point, Curve, All };

/// Texture coordinates or colors along curves, with their name.
template <typename Value>
struct CurveValues {
    std::string name;
    CurveScope scope = CurveScope::All;
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
    std::vector<CurveValues<Imath::C4f>> colorSets;
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

} // namespace lantern

#endif
