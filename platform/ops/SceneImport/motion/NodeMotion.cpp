#include "NodeMotion.h"

#include <algorithm>
#include <cstdint>
#include <utility>

#include <OxTellarSDK/Attribute.h>

#include "SampleTimes.h"

namespace TellarSceneImport {

namespace {

// Limits the memory that a location takes. It is enough for two hours of a key for every frame.
constexpr std::size_t kMostSamples = std::size_t(1) << 18;

} // namespace

NodeMotion::NodeMotion(const Transform& rest, Track position, Track rotation, Track scale)
    : rest(rest), position(std::move(position)), rotation(std::move(rotation)),
      scale(std::move(scale)) {}

Matrix NodeMotion::matrixAt(Moment moment) const {
    Transform parts = rest;
    if (!position.isEmpty()) position.evaluate(moment, parts.position.data());
    if (!rotation.isEmpty()) rotation.evaluate(moment, parts.rotation.data());
    if (!scale.isEmpty()) scale.evaluate(moment, parts.scale.data());
    return ComposeMatrix(parts.scale, Normalized(parts.rotation), parts.position);
}

std::vector<const Track*> NodeMotion::tracks() const {
    return {&position, &rotation, &scale};
}

std::uint64_t NodeMotion::memory() const {
    return sizeof *this + position.memory() + rotation.memory() + scale.memory();
}

void NodeMotion::apply(const FrameClock& clock, OxAttribute::GroupBuilder& attrs) const {
    const std::vector<Moment> keys = KeyMoments(tracks());
    const std::size_t mostSteps = std::max<std::size_t>(kMostSamples / (keys.size() + 1), 1);
    const auto stepsBetween = [this, mostSteps](double from, double to) {
        const std::size_t steps =
            std::max({position.stepsBetween(from, to), rotation.stepsBetween(from, to),
                      scale.stepsBetween(from, to)});
        return std::min(steps, mostSteps);
    };
    const SampleTimes samples =
        ToSampleTimes(Thin(Refine(keys, stepsBetween), kMostSamples), clock);
    if (samples.times.empty()) return;
    std::vector<double> values;
    for (const Moment& moment : samples.moments) {
        const Matrix matrix = matrixAt(moment);
        values.insert(values.end(), matrix.begin(), matrix.end());
    }
    attrs.set("xform.matrix",
              OxAttribute::DoubleAttribute(samples.times.data(),
                                           static_cast<std::int64_t>(samples.times.size()),
                                           values.data(), 16, 16));
}

} // namespace TellarSceneImport
