#include "reading/ReadSpheres.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

#include <Imath/ImathBox.h>

#include "reading/PointValues.h"
#include "reading/UvValues.h"

namespace lantern {

namespace {

constexpr float kLonePointRadius = 0.01f;
constexpr float kDefaultSphereRadius = 1;
constexpr std::size_t kNeighbours = 6;
constexpr float kFewestAcross = 10; // diameters of points along the diagonal of their box
constexpr std::size_t kLeastSamples = 16;
constexpr std::size_t kMostSamples = 256;
constexpr std::size_t kMostDistances = std::size_t(1) << 29;

/// The smallest different squared distances so far, ascending.
class Nearest {
public:
    Nearest() { squares.fill(std::numeric_limits<float>::infinity()); }

    void add(float square) {
        if (!(square < squares.back()) || !(square > 0)) return;
        auto place = std::upper_bound(squares.begin(), squares.end(), square);
        std::copy_backward(place, squares.end() - 1, squares.end());
        *place = square;
    }
    /// The largest of them; 0 if there is none.
    float last() const {
        const auto end = std::find_if_not(squares.begin(), squares.end(),
                                          [](float square) { return std::isfinite(square); });
        return end == squares.begin() ? 0 : *(end - 1);
    }

private:
    std::array<float, kNeighbours> squares;
};

float DistanceToNeighbours(const std::vector<V3f>& points, const V3f& from) {
    Nearest nearest;
    for (const V3f& point : points)
        nearest.add((point - from).length2());
    return std::sqrt(nearest.last());
}

/// Reads one color per point, or one for all.
void ReadColorSets(const ShapeReader& reader, const Attribute& geometry, Spheres& spheres) {
    const std::size_t count = spheres.centers[0].size();
    const Attribute arbitrary = geometry.child("arbitrary");
    for (std::int64_t i = 0; i < arbitrary.childCount(); ++i) {
        const std::string name = arbitrary.childName(i);
        const Attribute set = arbitrary.childAt(i);
        if (!set.isGroup() || !IsColorSet(name, set)) continue;
        const bool isForAll = ReadScope(set) == Scope::Primitive;
        const auto colors = ReadIndexedColors(set, isForAll ? 1 : count, reader.shutter.open);
        if (!colors) {
            reader.warn("\"geometry.arbitrary." + name +
                        "\" does not fit the points; it is left out");
            continue;
        }
        ColorSet& own = spheres.colorSets.emplace_back();
        own.name = name;
        for (std::size_t point = 0; point < count; ++point)
            own.colors.values.push_back((*colors)[isForAll ? 0 : point]);
    }
}

} // namespace

float TypicalSpacing(const std::vector<V3f>& points) {
    if (points.empty()) return 0;
    const std::size_t samples = std::min(
        points.size(), std::clamp(kMostDistances / points.size(), kLeastSamples, kMostSamples));
    std::vector<float> distances;
    for (std::size_t i = 0; i < samples; ++i)
        distances.push_back(DistanceToNeighbours(points, points[points.size() * i / samples]));
    const auto middle = distances.begin() + static_cast<std::ptrdiff_t>(distances.size() / 2);
    std::nth_element(distances.begin(), middle, distances.end());
    return *middle;
}

float PointDiameter(const std::vector<V3f>& points) {
    Imath::Box3f box;
    for (const V3f& point : points)
        box.extendBy(point);
    return std::min(TypicalSpacing(points), box.size().length() / kFewestAcross);
}

std::optional<Spheres> ReadPoints(const ShapeReader& reader, const Attribute& geometry) {
    Spheres spheres;
    spheres.centers = ReadPositions(reader, geometry);
    if (spheres.centers.empty() || spheres.centers[0].empty()) return {};
    const std::size_t count = spheres.centers[0].size();
    if (!ReadRadii(reader, geometry, count, spheres.radii)) return {};
    if (spheres.radii.empty()) {
        const float radius = PointDiameter(spheres.centers[0]) / 2;
        const bool isUsable = radius > 0 && std::isfinite(radius);
        spheres.radii.assign(1, isUsable ? radius : kLonePointRadius);
    }
    if (spheres.radii.size() != count) spheres.radii.assign(count, float(spheres.radii[0]));
    ReadColorSets(reader, geometry, spheres);
    return spheres;
}

std::optional<Spheres> ReadSphere(const ShapeReader& reader, const Attribute& geometry) {
    double radius = kDefaultSphereRadius;
    geometry.child("radius").read(&radius, 1, reader.shutter.open);
    Spheres spheres;
    spheres.centers = {{V3f(0)}};
    spheres.radii = {static_cast<float>(radius)};
    if (spheres.radii[0] >= 0 && std::isfinite(spheres.radii[0])) return spheres;
    reader.warn("\"geometry.radius\" is negative or not finite");
    return {};
}

} // namespace lantern
