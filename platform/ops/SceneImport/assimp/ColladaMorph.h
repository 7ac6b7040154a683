#ifndef SCENEIMPORT_COLLADAMORPH_H
#define SCENEIMPORT_COLLADAMORPH_H

#include <string>

namespace TellarSceneImport {

/// Removes the morph controllers of a Collada text, and replaces references to them by ones to the
/// meshes that they deform: Assimp does not read such a controller, and loses its mesh. Returns
/// whether there are any.
bool ShowMorphedMeshes(std::string& content);

} // namespace TellarSceneImport

#endif
