#include "reading/ReadSubdivision.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <optional>
#include <string>
#include <utility>

namespace lantern {

namespace {

constexpr float kInfinitelySharp = 10;

template <typename Value>
struct Named {
    const char* name;
    Value value;
};

/// The value that a text attribute names. Warns, and returns the default, if the name is not known.
template <typename Value, std::size_t Count>
Value ReadNamed(const ShapeReader& reader, const Attribute& geometry, const char* attribute,
                const Named<Value> (&known)[Count], Value otherwise) {
    const Attribute given = geometry.child(attribute);
    if (!given) return otherwise;
    for (const Named<Value>& one : known)
        if (given.isTextEqual(one.name)) return one.value;
    reader.warn(std::string("\"geometry.") + attribute + "\" has the unknown value \"" +
                given.text() + "\"");
    return otherwise;
}

Subdivision::Scheme ReadScheme(const ShapeReader& reader, const Attribute& geometry) {
    using Scheme = Subdivision::Scheme;
    static constexpr Named<Scheme> kSchemes[] = {{"catmull-clark", Scheme::CatmullClark},
                                                 {"loop", Scheme::Loop},
                                                 {"bilinear", Scheme::Bilinear}};
    return ReadNamed(reader, geometry, "subdivisionScheme", kSchemes, Scheme::CatmullClark);
}

Subdivision::Boundary ReadBoundary(const ShapeReader& reader, const Attribute& geometry) {
    using Boundary = Subdivision::Boundary;
    static constexpr Named<Boundary> kBoundaries[] = {
        {"none", Boundary::None},
        {"edges", Boundary::Edges},
        {"edgesAndCorners", Boundary::EdgesAndCorners}};
    return ReadNamed(reader, geometry, "interpolateBoundary", kBoundaries,
                     Boundary::EdgesAndCorners);
}

Subdivision::FaceVarying ReadFaceVarying(const ShapeReader& reader, const Attribute& geometry) {
    using Rule = Subdivision::FaceVarying;
    static constexpr Named<Rule> kRules[] = {
        {"none", Rule::None},
        {"cornersOnly", Rule::CornersOnly},
        {"cornersPlus1", Rule::CornersPlus1},
        {"cornersPlus2", Rule::CornersPlus2},
        {"boundaries", Rule::Boundaries},
        {"all", Rule::All},
    };
    return ReadNamed(reader, geometry, "interpolateFaceVarying", kRules, Rule::CornersPlus1);
}

bool AreInside(const std::vector<std::int32_t>& indices, std::size_t count) {
    return std::all_of(indices.begin(), indices.end(), [&](std::int32_t index) {
        return index >= 0 && static_cast<std::size_t>(index) < count;
    });
}

/// False if a number is negative or not a number. Larger ones than infinitely sharp become that.
bool CheckSharpness(std::vector<float>& sharpness) {
    for (float& value : sharpness) {
        if (!(value >= 0)) return false;
        value = std::min(value, kInfinitelySharp);
    }
    return true;
}

/// Adds the edges of all creases. Returns the crease of each edge, or nothing if the lengths do not
/// fit the points.
std::optional<std::vector<std::size_t>> AddCreases(const std::vector<std::int32_t>& points,
                                                   const std::vector<std::int32_t>& lengths,
                                                   Subdivision& subdivision) {
    std::vector<std::size_t> creaseOfEdge;
    std::size_t next = 0;
    for (std::size_t crease = 0; crease < lengths.size(); ++crease) {
        if (lengths[crease] < 2) return {};
        const auto length = static_cast<std::size_t>(lengths[crease]);
        if (length > points.size() - next) return {};
        for (std::size_t i = next; i + 1 < next + length; ++i) {
            subdivision.creases.insert(subdivision.creases.end(), {points[i], points[i + 1]});
            creaseOfEdge.push_back(crease);
        }
        next += length;
    }
    if (next != points.size()) return {};
    return creaseOfEdge;
}

/// Returns false if the attributes do not fit each other.
bool ReadCreases(const Attribute& geometry, std::size_t pointCount, float time,
                 Subdivision& subdivision) {
    const std::vector<std::int32_t> points = geometry.child("creaseIndices").ints();
    const std::vector<std::int32_t> lengths = geometry.child("creaseLengths").ints();
    std::vector<float> sharpness = geometry.child("creaseSharpness").floatsAt(time);
    if (!AreInside(points, pointCount) || !CheckSharpness(sharpness)) return false;
    const auto creaseOfEdge = AddCreases(points, lengths, subdivision);
    if (!creaseOfEdge) return false;
    const bool isByEdge = sharpness.size() == creaseOfEdge->size();
    if (!isByEdge && sharpness.size() != lengths.size()) return false;
    for (std::size_t edge = 0; edge < creaseOfEdge->size(); ++edge)
        subdivision.creaseSharpness.push_back(sharpness[isByEdge ? edge : (*creaseOfEdge)[edge]]);
    return true;
}

bool ReadSharpPoints(const Attribute& geometry, std::size_t pointCount, float time,
                     Subdivision& subdivision) {
    subdivision.sharpPoints = geometry.child("cornerIndices").ints();
    subdivision.pointSharpness = geometry.child("cornerSharpness").floatsAt(time);
    return AreInside(subdivision.sharpPoints, pointCount) &&
           CheckSharpness(subdivision.pointSharpness) &&
           subdivision.sharpPoints.size() == subdivision.pointSharpness.size();
}

void AddFaces(const CageFaces& faces, Subdivision& subdivision) {
    for (std::size_t face = 0; face + 1 < faces.starts.size(); ++face) {
        const std::int32_t size = faces.starts[face + 1] - faces.starts[face];
        if (size < 3) continue;
        subdivision.faceSizes.push_back(size);
        subdivision.faces.push_back(static_cast<Index>(face));
        const auto first = faces.corners.begin() + faces.starts[face];
        subdivision.corners.insert(subdivision.corners.end(), first, first + size);
    }
}

/// The index of the value at each corner of the faces that AddFaces() adds.
template <typename Value>
std::vector<Index> IndexOfCorners(const CornerValues<Value>& values, const CageFaces& faces,
                                  const Mesh& mesh) {
    const std::vector<Index>& ofTriangles = values.index.empty() ? mesh.triangles : values.index;
    std::vector<Index> ofCorners(faces.corners.size(), 0);
    for (std::size_t i = 0; i < ofTriangles.size(); ++i)
        ofCorners[faces.ofTriangles[i]] = ofTriangles[i];
    std::vector<Index> result;
    for (std::size_t face = 0; face + 1 < faces.starts.size(); ++face) {
        if (faces.starts[face + 1] - faces.starts[face] < 3) continue;
        result.insert(result.end(), ofCorners.begin() + faces.starts[face],
                      ofCorners.begin() + faces.starts[face + 1]);
    }
    return result;
}

void ReadHoles(const ShapeReader& reader, const Attribute& geometry, const CageFaces& faces,
               Subdivision& subdivision) {
    const std::vector<std::int32_t> holes = geometry.child("holeFaces").ints();
    if (!AreInside(holes, faces.starts.size() - 1))
        return reader.warn("\"geometry.holeFaces\" has faces that the mesh does not have");
    for (const std::int32_t hole : holes) {
        const auto found = std::lower_bound(subdivision.faces.begin(), subdivision.faces.end(),
                                            static_cast<Index>(hole));
        if (found != subdivision.faces.end() && *found == static_cast<Index>(hole))
            subdivision.holes.push_back(static_cast<int>(found - subdivision.faces.begin()));
    }
}

void ReadRules(const ShapeReader& reader, const Attribute& geometry, Subdivision& subdivision) {
    subdivision.scheme = ReadScheme(reader, geometry);
    subdivision.boundary = ReadBoundary(reader, geometry);
    subdivision.faceVarying = ReadFaceVarying(reader, geometry);
    const bool isOfTriangles =
        std::all_of(subdivision.faceSizes.begin(), subdivision.faceSizes.end(),
                    [](int size) { return size == 3; });
    if (subdivision.scheme == Subdivision::Scheme::Loop && !isOfTriangles) {
        reader.warn("\"geometry.subdivisionScheme\" is \"loop\", which is for triangles only; "
                    "\"catmull-clark\" is used");
        subdivision.scheme = Subdivision::Scheme::CatmullClark;
    }
}

/// Creases and sharp points that do not fit the mesh are left out.
void ReadSharpness(const ShapeReader& reader, const Attribute& geometry, std::size_t pointCount,
                   Subdivision& subdivision) {
    if (!ReadCreases(geometry, pointCount, reader.shutter.open, subdivision)) {
        reader.warn("\"geometry.creaseIndices\", \"creaseLengths\" and \"creaseSharpness\" do not "
                    "fit; there are no creases");
        subdivision.creases.clear();
        subdivision.creaseSharpness.clear();
    }
    if (!ReadSharpPoints(geometry, pointCount, reader.shutter.open, subdivision)) {
        reader.warn("\"geometry.cornerIndices\" and \"cornerSharpness\" do not fit; there are no "
                    "sharp corners");
        subdivision.sharpPoints.clear();
        subdivision.pointSharpness.clear();
    }
}

void CopyCornerValues(const Mesh& mesh, const CageFaces& faces, Subdivision& subdivision) {
    for (const UvSet& set : mesh.uvSets)
        subdivision.uvSets.push_back(
            {set.name, {set.st.values, IndexOfCorners(set.st, faces, mesh)}});
    for (const ColorSet& set : mesh.colorSets)
        subdivision.colorSets.push_back(
            {set.name, {set.colors.values, IndexOfCorners(set.colors, faces, mesh)}});
}

} // namespace

bool IsSubdivided(const Attribute& geometry, bool isOfSubdivisionType) {
    const Attribute scheme = geometry.child("subdivisionScheme");
    return scheme.isText() ? !scheme.isTextEqual("none") : isOfSubdivisionType;
}

std::shared_ptr<const Subdivision> ReadSubdivision(const ShapeReader& reader,
                                                   const Attribute& geometry,
                                                   const CageFaces& faces, const Mesh& mesh) {
    const std::size_t pointCount = mesh.points[0].size();
    if (pointCount > static_cast<std::size_t>(std::numeric_limits<int>::max())) return nullptr;
    auto made = std::make_shared<Subdivision>();
    AddFaces(faces, *made);
    ReadRules(reader, geometry, *made);
    ReadSharpness(reader, geometry, pointCount, *made);
    ReadHoles(reader, geometry, faces, *made);
    CopyCornerValues(mesh, faces, *made);
    return made;
}

} // namespace lantern
