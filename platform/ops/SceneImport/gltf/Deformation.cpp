#include "Deformation.h"

#include <algorithm>
#include <cstdint>
#include <map>
#include <memory>
#include <utility>

#include "TinyGltf.h"

#include "Accessors.h"
#include "Document.h"
#include "GltfError.h"
#include "Nodes.h"
#include "motion/MovingShapes.h"

namespace TellarSceneImport {

namespace {

// The values of the points of a shape, of `width` numbers each, from those of the file.
template <typename Value>
std::vector<Value> OfPoints(const ContentShape& shape, std::vector<Value> values,
                            std::size_t width) {
    if (shape.sourcePoints.empty() || values.empty()) return values;
    std::vector<Value> result;
    result.reserve(shape.sourcePoints.size() * width);
    for (const std::uint32_t point : shape.sourcePoints) {
        if (values.size() / width <= point) GltfError("a mesh has fewer weights than points");
        const auto first = values.begin() + static_cast<std::ptrdiff_t>(point * width);
        result.insert(result.end(), first, first + static_cast<std::ptrdiff_t>(width));
    }
    return result;
}

class Deformer {
public:
    Deformer(const Document& document, const GltfAnimation& animation, SceneContent& content)
        : document(document), model(document.model()), animation(animation), content(content) {}

    void makeSkeleton(int root);
    void deformNode(std::uint32_t index, const tinygltf::Node& source, const Track* weights);
    void finish(const std::string& path) { moving.finish(path); }

private:
    const Skin& skinOf(int index);
    std::shared_ptr<const MeshMotion::Joints> jointsOf(const ContentShape& shape,
                                                       const tinygltf::Primitive& primitive,
                                                       int skin, std::size_t pointCount);
    std::vector<MorphTarget> targetsOf(const ContentShape& shape,
                                       const tinygltf::Primitive& primitive) const;
    std::vector<Influences::Set> influencesOf(const ContentShape& shape,
                                              const tinygltf::Primitive& primitive,
                                              std::size_t pointCount) const;
    std::vector<float> vectors(const ContentShape& shape, int accessor) const;
    std::shared_ptr<MeshMotion> motionOf(const ContentShape& shape,
                                         const tinygltf::Primitive& primitive,
                                         const tinygltf::Node& node, const Track* weights);

    const Document& document;
    const tinygltf::Model& model;
    const GltfAnimation& animation;
    SceneContent& content;
    std::shared_ptr<const Skeleton> skeleton;
    std::map<int, Skin> skins;
    MovingShapes moving{content};
};

// `root` is the node whose space the points of skins are in, or -1 for the space of the scene.
void Deformer::makeSkeleton(int root) {
    std::vector<Skeleton::Node> nodes(model.nodes.size());
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        nodes[i].rest = MatrixOf(model.nodes[i]);
        const auto motion = animation.nodes.find(static_cast<int>(i));
        if (motion != animation.nodes.end()) nodes[i].motion = motion->second;
        for (const int child : model.nodes[i].children)
            nodes[child].parent = static_cast<int>(i);
    }
    if (root >= 0) {
        nodes[root].rest = kIdentity;
        nodes[root].motion = nullptr;
        nodes[root].parent = -1;
    }
    skeleton = std::make_shared<Skeleton>(std::move(nodes));
}

const Skin& Deformer::skinOf(int index) {
    const auto [found, isNew] = skins.emplace(index, Skin{});
    Skin& skin = found->second;
    if (!isNew) return skin;
    const tinygltf::Skin& source = model.skins[index];
    skin.joints.assign(source.joints.begin(), source.joints.end());
    skin.inverseBinds.assign(skin.joints.size(), kIdentity);
    if (source.inverseBindMatrices < 0) return skin;
    // The file's matrices are column major for column vectors: the same order of numbers.
    const AccessorFloats matrices = ReadFloats(document, source.inverseBindMatrices);
    if (matrices.width != 16 || matrices.count() < skin.joints.size())
        GltfError("skin \"" + source.name + "\" has fewer matrices than joints");
    for (std::size_t i = 0; i < skin.joints.size(); ++i)
        std::copy_n(matrices.at(i), 16, skin.inverseBinds[i].begin());
    return skin;
}

// The joints and weights of the points, in sets of four.
std::vector<Influences::Set> Deformer::influencesOf(const ContentShape& shape,
                                                    const tinygltf::Primitive& primitive,
                                                    std::size_t pointCount) const {
    std::vector<Influences::Set> sets;
    for (int i = 0;; ++i) {
        const auto joints = primitive.attributes.find("JOINTS_" + std::to_string(i));
        const auto weights = primitive.attributes.find("WEIGHTS_" + std::to_string(i));
        if (joints == primitive.attributes.end() || weights == primitive.attributes.end()) break;
        document.memory().take(pointCount, 4 * (sizeof(std::uint32_t) + sizeof(float)));
        sets.push_back({OfPoints(shape, ReadUnsigned(document, joints->second), 4),
                        OfPoints(shape, ReadFloats(document, weights->second).values, 4)});
    }
    return sets;
}

std::shared_ptr<const MeshMotion::Joints> Deformer::jointsOf(const ContentShape& shape,
                                                             const tinygltf::Primitive& primitive,
                                                             int skin, std::size_t pointCount) {
    const std::vector<Influences::Set> sets = influencesOf(shape, primitive, pointCount);
    if (sets.empty()) return nullptr;
    const Skin& source = skinOf(skin);
    document.memory().take(source.joints.size(), sizeof(std::size_t) + sizeof(Matrix));
    return std::make_shared<MeshMotion::Joints>(
        MeshMotion::Joints{skeleton, source, Influences(pointCount, sets, source.joints.size())});
}

std::vector<float> Deformer::vectors(const ContentShape& shape, int accessor) const {
    AccessorFloats values = ReadFloats(document, accessor);
    if (values.width != 3) GltfError("a morph target is not of vectors");
    std::vector<float> ofPoints = OfPoints(shape, std::move(values.values), 3);
    document.memory().take(ofPoints.size(), sizeof(float));
    return ofPoints;
}

std::vector<MorphTarget> Deformer::targetsOf(const ContentShape& shape,
                                             const tinygltf::Primitive& primitive) const {
    std::vector<MorphTarget> targets;
    for (const auto& source : primitive.targets) {
        document.memory().take(1, sizeof(MorphTarget));
        MorphTarget& target = targets.emplace_back();
        const auto positions = source.find("POSITION"), normals = source.find("NORMAL");
        if (positions != source.end()) target.positions = vectors(shape, positions->second);
        if (normals != source.end() && primitive.attributes.count("NORMAL") > 0)
            target.normals = vectors(shape, normals->second);
    }
    return targets;
}

// Null for a primitive that nothing deforms.
std::shared_ptr<MeshMotion> Deformer::motionOf(const ContentShape& shape,
                                               const tinygltf::Primitive& primitive,
                                               const tinygltf::Node& node, const Track* weights) {
    MeshMotion::Parts parts;
    parts.points = PointsOf(shape);
    if (node.skin >= 0)
        parts.joints = jointsOf(shape, primitive, node.skin, parts.points.positions.size() / 3);
    parts.targets = targetsOf(shape, primitive);
    if (!parts.joints && parts.targets.empty()) return nullptr;
    parts.restWeights = node.weights.empty() ? model.meshes[node.mesh].weights : node.weights;
    parts.restWeights.resize(parts.targets.size());
    if (weights && weights->width() == parts.targets.size()) {
        document.memory().take(weights->keyTimes().size(),
                               sizeof(double) + weights->width() * sizeof(float));
        parts.weights = *weights;
    }
    document.memory().take(parts.points.positions.size() + parts.points.normals.size(),
                           2 * sizeof(float));
    return std::make_shared<MeshMotion>(std::move(parts));
}

void Deformer::deformNode(std::uint32_t index, const tinygltf::Node& source, const Track* weights) {
    const auto& primitives = model.meshes[source.mesh].primitives;
    moving.add(index, [&](std::size_t place, std::uint32_t shape) {
        return place < primitives.size()
                   ? motionOf(content.shapes[shape], primitives[place], source, weights)
                   : nullptr;
    });
}

} // namespace

void DeformShapes(const Document& document, const std::vector<int>& sources,
                  const GltfAnimation& animation, const std::string& path, SceneContent& content) {
    Deformer deformer(document, animation, content);
    deformer.makeSkeleton(sources.front());
    for (std::size_t i = 0; i < sources.size(); ++i) {
        if (sources[i] < 0) continue;
        const tinygltf::Node& source = document.model().nodes[sources[i]];
        const auto weights = animation.weights.find(sources[i]);
        if (source.mesh >= 0)
            deformer.deformNode(static_cast<std::uint32_t>(i), source,
                                weights == animation.weights.end() ? nullptr : &weights->second);
    }
    deformer.finish(path);
}

} // namespace TellarSceneImport
