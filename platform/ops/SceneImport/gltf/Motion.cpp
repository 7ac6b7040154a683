#include "Motion.h"

#include <algorithm>
#include <map>
#include <memory>
#include <string>
#include <utility>

#include "TinyGltf.h"

#include "Accessors.h"
#include "Document.h"
#include "GltfError.h"
#include "Nodes.h"
#include "model/NodeMotion.h"

namespace TellarSceneImport {

namespace {

struct NodeTracks {
    Track<Vector3> position, scale;
    Track<Quaternion> rotation;
};

template <typename Value>
void ReadTrack(const Document& document, const tinygltf::AnimationSampler& sampler,
               Track<Value>& track) {
    const AccessorFloats times = ReadFloats(document, sampler.input);
    const AccessorFloats values = ReadFloats(document, sampler.output);
    Value value{};
    // A cubic spline has a tangent before and after each value.
    const bool isCubic = sampler.interpolation == "CUBICSPLINE";
    const std::size_t perKey = isCubic ? 3 : 1;
    if (values.width != static_cast<int>(value.size()) || values.count() / perKey < times.count())
        GltfError("an animation has fewer values than times");
    for (std::size_t i = 0; i < times.count(); ++i) {
        const float* numbers = values.at(i * perKey + (isCubic ? 1 : 0));
        std::copy_n(numbers, value.size(), value.begin());
        track.keys.emplace_back(times.values[i], value);
    }
}

void ReadChannel(const Document& document, const tinygltf::AnimationSampler& sampler,
                 const std::string& path, NodeTracks& tracks) {
    if (path == "translation") ReadTrack(document, sampler, tracks.position);
    if (path == "rotation") ReadTrack(document, sampler, tracks.rotation);
    if (path == "scale") ReadTrack(document, sampler, tracks.scale);
}

NodeTracks TracksAtRest(const tinygltf::Node& node) {
    const Transform transform = TransformOf(node);
    NodeTracks tracks;
    tracks.position.rest = transform.position;
    tracks.rotation.rest = transform.rotation;
    tracks.scale.rest = transform.scale;
    return tracks;
}

} // namespace

// The first of several animations of a node is used.
void AddMotion(const Document& document, const std::vector<int>& sources, SceneContent& content) {
    const tinygltf::Model& model = document.model();
    std::map<int, std::shared_ptr<const Motion>> motions;
    for (const tinygltf::Animation& animation : model.animations) {
        std::map<int, NodeTracks> moved;
        for (const tinygltf::AnimationChannel& channel : animation.channels) {
            const int node = channel.target_node;
            if (node < 0 || motions.count(node) > 0 || channel.target_path == "weights") continue;
            const auto tracks = moved.emplace(node, TracksAtRest(model.nodes[node])).first;
            ReadChannel(document, animation.samplers[channel.sampler], channel.target_path,
                        tracks->second);
        }
        for (auto& [node, tracks] : moved)
            motions[node] = std::make_shared<NodeMotion>(
                std::move(tracks.position), std::move(tracks.rotation), std::move(tracks.scale));
    }
    for (std::size_t i = 0; i < sources.size(); ++i)
        if (const auto found = motions.find(sources[i]); found != motions.end())
            content.nodes[i].motion = found->second;
}

} // namespace TellarSceneImport
