#ifndef SCENEIMPORT_MATERIALS_H
#define SCENEIMPORT_MATERIALS_H

#include <OxTellarSDK/Attribute.h>

namespace TellarSceneImport {

class Document;

/// The "material" group of the location of a glTF material: one standard_surface node named
/// "surface", and an image node for each texture.
OxAttribute::GroupAttribute MakeGltfMaterial(const Document& document, int material);

} // namespace TellarSceneImport

#endif
