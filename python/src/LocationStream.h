#ifndef TELLAR_PYTHON_LOCATIONSTREAM_H
#define TELLAR_PYTHON_LOCATIONSTREAM_H

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <exception>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include <OxTellarProducers/GeometryProducer.h>
#include <OxTellarProducers/VisitLocations.h>

#include "Selection.h"

namespace TellarPython {

/// A location of a walk, or the error of one that could not be cooked.
struct StreamedLocation {
    TELLAR::GeometryProducer::Ptr location; // null with an error
    std::exception_ptr error;
};

/// The locations of a selection, in the order of the tree, made by other threads a bounded number
/// of locations ahead. For one thread; nothing in it needs the interpreter's lock.
class LocationStream {
public:
    using Batch = std::vector<StreamedLocation>;

    /// Starts nothing yet. `threads` as in VisitOptions.
    LocationStream(TELLAR::GeometryProducer::Ptr start, Selection selection, int threads);
    /// Stops the threads and waits for them.
    ~LocationStream();
    LocationStream(const LocationStream&) = delete;
    LocationStream& operator=(const LocationStream&) = delete;

    /// Waits for the next locations and returns them; an empty batch ends the stream. Throws what
    /// ended it early.
    Batch next();

private:
    void visit();
    TELLAR::VisitWish take(TELLAR::VisitedLocation& visited);
    void hand(Batch batch);

    const TELLAR::GeometryProducer::Ptr start;
    const Selection selection;
    const int threads;

    Batch current; // of the visiting thread
    std::atomic<bool> isWanted{false};
    std::atomic<bool> isStopped{false};

    std::mutex mutex; // guards the members below
    std::condition_variable changed;
    std::deque<Batch> ready;
    bool isDone = false;
    std::exception_ptr failure;

    std::thread visitor; // started by the first next()
};

} // namespace TellarPython

#endif
