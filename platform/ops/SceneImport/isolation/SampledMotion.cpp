#include "SampledMotion.h"

#include <cmath>
#include <string>
#include <utility>
#include <vector>

#include "model/SceneMemory.h"

namespace TellarSceneImport {

using namespace OxAttribute;

namespace {

constexpr double kTicksPerSecond = 600;

/// Samples whose times are not finite, or equal as floats, are left out.
template <typename Data, typename Number>
Data Retimed(const Data& source, const FrameClock& clock) {
    std::vector<float> times;
    std::vector<Number> values;
    std::size_t valuesOfSample = 0;
    for (std::int64_t i = 0; i < source.getNumberOfTimeSamples(); ++i) {
        const float tick = source.getSampleTime(i);
        const float time = static_cast<float>(clock.timeAt(tick / kTicksPerSecond));
        if (!std::isfinite(time) || (!times.empty() && !(time > times.back()))) continue;
        times.push_back(time);
        const auto sample = source.getNearestSample(tick);
        valuesOfSample = sample.size();
        values.insert(values.end(), sample.begin(), sample.end());
    }
    if (times.empty()) return {};
    return {times.data(), static_cast<std::int64_t>(times.size()), values.data(),
            static_cast<std::int64_t>(valuesOfSample), source.getTupleSize()};
}

Attribute RetimedAttribute(const Attribute& source, const FrameClock& clock) {
    switch (source.getType()) {
    case kAttributeTypeFloat:
        return Retimed<FloatAttribute, float>(FloatAttribute(source), clock);
    case kAttributeTypeDouble:
        return Retimed<DoubleAttribute, double>(DoubleAttribute(source), clock);
    default:
        return source;
    }
}

void Apply(const GroupAttribute& samples, const std::string& path, const FrameClock& clock,
           GroupBuilder& attrs) {
    for (std::int64_t i = 0; i < samples.getNumberOfChildren(); ++i) {
        const std::string name = path + samples.getChildName(i);
        const Attribute child = samples.getChildByIndex(i);
        if (child.getType() == kAttributeTypeGroup)
            Apply(GroupAttribute(child), name + '.', clock, attrs);
        else
            attrs.set(name, RetimedAttribute(child, clock));
    }
}

} // namespace

GroupAttribute SampledMotion::SamplesOf(const Motion& motion) {
    GroupBuilder attrs;
    motion.apply({kTicksPerSecond, 0}, attrs);
    return attrs.isEmpty() ? GroupAttribute(false) : attrs.build();
}

void SampledMotion::apply(const FrameClock& clock, GroupBuilder& attrs) const {
    Apply(samples, "", clock, attrs);
}

std::uint64_t SampledMotion::memory() const {
    return sizeof *this + MemoryOf(samples);
}

} // namespace TellarSceneImport
