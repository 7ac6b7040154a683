#ifndef SCENEIMPORT_PLYMATERIAL_H
#define SCENEIMPORT_PLYMATERIAL_H

#include <string>

#include <OxTellarSDK/Attribute.h>

namespace TellarSceneImport {

/// The "material" group of a diffuse white surface, whose colour comes from the texture, unless
/// that is empty, and from the colours of the mesh, if it has any.
OxAttribute::GroupAttribute MakePlyMaterial(const std::string& texture, bool hasColors);

} // namespace TellarSceneImport

#endif
