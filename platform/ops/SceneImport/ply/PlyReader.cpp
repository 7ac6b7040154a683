#include "PlyReader.h"

#include <string>

#include <OxTellarSDK/GroupBuilder.h>

#include "PlyMaterial.h"
#include "PlyMesh.h"
#include "model/PointValues.h"

namespace TellarSceneImport {

using OxAttribute::FloatAttribute;
using OxAttribute::GroupAttribute;
using OxAttribute::GroupBuilder;
using OxAttribute::IntAttribute;

namespace {

// Colours and texture coordinates of points come before those of faces and corners.
GroupAttribute ArbitraryAttributes(const PlyMesh& mesh) {
    GroupBuilder arbitrary;
    if (!mesh.colors.empty())
        arbitrary.set("color", ArbitraryValues("point", "color4", FloatAttribute(mesh.colors, 4)));
    else if (!mesh.faceColors.empty())
        arbitrary.set("color",
                      ArbitraryValues("face", "color4", FloatAttribute(mesh.faceColors, 4)));
    if (!mesh.st.empty())
        arbitrary.set("st", ArbitraryValues("point", "point2", FloatAttribute(mesh.st, 2)));
    else if (!mesh.cornerSt.empty())
        arbitrary.set("st", ArbitraryValues("vertex", "point2", FloatAttribute(mesh.cornerSt, 2)));
    return arbitrary.isEmpty() ? GroupAttribute() : arbitrary.build();
}

GroupAttribute Geometry(const PlyMesh& mesh) {
    GroupBuilder geometry;
    geometry.set("point.P", FloatAttribute(mesh.positions, 3));
    if (!mesh.normals.empty()) geometry.set("point.N", FloatAttribute(mesh.normals, 3));
    if (mesh.corners.empty()) {
        if (!mesh.widths.empty()) geometry.set("point.width", FloatAttribute(mesh.widths, 1));
    } else {
        geometry.set("poly.vertexList", IntAttribute(mesh.corners, 1));
        geometry.set("poly.startIndex", IntAttribute(mesh.starts, 1));
    }
    geometry.set("arbitrary", ArbitraryAttributes(mesh));
    return geometry.build();
}

bool HasColors(const PlyMesh& mesh) {
    return !mesh.colors.empty() || !mesh.faceColors.empty();
}

} // namespace

SceneContent ReadPly(std::string_view content) {
    const PlyMesh mesh = ReadPlyMesh(content);
    SceneContent result;
    ContentNode& node = result.nodes.emplace_back();
    if (mesh.positions.empty()) return result;
    node.shapes = {0};
    ContentShape& shape = result.shapes.emplace_back();
    shape.type = mesh.corners.empty() ? "pointcloud" : "polymesh";
    shape.geometry = Geometry(mesh);
    shape.bound = BoundOf(mesh.positions);
    if (!HasColors(mesh) && mesh.texture.empty()) return result;
    shape.material = 0;
    result.materials.push_back({"", MakePlyMaterial(mesh.texture, HasColors(mesh))});
    return result;
}

} // namespace TellarSceneImport
