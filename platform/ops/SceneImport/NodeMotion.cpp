#include "NodeMotion.h"

#include <algorithm>
#include <cmath>

#include "Space.h"

namespace TellarSceneImport {

namespace {

// The largest turn between two samples. The chord of a 5 degree arc is 0.1 % closer to the axis
// than the arc, which is not visible.
constexpr double kLargestTurn = 5.0 * 3.14159265358979323846 / 180.0;

// For files that do not say how long a tick is.
constexpr double kDefaultTicksPerSecond = 25.0;

aiVector3D Usable(const aiVector3D& value) {
    return value;
}

aiQuaternion Usable(aiQuaternion value) {
    const float length =
        std::sqrt(value.w * value.w + value.x * value.x + value.y * value.y + value.z * value.z);
    if (!std::isfinite(length) || length == 0.0f) return {};
    return {value.w / length, value.x / length, value.y / length, value.z / length};
}

template <typename Keys, typename Key>
void CopyKeys(Keys& copied, const Key* keys, unsigned count, double ticksPerSecond) {
    for (unsigned i = 0; i < count; ++i) {
        const double seconds = keys[i].mTime / ticksPerSecond;
        if (std::isfinite(seconds)) copied.emplace_back(seconds, Usable(keys[i].mValue));
    }
    std::stable_sort(copied.begin(), copied.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
}

aiVector3D Interpolate(const aiVector3D& a, const aiVector3D& b, float amount) {
    return a + (b - a) * amount;
}

aiQuaternion Interpolate(const aiQuaternion& a, const aiQuaternion& b, float amount) {
    aiQuaternion result;
    aiQuaternion::Interpolate(result, a, b, amount);
    return result;
}

template <typename Track>
auto ValueAt(const Track& track, double seconds) {
    const auto& keys = track.keys;
    if (keys.empty()) return track.rest;
    const auto next =
        std::upper_bound(keys.begin(), keys.end(), seconds,
                         [](double time, const auto& key) { return time < key.first; });
    if (next == keys.begin()) return keys.front().second;
    const auto& before = *(next - 1);
    if (next == keys.end() || before.first == seconds) return before.second;
    const double amount = (seconds - before.first) / (next->first - before.first);
    return Interpolate(before.second, next->second, static_cast<float>(amount));
}

template <typename Keys>
void AddTimes(const Keys& keys, std::size_t atLeast, std::vector<double>& times) {
    if (keys.size() < atLeast) return;
    for (const auto& key : keys)
        times.push_back(key.first);
}

double AngleBetween(const aiQuaternion& a, const aiQuaternion& b) {
    const double cosine =
        std::abs(double(a.w) * b.w + double(a.x) * b.x + double(a.y) * b.y + double(a.z) * b.z);
    return 2.0 * std::acos(std::min(cosine, 1.0));
}

void AddTimesBetween(double from, double to, double turn, std::vector<double>& times) {
    // The tolerance keeps rounding from adding a step to a turn of 5, 10, ... degrees.
    const int steps = static_cast<int>(std::ceil(turn / kLargestTurn - 1e-3));
    for (int step = 1; step < steps; ++step)
        times.push_back(from + (to - from) * step / steps);
}

} // namespace

NodeMotion::NodeMotion(const aiNodeAnim& channel, double ticksPerSecond, const aiNode& node) {
    if (!(ticksPerSecond > 0.0)) ticksPerSecond = kDefaultTicksPerSecond;
    node.mTransformation.Decompose(scale.rest, rotation.rest, position.rest);
    rotation.rest = Usable(rotation.rest);
    CopyKeys(position.keys, channel.mPositionKeys, channel.mNumPositionKeys, ticksPerSecond);
    CopyKeys(rotation.keys, channel.mRotationKeys, channel.mNumRotationKeys, ticksPerSecond);
    CopyKeys(scale.keys, channel.mScalingKeys, channel.mNumScalingKeys, ticksPerSecond);
}

aiMatrix4x4 NodeMotion::matrixAt(double seconds) const {
    return {ValueAt(scale, seconds), ValueAt(rotation, seconds), ValueAt(position, seconds)};
}

std::vector<double> NodeMotion::sampleTimes() const {
    // A track of one key is constant. Importers add such tracks at time 0 where the file has none,
    // so their times are used only if there are no others.
    std::vector<double> keyTimes;
    for (const std::size_t atLeast : {2, 1}) {
        if (!keyTimes.empty()) break;
        AddTimes(position.keys, atLeast, keyTimes);
        AddTimes(rotation.keys, atLeast, keyTimes);
        AddTimes(scale.keys, atLeast, keyTimes);
    }
    std::sort(keyTimes.begin(), keyTimes.end());
    keyTimes.erase(std::unique(keyTimes.begin(), keyTimes.end()), keyTimes.end());

    std::vector<double> times;
    for (std::size_t i = 0; i < keyTimes.size(); ++i) {
        if (i > 0)
            AddTimesBetween(
                keyTimes[i - 1], keyTimes[i],
                AngleBetween(ValueAt(rotation, keyTimes[i - 1]), ValueAt(rotation, keyTimes[i])),
                times);
        times.push_back(keyTimes[i]);
    }
    return times;
}

OxAttribute::DoubleAttribute NodeMotion::matrices(double framesPerSecond, double frame) const {
    std::vector<float> times;
    std::vector<double> values;
    for (const double seconds : sampleTimes()) {
        const float time = static_cast<float>(seconds * framesPerSecond - frame);
        // Far from the frame, neighbouring samples may have the same time as floats.
        if (!std::isfinite(time) || (!times.empty() && !(time > times.back()))) continue;
        times.push_back(time);
        const Matrix matrix = ToMatrix(matrixAt(seconds));
        values.insert(values.end(), matrix.begin(), matrix.end());
    }
    if (times.empty()) return {};
    return {times.data(), static_cast<std::int64_t>(times.size()), values.data(), 16, 16};
}

} // namespace TellarSceneImport
