#include "tessellation/SubdivisionSurface.h"

#include <algorithm>
#include <mutex>

#include <opensubdiv/bfr/refinerSurfaceFactory.h>
#include <opensubdiv/bfr/surfaceFactoryCache.h>
#include <opensubdiv/bfr/tessellation.h>

#include "ForEachIndex.h"
#include "tessellation/SubdivisionCage.h"

namespace lantern {
namespace {

namespace Far = OpenSubdiv::Far;
namespace Bfr = OpenSubdiv::Bfr;

using PointSurface = Bfr::Surface<float>;
using Cache = Bfr::SurfaceFactoryCacheThreaded<std::mutex, std::lock_guard<std::mutex>,
                                               std::lock_guard<std::mutex>>;
using Factory = Bfr::RefinerSurfaceFactory<Cache>;

constexpr int kFacesOfPortion = 64; // faces that a thread tessellates at a time

/// The patch points of a surface for values of two or three floats each.
class PreparedSurface {
public:
    PreparedSurface(const PointSurface& surface, const float* values, int size)
        : surface(surface), layout(size),
          points(std::size_t(surface.GetNumPatchPoints()) * static_cast<std::size_t>(size)) {
        surface.PreparePatchPoints(values, layout, points.data(), layout);
    }
    void evaluate(const float uv[2], float* value) const {
        surface.Evaluate(uv, points.data(), layout, value);
    }
    void evaluate(const float uv[2], float* value, float* du, float* dv) const {
        surface.Evaluate(uv, points.data(), layout, value, du, dv);
    }

private:
    const PointSurface& surface;
    PointSurface::PointDescriptor layout;
    std::vector<float> points;
};

/// Where the points of a tessellated surface are: first those of the cage's vertices, then those on
/// edges, then those inside of faces. Values at the corners of triangles are stored by face.
struct Layout {
    std::vector<Index> firstOfEdge;
    std::vector<Index> firstInside;   // first inner point of each face
    std::vector<Index> firstCoord;    // first coordinate of each face; last, the end
    std::vector<Index> firstTriangle; // first triangle of each face; last, the end
    // The face that computes the point or the points on the edge.
    std::vector<Index> ownerOfVertex;
    std::vector<Index> ownerOfEdge;
    std::size_t pointCount = 0;
};

/// A face of the cage with the coordinates of its tessellation.
struct TessellatedFace {
    int number = 0;
    std::size_t firstCoord = 0; // index into the mesh's values at corners
    std::vector<V2f> coords;
    std::vector<Index> points; // the mesh's point at each coordinate
    std::vector<bool> isOwned; // whether this face computes that point
};

/// Whether all faces and points have at most kMostEdgesAround edges.
bool HasModestValences(const Far::TopologyLevel& cage) {
    for (int face = 0; face < cage.GetNumFaces(); ++face)
        if (cage.GetFaceVertices(face).size() > SubdivisionSurface::kMostEdgesAround) return false;
    for (int point = 0; point < cage.GetNumVertices(); ++point)
        if (cage.GetVertexEdges(point).size() > SubdivisionSurface::kMostEdgesAround) return false;
    return true;
}

/// The rates of the edges around a face.
std::vector<int> RatesOf(const Far::TopologyLevel& cage, int face, const std::vector<int>& rates) {
    std::vector<int> result;
    const auto edges = cage.GetFaceEdges(face);
    result.reserve(static_cast<std::size_t>(edges.size()));
    for (int i = 0; i < edges.size(); ++i)
        result.push_back(rates[static_cast<std::size_t>(edges[i])]);
    return result;
}

/// Makes the face the owner of its vertices and edges, unless they belong to an earlier face.
void ClaimPoints(const Far::TopologyLevel& cage, int face, Layout& layout) {
    const auto vertices = cage.GetFaceVertices(face);
    const auto edges = cage.GetFaceEdges(face);
    for (int i = 0; i < vertices.size(); ++i) {
        Index& ofVertex = layout.ownerOfVertex[static_cast<std::size_t>(vertices[i])];
        Index& ofEdge = layout.ownerOfEdge[static_cast<std::size_t>(edges[i])];
        ofVertex = std::min(ofVertex, static_cast<Index>(face));
        ofEdge = std::min(ofEdge, static_cast<Index>(face));
    }
}

/// Numbers the vertices, then the inner points of the edges. Nothing has an owner yet.
Layout StartLayout(std::size_t vertices, const std::vector<int>& rates) {
    Layout layout;
    layout.ownerOfVertex.assign(vertices, kNone);
    layout.ownerOfEdge.assign(rates.size(), kNone);
    layout.pointCount = vertices;
    for (const int rate : rates) {
        layout.firstOfEdge.push_back(static_cast<Index>(layout.pointCount));
        layout.pointCount += static_cast<std::size_t>(rate - 1);
    }
    return layout;
}

} // namespace

struct SubdivisionSurface::Surface {
    Surface(const Subdivision& subdivision, std::size_t pointCount);

    Layout layOut(const std::vector<int>& rates) const;
    void tessellate(int face, const std::vector<std::vector<V3f>>& cagePoints,
                    const std::vector<int>& rates, const Layout& layout, Mesh& mesh) const;
    std::vector<Index> pointsOf(int face, const Bfr::Tessellation& tessellation,
                                const Layout& layout, std::vector<bool>& isOwned) const;
    TessellatedFace describe(int face, const Bfr::Tessellation& tessellation,
                             const Layout& layout) const;
    void setPoints(const TessellatedFace& face, const PointSurface& surface,
                   const std::vector<std::vector<V3f>>& cagePoints, Mesh& mesh) const;
    void setValues(const TessellatedFace& face, Mesh& mesh) const;
    void setTriangles(const TessellatedFace& face, const Bfr::Tessellation& tessellation,
                      std::size_t firstTriangle, Mesh& mesh) const;

    const Subdivision& subdivision;
    std::vector<WeldedValues> values;              // all texture coordinates, then all colors
    std::unique_ptr<Far::TopologyRefiner> refiner; // null if the topology is not usable
    std::unique_ptr<Factory> factory;
    std::vector<std::array<Index, 2>> edges;
};

SubdivisionSurface::Surface::Surface(const Subdivision& subdivision, std::size_t pointCount)
    : subdivision(subdivision), values(WeldValues(subdivision)),
      refiner(MakeRefiner(subdivision, pointCount, values)) {
    if (refiner && !HasModestValences(refiner->GetLevel(0))) refiner.reset();
    if (!refiner) return;
    factory = std::make_unique<Factory>(*refiner, Factory::Options());
    const Far::TopologyLevel& cage = refiner->GetLevel(0);
    for (int edge = 0; edge < cage.GetNumEdges(); ++edge) {
        const auto ends = cage.GetEdgeVertices(edge);
        edges.push_back({static_cast<Index>(ends[0]), static_cast<Index>(ends[1])});
    }
}

Layout SubdivisionSurface::Surface::layOut(const std::vector<int>& rates) const {
    const Far::TopologyLevel& cage = refiner->GetLevel(0);
    Layout layout = StartLayout(static_cast<std::size_t>(cage.GetNumVertices()), rates);
    Index coords = 0, triangles = 0;
    for (int face = 0; face < cage.GetNumFaces(); ++face) {
        layout.firstInside.push_back(static_cast<Index>(layout.pointCount));
        layout.firstCoord.push_back(coords);
        layout.firstTriangle.push_back(triangles);
        if (!factory->FaceHasLimitSurface(face)) continue;
        const std::vector<int> ofFace = RatesOf(cage, face, rates);
        const Bfr::Tessellation tessellation(factory->GetFaceParameterization(face),
                                             int(ofFace.size()), ofFace.data());
        if (!tessellation.IsValid()) continue;
        layout.pointCount += static_cast<std::size_t>(tessellation.GetNumInteriorCoords());
        coords += static_cast<Index>(tessellation.GetNumCoords());
        triangles += static_cast<Index>(tessellation.GetNumFacets());
        ClaimPoints(cage, face, layout);
    }
    layout.firstCoord.push_back(coords);
    layout.firstTriangle.push_back(triangles);
    return layout;
}

TessellatedFace SubdivisionSurface::Surface::describe(int face,
                                                      const Bfr::Tessellation& tessellation,
                                                      const Layout& layout) const {
    TessellatedFace result;
    result.number = face;
    result.firstCoord = layout.firstCoord[static_cast<std::size_t>(face)];
    result.coords.resize(static_cast<std::size_t>(tessellation.GetNumCoords()));
    tessellation.GetCoords(&result.coords[0].x);
    result.points = pointsOf(face, tessellation, layout, result.isOwned);
    return result;
}

/// The point of the mesh at each coordinate of the tessellation, and whether this face computes it.
/// Coordinates start with each vertex followed by the inner points of the edge after it.
std::vector<Index> SubdivisionSurface::Surface::pointsOf(int face,
                                                         const Bfr::Tessellation& tessellation,
                                                         const Layout& layout,
                                                         std::vector<bool>& isOwned) const {
    const Far::TopologyLevel& cage = refiner->GetLevel(0);
    const auto vertices = cage.GetFaceVertices(face);
    const auto faceEdges = cage.GetFaceEdges(face);
    const Index self = static_cast<Index>(face);
    std::vector<Index> points;
    for (int i = 0; i < vertices.size(); ++i) {
        const auto vertex = static_cast<std::size_t>(vertices[i]);
        const auto edge = static_cast<std::size_t>(faceEdges[i]);
        points.push_back(static_cast<Index>(vertices[i]));
        isOwned.push_back(layout.ownerOfVertex[vertex] == self);
        const Index inner = static_cast<Index>(tessellation.GetNumEdgeCoords(i));
        const bool isForward = edges[edge][0] == static_cast<Index>(vertices[i]);
        for (Index k = 0; k < inner; ++k) {
            points.push_back(layout.firstOfEdge[edge] + (isForward ? k : inner - 1 - k));
            isOwned.push_back(layout.ownerOfEdge[edge] == self);
        }
    }
    for (int k = 0; k < tessellation.GetNumInteriorCoords(); ++k) {
        points.push_back(layout.firstInside[self] + static_cast<Index>(k));
        isOwned.push_back(true);
    }
    return points;
}

/// The points of the mesh that this face computes, and the normals at the first motion step.
void SubdivisionSurface::Surface::setPoints(const TessellatedFace& face,
                                            const PointSurface& surface,
                                            const std::vector<std::vector<V3f>>& cagePoints,
                                            Mesh& mesh) const {
    for (std::size_t step = 0; step < cagePoints.size(); ++step) {
        const PreparedSurface positions(surface, &cagePoints[step][0].x, 3);
        for (std::size_t i = 0; i < face.coords.size(); ++i) {
            V3f position, du, dv;
            positions.evaluate(&face.coords[i].x, &position.x, &du.x, &dv.x);
            if (face.isOwned[i]) mesh.points[step][face.points[i]] = position;
            if (step == 0) mesh.normals.values[face.firstCoord + i] = du.cross(dv).normalized();
        }
    }
}

/// The texture coordinates and colors at the coordinates of the face.
void SubdivisionSurface::Surface::setValues(const TessellatedFace& face, Mesh& mesh) const {
    const std::size_t uvSets = mesh.uvSets.size();
    for (std::size_t set = 0; set < values.size(); ++set) {
        PointSurface surface;
        if (!factory->InitFaceVaryingSurface(face.number, &surface, static_cast<int>(set)))
            continue;
        const PreparedSurface prepared(surface, values[set].values.data(), values[set].size);
        for (std::size_t i = 0; i < face.coords.size(); ++i) {
            const std::size_t at = face.firstCoord + i;
            prepared.evaluate(&face.coords[i].x,
                              set < uvSets ? &mesh.uvSets[set].st.values[at].x
                                           : &mesh.colorSets[set - uvSets].colors.values[at].r);
        }
    }
}

void SubdivisionSurface::Surface::setTriangles(const TessellatedFace& face,
                                               const Bfr::Tessellation& tessellation,
                                               std::size_t firstTriangle, Mesh& mesh) const {
    std::vector<int> facets(static_cast<std::size_t>(tessellation.GetNumFacets()) * 3);
    tessellation.GetFacets(facets.data());
    for (std::size_t i = 0; i < facets.size(); ++i) {
        const auto coord = static_cast<std::size_t>(facets[i]);
        mesh.triangles[3 * firstTriangle + i] = face.points[coord];
        mesh.normals.index[3 * firstTriangle + i] = static_cast<Index>(face.firstCoord + coord);
    }
    for (std::size_t i = 0; i < facets.size() / 3; ++i)
        mesh.faces[firstTriangle + i] = subdivision.faces[static_cast<std::size_t>(face.number)];
}

void SubdivisionSurface::Surface::tessellate(int face,
                                             const std::vector<std::vector<V3f>>& cagePoints,
                                             const std::vector<int>& rates, const Layout& layout,
                                             Mesh& mesh) const {
    const std::size_t self = static_cast<std::size_t>(face);
    if (layout.firstCoord[self] == layout.firstCoord[self + 1]) return;
    PointSurface surface;
    if (!factory->InitVertexSurface(face, &surface)) return;
    const std::vector<int> ofFace = RatesOf(refiner->GetLevel(0), face, rates);
    const Bfr::Tessellation tessellation(surface.GetParameterization(), int(ofFace.size()),
                                         ofFace.data());
    const TessellatedFace tessellated = describe(face, tessellation, layout);
    setPoints(tessellated, surface, cagePoints, mesh);
    setValues(tessellated, mesh);
    setTriangles(tessellated, tessellation, layout.firstTriangle[self], mesh);
}

SubdivisionSurface::SubdivisionSurface(const Subdivision& subdivision, std::size_t pointCount)
    : surface(std::make_unique<Surface>(subdivision, pointCount)) {}

SubdivisionSurface::~SubdivisionSurface() = default;

bool SubdivisionSurface::isValid() const {
    return surface->refiner != nullptr;
}

const std::vector<std::array<Index, 2>>& SubdivisionSurface::edges() const {
    return surface->edges;
}

double SubdivisionSurface::countTriangles(const std::vector<int>& rates) const {
    const Far::TopologyLevel& cage = surface->refiner->GetLevel(0);
    double sum = 0;
    for (int face = 0; face < cage.GetNumFaces(); ++face) {
        const std::vector<int> ofFace = RatesOf(cage, face, rates);
        double mean = 0;
        for (const int rate : ofFace)
            mean += rate / double(ofFace.size());
        if (ofFace.size() == 4)
            sum += (ofFace[0] + ofFace[2]) * (ofFace[1] + ofFace[3]) / 2.0;
        else
            sum += mean * mean * (ofFace.size() == 3 ? 1 : double(ofFace.size()) / 2);
    }
    return sum;
}

Mesh SubdivisionSurface::tessellate(const std::vector<std::vector<V3f>>& points,
                                    const std::vector<int>& rates, int threads) const {
    const Layout layout = surface->layOut(rates);
    Mesh mesh;
    mesh.points.resize(points.size());
    for (std::size_t step = 0; step < points.size(); ++step) {
        // Embree takes vectors with room for another point as they are.
        mesh.points[step].reserve(std::size_t(layout.pointCount) + 1);
        mesh.points[step] = points[step]; // kept at vertices without a limit surface
        mesh.points[step].resize(layout.pointCount, V3f(0));
    }
    mesh.triangles.resize(std::size_t(3) * layout.firstTriangle.back(), 0);
    mesh.faces.resize(layout.firstTriangle.back(), 0);
    mesh.normals.index.resize(mesh.triangles.size(), 0);
    mesh.normals.values.resize(layout.firstCoord.back(), V3f(0));
    for (const UvSet& set : surface->subdivision.uvSets)
        mesh.uvSets.push_back({set.name, {std::vector<V2f>(layout.firstCoord.back()), {}}});
    for (const ColorSet& set : surface->subdivision.colorSets)
        mesh.colorSets.push_back(
            {set.name, {std::vector<Imath::C4f>(layout.firstCoord.back()), {}}});
    ForEachIndex(surface->refiner->GetLevel(0).GetNumFaces(), kFacesOfPortion, threads,
                 [&](int face) { surface->tessellate(face, points, rates, layout, mesh); });
    for (UvSet& set : mesh.uvSets)
        set.st.index = mesh.normals.index;
    for (ColorSet& set : mesh.colorSets)
        set.colors.index = mesh.normals.index;
    return mesh;
}

} // namespace lantern
