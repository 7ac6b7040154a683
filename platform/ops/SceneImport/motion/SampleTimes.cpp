#include "SampleTimes.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace TellarSceneImport {

std::vector<Moment> KeyMoments(const std::vector<const Track*>& tracks) {
    std::vector<Moment> moments;
    for (const std::size_t atLeast : {2, 1}) {
        if (!moments.empty()) break;
        for (const Track* track : tracks)
            if (track->keyTimes().size() >= atLeast) track->addMoments(moments);
    }
    std::sort(moments.begin(), moments.end());
    moments.erase(std::unique(moments.begin(), moments.end()), moments.end());
    return moments;
}

std::vector<Moment> Refine(const std::vector<Moment>& moments,
                           const std::function<std::size_t(double from, double to)>& stepsBetween) {
    std::vector<Moment> refined;
    for (std::size_t i = 0; i < moments.size(); ++i) {
        if (i > 0 && moments[i - 1].seconds < moments[i].seconds) {
            const double from = moments[i - 1].seconds, to = moments[i].seconds;
            const std::size_t steps = stepsBetween(from, to);
            for (std::size_t step = 1; step < steps; ++step)
                refined.push_back({from + (to - from) * double(step) / double(steps), false});
        }
        refined.push_back(moments[i]);
    }
    return refined;
}

std::vector<Moment> Thin(const std::vector<Moment>& moments, std::size_t count) {
    if (moments.size() <= count) return moments;
    std::vector<Moment> kept;
    for (std::size_t i = 0; i < count; ++i)
        kept.push_back(moments[i * (moments.size() - 1) / (count - 1)]);
    return kept;
}

SampleTimes ToSampleTimes(const std::vector<Moment>& moments, const FrameClock& clock) {
    SampleTimes samples;
    for (const Moment& moment : moments) {
        auto time = static_cast<float>(clock.timeAt(moment.seconds));
        if (moment.isBefore) time = std::nextafter(time, -std::numeric_limits<float>::infinity());
        // Far from the frame, neighbouring samples may have the same time as floats.
        if (!std::isfinite(time) || (!samples.times.empty() && !(time > samples.times.back())))
            continue;
        samples.moments.push_back(moment);
        samples.times.push_back(time);
    }
    return samples;
}

} // namespace TellarSceneImport
