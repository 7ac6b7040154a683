#include "AssimpDeformation.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <memory>
#include <utility>

#include <assimp/scene.h>

#include "AssimpParts.h"
#include "motion/MovingShapes.h"

namespace TellarSceneImport {

namespace {

constexpr std::size_t kJointsPerSet = 4;

// Collects the joints and weights of each point of a mesh.
class WeightSets {
public:
    explicit WeightSets(std::size_t pointCount) : counts(pointCount, 0) {}

    bool isWeighted(std::size_t point) const { return counts[point] > 0; }

    void add(std::size_t point, std::uint32_t joint, float weight) {
        const std::size_t set = counts[point] / kJointsPerSet;
        if (set == all.size()) {
            const std::size_t size = counts.size() * kJointsPerSet;
            all.push_back({std::vector<std::uint32_t>(size), std::vector<float>(size)});
        }
        const std::size_t place = point * kJointsPerSet + counts[point] % kJointsPerSet;
        all[set].joints[place] = joint;
        all[set].weights[place] = weight;
        ++counts[point];
    }

    const std::vector<Influences::Set>& sets() const { return all; }

private:
    std::vector<std::size_t> counts; // number of joints of each point
    std::vector<Influences::Set> all;
};

// The offsets of a target from the base. A relative target holds offsets already.
std::vector<float> Differences(const aiVector3D* target, const aiVector3D* base, unsigned count,
                               bool isRelative) {
    std::vector<float> values;
    if (!target || !base) return values;
    values.reserve(std::size_t(count) * 3);
    for (unsigned i = 0; i < count; ++i) {
        const aiVector3D difference = isRelative ? target[i] : target[i] - base[i];
        for (const float value : {difference.x, difference.y, difference.z})
            values.push_back(std::isfinite(value) ? value : 0);
    }
    return values;
}

std::vector<MorphTarget> TargetsOf(const aiMesh& mesh) {
    const bool isRelative = mesh.mMethod == aiMorphingMethod_MORPH_RELATIVE;
    std::vector<MorphTarget> targets;
    for (unsigned i = 0; i < mesh.mNumAnimMeshes; ++i) {
        const aiAnimMesh& target = *mesh.mAnimMeshes[i];
        targets.push_back(
            {Differences(target.mVertices, mesh.mVertices, mesh.mNumVertices, isRelative),
             Differences(target.mNormals, mesh.mNormals, mesh.mNumVertices, isRelative)});
    }
    return targets;
}

// The weights at rest. Assimp reads those of FBX files, for which it sets no method, incorrectly.
std::vector<double> RestWeightsOf(const aiMesh& mesh) {
    std::vector<double> weights(mesh.mNumAnimMeshes, 0.0);
    for (unsigned i = 0; mesh.mMethod != 0 && i < mesh.mNumAnimMeshes; ++i)
        if (const float weight = mesh.mAnimMeshes[i]->mWeight; std::isfinite(weight))
            weights[i] = weight;
    return weights;
}

bool IsFinite(const Matrix& matrix) {
    return std::all_of(matrix.begin(), matrix.end(), [](double v) { return std::isfinite(v); });
}

// The keys of one morph target: weights keyed by seconds.
using Keys = std::map<double, double>;

// The weight of a target at a time at which it may have no key of its own.
double WeightAt(const Keys& keys, double seconds) {
    if (keys.empty()) return 0;
    const auto next = keys.lower_bound(seconds);
    if (next == keys.end()) return keys.rbegin()->second;
    if (next == keys.begin() || next->first == seconds) return next->second;
    const auto last = std::prev(next);
    const double amount = (seconds - last->first) / (next->first - last->first);
    return last->second + (next->second - last->second) * amount;
}

std::vector<Keys> KeysOf(const aiMeshMorphAnim& source, double ticksPerSecond,
                         std::size_t targetCount) {
    std::vector<Keys> keys(targetCount);
    for (unsigned i = 0; i < source.mNumKeys; ++i) {
        const aiMeshMorphKey& key = source.mKeys[i];
        const double seconds = key.mTime / ticksPerSecond;
        for (unsigned j = 0; std::isfinite(seconds) && j < key.mNumValuesAndWeights; ++j)
            if (key.mValues[j] < targetCount && std::isfinite(key.mWeights[j]))
                keys[key.mValues[j]][seconds] = key.mWeights[j];
    }
    return keys;
}

// One track for all targets. In an animation each target has keys at times of its own.
Track WeightTrack(const std::vector<Keys>& keys) {
    std::vector<double> seconds;
    for (const Keys& ofTarget : keys)
        for (const auto& key : ofTarget)
            seconds.push_back(key.first);
    std::sort(seconds.begin(), seconds.end());
    seconds.erase(std::unique(seconds.begin(), seconds.end()), seconds.end());
    if (seconds.empty()) return {};
    std::vector<float> weights;
    for (const double time : seconds)
        for (const Keys& ofTarget : keys)
            weights.push_back(static_cast<float>(WeightAt(ofTarget, time)));
    return Track(TrackKind::Vector, Interpolation::Linear, keys.size(), seconds, weights);
}

class Deformer {
public:
    Deformer(const aiScene& scene, const std::unordered_map<std::string, int>& nodesByName,
             const std::vector<const aiAnimation*>& animations, SceneContent& content)
        : scene(scene), nodesByName(nodesByName), animations(animations), content(content) {}

    void deform(const std::string& path);

private:
    std::shared_ptr<const Skeleton> makeSkeleton() const;
    void addBone(const aiBone& bone, Skin& skin, WeightSets& weights) const;
    std::shared_ptr<const MeshMotion::Joints> jointsOf(const aiMesh& mesh, std::size_t node) const;
    Track weightsOf(const std::string& node, std::size_t place, std::size_t targetCount) const;
    std::shared_ptr<MeshMotion> motionOf(std::size_t node, std::size_t place,
                                         std::uint32_t shape) const;

    const aiScene& scene;
    const std::unordered_map<std::string, int>& nodesByName;
    const std::vector<const aiAnimation*>& animations;
    SceneContent& content;
    std::shared_ptr<const Skeleton> skeleton;
};

// The skeleton ends at the root: points with a skin are in the root's space.
std::shared_ptr<const Skeleton> Deformer::makeSkeleton() const {
    std::vector<Skeleton::Node> nodes(content.nodes.size());
    nodes[0].rest = kIdentity;
    for (std::size_t i = 1; i < nodes.size(); ++i) {
        nodes[i].parent = static_cast<int>(content.nodes[i].parent);
        nodes[i].rest = content.nodes[i].matrix;
        nodes[i].motion = std::dynamic_pointer_cast<const NodeMotion>(content.nodes[i].motion);
    }
    return std::make_shared<Skeleton>(std::move(nodes));
}

// Adds a bone and its weights to the skin. Ignores a bone that is not a node.
void Deformer::addBone(const aiBone& bone, Skin& skin, WeightSets& weights) const {
    const auto found = nodesByName.find(bone.mName.C_Str());
    if (found == nodesByName.end() || !IsFinite(ToMatrix(bone.mOffsetMatrix))) return;
    const auto joint = static_cast<std::uint32_t>(skin.joints.size());
    skin.joints.push_back(static_cast<std::size_t>(found->second));
    skin.inverseBinds.push_back(ToMatrix(bone.mOffsetMatrix));
    for (unsigned i = 0; i < bone.mNumWeights; ++i)
        if (const aiVertexWeight& weight = bone.mWeights[i]; weight.mWeight > 0)
            weights.add(weight.mVertexId, joint, weight.mWeight);
}

// The skin of a mesh; null if no bone is a node. A point without weights moves with the node of its
// mesh, which is added as the last joint.
std::shared_ptr<const MeshMotion::Joints> Deformer::jointsOf(const aiMesh& mesh,
                                                             std::size_t node) const {
    Skin skin;
    WeightSets weights(mesh.mNumVertices);
    for (unsigned i = 0; i < mesh.mNumBones; ++i)
        addBone(*mesh.mBones[i], skin, weights);
    if (skin.joints.empty()) return nullptr;
    const auto last = static_cast<std::uint32_t>(skin.joints.size());
    skin.joints.push_back(node);
    skin.inverseBinds.push_back(kIdentity);
    for (std::size_t point = 0; point < mesh.mNumVertices; ++point)
        if (!weights.isWeighted(point)) weights.add(point, last, 1);
    return std::make_shared<MeshMotion::Joints>(MeshMotion::Joints{
        skeleton, skin, Influences(mesh.mNumVertices, weights.sets(), skin.joints.size())});
}

// Animations of weights are named after a node. FBX appends "*" and the index of the mesh in it.
Track Deformer::weightsOf(const std::string& node, std::size_t place,
                          std::size_t targetCount) const {
    const std::string numbered = node + "*" + std::to_string(place);
    for (const aiAnimation* animation : animations) {
        const double rate = TicksPerSecond(*animation);
        for (unsigned i = 0; i < animation->mNumMorphMeshChannels; ++i) {
            const aiMeshMorphAnim& channel = *animation->mMorphMeshChannels[i];
            const std::string name = channel.mName.C_Str();
            if (name == node || name == numbered)
                return WeightTrack(KeysOf(channel, rate, targetCount));
        }
    }
    return {};
}

// The motion of a mesh; null if nothing deforms it.
std::shared_ptr<MeshMotion> Deformer::motionOf(std::size_t node, std::size_t place,
                                               std::uint32_t shape) const {
    const aiMesh& mesh = *scene.mMeshes[shape];
    MeshMotion::Parts parts;
    if (mesh.mNumBones > 0) parts.joints = jointsOf(mesh, node);
    parts.targets = TargetsOf(mesh);
    if (!parts.joints && parts.targets.empty()) return nullptr;
    parts.points = PointsOf(content.shapes[shape]);
    parts.restWeights = RestWeightsOf(mesh);
    if (!parts.targets.empty())
        parts.weights = weightsOf(content.nodes[node].name, place, parts.targets.size());
    return std::make_shared<MeshMotion>(std::move(parts));
}

bool IsDeformed(const aiMesh& mesh) {
    return mesh.mNumBones > 0 || mesh.mNumAnimMeshes > 0;
}

void Deformer::deform(const std::string& path) {
    if (std::none_of(scene.mMeshes, scene.mMeshes + scene.mNumMeshes,
                     [](const aiMesh* mesh) { return IsDeformed(*mesh); }))
        return;
    skeleton = makeSkeleton();
    MovingShapes moving(content);
    for (std::size_t node = 0; node < content.nodes.size(); ++node)
        moving.add(static_cast<std::uint32_t>(node), [&](std::size_t place, std::uint32_t shape) {
            return shape < scene.mNumMeshes ? motionOf(node, place, shape) : nullptr;
        });
    moving.finish(path);
}

} // namespace

void DeformAssimpShapes(const aiScene& scene,
                        const std::unordered_map<std::string, int>& nodesByName,
                        const std::vector<const aiAnimation*>& animations, const std::string& path,
                        SceneContent& content) {
    Deformer(scene, nodesByName, animations, content).deform(path);
}

} // namespace TellarSceneImport
