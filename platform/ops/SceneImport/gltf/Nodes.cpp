#include "Nodes.h"

#include <algorithm>
#include <charconv>
#include <stdexcept>

#include "TinyGltf.h"

namespace TellarSceneImport {

namespace {

std::string ListOfScenes(const tinygltf::Model& model) {
    std::string list;
    for (std::size_t i = 0; i < model.scenes.size(); ++i) {
        list += (i > 0 ? ", " : "") + std::to_string(i);
        if (!model.scenes[i].name.empty()) list += " \"" + model.scenes[i].name + "\"";
    }
    return list.empty() ? "it has no scenes" : "its scenes are " + list;
}

// The root nodes of a scene, without repetition.
std::vector<int> RootsOfScene(const tinygltf::Model& model, int scene) {
    std::vector<bool> isListed(model.nodes.size(), false);
    std::vector<int> roots;
    for (const int node : model.scenes[scene].nodes) {
        if (!isListed[node]) roots.push_back(node);
        isListed[node] = true;
    }
    return roots;
}

std::vector<int> NodesWithoutParent(const tinygltf::Model& model) {
    std::vector<bool> hasParent(model.nodes.size(), false);
    for (const tinygltf::Node& node : model.nodes)
        for (const int child : node.children)
            hasParent[child] = true;
    std::vector<int> roots;
    for (std::size_t i = 0; i < model.nodes.size(); ++i)
        if (!hasParent[i]) roots.push_back(static_cast<int>(i));
    return roots;
}

} // namespace

int FindScene(const tinygltf::Model& model, const std::string& nameOrIndex) {
    for (std::size_t i = 0; i < model.scenes.size(); ++i)
        if (model.scenes[i].name == nameOrIndex) return static_cast<int>(i);
    int index = -1;
    const char* const end = nameOrIndex.data() + nameOrIndex.size();
    const auto [stop, error] = std::from_chars(nameOrIndex.data(), end, index);
    const bool isIndex = error == std::errc() && stop == end && index >= 0;
    if (!isIndex || static_cast<std::size_t>(index) >= model.scenes.size())
        throw std::runtime_error("there is no scene \"" + nameOrIndex + "\" in it; " +
                                 ListOfScenes(model));
    return index;
}

std::vector<int> RootsOf(const tinygltf::Model& model, int scene) {
    return scene >= 0 ? RootsOfScene(model, scene) : NodesWithoutParent(model);
}

Transform TransformOf(const tinygltf::Node& node) {
    if (!node.matrix.empty()) return DecomposeMatrix(MatrixOf(node));
    Transform transform;
    if (!node.scale.empty()) std::copy_n(node.scale.begin(), 3, transform.scale.begin());
    if (!node.translation.empty())
        std::copy_n(node.translation.begin(), 3, transform.position.begin());
    if (!node.rotation.empty()) {
        std::copy_n(node.rotation.begin(), 4, transform.rotation.begin());
        transform.rotation = Normalized(transform.rotation);
    }
    return transform;
}

// The file's matrices are column major for column vectors: the same order of numbers.
Matrix MatrixOf(const tinygltf::Node& node) {
    if (node.matrix.empty()) {
        const Transform transform = TransformOf(node);
        return ComposeMatrix(transform.scale, transform.rotation, transform.position);
    }
    Matrix matrix;
    std::copy_n(node.matrix.begin(), 16, matrix.begin());
    return matrix;
}

} // namespace TellarSceneImport
