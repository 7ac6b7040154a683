#ifndef SCENEIMPORT_COLLADAOPACITY_H
#define SCENEIMPORT_COLLADAOPACITY_H

#include <string_view>

struct aiScene;

namespace TellarSceneImport {

/// Repairs the opacities of a Collada file whose exporter took a transparency of 0 for opaque. Such
/// a file is known by materials that would be invisible while none is said to be opaque: `content`
/// is its text.
void RepairColladaOpacity(const aiScene& scene, std::string_view content);

} // namespace TellarSceneImport

#endif
