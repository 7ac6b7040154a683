#ifndef SCENEIMPORT_COLLADAMORPH_H
#define SCENEIMPORT_COLLADAMORPH_H

#include <string>

namespace TellarSceneImport {

/// Removes the morph controllers of a Collada text, which Assimp does not read. References to them
/// become references to the meshes that they deform, which would be lost otherwise. Returns whether
/// there were any.
bool ShowMorphedMeshes(std::string& content);

} // namespace TellarSceneImport

#endif
