#include "Track.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <stdexcept>

#include "model/Space.h"

namespace TellarSceneImport {

namespace {

// The chord of a 5 degree arc is 0.1 % closer to the axis than the arc, which is not visible.
constexpr double kLargestTurn = 5.0 * 3.14159265358979323846 / 180.0;

constexpr double kTolerance = 1e-3;

// A limit for splines with extreme tangents.
constexpr double kMostSteps = 64;

// The turn of a spline is measured in this many parts, because its speed varies.
constexpr int kTurnParts = 16;

constexpr std::size_t kQuaternionWidth = 4;

Quaternion ToQuaternion(const double* value) {
    return {value[0], value[1], value[2], value[3]};
}

void Normalise(double* quaternion) {
    const Quaternion unit = Normalized(ToQuaternion(quaternion));
    std::copy(unit.begin(), unit.end(), quaternion);
}

std::size_t ToSteps(double steps) {
    // The tolerance keeps rounding from adding a step to a turn of 5, 10, ... degrees.
    return static_cast<std::size_t>(std::clamp(std::ceil(steps - 1e-3), 1.0, kMostSteps));
}

double Length(const float* vector, std::size_t width) {
    double sum = 0;
    for (std::size_t i = 0; i < width; ++i)
        sum += double(vector[i]) * vector[i];
    return std::sqrt(sum);
}

} // namespace

Track::Track(TrackKind kind, Interpolation interpolation, std::size_t width,
             const std::vector<double>& seconds, const std::vector<float>& values)
    : kind(kind), interpolation(interpolation), valueWidth(width) {
    const std::size_t numbersPerKey =
        interpolation == Interpolation::CubicSpline ? 3 * width : width;
    if (width == 0 || (kind == TrackKind::Rotation && width != kQuaternionWidth) ||
        values.size() / numbersPerKey != seconds.size() || values.size() % numbersPerKey != 0)
        throw std::runtime_error("the values of an animation do not fit its times");
    if (!std::all_of(seconds.begin(), seconds.end(), [](double v) { return std::isfinite(v); }) ||
        !std::all_of(values.begin(), values.end(), [](float v) { return std::isfinite(v); }))
        throw std::runtime_error("a number of an animation is not finite");
    readKeys(seconds, values);
    splineTolerance = kTolerance * extent();
}

void Track::readKeys(const std::vector<double>& seconds, const std::vector<float>& values) {
    std::vector<std::size_t> order(seconds.size());
    std::iota(order.begin(), order.end(), std::size_t(0));
    std::stable_sort(order.begin(), order.end(),
                     [&](std::size_t a, std::size_t b) { return seconds[a] < seconds[b]; });
    const std::size_t size = seconds.empty() ? 0 : values.size() / seconds.size();
    for (const std::size_t key : order) {
        times.push_back(seconds[key]);
        const float* const first = values.data() + key * size;
        numbers.insert(numbers.end(), first, first + size);
    }
}

const float* Track::keyValue(std::size_t key) const {
    return interpolation == Interpolation::CubicSpline ? &numbers[(3 * key + 1) * valueWidth]
                                                       : &numbers[key * valueWidth];
}

std::pair<const float*, const float*> Track::tangents(std::size_t key) const {
    return {&numbers[3 * key * valueWidth], &numbers[(3 * key + 2) * valueWidth]};
}

void Track::addMoments(std::vector<Moment>& moments) const {
    for (std::size_t key = 0; key < times.size(); ++key) {
        const bool jumps =
            key > 0 && (interpolation == Interpolation::Step || times[key] == times[key - 1]);
        if (jumps) moments.push_back({times[key], true});
        moments.push_back({times[key], false});
    }
}

void Track::copyValue(std::size_t key, double* value) const {
    std::copy_n(keyValue(key), valueWidth, value);
    if (kind == TrackKind::Rotation) Normalise(value);
}

void Track::evaluate(Moment moment, double* value) const {
    const auto next = moment.isBefore
                          ? std::lower_bound(times.begin(), times.end(), moment.seconds)
                          : std::upper_bound(times.begin(), times.end(), moment.seconds);
    const auto index = static_cast<std::size_t>(next - times.begin());
    if (index == 0) return copyValue(0, value);
    if (next == times.end() || interpolation == Interpolation::Step)
        return copyValue(index - 1, value);
    const double start = times[index - 1];
    evaluateBetween(index - 1, (moment.seconds - start) / (times[index] - start), value);
}

// `amount` is 0 at `key` and 1 at the next key.
void Track::evaluateBetween(std::size_t key, double amount, double* value) const {
    if (interpolation == Interpolation::CubicSpline) return evaluateSpline(key, amount, value);
    if (kind == TrackKind::Vector) return evaluateLine(key, amount, value);
    Quaternion from{}, to{};
    copyValue(key, from.data());
    copyValue(key + 1, to.data());
    const Quaternion between = Slerp(from, to, amount);
    std::copy(between.begin(), between.end(), value);
}

void Track::evaluateLine(std::size_t key, double amount, double* value) const {
    const float* const from = keyValue(key);
    const float* const to = keyValue(key + 1);
    for (std::size_t i = 0; i < valueWidth; ++i)
        value[i] = from[i] + (double(to[i]) - from[i]) * amount;
}

void Track::evaluateSpline(std::size_t key, double amount, double* value) const {
    const float* const from = keyValue(key);
    const float* const to = keyValue(key + 1);
    const double duration = times[key + 1] - times[key];
    const float* const leaving = tangents(key).second;
    const float* const arriving = tangents(key + 1).first;
    const double t = amount, t2 = t * t, t3 = t2 * t;
    for (std::size_t i = 0; i < valueWidth; ++i)
        value[i] = (2 * t3 - 3 * t2 + 1) * from[i] + duration * (t3 - 2 * t2 + t) * leaving[i] +
                   (-2 * t3 + 3 * t2) * to[i] + duration * (t3 - t2) * arriving[i];
    if (kind == TrackKind::Rotation) Normalise(value);
}

// The largest distance of a value from the first one, plus the largest swing of the tangents.
double Track::extent() const {
    if (interpolation != Interpolation::CubicSpline) return 0;
    double distance = 0, swing = 0;
    for (std::size_t key = 0; key < times.size(); ++key) {
        double sum = 0;
        for (std::size_t i = 0; i < valueWidth; ++i)
            sum += std::pow(double(keyValue(key)[i]) - keyValue(0)[i], 2);
        distance = std::max(distance, std::sqrt(sum));
        if (key == 0) continue;
        const double duration = times[key] - times[key - 1];
        swing = std::max({swing, duration * Length(tangents(key - 1).second, valueWidth),
                          duration * Length(tangents(key).first, valueWidth)});
    }
    return distance + swing;
}

// The length of the second derivative of a spline by `amount`.
double Track::largestCurvature(std::size_t key, double amount) const {
    const double duration = times[key + 1] - times[key];
    double sum = 0;
    for (std::size_t i = 0; i < valueWidth; ++i) {
        const double change = double(keyValue(key)[i]) - keyValue(key + 1)[i];
        const double leaving = duration * tangents(key).second[i];
        const double arriving = duration * tangents(key + 1).first[i];
        sum += std::pow((12 * amount - 6) * change + (6 * amount - 4) * leaving +
                            (6 * amount - 2) * arriving,
                        2);
    }
    return std::sqrt(sum);
}

double Track::angleBetween(double from, double to) const {
    Quaternion a{}, b{};
    evaluate({from, false}, a.data());
    evaluate({to, true}, b.data());
    const double cosine = std::abs(a[0] * b[0] + a[1] * b[1] + a[2] * b[2] + a[3] * b[3]);
    return 2.0 * std::acos(std::min(cosine, 1.0));
}

std::size_t Track::stepsBetween(double from, double to) const {
    if (times.size() < 2 || interpolation == Interpolation::Step || !(from < to) ||
        to <= times.front() || from >= times.back())
        return 1;
    if (kind == TrackKind::Rotation) return stepsOfRotation(from, to);
    if (interpolation == Interpolation::Linear || splineTolerance == 0) return 1;
    return stepsOfSpline(from, to);
}

std::size_t Track::stepsOfRotation(double from, double to) const {
    if (interpolation == Interpolation::Linear)
        return ToSteps(angleBetween(from, to) / kLargestTurn);
    double turn = 0;
    for (int part = 0; part < kTurnParts; ++part)
        turn = std::max(turn, angleBetween(from + (to - from) * part / kTurnParts,
                                           from + (to - from) * (part + 1) / kTurnParts));
    return ToSteps(turn * kTurnParts / kLargestTurn);
}

// A chord deviates by at most an eighth of the squared step times the second derivative, which is
// linear over an interval between keys and so is largest at an end.
std::size_t Track::stepsOfSpline(double from, double to) const {
    const auto key = static_cast<std::size_t>(
        std::upper_bound(times.begin(), times.end() - 1, from) - times.begin() - 1);
    const double duration = times[key + 1] - times[key];
    if (!(duration > 0)) return 1;
    const double first = (from - times[key]) / duration, last = (to - times[key]) / duration;
    const double curvature = std::max(largestCurvature(key, first), largestCurvature(key, last));
    return ToSteps((last - first) * std::sqrt(curvature / 8 / splineTolerance));
}

} // namespace TellarSceneImport
