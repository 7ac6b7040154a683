#include "VisitInOrder.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <limits>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

#include "TreeSections.h"
#include "VisitThreads.h"

namespace TELLAR {

namespace {

/// The number of locations that a thread cooks before it takes the lock again. When the visitor
/// prunes, they may have been cooked in vain.
constexpr std::int64_t kMostTogether = 32;
/// The same for the calling thread while it waits for a location that another thread cooks.
constexpr std::int64_t kMostWhileWaiting = 4;
/// Threads stop to cook ahead at this number of cooked locations, times the number of threads.
constexpr std::size_t kMostAhead = 128;

constexpr std::size_t kNoLimit = std::numeric_limits<std::size_t>::max();

/// The calls of the visitor, in the order of the tree.
class OrderedCalls {
public:
    OrderedCalls(const Visitor& visitor, std::shared_ptr<const void> inherited)
        : visitor(visitor), passedDown{std::move(inherited)} {}

    VisitWish call(const FoundLocation& found) {
        place.resize(found.depth);
        place.back() = found.index;
        passedDown.resize(found.depth);
        VisitedLocation visited{found.location.get(), found.error, found.parent, place, 0,
                                passedDown.back(),    nullptr};
        const VisitWish wish = visitor(visited);
        passedDown.push_back(std::move(visited.passedDown));
        return wish;
    }

private:
    const Visitor& visitor;
    std::vector<std::int64_t> place;
    // For each level from the start down, the value passed down at its last location.
    std::vector<std::shared_ptr<const void>> passedDown;
};

/// Whether a walk has more to do than its next location.
bool HasWorkToShare(const std::vector<Siblings>& levels) {
    std::int64_t count = 0;
    for (auto level = levels.rbegin(); level != levels.rend() && count < 2; ++level)
        count += level->count();
    return count > 1;
}

/// The state that the threads of a visit share.
///
/// Every thread takes the first section of the tree that is open, cooks a few locations of it, and
/// puts the rest back. So all of them work close in front of the visitor, and a thread that waits
/// holds no work.
class OrderedVisit {
public:
    OrderedVisit(Siblings children, std::shared_ptr<const void> inherited, int threads,
                 const VisitOptions& options, const Visitor& visitor)
        : options(options), calls(visitor, std::move(inherited)), shares(2 * threads),
          mostAhead(kMostAhead * static_cast<std::size_t>(threads)), sections(std::move(children)) {
    }

    /// On the calling thread.
    void visit();
    /// On each of the others.
    void cookAhead() noexcept;
    /// Ends the visit. Only the first reason and the first error are kept.
    void stop(VisitEnd reason, std::exception_ptr error = nullptr);
    /// Throws the error that ended the visit.
    VisitEnd result() const {
        if (firstError) std::rethrow_exception(firstError);
        return end.value_or(VisitEnd::Done);
    }

private:
    using Lock = std::unique_lock<std::mutex>;
    using Place = TreeSections::Place;

    void visitCooked(Lock& guard);
    void visitOpen(Lock& guard);
    void cookSome(Lock& guard, std::int64_t most);
    void finish(Place place, TreeSection::Batch found, std::vector<Siblings> levels);
    bool mayGoOn();
    VisitWish call(const FoundLocation& found);
    bool mayCookAhead() const { return sections.countCooked() < mostAhead && sections.hasOpen(); }
    bool isWanting() const { return hungry.load(std::memory_order_relaxed) > 0; }

    const VisitOptions& options;
    OrderedCalls calls; // of the calling thread
    const std::int64_t shares;
    const std::size_t mostAhead;
    std::atomic<bool> isOver{false};
    std::atomic<int> hungry{0}; // threads that wait for an open section
    std::mutex lock;            // guards the members below
    std::condition_variable workChanged;
    std::condition_variable frontChanged;
    TreeSections sections;
    std::optional<VisitEnd> end;
    std::exception_ptr firstError;
};

void OrderedVisit::visit() {
    Lock guard(lock);
    while (!isOver && !sections.isEmpty()) {
        if (sections.firstKind() == TreeSection::Cooked)
            visitCooked(guard);
        else if (sections.firstKind() == TreeSection::Open)
            visitOpen(guard);
        else if (mayCookAhead())
            cookSome(guard, kMostWhileWaiting);
        else
            frontChanged.wait(guard);
    }
}

void OrderedVisit::cookAhead() noexcept {
    try {
        Lock guard(lock);
        while (!isOver) {
            if (mayCookAhead()) {
                cookSome(guard, kMostTogether);
                continue;
            }
            const int change = sections.hasOpen() ? 0 : 1;
            hungry += change;
            workChanged.wait(guard);
            hungry -= change;
        }
    } catch (...) {
        stop(VisitEnd::Stopped, std::current_exception());
    }
}

void OrderedVisit::stop(VisitEnd reason, std::exception_ptr error) {
    const std::lock_guard<std::mutex> guard(lock);
    if (!end) end = reason;
    if (!firstError) firstError = std::move(error);
    isOver = true;
    workChanged.notify_all();
    frontChanged.notify_all();
}

/// Whether another location may be cooked or visited. Called without the lock.
bool OrderedVisit::mayGoOn() {
    if (isOver) return false;
    if (!options.isCancelled || !options.isCancelled()) return true;
    stop(VisitEnd::Cancelled);
    return false;
}

/// Called without the lock.
VisitWish OrderedVisit::call(const FoundLocation& found) {
    if (!mayGoOn()) return VisitWish::Stop;
    const VisitWish wish = calls.call(found);
    if (wish == VisitWish::Stop) stop(VisitEnd::Stopped);
    return wish;
}

/// Visits the first section, which is cooked. Holds the lock only before and after.
void OrderedVisit::visitCooked(Lock& guard) {
    const bool wasNearlyFull = sections.countCooked() >= mostAhead / 2;
    const TreeSection::Batches cooked = sections.takeCooked();
    if (wasNearlyFull && sections.countCooked() < mostAhead / 2) workChanged.notify_all();
    guard.unlock();
    std::size_t mostDepth = kNoLimit; // what is deeper was pruned
    for (const TreeSection::Batch& batch : cooked) {
        for (const FoundLocation& found : batch) {
            if (found.depth > mostDepth) continue;
            const VisitWish wish = call(found);
            if (wish == VisitWish::Stop) return guard.lock();
            mostDepth = wish == VisitWish::Prune ? found.depth : kNoLimit;
        }
    }
    guard.lock();
    if (mostDepth != kNoLimit) sections.dropDeeperThan(mostDepth);
}

/// Cooks and visits the beginning of the first section, which is open. Holds the lock only before
/// and after.
void OrderedVisit::visitOpen(Lock& guard) {
    const Place place = sections.putIntoWork(shares, kMostTogether);
    std::vector<Siblings> levels{place->siblings};
    guard.unlock();
    for (std::int64_t i = 0; i < kMostTogether && !levels.empty(); ++i) {
        if (i > 0 && isWanting() && HasWorkToShare(levels)) break;
        const FoundLocation found = levels.back().takeNext();
        if (levels.back().count() == 0) levels.pop_back();
        if (!found.exists()) continue;
        const VisitWish wish = call(found);
        if (wish == VisitWish::Stop) break;
        if (wish == VisitWish::Prune || !found.location) continue;
        Siblings children = Siblings::ChildrenOf(found.location, found.depth);
        if (children.count() > 0) levels.push_back(std::move(children));
    }
    guard.lock();
    finish(place, {}, std::move(levels));
}

/// Cooks at most so many locations of the first section that is open. Holds the lock only before
/// and after.
void OrderedVisit::cookSome(Lock& guard, std::int64_t most) {
    const Place place = sections.putIntoWork(shares, most);
    std::vector<Siblings> levels{place->siblings};
    guard.unlock();
    TreeSection::Batch cooked;
    for (std::int64_t i = 0; i < most && !levels.empty() && !place->isDropped && mayGoOn(); ++i) {
        if (i > 0 && isWanting() && HasWorkToShare(levels)) break;
        FoundLocation found = levels.back().takeNext();
        if (levels.back().count() == 0) levels.pop_back();
        if (!found.exists()) continue;
        if (found.location) {
            Siblings children = Siblings::ChildrenOf(found.location, found.depth);
            if (children.count() > 0) levels.push_back(std::move(children));
        }
        cooked.push_back(std::move(found));
    }
    guard.lock();
    finish(place, std::move(cooked), std::move(levels));
}

/// Called with the lock.
void OrderedVisit::finish(Place place, TreeSection::Batch found, std::vector<Siblings> levels) {
    sections.finish(place, std::move(found), std::move(levels));
    frontChanged.notify_one();
    if (isWanting() && sections.hasOpen()) workChanged.notify_all();
}

} // namespace

VisitEnd VisitInOrder(Siblings children, std::shared_ptr<const void> inherited, int threads,
                      const VisitOptions& options, const Visitor& visitor) {
    OrderedVisit visit(std::move(children), std::move(inherited), threads, options, visitor);
    {
        VisitThreads others;
        others.start(threads - 1, [&visit](int) { visit.cookAhead(); });
        try {
            visit.visit();
            visit.stop(VisitEnd::Done);
        } catch (...) {
            visit.stop(VisitEnd::Stopped, std::current_exception());
        }
    }
    return visit.result();
}

} // namespace TELLAR
