#include "AssimpMotion.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace TellarSceneImport {

namespace {

// For files that do not say how long a tick is.
constexpr double kDefaultTicksPerSecond = 25.0;

std::vector<float> NumbersOf(const aiVector3D& value) {
    return {value.x, value.y, value.z};
}

std::vector<float> NumbersOf(const aiQuaternion& value) {
    return {value.x, value.y, value.z, value.w};
}

template <typename Key>
Track MakeTrack(TrackKind kind, std::size_t width, const Key* keys, unsigned count,
                double ticksPerSecond) {
    std::vector<double> seconds;
    std::vector<float> values;
    for (unsigned i = 0; i < count; ++i) {
        const double time = keys[i].mTime / ticksPerSecond;
        const std::vector<float> value = NumbersOf(keys[i].mValue);
        if (!std::isfinite(time) ||
            !std::all_of(value.begin(), value.end(), [](float v) { return std::isfinite(v); }))
            continue;
        seconds.push_back(time);
        values.insert(values.end(), value.begin(), value.end());
    }
    return Track(kind, Interpolation::Linear, width, seconds, values);
}

} // namespace

std::shared_ptr<const NodeMotion> MakeNodeMotion(const aiNodeAnim& channel, double ticksPerSecond,
                                                 const aiNode& node) {
    if (!(ticksPerSecond > 0.0)) ticksPerSecond = kDefaultTicksPerSecond;
    return std::make_shared<NodeMotion>(PartsOf(ToMatrix(node.mTransformation)),
                                        MakeTrack(TrackKind::Vector, 3, channel.mPositionKeys,
                                                  channel.mNumPositionKeys, ticksPerSecond),
                                        MakeTrack(TrackKind::Rotation, 4, channel.mRotationKeys,
                                                  channel.mNumRotationKeys, ticksPerSecond),
                                        MakeTrack(TrackKind::Vector, 3, channel.mScalingKeys,
                                                  channel.mNumScalingKeys, ticksPerSecond));
}

} // namespace TellarSceneImport
