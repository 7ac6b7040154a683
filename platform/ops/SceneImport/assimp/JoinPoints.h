#ifndef SCENEIMPORT_JOINPOINTS_H
#define SCENEIMPORT_JOINPOINTS_H

struct aiScene;

namespace Assimp {
class Importer;
}

namespace TellarSceneImport {

/// Joins the points of each mesh of the importer's scene that have equal values, and that move
/// together if the mesh has bones or morph targets. Call CheckScene() before. Returns null if
/// Assimp fails.
const aiScene* JoinPoints(Assimp::Importer& importer);

} // namespace TellarSceneImport

#endif
