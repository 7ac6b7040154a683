#ifndef LANTERN_DRAWING_LEARNING_H
#define LANTERN_DRAWING_LEARNING_H

#include <functional>
#include <vector>

#include "drawing/Guide.h"
#include "drawing/Sampler.h"

namespace lantern {

/// Traces a path through any place of the picture, and appends its visits.
using TraceToLearn = std::function<void(const Sampler&, std::vector<Guide::Visit>&)>;

/// Lets the guide learn from a few paths in each of several rounds. The paths of a round can use
/// what those before it have taught. The number of threads makes no difference to the result.
/// Throws what the function throws.
void Learn(Guide& guide, double pixels, int threads, const TraceToLearn& trace);

} // namespace lantern

#endif
