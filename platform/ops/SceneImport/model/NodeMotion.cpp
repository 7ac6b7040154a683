#include "NodeMotion.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include <OxTellarSDK/Attribute.h>

namespace TellarSceneImport {

namespace {

// The largest turn between two samples. The chord of a 5 degree arc is 0.1 % closer to the axis
// than the arc, which is not visible.
constexpr double kLargestTurn = 5.0 * 3.14159265358979323846 / 180.0;

template <typename Value>
void SortKeys(Track<Value>& track) {
    auto& keys = track.keys;
    keys.erase(std::remove_if(keys.begin(), keys.end(),
                              [](const auto& key) { return !std::isfinite(key.first); }),
               keys.end());
    std::stable_sort(keys.begin(), keys.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
}

Vector3 Interpolate(const Vector3& a, const Vector3& b, double amount) {
    Vector3 result;
    for (int i = 0; i < 3; ++i)
        result[i] = a[i] + (b[i] - a[i]) * amount;
    return result;
}

Quaternion Interpolate(const Quaternion& a, const Quaternion& b, double amount) {
    return Slerp(a, b, amount);
}

template <typename Value>
Value ValueAt(const Track<Value>& track, double seconds) {
    const auto& keys = track.keys;
    if (keys.empty()) return track.rest;
    const auto next =
        std::upper_bound(keys.begin(), keys.end(), seconds,
                         [](double time, const auto& key) { return time < key.first; });
    if (next == keys.begin()) return keys.front().second;
    const auto& before = *(next - 1);
    if (next == keys.end() || before.first == seconds) return before.second;
    return Interpolate(before.second, next->second,
                       (seconds - before.first) / (next->first - before.first));
}

template <typename Value>
void AddTimes(const Track<Value>& track, std::size_t atLeast, std::vector<double>& times) {
    if (track.keys.size() < atLeast) return;
    for (const auto& key : track.keys)
        times.push_back(key.first);
}

double AngleBetween(const Quaternion& a, const Quaternion& b) {
    const double cosine = std::abs(a[0] * b[0] + a[1] * b[1] + a[2] * b[2] + a[3] * b[3]);
    return 2.0 * std::acos(std::min(cosine, 1.0));
}

void AddTimesBetween(double from, double to, double turn, std::vector<double>& times) {
    // The tolerance keeps rounding from adding a step to a turn of 5, 10, ... degrees.
    const int steps = static_cast<int>(std::ceil(turn / kLargestTurn - 1e-3));
    for (int step = 1; step < steps; ++step)
        times.push_back(from + (to - from) * step / steps);
}

} // namespace

NodeMotion::NodeMotion(Track<Vector3> positionTrack, Track<Quaternion> rotationTrack,
                       Track<Vector3> scaleTrack)
    : position(std::move(positionTrack)), rotation(std::move(rotationTrack)),
      scale(std::move(scaleTrack)) {
    SortKeys(position);
    SortKeys(rotation);
    SortKeys(scale);
    rotation.rest = Normalized(rotation.rest);
    for (auto& key : rotation.keys)
        key.second = Normalized(key.second);
}

Matrix NodeMotion::matrixAt(double seconds) const {
    return ComposeMatrix(ValueAt(scale, seconds), ValueAt(rotation, seconds),
                         ValueAt(position, seconds));
}

std::vector<double> NodeMotion::sampleTimes() const {
    // A track of one key is constant. Importers add such tracks at time 0 where the file has none,
    // so their times are used only if there are no others.
    std::vector<double> keyTimes;
    for (const std::size_t atLeast : {2, 1}) {
        if (!keyTimes.empty()) break;
        AddTimes(position, atLeast, keyTimes);
        AddTimes(rotation, atLeast, keyTimes);
        AddTimes(scale, atLeast, keyTimes);
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

void NodeMotion::apply(const FrameClock& clock, OxAttribute::GroupBuilder& attrs) const {
    std::vector<float> times;
    std::vector<double> values;
    for (const double seconds : sampleTimes()) {
        const float time = static_cast<float>(clock.timeAt(seconds));
        // Far from the frame, neighbouring samples may have the same time as floats.
        if (!std::isfinite(time) || (!times.empty() && !(time > times.back()))) continue;
        times.push_back(time);
        const Matrix matrix = matrixAt(seconds);
        values.insert(values.end(), matrix.begin(), matrix.end());
    }
    if (times.empty()) return;
    attrs.set("xform.matrix",
              OxAttribute::DoubleAttribute(times.data(), static_cast<std::int64_t>(times.size()),
                                           values.data(), 16, 16));
}

} // namespace TellarSceneImport
