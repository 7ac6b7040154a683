#include "drawing/HitGeometry.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "drawing/CurveGeometry.h"
#include "drawing/Numbers.h"

namespace lantern {
namespace {

/// Transforms normals by the cofactor matrix, which also holds for mirroring transforms. The result
/// is not normalized.
class NormalTransform {
public:
    explicit NormalTransform(const M44f& m) {
        const V3f x(m[0][0], m[0][1], m[0][2]);
        const V3f y(m[1][0], m[1][1], m[1][2]);
        const V3f z(m[2][0], m[2][1], m[2][2]);
        yz = y % z;
        zx = z % x;
        xy = x % y;
        if ((x ^ yz) < 0) {
            yz = -yz;
            zx = -zx;
            xy = -xy;
        }
    }
    V3f operator()(const V3f& n) const { return yz * n.x + zx * n.y + xy * n.z; }

private:
    V3f yz, zx, xy;
};

/// The point times an affine matrix, without the division of Imath's operator.
V3f ToWorld(const V3f& p, const M44f& m) {
    return {p.x * m[0][0] + p.y * m[1][0] + p.z * m[2][0] + m[3][0],
            p.x * m[0][1] + p.y * m[1][1] + p.z * m[2][1] + m[3][1],
            p.x * m[0][2] + p.y * m[1][2] + p.z * m[2][2] + m[3][2]};
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

HitGeometry MeshGeometryAt(const Mesh& mesh, const M44f& toWorld, const RayHit& hit, float time) {
    std::array<V3f, 3> corners;
    CornersAt(mesh, hit.primitive, time, corners.data());
    const V3f local = Between(corners, hit.u, hit.v);
    const NormalTransform normals(toWorld);
    HitGeometry result;
    result.position = ToWorld(local, toWorld);
    const V3f cross = (corners[1] - corners[0]) % (corners[2] - corners[0]);
    result.normal = Normalized(normals(Normalized(cross, V3f(0, 0, 1))), V3f(0, 0, 1));
    result.shadingNormal = result.normal;
    if (!mesh.normals.values.empty()) {
        const auto given = CornerValuesOf(mesh.normals, mesh, hit.primitive);
        result.shadingNormal = Normalized(normals(Between(given, hit.u, hit.v)), result.normal);
    }
    V3f extent(0);
    for (const V3f& corner : corners)
        for (int k = 0; k < 3; ++k)
            extent[k] = std::max(extent[k], std::abs(corner[k]));
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
    float largest = 0;
    for (int k = 0; k < 3; ++k) {
        const float sum = std::abs(point.x * m[0][k]) + std::abs(point.y * m[1][k]) +
                          std::abs(point.z * m[2][k]) + std::abs(m[3][k]);
        largest = std::max(largest, sum);
    }
    return largest * kOffset;
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
    const M44f toWorld = TransformAt(scene, instance, ray.time);
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
