#ifndef TELLAR_PYTHON_LOCATIONSTEPS_H
#define TELLAR_PYTHON_LOCATIONSTEPS_H

#include <cstddef>
#include <cstdint>
#include <exception>
#include <memory>
#include <vector>

#include <OxTellarProducers/GeometryProducer.h>

#include "Selection.h"

namespace TellarPython {

/// A location of a walk, or the error of one that could not be cooked.
struct WalkedLocation {
    TELLAR::GeometryProducer::Ptr location; // null with an error
    std::exception_ptr error;
};

/// The locations of a selection, in the order of the tree, cooked some at a time by the thread that
/// asks for them. For one thread; nothing in it needs the interpreter's lock.
class LocationSteps {
public:
    using Batch = std::vector<WalkedLocation>;

    /// A null start has no locations.
    LocationSteps(TELLAR::GeometryProducer::Ptr start, Selection selection);

    /// Replaces the content of `batch` by the next locations; by none at the end.
    void next(Batch& batch);
    /// The number of locations that were visited, selected or not.
    std::size_t countVisited() const { return visited; }

private:
    /// A location above the last one, and the number of its potential children.
    struct Level {
        TELLAR::GeometryProducer::Ptr parent;
        std::int64_t count;
    };

    void step(Batch& batch);
    void visit(TELLAR::GeometryProducer::Ptr location, Batch& batch);
    bool isOver() const { return !start && levels.empty(); }

    TELLAR::GeometryProducer::Ptr start; // null when it was visited
    const Selection selection;
    std::size_t most = 1; // locations in the next batch
    std::size_t visited = 0;
    std::vector<Level> levels;
    // The index of the last location on each level, -1 before the first one.
    std::vector<std::int64_t> place;
    const std::shared_ptr<const void> nothing;
};

} // namespace TellarPython

#endif
