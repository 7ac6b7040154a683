#include "Studio.h"

#include <cmath>

namespace TellarTool {

namespace {

using namespace OxAttribute;
using Children = std::vector<GroupAttribute::Child>;
using Imath::M44d;
using Imath::V3d;

GroupAttribute Group(const Children& children) {
    return GroupAttribute(children, true);
}

DoubleAttribute Numbers(const std::vector<double>& numbers) {
    return DoubleAttribute(numbers, static_cast<std::int64_t>(numbers.size()));
}

GroupAttribute Location(const Children& attributes, const Children& children = {}) {
    Children location = {{"a", Group(attributes)}};
    if (!children.empty()) location.emplace_back("c", Group(children));
    return Group(location);
}

GroupAttribute MatrixTransform(const M44d& matrix) {
    const double* const values = matrix.getValue();
    return Group({{"matrix", Numbers(std::vector<double>(values, values + 16))}});
}

/// A transform that places a light, which shines down -Z.
M44d LookingAt(const V3d& target, const V3d& from) {
    const V3d back = (from - target).normalized();
    const V3d right = V3d(0, 1, 0).cross(back).normalized();
    const V3d up = back.cross(right);
    return {right.x, right.y, right.z, 0, up.x,   up.y,   up.z,   0,
            back.x,  back.y,  back.z,  0, from.x, from.y, from.z, 1};
}

GroupAttribute Environment() {
    return Location({{"type", StringAttribute("light")},
                     {"light", Group({{"type", StringAttribute("environment")},
                                      {"horizon", Numbers({0.5, 0.5, 0.51})},
                                      {"zenith", Numbers({0.8, 0.8, 0.82})},
                                      {"ground", Numbers({0.15, 0.15, 0.155})}})}});
}

/// A square light that shines at the middle of the framed points.
GroupAttribute SoftBox(const Framing& framing, const V3d& direction, double distance, double size,
                       double radiance) {
    const double radius = framing.getRadius();
    const V3d middle = framing.getBounds().min * 0.5 + framing.getBounds().max * 0.5;
    const V3d from = middle + direction.normalized() * (distance * radius);
    return Location({{"type", StringAttribute("light")},
                     {"xform", MatrixTransform(LookingAt(middle, from))},
                     {"light", Group({{"type", StringAttribute("area")},
                                      {"color", Numbers({1, 1, 1})},
                                      {"intensity", Numbers({radiance})},
                                      {"size", Numbers({size * radius, size * radius})}})}});
}

} // namespace

GroupAttribute CameraLocation(const FramingCamera& camera) {
    const GroupAttribute geometry = Group({{"fov", Numbers({camera.fov})},
                                           {"near", Numbers({camera.near})},
                                           {"far", Numbers({camera.far})},
                                           {"left", Numbers({-camera.halfWidth})},
                                           {"right", Numbers({camera.halfWidth})},
                                           {"top", Numbers({camera.halfHeight})},
                                           {"bottom", Numbers({-camera.halfHeight})},
                                           {"projection", StringAttribute("perspective")}});
    return Location({{"type", StringAttribute("camera")},
                     {"geometry", geometry},
                     {"xform", MatrixTransform(camera.toWorld)}});
}

GroupAttribute LightsLocation(const Framing& framing) {
    const GroupAttribute key = SoftBox(framing, {-0.55, 0.75, 0.75}, 4, 3, 1.7);
    const GroupAttribute rim = SoftBox(framing, {0.9, 0.5, -0.8}, 4, 2.5, 2);
    return Location({{"type", StringAttribute("group")}},
                    {{"environment", Environment()}, {"key", key}, {"rim", rim}});
}

GroupAttribute WorldLocation(const Children& children) {
    return Location(
        {{"type", StringAttribute("group")}, {"xform", Group({{"origin", IntAttribute(1)}})}},
        children);
}

} // namespace TellarTool
