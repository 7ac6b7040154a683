#include "CookAhead.h"

#include <utility>

namespace TellarPython {

namespace {

using TELLAR::VisitedLocation;
using TELLAR::VisitWish;

constexpr std::size_t kMostAhead = 1024;
/// The lock is taken once for so many locations.
constexpr std::size_t kTogether = 32;

} // namespace

CookAhead::CookAhead(TELLAR::GeometryProducer::Ptr start, Selection selection, int threads)
    : start(std::move(start)), selection(std::move(selection)), threads(threads),
      thread([this] { run(); }) {}

CookAhead::~CookAhead() {
    {
        const std::lock_guard lock(mutex);
        isStopped = true;
    }
    changed.notify_all();
    thread.join();
}

void CookAhead::setReached(std::size_t count) {
    {
        const std::lock_guard lock(mutex);
        reached = count;
    }
    changed.notify_all();
}

void CookAhead::run() {
    TELLAR::VisitOptions options;
    options.threads = threads;
    options.isOrdered = true;
    try {
        VisitLocations(start, options, [this](VisitedLocation& location) {
            if (visited++ % kTogether == 0 && !mayGoOn()) return VisitWish::Stop;
            return location.error ? VisitWish::GoOn : selection.wishAt(location);
        });
    } catch (...) {
        // The walk comes to the same error, and raises it.
    }
}

bool CookAhead::mayGoOn() {
    std::unique_lock lock(mutex);
    changed.wait(lock, [this] { return isStopped || visited < reached + kMostAhead; });
    return !isStopped;
}

} // namespace TellarPython
