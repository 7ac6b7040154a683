#include "SceneSurvey.h"

#include <algorithm>
#include <array>
#include <utility>

#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/XFormUtil.h>

namespace TellarTool {

namespace {

using namespace OxAttribute;
using Imath::V3d;
using TELLAR::GeometryProducer;
using Ptr = GeometryProducer::Ptr;

/// The number of points after which bounds are used in their place.
constexpr std::int64_t kMostPoints = 20000000;

/// x min, x max, y min, y max, z min, z max.
using Bound = std::array<double, 6>;

std::array<V3d, 8> CornersOf(const Bound& bound) {
    std::array<V3d, 8> corners;
    for (std::size_t i = 0; i < corners.size(); ++i)
        corners[i] = V3d(bound[i & 1], bound[2 + (i >> 1 & 1)], bound[4 + (i >> 2 & 1)]);
    return corners;
}

/// The first numbers of an attribute at a time. False when it has fewer.
template <typename Numbers, typename T>
bool ReadAt(const Numbers& attribute, float time, T* values, std::int64_t count) {
    if (!attribute.isValid() || attribute.getNumberOfValues() < count) return false;
    attribute.fillInterpSample(values, count, time);
    return true;
}

template <typename Numbers, typename T>
std::vector<V3d> PointsIn(const Numbers& attribute, float time, T /*zero*/) {
    const std::int64_t count = attribute.getNumberOfValues() / 3 * 3;
    std::vector<T> values(static_cast<std::size_t>(count));
    std::vector<V3d> points;
    if (count == 0 || !ReadAt(attribute, time, values.data(), count)) return points;
    points.reserve(values.size() / 3);
    for (std::size_t i = 0; i < values.size(); i += 3)
        points.emplace_back(double(values[i]), double(values[i + 1]), double(values[i + 2]));
    return points;
}

std::vector<V3d> PointsIn(const Attribute& attribute, float time) {
    const FloatAttribute floats(attribute);
    return floats.isValid() ? PointsIn(floats, time, 0.0f)
                            : PointsIn(DoubleAttribute(attribute), time, 0.0);
}

/// The largest number of the attribute at that time; 0 if there is none.
template <typename Numbers, typename T>
double LargestIn(const Numbers& attribute, float time, T /*zero*/) {
    const std::int64_t count = attribute.isValid() ? attribute.getNumberOfValues() : 0;
    std::vector<T> values(static_cast<std::size_t>(count));
    if (count == 0 || !ReadAt(attribute, time, values.data(), count)) return 0;
    return double(*std::max_element(values.begin(), values.end()));
}

/// The largest radius of the points of a cloud or of curves; 0 if they have no widths.
double RadiusAround(GeometryProducer& location, const std::string& type, float time) {
    if (type != "pointcloud" && type != "curves") return 0;
    for (const char* const name : {"geometry.point.width", "geometry.constantWidth"}) {
        const Attribute widths = location.getAttribute(name);
        const double largest = std::max(LargestIn(FloatAttribute(widths), time, 0.0f),
                                        LargestIn(DoubleAttribute(widths), time, 0.0));
        if (largest > 0) return largest / 2;
    }
    return 0;
}

double LargestScale(const Imath::M44d& matrix) {
    double largest = 0;
    for (int row = 0; row < 3; ++row)
        largest = std::max(largest, V3d(matrix[row][0], matrix[row][1], matrix[row][2]).length());
    return largest;
}

bool IsHidden(GeometryProducer& location) {
    const IntAttribute visible(location.getAttribute("visible"));
    return visible.isValid() && visible.getValue(1, false) == 0;
}

class Surveyor {
public:
    Surveyor(const std::vector<float>& times, Framing* framing) : times(times), framing(framing) {}

    void visit(GeometryProducer& location, bool isLeaf) {
        const std::string type = location.getType();
        if (type == "camera") survey.cameras.push_back(location.getFullName());
        if (type == "light") ++survey.lights;
        if (type == "camera" || type == "light" || type == "material" || type == "faceset") return;
        if (framing) addShape(location, type, isLeaf);
    }

    const SceneSurvey& getSurvey() const { return survey; }

private:
    void addShape(GeometryProducer& location, const std::string& type, bool isLeaf) {
        const Attribute points = location.getAttribute("geometry.point.P");
        const FloatAttribute floats(points);
        const DoubleAttribute doubles(points);
        const DataAttribute& data =
            floats.isValid() ? static_cast<const DataAttribute&>(floats) : doubles;
        const bool hasPoints = data.getNumberOfValues() > 0;
        if (!hasPoints && !isLeaf && type != "sphere") return;
        const bool isMoving = data.getNumberOfTimeSamples() > 1;
        const DoubleAttribute bound(location.getAttribute("bound"));
        const bool usesPoints = hasPoints && (isMoving || !bound.isValid() || left > 0);
        const GroupAttribute transforms = location.getGlobalXFormGroup();
        for (const float time : times)
            add(usesPoints ? PointsIn(points, time) : boundOf(location, type, bound, time),
                RadiusAround(location, type, time), transforms, time);
    }

    /// The corners of the bound. Empty when the location has none and is not a sphere.
    std::vector<V3d> boundOf(GeometryProducer& location, const std::string& type,
                             const DoubleAttribute& attribute, float time) const {
        Bound bound{};
        if (!ReadAt(attribute, time, bound.data(), 6)) {
            if (type != "sphere") return {};
            const double r = radiusOf(location);
            bound = {-r, r, -r, r, -r, r};
        }
        const bool isEmpty = bound[0] > bound[1] || bound[2] > bound[3] || bound[4] > bound[5];
        if (isEmpty) return {};
        const auto corners = CornersOf(bound);
        return {corners.begin(), corners.end()};
    }

    static double radiusOf(GeometryProducer& location) {
        const Attribute radius = location.getAttribute("geometry.radius");
        if (const FloatAttribute floats(radius); floats.isValid())
            return double(floats.getValue(1, false));
        if (const IntAttribute ints(radius); ints.isValid()) return ints.getValue(1, false);
        return DoubleAttribute(radius).getValue(1, false);
    }

    void add(const std::vector<V3d>& points, double radius, const GroupAttribute& transforms,
             float time) {
        Imath::M44d toWorld;
        const DoubleAttribute matrix =
            OxXFormUtil::CalcTransformMatrixAtTime(transforms, time).first;
        if (matrix.isValid()) matrix.fillInterpSample(toWorld.getValue(), 16, time);
        const double radiusInWorld = radius > 0 ? radius * LargestScale(toWorld) : 0;
        for (const V3d& point : points)
            framing->add(point * toWorld, radiusInWorld);
        left -= static_cast<std::int64_t>(points.size());
    }

    const std::vector<float> times;
    Framing* const framing;
    std::int64_t left = kMostPoints;
    SceneSurvey survey;
};

/// Calls `visit` with each visible location, and with whether it has no children, until it returns
/// false.
template <typename Visit>
void WalkVisible(const Ptr& root, Visit visit) {
    // A stack of its own, because scenes can be nested deeper than calls.
    std::vector<Ptr> waiting = {root};
    while (!waiting.empty()) {
        const Ptr location = std::move(waiting.back());
        waiting.pop_back();
        if (location != root) {
            if (Ptr sibling = location->getNextSibling()) waiting.push_back(std::move(sibling));
        }
        if (IsHidden(*location)) continue;
        Ptr child = location->getFirstChild();
        if (!visit(*location, !child)) return;
        if (child) waiting.push_back(std::move(child));
    }
}

} // namespace

SceneSurvey SurveyScene(const Ptr& root, const std::vector<float>& times, Framing* framing) {
    Surveyor surveyor(times, framing);
    WalkVisible(root, [&surveyor](GeometryProducer& location, bool isLeaf) {
        surveyor.visit(location, isLeaf);
        return true;
    });
    return surveyor.getSurvey();
}

SceneSurvey FindFirstCameraAndLight(const Ptr& root) {
    Surveyor surveyor({}, nullptr);
    WalkVisible(root, [&surveyor](GeometryProducer& location, bool isLeaf) {
        surveyor.visit(location, isLeaf);
        return surveyor.getSurvey().cameras.empty() || surveyor.getSurvey().lights == 0;
    });
    return surveyor.getSurvey();
}

} // namespace TellarTool
