#ifndef OXTELLARPRODUCERS_VISITLOCATIONS_H
#define OXTELLARPRODUCERS_VISITLOCATIONS_H

#include <cstddef>
#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <OxTellarProducers/Export.h>
#include <OxTellarProducers/GeometryProducer.h>

namespace TELLAR {

/// The answer of a visitor.
enum class VisitWish {
    GoOn,
    Prune, ///< leaves out everything below the location
    Stop   ///< ends the visit
};

/// How a visit ended.
enum class VisitEnd {
    Done,
    Stopped,  ///< by the visitor
    Cancelled ///< by VisitOptions::isCancelled
};

/// A location that is visited, valid during the call. A visitor that wants to keep the location or
/// its parent copies the pointer into a GeometryProducer::Ptr.
struct TELLAR_API VisitedLocation {
    /// Null when the location could not be cooked.
    GeometryProducer* location = nullptr;
    /// The exception of a location that could not be cooked; null for the others.
    std::exception_ptr error;
    /// Null at the start of the visit.
    GeometryProducer* parent = nullptr;
    /// The indices among potential children that lead here from the start of the visit, one for
    /// each level. In lexicographical order, places are in the order of the tree.
    const std::vector<std::int64_t>& place;
    /// The thread of the call: 0 is the one that called VisitLocations. No two calls at once have
    /// the same number.
    int thread = 0;
    /// The value that the visitor passed down at the parent; null at the start.
    const std::shared_ptr<const void>& inherited;
    /// Set by the visitor, for the children of the location. It is dropped when none of them needs
    /// it any more.
    std::shared_ptr<const void> passedDown;

    /// The number of levels below the start.
    std::size_t getDepth() const { return place.size(); }
    std::string getName() const;
    std::string getPath() const;
};

using Visitor = std::function<VisitWish(VisitedLocation&)>;

struct VisitOptions {
    /// The calling thread and new ones that end with the visit; 0 means one for each processor.
    /// With 1 no thread is made. When the system refuses threads, the visit goes on with fewer.
    int threads = 1;
    /// True: calls come one at a time, on the calling thread, in the order of the tree, while the
    /// other threads cook a bounded number of locations ahead. False: calls come on all threads at
    /// once. In both a parent comes before its children.
    bool isOrdered = false;
    /// Asked before every location, on all threads of the visit; true ends it. May be empty.
    std::function<bool()> isCancelled = nullptr;
};

/// Calls the visitor for the location `start` and for all locations below it that exist. A location
/// that cannot be cooked is visited with its error; it has no children, and its siblings follow. A
/// null `start` has nothing to visit. A scene may be of any depth.
///
/// The first exception of the visitor or of isCancelled ends the visit, and is thrown here when all
/// calls have returned. After Stop, cancellation or an exception, other threads end the calls that
/// they have begun or are about to begin.
///
/// Threads: with more than one, the producer must be of a kind that several threads may navigate at
/// once, whatever `isOrdered` says. The library's own kinds are, over a client that allows it.
/// Children are found by getChildByIndex.
TELLAR_API VisitEnd VisitLocations(const GeometryProducer::Ptr& start, const VisitOptions& options,
                                   const Visitor& visitor);

} // namespace TELLAR

#endif
