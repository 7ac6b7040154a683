#ifndef SCENEIMPORT_MESHGEOMETRY_H
#define SCENEIMPORT_MESHGEOMETRY_H

#include <string>

#include <assimp/mesh.h>

#include <OxTellarSDK/Attribute.h>

#include "model/Space.h"

namespace TellarSceneImport {

/// The attributes that all locations of a mesh share.
struct MeshGeometry {
    /// "polymesh" or "pointcloud"; empty for a mesh that is not imported because it has only lines
    /// or no points.
    std::string type;
    OxAttribute::GroupAttribute geometry;
    Box bound;
};

/// The faces refer to existing points.
MeshGeometry MakeMeshGeometry(const aiMesh& mesh);

} // namespace TellarSceneImport

#endif
