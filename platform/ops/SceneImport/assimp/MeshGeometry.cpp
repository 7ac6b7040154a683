#include "MeshGeometry.h"

#include <cstdint>
#include <vector>

#include <OxTellarSDK/GroupBuilder.h>

#include "model/PointValues.h"

namespace TellarSceneImport {

using OxAttribute::FloatAttribute;
using OxAttribute::GroupAttribute;
using OxAttribute::GroupBuilder;
using OxAttribute::IntAttribute;

namespace {

static_assert(sizeof(aiVector3D) == 3 * sizeof(float), "Assimp's points are copied as floats");
static_assert(sizeof(aiColor4D) == 4 * sizeof(float), "Assimp's colours are copied as floats");

FloatAttribute ToVectors(const aiVector3D* values, unsigned count) {
    return FloatAttribute(&values->x, std::int64_t(count) * 3, 3);
}

FloatAttribute ToTextureCoordinates(const aiVector3D* values, unsigned count) {
    std::vector<float> st;
    st.reserve(std::size_t(count) * 2);
    for (unsigned i = 0; i < count; ++i) {
        st.push_back(values[i].x);
        st.push_back(values[i].y);
    }
    return FloatAttribute(st, 2);
}

// "st", "st1", "st2", ...
std::string Numbered(const char* name, unsigned set) {
    return set == 0 ? name : name + std::to_string(set);
}

GroupAttribute ArbitraryAttributes(const aiMesh& mesh) {
    GroupBuilder arbitrary;
    for (unsigned set = 0; set < mesh.GetNumUVChannels(); ++set)
        arbitrary.set(
            Numbered("st", set),
            ArbitraryValues("point", "point2",
                            ToTextureCoordinates(mesh.mTextureCoords[set], mesh.mNumVertices)));
    for (unsigned set = 0; set < mesh.GetNumColorChannels(); ++set)
        arbitrary.set(Numbered("color", set),
                      ArbitraryValues("point", "color4",
                                      FloatAttribute(&mesh.mColors[set]->r,
                                                     std::int64_t(mesh.mNumVertices) * 4, 4)));
    return arbitrary.isEmpty() ? GroupAttribute() : arbitrary.build();
}

// Invalid when no face is a polygon. Single points and lines are ignored.
GroupAttribute Polygons(const aiMesh& mesh) {
    std::vector<std::int32_t> vertexList, startIndex = {0};
    for (unsigned i = 0; i < mesh.mNumFaces; ++i) {
        const aiFace& face = mesh.mFaces[i];
        if (face.mNumIndices < 3) continue;
        vertexList.insert(vertexList.end(), face.mIndices, face.mIndices + face.mNumIndices);
        startIndex.push_back(static_cast<std::int32_t>(vertexList.size()));
    }
    if (vertexList.empty()) return {};
    GroupBuilder poly;
    poly.set("vertexList", IntAttribute(vertexList, 1));
    poly.set("startIndex", IntAttribute(startIndex, 1));
    return poly.build();
}

bool HasLines(const aiMesh& mesh) {
    for (unsigned i = 0; i < mesh.mNumFaces; ++i)
        if (mesh.mFaces[i].mNumIndices == 2) return true;
    return false;
}

} // namespace

MeshGeometry MakeMeshGeometry(const aiMesh& mesh) {
    MeshGeometry result;
    const GroupAttribute poly = Polygons(mesh);
    if (mesh.mNumVertices == 0 || (!poly.isValid() && HasLines(mesh))) return result;
    result.type = poly.isValid() ? "polymesh" : "pointcloud";
    result.bound = BoundOf(&mesh.mVertices->x, mesh.mNumVertices);

    GroupBuilder geometry;
    geometry.set("point.P", ToVectors(mesh.mVertices, mesh.mNumVertices));
    if (mesh.HasNormals()) geometry.set("point.N", ToVectors(mesh.mNormals, mesh.mNumVertices));
    geometry.set("poly", poly);
    geometry.set("arbitrary", ArbitraryAttributes(mesh));
    result.geometry = geometry.build();
    return result;
}

} // namespace TellarSceneImport
