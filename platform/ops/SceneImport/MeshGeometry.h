#ifndef SCENEIMPORT_MESHGEOMETRY_H
#define SCENEIMPORT_MESHGEOMETRY_H

#include <string>

#include <assimp/mesh.h>

#include <OxTellarSDK/Attribute.h>

#include "Space.h"

namespace TellarSceneImport {

/// What a mesh's locations share, however many nodes show it.
struct MeshGeometry {
    /// "polymesh" or "pointcloud"; empty for a mesh that nothing is made of (lines).
    std::string type;
    OxAttribute::GroupAttribute geometry;
    Box bound;
};

/// `mesh` has vertices, and its faces refer to existing ones.
MeshGeometry MakeMeshGeometry(const aiMesh& mesh);

} // namespace TellarSceneImport

#endif
