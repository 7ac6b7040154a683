#include "NodeMotion.h"

#include <algorithm>
#include <cstdint>
#include <utility>

#include <OxTellarSDK/Attribute.h>

#include "SampleTimes.h"

namespace TellarSceneImport {

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

void NodeMotion::apply(const FrameClock& clock, OxAttribute::GroupBuilder& attrs) const {
    const auto stepsBetween = [this](double from, double to) {
        return std::max({position.stepsBetween(from, to), rotation.stepsBetween(from, to),
                         scale.stepsBetween(from, to)});
    };
    const SampleTimes samples = ToSampleTimes(Refine(KeyMoments(tracks()), stepsBetween), clock);
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
