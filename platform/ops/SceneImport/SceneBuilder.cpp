#include "SceneBuilder.h"

#include <deque>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include <OxTellarSDK/GroupBuilder.h>

#include "MaterialNetwork.h"
#include "MeshGeometry.h"
#include "UniqueNames.h"

namespace TellarSceneImport {

using OxAttribute::DoubleAttribute;
using OxAttribute::GroupBuilder;
using OxAttribute::StringAttribute;

namespace {

// A camera or a light of a node. Exactly one pointer is set.
struct Device {
    const ImportedCamera* camera = nullptr;
    const ImportedLight* light = nullptr;
    std::string name; // set if the file assigns it to no node

    const Matrix& aim() const { return camera ? camera->aim : light->aim; }
    bool isAimed() const { return !IsIdentity(aim()); }
};

// A location under construction. It is a node, which may be a camera or light at the same time, a
// mesh, or a camera or light that needs a location below its node.
struct Draft {
    std::string name;
    std::uint32_t parent = 0;
    const aiNode* node = nullptr;
    const MeshGeometry* mesh = nullptr;
    int material = -1; // of the mesh
    const Device* device = nullptr;
    std::vector<std::uint32_t> children;
    Box bound;
};

DoubleAttribute MatrixAttribute(const Matrix& matrix) {
    return DoubleAttribute(matrix.data(), 16, 16);
}

class SceneBuilder {
public:
    SceneBuilder(const aiScene& scene, const GltfFile* gltf, const std::filesystem::path& folder)
        : scene(scene), gltf(gltf), folder(folder) {}

    std::shared_ptr<const Scene> build();

private:
    void listNodes();
    void makeMaterials();
    void makeMeshes();
    void findMotions();
    void findDevices();
    void findGltfDevices();
    const aiNode* nodeOfName(const aiString& name) const;
    void addDevice(Device device, const aiString& nodeName);

    void draftChildren(std::uint32_t parent);
    void draftMeshes(std::uint32_t parent, UniqueNames& names);
    void draftDevices(std::uint32_t parent, UniqueNames& names);
    Draft& draft(std::uint32_t parent, std::string name);
    bool canBeNode(const Device& device, const aiNode& node) const;
    void findBounds();
    SceneNode finish(const Draft& draft) const;

    std::string nameOf(const aiNode& node) const;
    std::string nameOf(const aiMesh& mesh) const;
    Matrix localMatrix(const Draft& draft) const;
    std::shared_ptr<const NodeMotion> motionOf(const Draft& draft) const;
    OxAttribute::GroupAttribute xformOf(const Draft& draft) const;

    const aiScene& scene;
    const GltfFile* const gltf;
    const std::filesystem::path& folder;

    std::vector<const aiNode*> nodes;                           // parents first
    std::unordered_map<std::string, const aiNode*> nodesByName; // the first of each name
    std::vector<SceneMaterial> materials;
    std::vector<int> materialIndices; // of Assimp's materials; -1 for those left out
    std::vector<MeshGeometry> meshes;
    std::unordered_map<const aiNode*, std::shared_ptr<const NodeMotion>> motions;
    std::deque<ImportedCamera> cameras; // of files other than glTF
    std::deque<ImportedLight> lights;
    std::unordered_map<const aiNode*, std::deque<Device>> devices;
    std::vector<Draft> drafts; // parents first
};

void SceneBuilder::listNodes() {
    nodes.push_back(scene.mRootNode);
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        const aiNode* node = nodes[i];
        nodesByName.emplace(node->mName.C_Str(), node);
        nodes.insert(nodes.end(), node->mChildren, node->mChildren + node->mNumChildren);
    }
}

// Importers add a material for meshes that have none. It is left out if no mesh uses it.
void SceneBuilder::makeMaterials() {
    std::vector<bool> isUsed(scene.mNumMaterials, false);
    for (unsigned i = 0; i < scene.mNumMeshes && scene.mNumMaterials > 0; ++i)
        isUsed[scene.mMeshes[i]->mMaterialIndex] = true;

    UniqueNames names;
    for (unsigned i = 0; i < scene.mNumMaterials; ++i) {
        aiMaterial& material = *scene.mMaterials[i];
        const std::string name = material.GetName().C_Str();
        const bool isMadeUp = name.empty() || name == AI_DEFAULT_MATERIAL_NAME;
        materialIndices.push_back(isUsed[i] || !isMadeUp ? static_cast<int>(materials.size()) : -1);
        if (materialIndices.back() >= 0)
            materials.push_back(
                {names.add(name, "material"), MakeMaterialNetwork(material, folder)});
    }
}

void SceneBuilder::makeMeshes() {
    for (unsigned i = 0; i < scene.mNumMeshes; ++i)
        meshes.push_back(MakeMeshGeometry(*scene.mMeshes[i]));
}

const aiNode* SceneBuilder::nodeOfName(const aiString& name) const {
    const auto found = nodesByName.find(name.C_Str());
    return found == nodesByName.end() ? nullptr : found->second;
}

// The first of several animations of a node is used.
void SceneBuilder::findMotions() {
    for (unsigned i = 0; i < scene.mNumAnimations; ++i) {
        const aiAnimation& animation = *scene.mAnimations[i];
        for (unsigned j = 0; j < animation.mNumChannels; ++j) {
            const aiNodeAnim& channel = *animation.mChannels[j];
            const aiNode* node = nodeOfName(channel.mNodeName);
            if (node && motions.count(node) == 0)
                motions[node] =
                    std::make_shared<NodeMotion>(channel, animation.mTicksPerSecond, *node);
        }
    }
}

void SceneBuilder::addDevice(Device device, const aiString& nodeName) {
    const aiNode* node = nodeOfName(nodeName);
    if (!node) device.name = nodeName.C_Str();
    devices[node ? node : scene.mRootNode].push_back(std::move(device));
}

void SceneBuilder::findDevices() {
    for (unsigned i = 0; i < scene.mNumCameras; ++i) {
        cameras.push_back(FromAssimp(*scene.mCameras[i]));
        addDevice({&cameras.back(), nullptr, ""}, scene.mCameras[i]->mName);
    }
    for (unsigned i = 0; i < scene.mNumLights; ++i) {
        lights.push_back(FromAssimp(*scene.mLights[i]));
        addDevice({nullptr, &lights.back(), ""}, scene.mLights[i]->mName);
    }
}

void SceneBuilder::findGltfDevices() {
    for (const aiNode* node : nodes) {
        const GltfFile::Node* source = gltf->findNode(node->mName.C_Str());
        if (source && source->camera >= 0)
            devices[node].push_back({&gltf->cameras[source->camera], nullptr, ""});
        if (source && source->light >= 0)
            devices[node].push_back({nullptr, &gltf->lights[source->light], ""});
    }
}

std::string SceneBuilder::nameOf(const aiNode& node) const {
    const GltfFile::Node* source = gltf ? gltf->findNode(node.mName.C_Str()) : nullptr;
    return source ? source->name : node.mName.C_Str();
}

std::string SceneBuilder::nameOf(const aiMesh& mesh) const {
    // Assimp calls a glTF mesh without a name "meshes[3]", for example.
    const std::string name = mesh.mName.C_Str();
    return gltf && name.rfind("meshes[", 0) == 0 ? "" : name;
}

// The reference is valid until the next draft.
Draft& SceneBuilder::draft(std::uint32_t parent, std::string name) {
    drafts[parent].children.push_back(static_cast<std::uint32_t>(drafts.size()));
    Draft& child = drafts.emplace_back();
    child.name = std::move(name);
    child.parent = parent;
    return child;
}

void SceneBuilder::draftMeshes(std::uint32_t parent, UniqueNames& names) {
    const aiNode& node = *drafts[parent].node;
    const std::string fallback = drafts[parent].name + "Shape";
    for (unsigned i = 0; i < node.mNumMeshes; ++i) {
        const unsigned index = node.mMeshes[i];
        if (meshes[index].type.empty()) continue;
        const aiMesh& source = *scene.mMeshes[index];
        Draft& child = draft(parent, names.add(nameOf(source), fallback));
        child.mesh = &meshes[index];
        child.material = materialIndices.empty() ? -1 : materialIndices[source.mMaterialIndex];
        child.bound = meshes[index].bound;
    }
}

// If a node became a camera or light that is turned relative to it, its children would turn too.
bool SceneBuilder::canBeNode(const Device& device, const aiNode& node) const {
    const bool isLeaf = node.mNumChildren == 0 && node.mNumMeshes == 0;
    return device.name.empty() && (!device.isAimed() || (isLeaf && devices.at(&node).size() == 1));
}

void SceneBuilder::draftDevices(std::uint32_t parent, UniqueNames& names) {
    const auto found = devices.find(drafts[parent].node);
    if (found == devices.end()) return;
    for (const Device& device : found->second) {
        if (!drafts[parent].device && canBeNode(device, *found->first)) {
            drafts[parent].device = &device;
            continue;
        }
        const std::string fallback = drafts[parent].name + (device.camera ? "Camera" : "Light");
        draft(parent, names.add(device.name, fallback)).device = &device;
    }
}

void SceneBuilder::draftChildren(std::uint32_t parent) {
    const aiNode& node = *drafts[parent].node;
    UniqueNames names;
    for (unsigned i = 0; i < node.mNumChildren; ++i) {
        const aiNode& child = *node.mChildren[i];
        draft(parent, names.add(nameOf(child), "node")).node = &child;
    }
    draftMeshes(parent, names);
    draftDevices(parent, names);
}

// The matrix from the space of the location to that of its parent, without motion.
Matrix SceneBuilder::localMatrix(const Draft& draft) const {
    const Matrix node = ToMatrix(draft.node ? draft.node->mTransformation : aiMatrix4x4());
    return draft.device ? Multiply(draft.device->aim(), node) : node;
}

void SceneBuilder::findBounds() {
    for (std::size_t i = drafts.size() - 1; i > 0; --i)
        drafts[drafts[i].parent].bound.add(drafts[i].bound.transformed(localMatrix(drafts[i])));
}

std::shared_ptr<const NodeMotion> SceneBuilder::motionOf(const Draft& draft) const {
    const auto found = draft.node ? motions.find(draft.node) : motions.end();
    return found == motions.end() ? nullptr : found->second;
}

// The last child of "xform" is applied first. A moving node needs "matrix" as a place for
// its motion.
OxAttribute::GroupAttribute SceneBuilder::xformOf(const Draft& draft) const {
    GroupBuilder xform;
    if (draft.node) {
        const Matrix rest = ToMatrix(draft.node->mTransformation);
        if (!IsIdentity(rest) || motionOf(draft)) xform.set("matrix", MatrixAttribute(rest));
    }
    if (draft.device && draft.device->isAimed())
        xform.set("matrixAim", MatrixAttribute(draft.device->aim()));
    return xform.isEmpty() ? OxAttribute::GroupAttribute() : xform.build();
}

SceneNode SceneBuilder::finish(const Draft& draft) const {
    const ImportedCamera* camera = draft.device ? draft.device->camera : nullptr;
    const ImportedLight* light = draft.device ? draft.device->light : nullptr;
    const std::string type = draft.mesh ? draft.mesh->type
                             : camera   ? "camera"
                             : light    ? "light"
                                        : "group";
    GroupBuilder attrs;
    attrs.set("type", StringAttribute(type));
    attrs.set("xform", xformOf(draft));
    attrs.set("bound", draft.bound.attribute());
    if (draft.mesh) attrs.set("geometry", draft.mesh->geometry);
    if (camera) attrs.set("geometry", CameraGeometry(*camera));
    if (light) {
        attrs.set("light", LightParameters(*light));
        attrs.set("material", LightNetwork(*light));
    }
    std::vector<std::string_view> names;
    for (const std::uint32_t child : draft.children)
        names.push_back(drafts[child].name);

    SceneNode node;
    node.name = draft.name;
    node.attrs = attrs.build();
    if (!names.empty())
        node.childNames = StringAttribute(names.data(), static_cast<std::int64_t>(names.size()), 1);
    node.motion = motionOf(draft);
    node.material = draft.material;
    return node;
}

std::shared_ptr<const Scene> SceneBuilder::build() {
    listNodes();
    makeMaterials();
    makeMeshes();
    findMotions();
    if (gltf)
        findGltfDevices();
    else
        findDevices();

    Draft& root = drafts.emplace_back();
    root.name = UniqueNames().add(nameOf(*scene.mRootNode), "node");
    root.node = scene.mRootNode;
    for (std::uint32_t i = 0; i < drafts.size(); ++i)
        if (drafts[i].node) draftChildren(i);
    findBounds();

    std::vector<SceneNode> finished;
    std::vector<std::uint32_t> parents;
    for (const Draft& draft : drafts) {
        finished.push_back(finish(draft));
        parents.push_back(draft.parent);
    }
    return std::make_shared<Scene>(std::move(finished), parents, std::move(materials));
}

} // namespace

std::shared_ptr<const Scene> BuildScene(const aiScene& scene, const GltfFile* gltf,
                                        const std::filesystem::path& folder) {
    return SceneBuilder(scene, gltf, folder).build();
}

} // namespace TellarSceneImport
