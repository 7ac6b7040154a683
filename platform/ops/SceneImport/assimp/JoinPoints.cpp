#include "JoinPoints.h"

#include <map>
#include <vector>

#include <assimp/Importer.hpp>
#include <assimp/postprocess.h>
#include <assimp/scene.h>

namespace TellarSceneImport {

namespace {

using Values = std::vector<float>;

// Adds, for each point, the indices and weights of its bones.
void AddWeights(const aiMesh& mesh, std::vector<Values>& influences) {
    for (unsigned i = 0; i < mesh.mNumBones; ++i)
        for (unsigned j = 0; j < mesh.mBones[i]->mNumWeights; ++j) {
            const aiVertexWeight& weight = mesh.mBones[i]->mWeights[j];
            influences[weight.mVertexId].insert(influences[weight.mVertexId].end(),
                                                {static_cast<float>(i), weight.mWeight});
        }
}

// Adds, for each point, its positions in morph targets.
void AddTargets(const aiMesh& mesh, std::vector<Values>& influences) {
    for (unsigned i = 0; i < mesh.mNumAnimMeshes; ++i) {
        const aiAnimMesh& target = *mesh.mAnimMeshes[i];
        for (unsigned j = 0; target.HasPositions() && j < mesh.mNumVertices; ++j) {
            const aiVector3D& place = target.mVertices[j];
            influences[j].insert(influences[j].end(), {place.x, place.y, place.z});
        }
    }
}

// All values that determine how each point moves.
std::vector<Values> InfluencesOf(const aiMesh& mesh) {
    std::vector<Values> influences(mesh.mNumVertices);
    AddWeights(mesh, influences);
    AddTargets(mesh, influences);
    return influences;
}

// A temporary set of texture coordinates that differs between points that move differently. Assimp
// compares the values of points, but not their bones and morph targets.
class Marks {
public:
    explicit Marks(const aiScene& scene) {
        for (unsigned i = 0; i < scene.mNumMeshes; ++i)
            mark(*scene.mMeshes[i]);
    }
    ~Marks() {
        for (const Mark& mark : marks) {
            delete[] mark.mesh->mTextureCoords[mark.set];
            mark.mesh->mTextureCoords[mark.set] = nullptr;
        }
    }
    Marks(const Marks&) = delete;
    Marks& operator=(const Marks&) = delete;

private:
    struct Mark {
        aiMesh* mesh;
        unsigned set;
    };

    void mark(aiMesh& mesh) {
        const unsigned set = mesh.GetNumUVChannels();
        const bool isMoving = mesh.mNumBones > 0 || mesh.mNumAnimMeshes > 0;
        if (!isMoving || mesh.mNumVertices == 0 || set >= AI_MAX_NUMBER_OF_TEXTURECOORDS) return;
        std::map<Values, unsigned> numbers;
        auto* const coordinates = new aiVector3D[mesh.mNumVertices];
        mesh.mTextureCoords[set] = coordinates;
        marks.push_back({&mesh, set});
        const std::vector<Values> influences = InfluencesOf(mesh);
        for (unsigned i = 0; i < mesh.mNumVertices; ++i) {
            const auto next = static_cast<unsigned>(numbers.size());
            const unsigned number = numbers.emplace(influences[i], next).first->second;
            // Two numbers of 16 bits: a float holds whole numbers up to 24 bits only.
            coordinates[i].x = static_cast<float>(number & 0xffff);
            coordinates[i].y = static_cast<float>(number >> 16);
        }
    }

    std::vector<Mark> marks;
};

} // namespace

const aiScene* JoinPoints(Assimp::Importer& importer) {
    const Marks marks(*importer.GetScene());
    return importer.ApplyPostProcessing(aiProcess_JoinIdenticalVertices);
}

} // namespace TellarSceneImport
