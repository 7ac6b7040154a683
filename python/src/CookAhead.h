#ifndef TELLAR_PYTHON_COOKAHEAD_H
#define TELLAR_PYTHON_COOKAHEAD_H

#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <thread>

#include <OxTellarProducers/VisitLocations.h>

#include "Selection.h"

namespace TellarPython {

/// Threads that cook the locations of a walk a bounded number ahead of it, so that it finds them
/// cooked. What cannot be cooked is left to the walk.
class CookAhead {
public:
    /// `threads` as in VisitOptions.
    CookAhead(TELLAR::GeometryProducer::Ptr start, Selection selection, int threads);
    /// Stops the threads and waits for them.
    ~CookAhead();
    CookAhead(const CookAhead&) = delete;
    CookAhead& operator=(const CookAhead&) = delete;

    /// Tells how many locations the walk has visited, selected or not.
    void setReached(std::size_t count);

private:
    void run();
    /// Waits until the walk is near. Returns false when it has ended.
    bool mayGoOn();

    const TELLAR::GeometryProducer::Ptr start;
    const Selection selection;
    const int threads;
    std::size_t visited = 0; // by the first of the threads, which visits in order

    std::mutex mutex; // guards the members below
    std::condition_variable changed;
    std::size_t reached = 0;
    bool isStopped = false;

    std::thread thread;
};

} // namespace TellarPython

#endif
