#include "LocationStream.h"

#include <utility>

namespace TellarPython {

namespace {

using TELLAR::VisitedLocation;
using TELLAR::VisitWish;

constexpr std::size_t kBatch = 64;    // locations handed over at once while nobody waits
constexpr std::size_t kMostReady = 8; // batches

} // namespace

LocationStream::LocationStream(TELLAR::GeometryProducer::Ptr start, Selection selection,
                               int threads)
    : start(std::move(start)), selection(std::move(selection)), threads(threads) {}

LocationStream::~LocationStream() {
    if (!visitor.joinable()) return;
    isStopped = true;
    {
        const std::lock_guard lock(mutex);
        ready.clear();
    }
    changed.notify_all();
    visitor.join();
}

LocationStream::Batch LocationStream::next() {
    if (!visitor.joinable()) visitor = std::thread([this] { visit(); });
    std::unique_lock lock(mutex);
    isWanted = ready.empty();
    changed.wait(lock, [&] { return !ready.empty() || isDone; });
    isWanted = false;
    if (ready.empty()) {
        if (failure) std::rethrow_exception(std::exchange(failure, nullptr));
        return {};
    }
    Batch batch = std::move(ready.front());
    ready.pop_front();
    lock.unlock();
    changed.notify_all();
    return batch;
}

void LocationStream::visit() {
    std::exception_ptr error;
    try {
        TELLAR::VisitOptions options;
        options.threads = threads;
        options.isOrdered = true;
        options.isCancelled = [this] { return isStopped.load(); };
        VisitLocations(start, options, [this](VisitedLocation& visited) { return take(visited); });
        hand(std::move(current));
    } catch (...) {
        error = std::current_exception();
    }
    const std::lock_guard lock(mutex);
    isDone = true;
    failure = error;
    changed.notify_all();
}

VisitWish LocationStream::take(VisitedLocation& visited) {
    if (visited.error)
        current.push_back({nullptr, visited.error});
    else if (selection.has(visited))
        current.push_back({visited.location, nullptr});
    if (current.size() >= kBatch || (isWanted && !current.empty()))
        hand(std::exchange(current, {}));
    if (isStopped) return VisitWish::Stop;
    return visited.error ? VisitWish::GoOn : selection.wishAt(visited);
}

void LocationStream::hand(Batch batch) {
    if (batch.empty()) return;
    std::unique_lock lock(mutex);
    changed.wait(lock, [&] { return ready.size() < kMostReady || isStopped; });
    if (isStopped) return;
    ready.push_back(std::move(batch));
    lock.unlock();
    changed.notify_all();
}

} // namespace TellarPython
