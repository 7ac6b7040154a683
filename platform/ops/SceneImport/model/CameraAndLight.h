#ifndef SCENEIMPORT_CAMERAANDLIGHT_H
#define SCENEIMPORT_CAMERAANDLIGHT_H

#include <array>
#include <string>

#include <OxTellarSDK/Attribute.h>

#include "Space.h"

namespace TellarSceneImport {

/// A camera of a scene file, whatever kind of file it came from.
struct ImportedCamera {
    double fieldOfView = 45.0; ///< horizontal, degrees; unused by an orthographic camera
    double nearClip = 0.1;
    double farClip = 1000.0;
    double aspect = 0.0;                ///< width / height; 0 when unknown
    double orthographicWidth = 0.0;     ///< whole width; 0 for a perspective camera
    Matrix aim = AimMatrix({}, {}, {}); ///< camera to node space; the camera looks down -Z
};

/// A light of a scene file, whatever kind of file it came from.
struct ImportedLight {
    std::string type = "point";             ///< or "directional", "spot", "ambient", "area"
    std::array<float, 3> color = {1, 1, 1}; ///< the largest component is 1
    float intensity = 1;
    std::array<float, 3> decay = {1, 0, 0}; ///< constant, linear, quadratic
    float coneInner = 0;                    ///< whole angles of a spot light, degrees
    float coneOuter = 0;
    std::array<float, 2> size = {0, 0}; ///< size of an area light
    float range = 0;                    ///< distance beyond which there is no light; 0: unlimited
    Matrix aim = AimMatrix({}, {}, {}); ///< light to node space; the light shines down -Z

    /// Splits a colour into hue and intensity.
    void setColor(float red, float green, float blue);
};

/// The "geometry" group of a camera location.
OxAttribute::GroupAttribute CameraGeometry(const ImportedCamera& camera);
/// The "light" group of a light location.
OxAttribute::GroupAttribute LightParameters(const ImportedLight& light);
/// The "material" group of a light location: a network of one light node.
OxAttribute::GroupAttribute LightNetwork(const ImportedLight& light);

} // namespace TellarSceneImport

#endif
