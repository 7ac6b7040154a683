#ifndef SCENEIMPORT_MESHGEOMETRY_H
#define SCENEIMPORT_MESHGEOMETRY_H

#include <string>

#include <assimp/mesh.h>

#include <OxTellarSDK/Attribute.h>

#include "Space.h"

namespace TellarSceneImport {

/// What a mesh's locations share, however many nodes show it.
struct MeshGeometry {
    /// "polymesh" or "pointcloud"; empty for a mesh that nothing is made of: lines, or
    /// no points at all.
    std::string type;
    OxAttribute::GroupAttribute geometry;
    Box bound;
};

/// The faces refer to existing points.
MeshGeometry MakeMeshGeometry(const aiMesh& mesh);

} // namespace TellarSceneImport

#endif
