#include "VisitInAnyOrder.h"

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <exception>
#include <mutex>
#include <optional>
#include <utility>

#include "VisitThreads.h"
#include "WorkStack.h"

namespace TELLAR {

namespace {

/// The state that the threads of a visit share. A thread that has no work left takes some from
/// another one.
class AnyOrderVisit {
public:
    AnyOrderVisit(WorkStack::Level children, int threads, const VisitOptions& options,
                  const Visitor& visitor)
        : options(options), visitor(visitor), all(WorkStack::Share{std::move(children), {}}) {
        for (int thread = 0; thread < threads; ++thread)
            stacks.emplace_back(threads > 1);
    }

    /// Visits on the thread of this number until all is done.
    void run(int thread) noexcept;
    /// Throws the error that ended the visit. To be called when no thread runs any more.
    VisitEnd result() const {
        if (firstError) std::rethrow_exception(firstError);
        return end;
    }

private:
    void visit(int thread, WorkStack& stack);
    std::optional<WorkStack::Level> visitOne(int thread, const WorkStack& stack,
                                             const WorkStack::Next& next);
    bool findWork(WorkStack& stack);
    std::optional<WorkStack::Share> takeShare();
    void wakeOne();
    void stop(VisitEnd reason, std::exception_ptr error = nullptr);

    const VisitOptions& options;
    const Visitor& visitor;
    std::deque<WorkStack> stacks; // one for each thread
    std::atomic<bool> isOver{false};
    std::atomic<int> hungry{0}; // threads without work
    std::mutex lock;            // guards the members below
    std::condition_variable changed;
    std::optional<WorkStack::Share> all; // until the first thread takes it
    int busy = 0;                        // threads with work
    VisitEnd end = VisitEnd::Done;
    std::exception_ptr firstError;
};

void AnyOrderVisit::run(int thread) noexcept {
    WorkStack& stack = stacks[static_cast<std::size_t>(thread)];
    try {
        while (findWork(stack)) {
            visit(thread, stack);
            const std::lock_guard<std::mutex> guard(lock);
            --busy;
        }
    } catch (...) {
        stop(VisitEnd::Stopped, std::current_exception());
    }
}

/// Visits all that the stack has.
void AnyOrderVisit::visit(int thread, WorkStack& stack) {
    std::optional<WorkStack::Level> children;
    while (!isOver) {
        const WorkStack::Next next = stack.advance(std::exchange(children, std::nullopt));
        if (!next.level) return;
        if (next.isMoreLeft && hungry.load(std::memory_order_relaxed) > 0) wakeOne();
        if (options.isCancelled && options.isCancelled()) return stop(VisitEnd::Cancelled);
        children = visitOne(thread, stack, next);
    }
}

/// Returns the children that are to be visited, if any.
std::optional<WorkStack::Level> AnyOrderVisit::visitOne(int thread, const WorkStack& stack,
                                                        const WorkStack::Next& next) {
    const Siblings& siblings = next.level->siblings;
    const FoundLocation found = FoundLocation::At(siblings.parent, next.index, siblings.depth);
    if (!found.exists() || isOver) return std::nullopt;
    VisitedLocation visited{
        found.location.get(),  found.error, found.parent, stack.getPlace(), thread,
        next.level->inherited, nullptr};
    const VisitWish wish = visitor(visited);
    if (wish == VisitWish::Stop) stop(VisitEnd::Stopped);
    if (wish != VisitWish::GoOn || !found.location) return std::nullopt;
    Siblings children = Siblings::ChildrenOf(found.location, found.depth);
    if (children.count() == 0) return std::nullopt;
    return WorkStack::Level{std::move(children), std::move(visited.passedDown)};
}

/// Waits for work. Returns false when the visit is over.
bool AnyOrderVisit::findWork(WorkStack& stack) {
    std::unique_lock<std::mutex> guard(lock);
    // Counted before the search: a thread that gets more work afterwards sees that one waits.
    ++hungry;
    std::optional<WorkStack::Share> share;
    while (!isOver && !(share = takeShare())) {
        if (busy == 0) {
            isOver = true;
            changed.notify_all();
        } else {
            changed.wait(guard);
        }
    }
    --hungry;
    if (!share) return false;
    stack.start(std::move(*share));
    ++busy;
    return true;
}

/// Called with the lock.
std::optional<WorkStack::Share> AnyOrderVisit::takeShare() {
    if (all) return std::exchange(all, std::nullopt);
    for (WorkStack& stack : stacks)
        if (std::optional<WorkStack::Share> share = stack.takeShare()) return share;
    return std::nullopt;
}

void AnyOrderVisit::wakeOne() {
    const std::lock_guard<std::mutex> guard(lock);
    changed.notify_one();
}

/// Ends the visit before it is done. Only the first reason and the first error are kept.
void AnyOrderVisit::stop(VisitEnd reason, std::exception_ptr error) {
    const std::lock_guard<std::mutex> guard(lock);
    if (!isOver) end = reason;
    if (!firstError) firstError = std::move(error);
    isOver = true;
    changed.notify_all();
}

} // namespace

VisitEnd VisitInAnyOrder(Siblings children, std::shared_ptr<const void> inherited, int threads,
                         const VisitOptions& options, const Visitor& visitor) {
    AnyOrderVisit visit({std::move(children), std::move(inherited)}, threads, options, visitor);
    {
        VisitThreads others;
        others.start(threads - 1, [&visit](int thread) { visit.run(thread); });
        visit.run(0);
    }
    return visit.result();
}

} // namespace TELLAR
