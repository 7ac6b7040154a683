#ifndef SCENEIMPORT_SAMPLETIMES_H
#define SCENEIMPORT_SAMPLETIMES_H

#include <cstddef>
#include <functional>
#include <vector>

#include "Track.h"
#include "model/Motion.h"

namespace TellarSceneImport {

/// The moments of all keys of the tracks, ascending and without repetitions. A track of one key is
/// constant, and importers add such tracks at time 0 where the file has none, so its time is used
/// only if no track has more keys.
std::vector<Moment> KeyMoments(const std::vector<const Track*>& tracks);

/// The moments with more of them in between: `stepsBetween` returns the number of even steps for
/// the time between two neighbours.
std::vector<Moment> Refine(const std::vector<Moment>& moments,
                           const std::function<std::size_t(double from, double to)>& stepsBetween);

/// At most `count` (2 or more) of the moments, evenly chosen, with the first and the last one.
std::vector<Moment> Thin(const std::vector<Moment>& moments, std::size_t count);

/// Time samples of an attribute: moments and their times in frames.
struct SampleTimes {
    std::vector<Moment> moments;
    std::vector<float> times; ///< strictly ascending
};

/// The times are those of the clock; a moment before a jump has the next lower float. Moments whose
/// times are not above the previous one as floats are left out.
SampleTimes ToSampleTimes(const std::vector<Moment>& moments, const FrameClock& clock);

} // namespace TellarSceneImport

#endif
