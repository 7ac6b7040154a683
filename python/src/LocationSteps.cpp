#include "LocationSteps.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <utility>

#include <OxTellarProducers/VisitLocations.h>

namespace TellarPython {

namespace {

using Clock = std::chrono::steady_clock;
using TELLAR::GeometryProducer;
using TELLAR::VisitedLocation;
using TELLAR::VisitWish;

// A batch costs a release of the interpreter's lock. Batches begin small, and end early where
// locations take long, so that the first one of each comes soon.
constexpr std::size_t kMostInBatch = 256;
constexpr std::chrono::microseconds kLongestBatch{500};

} // namespace

LocationSteps::LocationSteps(GeometryProducer::Ptr start, Selection selection)
    : start(std::move(start)), selection(std::move(selection)) {}

void LocationSteps::next(Batch& batch) {
    batch.clear();
    const Clock::time_point begin = Clock::now();
    while (!isOver() && batch.size() < most) {
        if (start)
            visit(std::exchange(start, nullptr), batch);
        else
            step(batch);
        if (!batch.empty() && Clock::now() - begin > kLongestBatch) break;
    }
    most = std::min(2 * most, kMostInBatch);
}

/// Visits the next potential child, if it exists.
void LocationSteps::step(Batch& batch) {
    Level& level = levels.back();
    if (++place.back() == level.count) {
        levels.pop_back();
        place.pop_back();
        return;
    }
    GeometryProducer::Ptr location;
    try {
        location = level.parent->getChildByIndex(place.back());
    } catch (...) {
        // Its siblings follow.
        ++visited;
        batch.push_back({nullptr, std::current_exception()});
        return;
    }
    if (location) visit(std::move(location), batch);
}

void LocationSteps::visit(GeometryProducer::Ptr location, Batch& batch) {
    ++visited;
    const VisitedLocation found{location.get(), nullptr, location->getRawParentPtr(), place, 0,
                                nothing,        nullptr};
    const std::int64_t children = selection.wishAt(found) == VisitWish::GoOn
                                      ? location->getPotentialChildren().getNumberOfValues()
                                      : 0;
    const bool isSelected = selection.has(found);
    if (children > 0) {
        levels.push_back({location, children});
        place.push_back(-1);
    }
    if (isSelected) batch.push_back({std::move(location), nullptr});
}

} // namespace TellarPython
