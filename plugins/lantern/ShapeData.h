#ifndef LANTERN_SHAPEDATA_H
#define LANTERN_SHAPEDATA_H

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "SceneTypes.h"

/// Meshes, subdivision surfaces, spheres and curves.
namespace lantern {

/// Values at the corners of a mesh's triangles, three entries of `index` per triangle. If `index`
/// is empty, Mesh::triangles is used instead. Empty `values`: the mesh has no such values.
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
    std::vector<Index> faces;     ///< the face that each triangle belongs to
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
    FaceVarying faceVarying = FaceVarying::CornersPlus1; ///< interpolation of texture coordinates
    std::vector<int> faceSizes;         ///< number of corners of each face, at least 3
    std::vector<int> corners;           ///< the points of all faces, one face after the other
    std::vector<Index> faces;           ///< the number of each face in the location's mesh
    std::vector<int> creases;           ///< two points for each crease edge
    std::vector<float> creaseSharpness; ///< one per crease edge
    std::vector<int> sharpPoints;
    std::vector<float> pointSharpness;
    std::vector<int> holes;          ///< faces that are not drawn
    std::vector<UvSet> uvSets;       ///< one index per corner
    std::vector<ColorSet> colorSets; ///< one index per corner
};

/// Spheres in the space of their location.
struct Spheres {
    std::vector<std::vector<V3f>> centers; ///< one or more steps
    std::vector<float> radii;              ///< one per sphere
    std::vector<ColorSet> colorSets;       ///< one color per sphere, without an index
};

/// Whether each point, each curve or all curves together have one value.
enum class CurveScope { Point, Curve, All };

/// Texture coordinates or colors along curves, with their name.
template <typename Value>
struct CurveValues {
    std::string name;
    CurveScope scope = CurveScope::All;
    std::vector<Value> values; ///< one per point, one per curve, or one
};

/// Tubes or ribbons in the space of their location. The control points of a segment are
/// consecutive: two in a linear curve, four in a cubic one.
struct Curves {
    enum class Basis { Linear, Bezier, BSpline, CatmullRom };

    Basis basis = Basis::Linear;
    bool isFlat = false;                  ///< ribbons that face each ray
    std::vector<std::vector<V4f>> points; ///< one or more steps of x, y, z and radius
    std::vector<Index> segments;          ///< the first control point of each segment
    std::vector<Index>
        firstSegments; ///< the first segment of each curve; last, the number of segments
    std::vector<CurveValues<V2f>> uvSets;
    std::vector<CurveValues<Imath::C4f>> colorSets;
};

/// A mesh, spheres or curves; the other members are empty.
struct Shape {
    Mesh mesh;
    /// Set only while the mesh is the cage of a subdivision surface.
    std::shared_ptr<const Subdivision> subdivision;
    Spheres spheres;
    Curves curves;

    bool isEmpty() const {
        return mesh.triangles.empty() && spheres.radii.empty() && curves.segments.empty();
    }
};

} // namespace lantern

#endif
