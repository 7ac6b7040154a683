#ifndef LANTERN_DRAWING_LEARNING_H
#define LANTERN_DRAWING_LEARNING_H

#include <functional>
#include <vector>

#include "drawing/Guide.h"
#include "drawing/Sampler.h"

namespace lantern {

/// Traces a path through a random place of the picture and appends its visits.
using TraceToLearn = std::function<void(const Sampler&, std::vector<Guide::Visit>&)>;

/// Traces a few paths in each of several rounds, and makes the guide anew from all visits after
/// each round, so that the next round is guided. The result does not depend on the number of
/// threads. Passes on the exceptions of `trace`.
void Learn(Guide& guide, double pixels, int threads, const TraceToLearn& trace);

} // namespace lantern

#endif
