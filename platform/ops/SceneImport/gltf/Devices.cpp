#include "Devices.h"

#include <cmath>

#include "TinyGltf.h"

namespace TellarSceneImport {

namespace {

constexpr double kDegrees = 180.0 / 3.14159265358979323846;

// For a camera that sees infinitely far.
constexpr double kEndlessFarClip = 1e6;

ImportedCamera ReadOrthographic(const tinygltf::OrthographicCamera& lens) {
    ImportedCamera camera;
    camera.nearClip = lens.znear;
    camera.farClip = lens.zfar > 0.0 ? lens.zfar : kEndlessFarClip;
    camera.orthographicWidth = 2.0 * std::abs(lens.xmag);
    camera.aspect = lens.ymag != 0.0 ? std::abs(lens.xmag / lens.ymag) : 0.0;
    return camera;
}

ImportedCamera ReadPerspective(const tinygltf::PerspectiveCamera& lens) {
    ImportedCamera camera;
    camera.nearClip = lens.znear;
    camera.farClip = lens.zfar > 0.0 ? lens.zfar : kEndlessFarClip;
    camera.aspect = lens.aspectRatio;
    const double aspect = camera.aspect > 0.0 ? camera.aspect : 1.0;
    camera.fieldOfView = 2.0 * std::atan(std::tan(lens.yfov / 2.0) * aspect) * kDegrees;
    return camera;
}

void SetColor(const std::vector<double>& color, ImportedLight& light) {
    float rgb[3] = {1, 1, 1};
    for (std::size_t i = 0; i < color.size() && i < 3; ++i)
        rgb[i] = static_cast<float>(color[i]);
    light.setColor(rgb[0], rgb[1], rgb[2]);
}

} // namespace

ImportedCamera ReadCamera(const tinygltf::Camera& source) {
    return source.type == "orthographic" ? ReadOrthographic(source.orthographic)
                                         : ReadPerspective(source.perspective);
}

ImportedLight ReadLight(const tinygltf::Light& source) {
    ImportedLight light;
    if (source.type == "directional" || source.type == "spot") light.type = source.type;
    if (light.type != "directional") light.decay = {0, 0, 1};
    SetColor(source.color, light);
    light.intensity *= static_cast<float>(source.intensity);
    light.range = static_cast<float>(source.range);
    if (light.type == "spot") {
        // The file holds the angles between axis and cone.
        light.coneInner = static_cast<float>(2.0 * source.spot.innerConeAngle * kDegrees);
        light.coneOuter = static_cast<float>(2.0 * source.spot.outerConeAngle * kDegrees);
    }
    return light;
}

std::vector<ContentDevice> DevicesOf(const tinygltf::Node& node) {
    std::vector<ContentDevice> devices;
    if (node.camera >= 0)
        devices.push_back(
            {ContentDevice::Kind::Camera, static_cast<std::uint32_t>(node.camera), ""});
    const auto lights = node.extensions.find("KHR_lights_punctual");
    if (lights != node.extensions.end() && lights->second.Has("light"))
        devices.push_back({ContentDevice::Kind::Light,
                           static_cast<std::uint32_t>(lights->second.Get("light").GetNumberAsInt()),
                           ""});
    return devices;
}

} // namespace TellarSceneImport
