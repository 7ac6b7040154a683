// CheckScene: everything in a scene of Assimp that its post-processing and our reader trust.

#include "AssimpContent.h"

#include <cstdint>
#include <limits>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <assimp/scene.h>

namespace TellarSceneImport {

namespace {

[[noreturn]] void Fail(const std::string& what) {
    throw std::runtime_error("damaged: " + what);
}

void CheckDeformation(const aiMesh& mesh) {
    for (unsigned i = 0; i < mesh.mNumBones; ++i) {
        const aiBone* bone = mesh.mBones[i];
        if (!bone || (bone->mNumWeights > 0 && !bone->mWeights)) Fail("a bone is missing");
        for (unsigned j = 0; j < bone->mNumWeights; ++j)
            if (bone->mWeights[j].mVertexId >= mesh.mNumVertices)
                Fail("a bone refers to a point that does not exist");
    }
    for (unsigned i = 0; i < mesh.mNumAnimMeshes; ++i)
        if (!mesh.mAnimMeshes[i] || mesh.mAnimMeshes[i]->mNumVertices != mesh.mNumVertices)
            Fail("a morph target does not fit its mesh");
}

void CheckFaces(const aiMesh& mesh) {
    std::int64_t total = 0;
    for (unsigned i = 0; i < mesh.mNumFaces; ++i) {
        const aiFace& face = mesh.mFaces[i];
        total += face.mNumIndices;
        for (unsigned j = 0; j < face.mNumIndices; ++j)
            if (face.mIndices[j] >= mesh.mNumVertices)
                Fail("a face refers to a point that does not exist");
    }
    if (total > std::numeric_limits<std::int32_t>::max() ||
        mesh.mNumVertices > std::numeric_limits<std::int32_t>::max() / 4)
        throw std::runtime_error("a mesh has too many points or faces");
}

void CheckMesh(const aiMesh& mesh, unsigned numberOfMaterials) {
    if ((mesh.mNumVertices > 0 && !mesh.mVertices) || (mesh.mNumFaces > 0 && !mesh.mFaces))
        Fail("a mesh lacks its points or faces");
    if (mesh.mMaterialIndex >= numberOfMaterials && numberOfMaterials > 0)
        Fail("a mesh refers to a material that does not exist");
    CheckDeformation(mesh);
    CheckFaces(mesh);
}

void CheckNode(const aiNode& node, const aiScene& scene) {
    for (unsigned i = 0; i < node.mNumMeshes; ++i)
        if (node.mMeshes[i] >= scene.mNumMeshes)
            Fail("a node refers to a mesh that does not exist");
    for (unsigned i = 0; i < node.mNumChildren; ++i)
        if (!node.mChildren[i]) Fail("a node is missing");
}

void CheckNodes(const aiScene& scene, int maxDepth) {
    std::vector<std::pair<const aiNode*, int>> pending = {{scene.mRootNode, 1}};
    while (!pending.empty()) {
        const auto [node, depth] = pending.back();
        pending.pop_back();
        if (depth > maxDepth)
            throw std::runtime_error("nodes are nested deeper than " + std::to_string(maxDepth));
        CheckNode(*node, scene);
        for (unsigned i = 0; i < node->mNumChildren; ++i)
            pending.emplace_back(node->mChildren[i], depth + 1);
    }
}

} // namespace

void CheckScene(const aiScene& scene, int maxDepth) {
    if (!scene.mRootNode) throw std::runtime_error("it holds no scene");
    for (unsigned i = 0; i < scene.mNumMeshes; ++i) {
        if (!scene.mMeshes[i]) Fail("a mesh is missing");
        CheckMesh(*scene.mMeshes[i], scene.mNumMaterials);
    }
    CheckNodes(scene, maxDepth);
}

} // namespace TellarSceneImport
