#include "MeshMotion.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <utility>

#include "SampleTimes.h"
#include "model/PointValues.h"

namespace TellarSceneImport {

using OxAttribute::FloatAttribute;

namespace {

constexpr std::size_t kProbePoints = 200;

// The largest deviation from a straight line, relative to the size of the mesh.
constexpr double kTolerance = 1e-3;

constexpr std::size_t kMostSteps = 64;

std::vector<float> EveryNth(const std::vector<float>& points, std::size_t stride) {
    std::vector<float> chosen;
    for (std::size_t i = 0; i + 2 < points.size(); i += 3 * stride)
        chosen.insert(chosen.end(), points.begin() + std::ptrdiff_t(i),
                      points.begin() + std::ptrdiff_t(i + 3));
    return chosen;
}

// The largest distance between a point and its place on the line from `from` to `to`.
double Deviation(const std::vector<float>& from, const std::vector<float>& to, double amount,
                 const std::vector<float>& points) {
    double largest = 0;
    for (std::size_t i = 0; i + 2 < points.size(); i += 3) {
        double sum = 0;
        for (std::size_t axis = i; axis < i + 3; ++axis) {
            const double onLine = from[axis] + (double(to[axis]) - from[axis]) * amount;
            sum += (points[axis] - onLine) * (points[axis] - onLine);
        }
        largest = std::max(largest, sum);
    }
    return std::sqrt(largest);
}

FloatAttribute ToAttribute(const std::vector<float>& times, const std::vector<float>& values) {
    if (times.size() < 2) return FloatAttribute(values, 3);
    const auto count = static_cast<std::int64_t>(times.size());
    return {times.data(), count, values.data(), static_cast<std::int64_t>(values.size()) / count,
            3};
}

bool Fits(const std::vector<float>& values, const std::vector<float>& positions) {
    return values.empty() || values.size() == positions.size();
}

} // namespace

MeshMotion::MeshMotion(Parts meshParts) : parts(std::move(meshParts)) {
    check();
    if (parts.joints) chain = parts.joints->skeleton->withAncestors(parts.joints->skin.joints);
    moments = chooseMoments();
}

void MeshMotion::check() const {
    const MeshPoints& points = parts.points;
    bool fits = points.positions.size() % 3 == 0 && Fits(points.normals, points.positions);
    for (const MorphTarget& target : parts.targets)
        fits = fits && Fits(target.positions, points.positions) &&
               Fits(target.normals, points.positions);
    if (!fits) throw std::runtime_error("the values of a morph target do not fit its points");
    if (parts.restWeights.size() != parts.targets.size() ||
        (!parts.weights.isEmpty() && parts.weights.width() != parts.targets.size()))
        throw std::runtime_error("a mesh has a weight too many or too few for its morph targets");
    if (parts.joints) checkJoints();
}

void MeshMotion::checkJoints() const {
    const Skin& skin = parts.joints->skin;
    if (parts.joints->influences.pointCount() != parts.points.positions.size() / 3)
        throw std::runtime_error("the joints or weights of a skin do not fit its points");
    if (skin.inverseBinds.size() != skin.joints.size())
        throw std::runtime_error("a skin has a matrix too many or too few for its joints");
    for (const std::size_t joint : skin.joints)
        if (joint >= parts.joints->skeleton->size())
            throw std::runtime_error("a skin refers to a missing node");
}

std::uint64_t MeshMotion::bytes() const {
    return std::uint64_t(moments.size()) * sizeof(float) *
           (parts.points.positions.size() + parts.points.normals.size());
}

void MeshMotion::limitSamples(std::size_t count) {
    moments = Thin(moments, std::max(count, std::size_t(2)));
}

std::vector<double> MeshMotion::weightsAt(Moment moment) const {
    std::vector<double> weights = parts.restWeights;
    if (!parts.weights.isEmpty()) parts.weights.evaluate(moment, weights.data());
    return weights;
}

MeshPoints MeshMotion::pointsAt(Moment moment) const {
    return pointsAt(moment, parts.points, parts.targets, 1);
}

// `rest` and `targets` have every `stride`th point of the mesh.
MeshPoints MeshMotion::pointsAt(Moment moment, const MeshPoints& rest,
                                const std::vector<MorphTarget>& targets, std::size_t stride) const {
    MeshPoints points = rest;
    AddTargets(targets, weightsAt(moment), points);
    if (parts.joints) {
        const Joints& joints = *parts.joints;
        const std::vector<Matrix> matrices =
            JointMatrices(joints.skin, joints.skeleton->globalMatrices(chain, moment));
        for (std::size_t i = 0; i < points.positions.size(); i += 3)
            joints.influences.move(i / 3 * stride, matrices, &points.positions[i],
                                   points.normals.empty() ? nullptr : &points.normals[i]);
    }
    NormaliseNormals(points.normals);
    return points;
}

MeshMotion::Probe MeshMotion::makeProbe() const {
    Probe probe;
    probe.stride = std::max<std::size_t>(parts.points.positions.size() / 3 / kProbePoints, 1);
    probe.points.positions = EveryNth(parts.points.positions, probe.stride);
    for (const MorphTarget& target : parts.targets)
        probe.targets.push_back({EveryNth(target.positions, probe.stride), {}});
    return probe;
}

std::vector<float> MeshMotion::positionsAt(Moment moment, const Probe& probe) const {
    return pointsAt(moment, probe.points, probe.targets, probe.stride).positions;
}

// Whether linear interpolation between the two times stays within the tolerance. Tests more than
// the middle, where a curve may cross the line.
bool MeshMotion::isStraight(const Probe& probe, double from, double to, double tolerance) const {
    const std::vector<float> first = positionsAt({from, false}, probe);
    const std::vector<float> last = positionsAt({to, true}, probe);
    for (const double amount : {0.25, 0.5, 0.75}) {
        const Moment between = {from + (to - from) * amount, false};
        if (Deviation(first, last, amount, positionsAt(between, probe)) > tolerance) return false;
    }
    return true;
}

// The number of even steps that are each straight.
std::size_t MeshMotion::stepsBetween(const Probe& probe, double from, double to,
                                     double tolerance) const {
    std::size_t steps = 1;
    for (std::size_t step = 0; step < steps && steps < kMostSteps;) {
        const double length = (to - from) / double(steps);
        const double start = from + length * double(step);
        if (isStraight(probe, start, start + length, tolerance)) {
            ++step;
        } else {
            steps *= 2;
            step = 0;
        }
    }
    return steps;
}

std::vector<const Track*> MeshMotion::tracks() const {
    std::vector<const Track*> found;
    if (parts.joints) found = parts.joints->skeleton->tracks(chain);
    found.push_back(&parts.weights);
    return found;
}

std::vector<Moment> MeshMotion::chooseMoments() const {
    const std::vector<Moment> keys = KeyMoments(tracks());
    if (keys.empty()) return {Moment{}};
    const Probe probe = makeProbe();
    const double tolerance =
        kTolerance * BoundOf(positionsAt({keys.front().seconds, false}, probe)).diagonal();
    return Refine(keys,
                  [&](double from, double to) { return stepsBetween(probe, from, to, tolerance); });
}

Box MeshMotion::bound() const {
    Box box;
    for (const Moment& moment : moments)
        box.add(BoundOf(pointsAt(moment).positions));
    return box;
}

void MeshMotion::apply(const FrameClock& clock, OxAttribute::GroupBuilder& attrs) const {
    SampleTimes samples = ToSampleTimes(moments, clock);
    // The time of a single sample does not matter.
    if (samples.times.empty()) samples = {{moments.front()}, {0.0f}};
    std::vector<float> positions, normals;
    positions.reserve(samples.times.size() * parts.points.positions.size());
    normals.reserve(samples.times.size() * parts.points.normals.size());
    for (const Moment& moment : samples.moments) {
        const MeshPoints points = pointsAt(moment);
        positions.insert(positions.end(), points.positions.begin(), points.positions.end());
        normals.insert(normals.end(), points.normals.begin(), points.normals.end());
    }
    attrs.set("geometry.point.P", ToAttribute(samples.times, positions));
    if (!normals.empty()) attrs.set("geometry.point.N", ToAttribute(samples.times, normals));
}

std::uint64_t MeshMotion::memory() const {
    std::uint64_t bytes = sizeof *this + parts.points.memory() + parts.weights.memory();
    for (const MorphTarget& target : parts.targets)
        bytes += target.memory();
    if (parts.joints) bytes += sizeof(Joints) + parts.joints->influences.memory();
    return bytes + moments.capacity() * sizeof(Moment);
}

double LimitMotion(const std::vector<std::shared_ptr<MeshMotion>>& meshes, std::uint64_t maxBytes) {
    std::uint64_t bytes = 0;
    for (const auto& mesh : meshes)
        bytes += mesh->bytes();
    if (bytes <= maxBytes) return 1;
    const double kept = double(maxBytes) / double(bytes);
    for (const auto& mesh : meshes)
        mesh->limitSamples(static_cast<std::size_t>(double(mesh->sampleCount()) * kept));
    return kept;
}

} // namespace TellarSceneImport
