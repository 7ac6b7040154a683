#include "AssimpContent.h"

#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include <OxTellarSDK/GroupBuilder.h>

#include <assimp/scene.h>

#include "AssimpDeformation.h"
#include "AssimpParts.h"
#include "MaterialNetwork.h"
#include "MeshGeometry.h"
#include "motion/AnimationChoice.h"

namespace TellarSceneImport {

namespace {

// The material of a surface whose colour is that of its points.
OxAttribute::GroupAttribute ShowColors(const OxAttribute::GroupAttribute& network) {
    const OxAttribute::FloatAttribute white({1, 1, 1}, 3);
    OxAttribute::GroupBuilder shown;
    shown.update(network);
    shown.set("nodes.surface.parameters.baseColor", white);
    shown.set("parameters.baseColor", white);
    shown.set("nodes.surface.parameters.vertexColor", OxAttribute::IntAttribute(1));
    return shown.build();
}

class ContentReader {
public:
    ContentReader(const aiScene& scene, const std::string& animation, const std::string& path)
        : scene(scene), animation(animation), path(path) {}

    SceneContent read();

private:
    void readNodes();
    void readMaterials();
    void readImages();
    void readMeshes();
    std::vector<const aiAnimation*> chosenAnimations() const;
    void readMotions(const std::vector<const aiAnimation*>& animations);
    void readMotions(const aiAnimation& source);
    void readDevices();
    int nodeOfName(const aiString& name) const;
    void addDevice(ContentDevice device, const aiString& nodeName);

    const aiScene& scene;
    const std::string& animation;
    const std::string& path;
    SceneContent content;
    std::vector<const aiNode*> sources;               // the source of each of content.nodes
    std::unordered_map<std::string, int> nodesByName; // the first of each name
    std::vector<int> materialIndices; // index of each Assimp material; -1 if left out
};

void ContentReader::readNodes() {
    sources.push_back(scene.mRootNode);
    content.nodes.emplace_back();
    for (std::size_t i = 0; i < sources.size(); ++i) {
        const aiNode& source = *sources[i];
        ContentNode& node = content.nodes[i];
        node.name = source.mName.C_Str();
        nodesByName.emplace(node.name, static_cast<int>(i));
        node.matrix = ToMatrix(source.mTransformation);
        node.shapes.assign(source.mMeshes, source.mMeshes + source.mNumMeshes);
        for (unsigned child = 0; child < source.mNumChildren; ++child) {
            sources.push_back(source.mChildren[child]);
            content.nodes.emplace_back().parent = static_cast<std::uint32_t>(i);
        }
    }
}

// Importers add a material for meshes that have none. It is left out if no mesh uses it.
void ContentReader::readMaterials() {
    std::vector<bool> isUsed(scene.mNumMaterials, false), hasColors(scene.mNumMaterials, false);
    for (unsigned i = 0; i < scene.mNumMeshes && scene.mNumMaterials > 0; ++i) {
        const aiMesh& mesh = *scene.mMeshes[i];
        isUsed[mesh.mMaterialIndex] = true;
        if (mesh.HasVertexColors(0)) hasColors[mesh.mMaterialIndex] = true;
    }

    for (unsigned i = 0; i < scene.mNumMaterials; ++i) {
        aiMaterial& material = *scene.mMaterials[i];
        const std::string name = material.GetName().C_Str();
        const bool isMadeUp = name.empty() || name == AI_DEFAULT_MATERIAL_NAME;
        const bool isLeftOut = isMadeUp && !isUsed[i];
        materialIndices.push_back(isLeftOut ? -1 : static_cast<int>(content.materials.size()));
        if (isLeftOut) continue;
        const bool showsColors = isMadeUp && hasColors[i];
        const auto network = MakeMaterialNetwork(material, scene);
        content.materials.push_back({name, showsColors ? ShowColors(network) : network});
    }
}

void ContentReader::readImages() {
    for (unsigned i = 0; i < scene.mNumTextures; ++i)
        content.images.push_back(ImageOf(*scene.mTextures[i]));
}

void ContentReader::readMeshes() {
    for (unsigned i = 0; i < scene.mNumMeshes; ++i) {
        const aiMesh& mesh = *scene.mMeshes[i];
        MeshGeometry geometry = MakeMeshGeometry(mesh);
        ContentShape& shape = content.shapes.emplace_back();
        shape.name = mesh.mName.C_Str();
        shape.type = geometry.type;
        shape.geometry = geometry.geometry;
        shape.bound = geometry.bound;
        if (!materialIndices.empty()) shape.material = materialIndices[mesh.mMaterialIndex];
    }
}

// Returns -1 when there is none.
int ContentReader::nodeOfName(const aiString& name) const {
    const auto found = nodesByName.find(name.C_Str());
    return found == nodesByName.end() ? -1 : found->second;
}

std::vector<const aiAnimation*> ContentReader::chosenAnimations() const {
    std::vector<std::string> names;
    for (unsigned i = 0; i < scene.mNumAnimations; ++i)
        names.emplace_back(scene.mAnimations[i]->mName.C_Str());
    const auto chosen = ChooseAnimation(names, animation);
    if (!chosen) return {};
    if (animation != kFirstAnimation) return {scene.mAnimations[*chosen]};
    return {scene.mAnimations, scene.mAnimations + scene.mNumAnimations};
}

void ContentReader::readMotions(const std::vector<const aiAnimation*>& animations) {
    for (const aiAnimation* source : animations)
        readMotions(*source);
}

// A node keeps the motion that it has.
void ContentReader::readMotions(const aiAnimation& source) {
    for (unsigned i = 0; i < source.mNumChannels; ++i) {
        const aiNodeAnim& channel = *source.mChannels[i];
        const int index = nodeOfName(channel.mNodeName);
        if (index < 0 || content.nodes[index].motion) continue;
        content.nodes[index].motion = MotionOf(channel, TicksPerSecond(source), *sources[index]);
    }
}

void ContentReader::addDevice(ContentDevice device, const aiString& nodeName) {
    const int index = nodeOfName(nodeName);
    if (index < 0) device.name = nodeName.C_Str();
    content.nodes[index < 0 ? 0 : index].devices.push_back(std::move(device));
}

void ContentReader::readDevices() {
    for (unsigned i = 0; i < scene.mNumCameras; ++i) {
        content.cameras.push_back(CameraOf(*scene.mCameras[i]));
        addDevice({ContentDevice::Kind::Camera, i, ""}, scene.mCameras[i]->mName);
    }
    for (unsigned i = 0; i < scene.mNumLights; ++i) {
        content.lights.push_back(LightOf(*scene.mLights[i]));
        addDevice({ContentDevice::Kind::Light, i, ""}, scene.mLights[i]->mName);
    }
}

SceneContent ContentReader::read() {
    readNodes();
    readMaterials();
    readImages();
    readMeshes();
    const std::vector<const aiAnimation*> animations = chosenAnimations();
    readMotions(animations);
    DeformAssimpShapes(scene, nodesByName, animations, path, content);
    readDevices();
    return std::move(content);
}

} // namespace

SceneContent ContentOf(const aiScene& scene, const std::string& animation,
                       const std::string& path) {
    return ContentReader(scene, animation, path).read();
}

} // namespace TellarSceneImport
