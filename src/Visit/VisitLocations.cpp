#include <OxTellarProducers/VisitLocations.h>

#include <algorithm>
#include <thread>
#include <utility>

#include "LocationNames.h"
#include "VisitInAnyOrder.h"
#include "VisitInOrder.h"

namespace TELLAR {

namespace {

constexpr int kMostThreads = 256;

int NumberOfThreads(int wanted) {
    if (wanted > 0) return std::min(wanted, kMostThreads);
    return std::clamp(static_cast<int>(std::thread::hardware_concurrency()), 1, kMostThreads);
}

} // namespace

std::string VisitedLocation::getName() const {
    if (location || !parent) return location ? location->getName() : std::string();
    const OxAttribute::StringAttribute names = parent->getPotentialChildren();
    return std::string(names.getValueView(place.back()));
}

std::string VisitedLocation::getPath() const {
    if (location || !parent) return location ? location->getFullName() : std::string();
    return ChildPath(parent->getFullName(), getName());
}

VisitEnd VisitLocations(const GeometryProducer::Ptr& start, const VisitOptions& options,
                        const Visitor& visitor) {
    if (!start) return VisitEnd::Done;
    if (options.isCancelled && options.isCancelled()) return VisitEnd::Cancelled;
    const std::vector<std::int64_t> noPlace;
    const std::shared_ptr<const void> nothing;
    VisitedLocation visited{start.get(), nullptr, nullptr, noPlace, 0, nothing, nullptr};
    const VisitWish wish = visitor(visited);
    if (wish == VisitWish::Stop) return VisitEnd::Stopped;
    Siblings children = Siblings::ChildrenOf(start, 0);
    if (wish == VisitWish::Prune || children.count() == 0) return VisitEnd::Done;

    const int threads = NumberOfThreads(options.threads);
    const auto visit = options.isOrdered && threads > 1 ? VisitInOrder : VisitInAnyOrder;
    return visit(std::move(children), std::move(visited.passedDown), threads, options, visitor);
}

} // namespace TELLAR
