#include "reading/Shutter.h"

#include <algorithm>
#include <cmath>

namespace lantern {

namespace {

bool LiesOnAStep(double time, const Shutter& shutter, int steps) {
    constexpr double kTolerance = 1e-3; // relative to a step
    const double length = static_cast<double>(shutter.close) - shutter.open;
    const double step = (time - shutter.open) / length * (steps - 1);
    return std::abs(step - std::round(step)) <= kTolerance;
}

} // namespace

float Shutter::timeOf(int step, int steps) const {
    if (step == 0) return open;
    if (step == steps - 1) return close;
    return static_cast<float>(open + (static_cast<double>(close) - open) * step / (steps - 1));
}

int CountSteps(const Suites& suites, const Attribute& value, const Shutter& shutter) {
    if (!shutter.isOpen() || value.sampleCount() < 2) return 1;
    const std::vector<float> times = value.sampleTimes();
    const Attribute relevant = Attribute::owning(
        suites.attributes(), suites.utils().getSampleTimesRelevantToShutterRange(
                                 times.data(), static_cast<std::int64_t>(times.size()),
                                 shutter.open, shutter.close, nullptr));
    const std::vector<float> kept = relevant.floatsNearest();
    if (kept.size() < 2) return 1;
    for (const int steps : {2, 3, 5}) {
        const bool isEnough = std::all_of(kept.begin(), kept.end(), [&](float time) {
            const bool isInside = time > shutter.open && time < shutter.close;
            return !isInside || LiesOnAStep(time, shutter, steps);
        });
        if (isEnough) return steps;
    }
    return kFinestSteps;
}

} // namespace lantern
