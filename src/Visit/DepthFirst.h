#ifndef TELLAR_VISIT_DEPTHFIRST_H
#define TELLAR_VISIT_DEPTHFIRST_H

#include <cstddef>
#include <cstdint>
#include <exception>
#include <utility>

#include <OxTellarProducers/GeometryProducer.h>

// The parts of a depth-first walk that keeps a stack of its own, because a scene may be too deep
// for recursion: on each level, the siblings that are not visited yet.

namespace TELLAR {

/// A location below the start of a visit that was cooked, or that failed to.
struct FoundLocation {
    GeometryProducer* parent;
    GeometryProducer::Ptr location; // null when it does not exist or could not be cooked
    std::exception_ptr error;
    std::int64_t index;                         // among the parent's potential children
    std::size_t depth;                          // 1 for the children of the start
    GeometryProducer::Ptr keptParent = nullptr; // see keepParent

    /// Cooks the location. The caller keeps the parent alive.
    static FoundLocation At(const GeometryProducer::Ptr& parent, std::int64_t index,
                            std::size_t depth) {
        FoundLocation found{parent.get(), nullptr, nullptr, index, depth};
        try {
            found.location = parent->getChildByIndex(index);
        } catch (...) {
            found.error = std::current_exception();
        }
        return found;
    }

    bool exists() const { return location || error; }

    /// Keeps the parent alive, if the location does not.
    void keepParent() {
        if (!location || location->getRawParentPtr() != parent) keptParent = parent;
    }
};

/// Consecutive potential children of a location. They and what is below them are not visited yet.
struct Siblings {
    GeometryProducer::Ptr parent;
    std::int64_t next;
    std::int64_t end;
    std::size_t depth;

    static Siblings ChildrenOf(const GeometryProducer::Ptr& location, std::size_t depth) {
        return {location, 0, location->getPotentialChildren().getNumberOfValues(), depth + 1};
    }

    std::int64_t count() const { return end - next; }

    /// Takes out the first one and cooks it. The result keeps the parent alive.
    FoundLocation takeNext() {
        FoundLocation found = FoundLocation::At(parent, next++, depth);
        found.keepParent();
        return found;
    }

    /// Takes out the first ones.
    Siblings takeFirst(std::int64_t number) {
        const std::int64_t first = std::exchange(next, next + number);
        return {parent, first, next, depth};
    }

    /// Takes out the last ones.
    Siblings takeLast(std::int64_t number) {
        const std::int64_t last = std::exchange(end, end - number);
        return {parent, end, last, depth};
    }
};

} // namespace TELLAR

#endif
