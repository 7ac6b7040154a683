#include "GltfReader.h"

#include <algorithm>
#include <string>
#include <utility>

#include <OxLoggingHost/OxLoggerGlue.h>

#include "TinyGltf.h"

#include "Deformation.h"
#include "Devices.h"
#include "Document.h"
#include "Geometry.h"
#include "ImageFiles.h"
#include "Materials.h"
#include "Motion.h"
#include "Nodes.h"
#include "Variants.h"

namespace TellarSceneImport {

namespace {

class ContentReader {
public:
    ContentReader(const Document& document, const std::string& path, const ReadOptions& options)
        : document(document), model(document.model()), path(path), options(options) {}

    SceneContent read();

private:
    void readMaterials();
    void readNodes();
    void addNode(int index, std::uint32_t parent);
    void fillNode(int index, ContentNode& node);
    const std::vector<std::uint32_t>& shapesOf(int mesh);
    void addMotion();
    int sceneIndex() const;

    const Document& document;
    const tinygltf::Model& model;
    const std::string& path;
    const ReadOptions& options;
    int variant = -1; // the usual materials
    SceneContent content;
    std::vector<int> sources;                             // of content.nodes; -1 for an added one
    std::vector<std::vector<std::uint32_t>> shapesOfMesh; // empty until asked for
    std::vector<bool> isMeshRead;
};

// Returns -1 for a file without scenes.
int ContentReader::sceneIndex() const {
    if (options.scene.empty()) return model.scenes.empty() ? -1 : std::max(model.defaultScene, 0);
    return FindScene(model, options.scene);
}

void ContentReader::addNode(int index, std::uint32_t parent) {
    sources.push_back(index);
    ContentNode& node = content.nodes.emplace_back();
    node.parent = parent;
}

// The root of the scene is its only node, or a location for all of them.
void ContentReader::readNodes() {
    const int scene = sceneIndex();
    const std::vector<int> roots = RootsOf(model, scene);
    if (roots.size() == 1) {
        addNode(roots.front(), 0);
    } else {
        addNode(-1, 0);
        content.nodes[0].name = "ROOT";
        for (const int root : roots)
            addNode(root, 0);
    }
    for (std::size_t i = 0; i < sources.size(); ++i) {
        if (sources[i] < 0) continue;
        fillNode(sources[i], content.nodes[i]);
        for (const int child : model.nodes[sources[i]].children)
            addNode(child, static_cast<std::uint32_t>(i));
    }
}

void ContentReader::fillNode(int index, ContentNode& node) {
    const tinygltf::Node& source = model.nodes[index];
    node.name = source.name;
    node.matrix = MatrixOf(source);
    node.devices = DevicesOf(source);
    if (source.mesh >= 0) node.shapes = shapesOf(source.mesh);
}

const std::vector<std::uint32_t>& ContentReader::shapesOf(int mesh) {
    std::vector<std::uint32_t>& shapes = shapesOfMesh[mesh];
    if (isMeshRead[mesh]) return shapes;
    isMeshRead[mesh] = true;
    const tinygltf::Mesh& source = model.meshes[mesh];
    for (std::size_t i = 0; i < source.primitives.size(); ++i) {
        shapes.push_back(static_cast<std::uint32_t>(content.shapes.size()));
        ContentShape& shape =
            content.shapes.emplace_back(ReadPrimitive(document, source.primitives[i]));
        shape.name = source.name;
        if (source.primitives.size() > 1 && !shape.name.empty())
            shape.name += "-" + std::to_string(i);
        shape.material = MaterialOf(model, source.primitives[i], variant);
    }
    return shapes;
}

void ContentReader::addMotion() {
    const GltfAnimation animation = ReadAnimation(document, options.animation);
    for (std::size_t i = 0; i < sources.size(); ++i)
        if (const auto found = animation.nodes.find(sources[i]); found != animation.nodes.end())
            content.nodes[i].motion = found->second;
    DeformShapes(document, sources, animation, path, content);
}

void ContentReader::readMaterials() {
    if (!options.variant.empty()) variant = FindVariant(model, options.variant);
    ImageFiles images(document, path);
    const ImagePath pathOf = [&](int image, const std::string& material) {
        return images.pathOf(image, material);
    };
    const MaterialWarning warn = [&](const std::string& about) { images.warn(about); };
    const std::vector<bool> haveColors = FindMaterialsWithColors(model);
    for (std::size_t i = 0; i < model.materials.size(); ++i)
        content.materials.push_back(
            {model.materials[i].name,
             MakeGltfMaterial(model, model.materials[i], haveColors[i], pathOf, warn)});
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
