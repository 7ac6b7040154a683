#include "drawing/HitGeometry.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "drawing/CurveGeometry.h"
#include "drawing/Numbers.h"

namespace lantern {
namespace {

/// A row of a matrix. The functions below treat its fourth element as the others, although it is
/// not used: compilers make vector instructions of four equal operations, but not of three.
using Row = std::array<float, 4>;

Row RowOf(const M44f& m, int row) {
    return {m[row][0], m[row][1], m[row][2], m[row][3]};
}

Row Cross(const Row& a, const Row& b) {
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0],
            a[3] * b[3] - a[3] * b[3]};
}

/// Transforms normals by the cofactor matrix, which also holds for mirroring transforms. The result
/// is not normalized.
class NormalTransform {
public:
    explicit NormalTransform(const M44f& m) {
        const Row x = RowOf(m, 0), y = RowOf(m, 1), z = RowOf(m, 2);
        yz = Cross(y, z);
        zx = Cross(z, x);
        xy = Cross(x, y);
        sign = x[0] * yz[0] + x[1] * yz[1] + x[2] * yz[2] < 0 ? -1.0f : 1.0f;
    }
    V3f operator()(const V3f& n) const {
        Row sum{};
        for (std::size_t k = 0; k < 4; ++k)
            sum[k] = (yz[k] * n.x + zx[k] * n.y + xy[k] * n.z) * sign;
        return {sum[0], sum[1], sum[2]};
    }

private:
    Row yz, zx, xy;
    float sign; // sign of the determinant
};

/// The point times an affine matrix, without the division of Imath's operator.
V3f ToWorld(const V3f& p, const M44f& m) {
    Row sum{};
    for (int k = 0; k < 4; ++k)
        sum[k] = p.x * m[0][k] + p.y * m[1][k] + p.z * m[2][k] + m[3][k];
    return {sum[0], sum[1], sum[2]};
}

template <typename Value>
std::array<Value, 3> CornerValuesOf(const CornerValues<Value>& values, const Mesh& mesh,
                                    Index triangle) {
    const std::vector<Index>& index = values.index.empty() ? mesh.triangles : values.index;
    const std::size_t first = std::size_t(triangle) * 3;
    return {values.values[index[first]], values.values[index[first + 1]],
            values.values[index[first + 2]]};
}

template <typename Value>
Value Between(const std::array<Value, 3>& corners, float u, float v) {
    return corners[0] * (1 - u - v) + corners[1] * u + corners[2] * v;
}

// std::max() refers to its arguments, which makes compilers branch on numbers in memory.
float Larger(float a, float b) {
    return a > b ? a : b;
}

/// The largest absolute value.
float FarthestOf(float a, float b, float c) {
    return Larger(Larger(std::abs(a), std::abs(b)), std::abs(c));
}

/// The unit normal, in world space, of a triangle; `cross` is the cross product of two of its
/// edges.
V3f FaceNormal(const NormalTransform& normals, const V3f& cross) {
    constexpr float kLeast = 1e-20f; // squared; the components do not lose digits
    constexpr float kMost = 1e20f;
    const V3f scaled = normals(cross);
    const float square = scaled.length2();
    if (square > kLeast && square < kMost) return scaled * (1 / std::sqrt(square));
    return Normalized(normals(Normalized(cross, V3f(0, 0, 1))), V3f(0, 0, 1));
}

HitGeometry MeshGeometryAt(const Mesh& mesh, const M44f& toWorld, const RayHit& hit, float time) {
    std::array<V3f, 3> corners;
    CornersAt(mesh, hit.primitive, time, corners.data());
    const V3f local = Between(corners, hit.u, hit.v);
    const NormalTransform normals(toWorld);
    HitGeometry result;
    result.position = ToWorld(local, toWorld);
    result.normal = FaceNormal(normals, (corners[1] - corners[0]) % (corners[2] - corners[0]));
    result.shadingNormal = result.normal;
    if (!mesh.normals.values.empty()) {
        const auto given = CornerValuesOf(mesh.normals, mesh, hit.primitive);
        result.shadingNormal = Normalized(normals(Between(given, hit.u, hit.v)), result.normal);
    }
    const V3f& a = corners[0];
    const V3f& b = corners[1];
    const V3f& c = corners[2];
    const V3f extent(FarthestOf(a.x, b.x, c.x), FarthestOf(a.y, b.y, c.y),
                     FarthestOf(a.z, b.z, c.z));
    result.offset = OffsetAt(extent, toWorld);
    return result;
}

V3f CenterAt(const Spheres& spheres, Index sphere, float time) {
    const StepPosition at = PositionAmongSteps(spheres.centers.size(), time);
    return Mix(spheres.centers[at.first][sphere], spheres.centers[at.second][sphere], at.share);
}

HitGeometry SphereGeometryAt(const Spheres& spheres, const M44f& toWorld, const RayHit& hit,
                             float time) {
    const V3f center = CenterAt(spheres, hit.primitive, time);
    const float radius = spheres.radii[hit.primitive];
    const V3f outward = Normalized(hit.outward, V3f(0, 0, 1));
    HitGeometry result;
    // More exact than the point at the hit distance along the ray.
    result.position = ToWorld(center + outward * radius, toWorld);
    result.normal = WorldNormal(toWorld, outward);
    result.shadingNormal = result.normal;
    const V3f extent(std::abs(center.x) + radius, std::abs(center.y) + radius,
                     std::abs(center.z) + radius);
    result.offset = OffsetAt(extent, toWorld);
    return result;
}

/// The set of that name, or else the first one; null if the mesh has no coordinates.
const UvSet* FindSet(const Mesh& mesh, const std::string& name) {
    for (const UvSet& set : mesh.uvSets)
        if (set.name == name && !set.st.values.empty()) return &set;
    const bool hasFirst = !mesh.uvSets.empty() && !mesh.uvSets.front().st.values.empty();
    return hasFirst ? &mesh.uvSets.front() : nullptr;
}

const ColorSet* FindSet(const std::vector<ColorSet>& sets, const std::string& name) {
    for (const ColorSet& set : sets)
        if (set.name == name && !set.colors.values.empty()) return &set;
    return nullptr;
}

} // namespace

float OffsetAt(const V3f& point, const M44f& m) {
    constexpr float kOffset = 0x1p-19f; // 16 times the epsilon of a float
    Row sum{};
    for (int k = 0; k < 4; ++k)
        sum[k] = std::abs(point.x * m[0][k]) + std::abs(point.y * m[1][k]) +
                 std::abs(point.z * m[2][k]) + std::abs(m[3][k]);
    return Larger(Larger(sum[0], sum[1]), sum[2]) * kOffset;
}

V3f WorldNormal(const M44f& toWorld, const V3f& normal) {
    return Normalized(NormalTransform(toWorld)(normal), normal);
}

M44f TransformAt(const SceneData& scene, const Instance& instance, float time) {
    const M44f* const transforms = &scene.transforms[instance.firstTransform];
    if (instance.transformCount < 2) return transforms[0];
    const StepPosition at = PositionAmongSteps(instance.transformCount, time);
    return transforms[at.first] * (1 - at.share) + transforms[at.second] * at.share;
}

void CornersAt(const Mesh& mesh, Index triangle, float time, V3f corners[3]) {
    const Index* const index = &mesh.triangles[std::size_t(triangle) * 3];
    if (mesh.points.size() < 2) {
        for (std::size_t i = 0; i < 3; ++i)
            corners[i] = mesh.points[0][index[i]];
        return;
    }
    const StepPosition at = PositionAmongSteps(mesh.points.size(), time);
    for (std::size_t i = 0; i < 3; ++i) {
        const Index point = index[i];
        corners[i] = Mix(mesh.points[at.first][point], mesh.points[at.second][point], at.share);
    }
}

HitGeometry GeometryAt(const SceneData& scene, const Ray& ray, const RayHit& hit) {
    const Instance& instance = scene.instances[hit.instance];
    const Shape& shape = scene.shapes[instance.shape];
    const bool isStill = instance.transformCount < 2;
    M44f moved(Imath::UNINITIALIZED);
    if (!isStill) moved = TransformAt(scene, instance, ray.time);
    const M44f& toWorld = isStill ? scene.transforms[instance.firstTransform] : moved;
    if (shape.mesh.triangles.empty())
        return shape.curves.segments.empty()
                   ? SphereGeometryAt(shape.spheres, toWorld, hit, ray.time)
                   : CurveGeometryAt(shape.curves, toWorld, ray, hit);
    return MeshGeometryAt(shape.mesh, toWorld, hit, ray.time);
}

bool CoordinatesAt(const SceneData& scene, const RayHit& hit, const std::string& uvSet, V2f& st) {
    const Shape& shape = scene.shapes[scene.instances[hit.instance].shape];
    if (!shape.curves.segments.empty()) {
        st = CurveCoordinatesAt(shape.curves, hit, uvSet);
        return true;
    }
    if (shape.mesh.triangles.empty()) {
        const V3f outward = Normalized(hit.outward, V3f(0, 0, 1));
        st.x = 0.5f + std::atan2(outward.x, outward.z) / (2 * kPi);
        st.y = 0.5f + std::asin(std::max(-1.0f, std::min(outward.y, 1.0f))) / kPi;
        return true;
    }
    const UvSet* const set = FindSet(shape.mesh, uvSet);
    if (!set) return false;
    st = Between(CornerValuesOf(set->st, shape.mesh, hit.primitive), hit.u, hit.v);
    return true;
}

V3f ObjectPositionAt(const SceneData& scene, const RayHit& hit) {
    const Shape& shape = scene.shapes[scene.instances[hit.instance].shape];
    if (!shape.curves.segments.empty()) return CurvePointAt(shape.curves, hit, 0);
    if (shape.mesh.triangles.empty())
        return CenterAt(shape.spheres, hit.primitive, 0) +
               Normalized(hit.outward, V3f(0, 0, 1)) * shape.spheres.radii[hit.primitive];
    std::array<V3f, 3> corners;
    CornersAt(shape.mesh, hit.primitive, 0, corners.data());
    return Between(corners, hit.u, hit.v);
}

bool ColorAt(const SceneData& scene, const RayHit& hit, const std::string& colorSet,
             Imath::C4f& color) {
    const Shape& shape = scene.shapes[scene.instances[hit.instance].shape];
    if (!shape.curves.segments.empty()) return CurveColorAt(shape.curves, hit, colorSet, color);
    const bool isMesh = !shape.mesh.triangles.empty();
    const ColorSet* const set =
        FindSet(isMesh ? shape.mesh.colorSets : shape.spheres.colorSets, colorSet);
    if (!set) return false;
    color = isMesh ? Between(CornerValuesOf(set->colors, shape.mesh, hit.primitive), hit.u, hit.v)
                   : set->colors.values[hit.primitive];
    return true;
}

float CoordinateScaleAt(const SceneData& scene, const RayHit& hit, const std::string& uvSet) {
    const Instance& instance = scene.instances[hit.instance];
    const Shape& shape = scene.shapes[instance.shape];
    if (!shape.curves.segments.empty()) return 0;
    const M44f& toWorld = scene.transforms[instance.firstTransform];
    if (shape.mesh.triangles.empty()) {
        V3f across;
        toWorld.multDirMatrix(V3f(shape.spheres.radii[hit.primitive], 0, 0), across);
        const float radius = across.length();
        return radius > 0 ? 1 / (kPi * std::sqrt(2.0f) * radius) : 0;
    }
    const UvSet* const set = FindSet(shape.mesh, uvSet);
    if (!set) return 0;
    std::array<V3f, 3> corners;
    CornersAt(shape.mesh, hit.primitive, 0, corners.data());
    V3f edge1, edge2;
    toWorld.multDirMatrix(corners[1] - corners[0], edge1);
    toWorld.multDirMatrix(corners[2] - corners[0], edge2);
    const auto st = CornerValuesOf(set->st, shape.mesh, hit.primitive);
    const float ratio =
        std::abs((st[1] - st[0]).cross(st[2] - st[0])) / edge1.cross(edge2).length();
    return std::isfinite(ratio) ? std::sqrt(ratio) : 0;
}

bool TangentsAt(const SceneData& scene, const RayHit& hit, float time, const std::string& uvSet,
                const V3f& normal, V3f& alongS, V3f& alongT) {
    const Shape& shape = scene.shapes[scene.instances[hit.instance].shape];
    const Mesh& mesh = shape.mesh;
    const M44f toWorld = TransformAt(scene, scene.instances[hit.instance], time);
    if (!shape.curves.segments.empty()) {
        toWorld.multDirMatrix(CurveTangentAt(shape.curves, hit, time), alongT);
        alongS = alongT % normal;
        return alongS.length() > 0;
    }
    if (mesh.triangles.empty()) {
        V3f up;
        toWorld.multDirMatrix(V3f(0, 1, 0), up);
        alongS = up % normal;
        alongT = normal % alongS;
        return alongS.length() > 0;
    }
    const UvSet* const set = FindSet(mesh, uvSet);
    if (!set) return false;
    std::array<V3f, 3> corners;
    CornersAt(mesh, hit.primitive, time, corners.data());
    const auto st = CornerValuesOf(set->st, mesh, hit.primitive);
    const V2f one = st[1] - st[0], two = st[2] - st[0];
    const float area = one.x * two.y - one.y * two.x;
    if (area == 0 || !std::isfinite(area)) return false;
    const V3f edge1 = corners[1] - corners[0], edge2 = corners[2] - corners[0];
    toWorld.multDirMatrix((edge1 * two.y - edge2 * one.y) / area, alongS);
    toWorld.multDirMatrix((edge2 * one.x - edge1 * two.x) / area, alongT);
    return true;
}

} // namespace lantern
