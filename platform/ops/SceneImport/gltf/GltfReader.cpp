#include "GltfReader.h"

#include <algorithm>
#include <stdexcept>
#include <string>
#include <unordered_map>
#include <utility>

#include <OxLoggingHost/OxLoggerGlue.h>

#include "TinyGltf.h"

#include "Deformation.h"
#include "Devices.h"
#include "Document.h"
#include "Geometry.h"
#include "ImageFiles.h"
#include "Instancing.h"
#include "Materials.h"
#include "Motion.h"
#include "Nodes.h"
#include "SourceFile.h"
#include "Variants.h"

namespace TellarSceneImport {

namespace {

// About the memory of a location with its name, attributes and entry in the index.
constexpr std::uint64_t kBytesOfNode = 1024;

class ContentReader {
public:
    ContentReader(const Document& document, const std::string& path, const ReadOptions& options)
        : document(document), model(document.model()), path(path), options(options) {}

    SceneContent read();

private:
    std::vector<bool> usedMaterials() const;
    void readMaterials();
    void readNodes();
    void addRoots();
    void addNode(int index, std::uint32_t parent);
    void fillNode(int index, ContentNode& node);
    void addInstances(int source, std::uint32_t parent);
    const std::vector<std::uint32_t>& shapesOf(int mesh);
    std::uint32_t addShape(const tinygltf::Mesh& mesh, std::size_t place);
    void addMotion();
    int sceneIndex() const;

    const Document& document;
    const tinygltf::Model& model;
    const std::string& path;
    const ReadOptions& options;
    int variant = -1; // the usual materials
    SceneContent content;
    std::vector<int> materialIndices; // index of each of the file's materials; -1 if left out
    std::vector<int> sources;         // the file's node of each of content.nodes; -1 if added
    std::vector<std::vector<std::uint32_t>> shapesOfMesh; // empty until asked for
    std::vector<bool> isMeshRead;
    std::unordered_map<int, std::vector<Matrix>> instancesOf; // keyed by node of the file
};

// Returns -1 for a file without scenes.
int ContentReader::sceneIndex() const {
    if (options.scene.empty()) return model.scenes.empty() ? -1 : std::max(model.defaultScene, 0);
    return FindScene(model, options.scene);
}

void ContentReader::addNode(int index, std::uint32_t parent) {
    if (sources.size() >= kMaxNodes)
        throw std::runtime_error("it has more than " + std::to_string(kMaxNodes) + " nodes");
    document.memory().take(1, kBytesOfNode);
    sources.push_back(index);
    ContentNode& node = content.nodes.emplace_back();
    node.parent = parent;
}

// The root of the scene is its only node, or a location for all of them.
void ContentReader::addRoots() {
    const std::vector<int> roots = RootsOf(model, sceneIndex());
    if (roots.size() == 1) return addNode(roots.front(), 0);
    addNode(-1, 0);
    content.nodes[0].name = "ROOT";
    for (const int root : roots)
        addNode(root, 0);
}

void ContentReader::readNodes() {
    addRoots();
    for (std::size_t i = 0; i < sources.size(); ++i) {
        if (sources[i] < 0) continue;
        fillNode(sources[i], content.nodes[i]);
        addInstances(sources[i], static_cast<std::uint32_t>(i));
        for (const int child : model.nodes[sources[i]].children)
            addNode(child, static_cast<std::uint32_t>(i));
    }
}

void ContentReader::fillNode(int index, ContentNode& node) {
    const tinygltf::Node& source = model.nodes[index];
    node.name = source.name;
    node.matrix = MatrixOf(source);
    node.devices = DevicesOf(source);
    if (source.mesh < 0) return;
    Instances instances = InstancesOf(document, source);
    if (!instances.areUsed) {
        node.shapes = shapesOf(source.mesh);
        return;
    }
    instancesOf[index] = std::move(instances.matrices);
}

// Each instance is a location of its own.
void ContentReader::addInstances(int source, std::uint32_t parent) {
    const auto found = instancesOf.find(source);
    if (found == instancesOf.end()) return;
    for (const Matrix& matrix : found->second) {
        addNode(-1, parent);
        content.nodes.back().name = "instance";
        content.nodes.back().matrix = matrix;
        content.nodes.back().shapes = shapesOf(model.nodes[source].mesh);
    }
}

const std::vector<std::uint32_t>& ContentReader::shapesOf(int mesh) {
    std::vector<std::uint32_t>& shapes = shapesOfMesh[mesh];
    if (isMeshRead[mesh]) return shapes;
    isMeshRead[mesh] = true;
    const tinygltf::Mesh& source = model.meshes[mesh];
    for (std::size_t i = 0; i < source.primitives.size(); ++i)
        shapes.push_back(addShape(source, i));
    return shapes;
}

std::uint32_t ContentReader::addShape(const tinygltf::Mesh& mesh, std::size_t place) {
    const tinygltf::Primitive& primitive = mesh.primitives[place];
    ContentShape& shape = content.shapes.emplace_back(ReadPrimitive(document, primitive));
    shape.name = mesh.name;
    if (mesh.primitives.size() > 1 && !shape.name.empty())
        shape.name += "-" + std::to_string(place);
    const int material = MaterialOf(model, primitive, variant);
    if (material >= 0) shape.material = materialIndices[material];
    return static_cast<std::uint32_t>(content.shapes.size() - 1);
}

void ContentReader::addMotion() {
    const GltfAnimation animation = ReadAnimation(document, options.animation);
    for (std::size_t i = 0; i < sources.size(); ++i)
        if (const auto found = animation.nodes.find(sources[i]); found != animation.nodes.end())
            content.nodes[i].motion = found->second;
    DeformShapes(document, sources, animation, path, content);
}

// Whether a primitive has each material in the variant that is read.
std::vector<bool> ContentReader::usedMaterials() const {
    std::vector<bool> isUsed(model.materials.size(), false);
    for (const tinygltf::Mesh& mesh : model.meshes)
        for (const tinygltf::Primitive& primitive : mesh.primitives)
            if (const int material = MaterialOf(model, primitive, variant); material >= 0)
                isUsed[material] = true;
    return isUsed;
}

// A material without a name that nothing uses is left out.
void ContentReader::readMaterials() {
    if (!options.variant.empty()) variant = FindVariant(model, options.variant);
    ImageFiles images(document, path);
    const ImagePath pathOf = [&](int image, const std::string& material) {
        return images.pathOf(image, material);
    };
    const MaterialWarning warn = [&](const std::string& about) { images.warn(about); };
    const std::vector<bool> haveColors = FindMaterialsWithColors(model);
    const std::vector<bool> isUsed = usedMaterials();
    for (std::size_t i = 0; i < model.materials.size(); ++i) {
        const tinygltf::Material& material = model.materials[i];
        const bool isLeftOut = material.name.empty() && !isUsed[i];
        materialIndices.push_back(isLeftOut ? -1 : static_cast<int>(content.materials.size()));
        if (!isLeftOut)
            content.materials.push_back(
                {material.name, MakeGltfMaterial(model, material, haveColors[i], pathOf, warn)});
    }
}

SceneContent ContentReader::read() {
    shapesOfMesh.resize(model.meshes.size());
    isMeshRead.resize(model.meshes.size());
    for (const tinygltf::Camera& camera : model.cameras)
        content.cameras.push_back(ReadCamera(camera));
    for (const tinygltf::Light& light : model.lights)
        content.lights.push_back(ReadLight(light));
    readMaterials();
    readNodes();
    addMotion();
    return std::move(content);
}

void LogUnknown(const Document& document, const std::string& path) {
    const auto& names = document.unknownExtensions();
    if (names.empty()) return;
    std::string list;
    for (const std::string& name : names)
        list += (list.empty() ? "" : ", ") + name;
    OxLoggerGlue("SceneImport")
        .info(path + " uses " + std::to_string(names.size()) +
                  " optional extensions that are not understood: " + list,
              __FILE__, __LINE__);
}

} // namespace

SceneContent ReadGltf(std::string content, const std::string& path, const ReadOptions& options,
                      std::vector<FileStamp>& files) {
    const Document document(std::move(content), path, files);
    LogUnknown(document, path);
    return ContentReader(document, path, options).read();
}

} // namespace TellarSceneImport
