#include "Motion.h"

#include <cstddef>
#include <optional>
#include <utility>
#include <vector>

#include "TinyGltf.h"

#include "Accessors.h"
#include "Document.h"
#include "GltfError.h"
#include "Nodes.h"
#include "motion/AnimationChoice.h"

namespace TellarSceneImport {

namespace {

struct NodeTracks {
    Track position, rotation, scale;
};

Interpolation InterpolationOf(const std::string& name) {
    if (name == "STEP") return Interpolation::Step;
    return name == "CUBICSPLINE" ? Interpolation::CubicSpline : Interpolation::Linear;
}

class AnimationReader {
public:
    AnimationReader(const Document& document, const tinygltf::Animation& animation)
        : document(document), animation(animation) {}

    GltfAnimation read();

private:
    void readChannel(const tinygltf::AnimationChannel& channel);
    Track readTrack(const tinygltf::AnimationSampler& sampler, TrackKind kind, std::size_t width,
                    int valueWidth) const;
    std::size_t numberOfTargets(int node) const;

    const Document& document;
    const tinygltf::Animation& animation;
    std::map<int, NodeTracks> tracks;
    GltfAnimation result;
};

// `width` is the size of a value, and `valueWidth` that of an element of its accessor: weights are
// lists of scalars.
Track AnimationReader::readTrack(const tinygltf::AnimationSampler& sampler, TrackKind kind,
                                 std::size_t width, int valueWidth) const {
    const AccessorFloats times = ReadFloats(document, sampler.input);
    const AccessorFloats values = ReadFloats(document, sampler.output);
    const Interpolation interpolation = InterpolationOf(sampler.interpolation);
    const std::size_t perKey = interpolation == Interpolation::CubicSpline ? 3 * width : width;
    if (times.width != 1 || times.values.empty() || values.width != valueWidth ||
        values.values.size() / perKey < times.values.size())
        GltfError("animation \"" + animation.name + "\" has fewer values than times");
    document.memory().take(times.values.size(), sizeof(double) + perKey * sizeof(float));
    // Some exporters write more values than times.
    const auto last = values.values.begin() + std::ptrdiff_t(times.values.size() * perKey);
    return Track(kind, interpolation, width, {times.values.begin(), times.values.end()},
                 {values.values.begin(), last});
}

std::size_t AnimationReader::numberOfTargets(int node) const {
    const tinygltf::Model& model = document.model();
    const int mesh = model.nodes[node].mesh;
    if (mesh < 0 || model.meshes[mesh].primitives.empty()) return 0;
    return model.meshes[mesh].primitives.front().targets.size();
}

void AnimationReader::readChannel(const tinygltf::AnimationChannel& channel) {
    const int node = channel.target_node;
    if (node < 0) return;
    const tinygltf::AnimationSampler& sampler = animation.samplers[channel.sampler];
    const std::string& path = channel.target_path;
    if (path == "translation")
        tracks[node].position = readTrack(sampler, TrackKind::Vector, 3, 3);
    else if (path == "rotation")
        tracks[node].rotation = readTrack(sampler, TrackKind::Rotation, 4, 4);
    else if (path == "scale")
        tracks[node].scale = readTrack(sampler, TrackKind::Vector, 3, 3);
    else if (const std::size_t targets = numberOfTargets(node); path == "weights" && targets > 0)
        result.weights[node] = readTrack(sampler, TrackKind::Vector, targets, 1);
}

GltfAnimation AnimationReader::read() {
    for (const tinygltf::AnimationChannel& channel : animation.channels)
        readChannel(channel);
    for (auto& [node, moved] : tracks)
        result.nodes[node] = std::make_shared<NodeMotion>(
            TransformOf(document.model().nodes[node]), std::move(moved.position),
            std::move(moved.rotation), std::move(moved.scale));
    return std::move(result);
}

} // namespace

GltfAnimation ReadAnimation(const Document& document, const std::string& wanted) {
    const auto& animations = document.model().animations;
    std::vector<std::string> names;
    names.reserve(animations.size());
    for (const tinygltf::Animation& animation : animations)
        names.push_back(animation.name);
    const std::optional<std::size_t> index = ChooseAnimation(names, wanted);
    return index ? AnimationReader(document, animations[*index]).read() : GltfAnimation();
}

} // namespace TellarSceneImport
