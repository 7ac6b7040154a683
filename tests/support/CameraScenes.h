#ifndef TELLAR_TEST_CAMERASCENES_H
#define TELLAR_TEST_CAMERASCENES_H

#include <string>
#include <utility>

#include <gtest/gtest.h>

#include <OxTellarProducers/CameraInfo.h>

#include "ProducerHelpers.h"
#include "SceneBuilders.h"

/// Scenes of one camera at /root/world/cam/camera.
namespace TellarTest {

inline OxAttribute::Attribute Double(double value) {
    return OxAttribute::DoubleAttribute(value);
}

/// fov 90, near 1, far 101, window -1 to 1 both ways.
inline Children UnitLens() {
    return {{"fov", Double(90)},  {"near", Double(1)}, {"far", Double(101)},  {"left", Double(-1)},
            {"right", Double(1)}, {"top", Double(1)},  {"bottom", Double(-1)}};
}

/// The children after one of them was set. An invalid attribute removes the child.
inline Children With(Children children, const std::string& name,
                     const OxAttribute::Attribute& value) {
    Children result;
    bool isThere = false;
    for (auto& child : children) {
        const bool isIt = child.first == name;
        isThere = isThere || isIt;
        if (isIt) child.second = value;
        if (child.second.isValid()) result.push_back(std::move(child));
    }
    if (!isThere && value.isValid()) result.emplace_back(name, value);
    return result;
}

inline Children Without(Children children, const std::string& name) {
    return With(std::move(children), name, {});
}

/// An "xform" group that moves by x, y, z.
inline OxAttribute::GroupAttribute Translation(double x, double y, double z) {
    return Group({{"translate", OxAttribute::DoubleAttribute({x, y, z}, 3)}});
}

/// The attributes of a camera location.
inline Children CameraAttrs(const Children& lens) {
    return {{"type", Text("camera")}, {"geometry", Group(lens)}};
}

/// A root with attributes, the camera, and a location /root/world/geo.
inline OxAttribute::GroupAttribute CameraScene(const Children& cameraAttrs,
                                               const Children& geoAttrs = {},
                                               const Children& rootAttrs = {}) {
    const auto cam = Location({}, {{"camera", Location(cameraAttrs)}});
    return Location(rootAttrs,
                    {{"world", Location({}, {{"cam", cam}, {"geo", Location(geoAttrs)}})}});
}

constexpr const char* kCamera = "/root/world/cam/camera";
constexpr const char* kGeo = "/root/world/geo";

/// Tests that start without cameras that the process remembers from earlier ones.
class WithoutKnownCameras : public testing::Test {
protected:
    void SetUp() override { TELLAR::ClearCameraInfoCache(); }
};

} // namespace TellarTest

#endif
