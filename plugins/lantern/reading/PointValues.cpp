#include "reading/PointValues.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <optional>
#include <string>
#include <utility>

namespace lantern {

namespace {

bool IsFinite(const std::vector<float>& values) {
    return std::all_of(values.begin(), values.end(), [](float v) { return std::isfinite(v); });
}

std::vector<V3f> ToPoints(const std::vector<float>& values) {
    std::vector<V3f> points;
    points.reserve(values.size() / 3 + 1); // Embree takes vectors with such room as they are
    points.resize(values.size() / 3);
    for (std::size_t i = 0; i < points.size(); ++i)
        points[i] = V3f(values[3 * i], values[3 * i + 1], values[3 * i + 2]);
    return points;
}

/// " at the time 0.25" for an attribute that has several samples.
std::string AtTime(const Attribute& attribute, float time) {
    if (attribute.sampleCount() < 2) return {};
    char text[48];
    std::snprintf(text, sizeof text, " at the time %.9g", static_cast<double>(time));
    return text;
}

/// Returns nothing, after a warning, if the numbers cannot be points.
std::optional<std::vector<V3f>> ReadStep(const ShapeReader& reader, const Attribute& points,
                                         float time) {
    const std::vector<float> values = points.floatsAt(time);
    if (values.size() % 3 != 0 || values.size() / 3 >= kNone) {
        reader.warn("\"geometry.point.P\" has " + std::to_string(values.size()) +
                    " numbers, which are no points");
        return {};
    }
    if (!IsFinite(values)) {
        reader.warn("\"geometry.point.P\" has numbers that are not finite" + AtTime(points, time));
        return {};
    }
    return ToPoints(values);
}

/// Such shapes are drawn, because their transforms may make them smaller.
void WarnOfLargePoints(const ShapeReader& reader, const std::vector<V3f>& points) {
    constexpr float kLargest = 1e9f; // squares of the areas of larger triangles overflow
    const bool isLarge = std::any_of(points.begin(), points.end(), [](const V3f& point) {
        return std::max({std::abs(point.x), std::abs(point.y), std::abs(point.z)}) > kLargest;
    });
    if (isLarge)
        reader.warn("\"geometry.point.P\" has numbers of more than 1e9, with which shapes are "
                    "drawn wrong or not at all");
}

} // namespace

std::vector<std::vector<V3f>> ReadPositions(const ShapeReader& reader, const Attribute& geometry) {
    const Attribute points = geometry.child("point.P");
    if (!points.isNumeric()) {
        reader.warn("it has no \"geometry.point.P\"");
        return {};
    }
    int steps = CountSteps(reader.suites, points, reader.shutter);
    if (steps > 1 && !points.hasEqualSamples()) {
        reader.warn("the samples of \"geometry.point.P\" are not of one size; it does not move");
        steps = 1;
    }
    std::vector<std::vector<V3f>> positions;
    for (int step = 0; step < steps; ++step) {
        auto read = ReadStep(reader, points, reader.shutter.timeOf(step, steps));
        if (!read) return {};
        positions.push_back(std::move(*read));
    }
    WarnOfLargePoints(reader, positions[0]);
    const auto isSame = [&](const auto& step) { return step == positions[0]; };
    if (std::all_of(positions.begin(), positions.end(), isSame)) positions.resize(1);
    return positions;
}

bool ReadRadii(const ShapeReader& reader, const Attribute& geometry, std::size_t pointCount,
               std::vector<float>& radii) {
    radii.clear();
    for (const char* name : {"point.width", "constantWidth"}) {
        const std::vector<float> widths = geometry.child(name).floatsAt(reader.shutter.open);
        if (widths.size() != pointCount && widths.size() != 1) continue;
        for (const float width : widths) {
            if (!(width >= 0) || !std::isfinite(width)) {
                reader.warn("\"geometry." + std::string(name) +
                            "\" has widths that are negative or not finite");
                return false;
            }
            radii.push_back(width / 2);
        }
        return true;
    }
    return true;
}

} // namespace lantern
