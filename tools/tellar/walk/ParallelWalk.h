#ifndef TELLAR_TOOL_PARALLELWALK_H
#define TELLAR_TOOL_PARALLELWALK_H

#include <cstddef>
#include <functional>
#include <limits>
#include <string>

#include <OxTellarProducers/GeometryProducer.h>

#include "LocationPrinter.h"
#include "LocationWalk.h"

namespace TellarTool {

struct WalkLimits {
    std::size_t depth = std::numeric_limits<std::size_t>::max(); ///< levels below the start
    std::size_t threads = 1;
};

/// Prints `start` and everything below it. `write` gets the text in the order of the tree, on the
/// calling thread, whatever the number of threads. Throws what cooking and `write` throw.
void WalkLocations(const TELLAR::GeometryProducer::Ptr& start, const WalkLimits& limits,
                   const LocationPrinter& printer, LocationCount& count,
                   const std::function<void(const std::string&)>& write);

} // namespace TellarTool

#endif
