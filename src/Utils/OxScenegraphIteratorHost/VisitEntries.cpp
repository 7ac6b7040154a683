#include <memory>
#include <utility>

#include <OxTellarProducers/VisitLocations.h>

#include "IteratorEntries.h"

namespace TELLAR::ScenegraphIteratorHost4 {

namespace {

struct Release {
    void operator()(OxSgIteratorStruct* location) const { location->release(); }
};
using Handle = std::unique_ptr<OxSgIteratorStruct, Release>;

VisitWish ToWish(std::int32_t answer) {
    switch (answer) {
    case kOxVisitGoOn:
        return VisitWish::GoOn;
    case kOxVisitPrune:
        return VisitWish::Prune;
    case kOxVisitStop:
        return VisitWish::Stop;
    default:
        throw BadCall{"visitor", "returned no OxVisitWish"};
    }
}

/// A visit for a visitor in C.
class VisitForC {
public:
    VisitForC(OxSgIteratorStruct* start, const OxVisitOptions& options, OxVisitor visitor,
              void* user)
        : start(start), isOwn(start->getOwn()), options(options), visitor(visitor), user(user) {}

    VisitEnd run() const {
        VisitOptions wanted;
        wanted.threads = options.threads;
        wanted.isOrdered = options.isOrdered != 0;
        if (options.isCancelled)
            wanted.isCancelled = [this] { return options.isCancelled(user) != 0; };
        return VisitLocations(start->producer, wanted,
                              [this](VisitedLocation& visited) { return call(visited); });
    }

private:
    VisitWish call(VisitedLocation& visited) const {
        const Handle handle = handleOf(visited);
        OxVisit visit{};
        visit.location = handle.get();
        visit.error = handle->error;
        visit.thread = visited.thread;
        visit.depth = static_cast<std::int32_t>(visited.getDepth());
        visit.place = visited.place.data();
        visit.inherited = const_cast<void*>(visited.inherited.get());
        const std::int32_t answer = visitor(&visit, user);
        if (visit.passedDown) visited.passedDown = owned(visit.passedDown);
        return ToWish(answer);
    }

    Handle handleOf(const VisitedLocation& visited) const {
        if (!visited.parent) {
            start->retain();
            return Handle(start);
        }
        if (visited.location)
            return Handle(new OxSgIteratorStruct(visited.location, isOwn, nullptr));
        OxErrorStruct* ignored = nullptr;
        Handle handle(ToHandle(
            StepToFailedChild(*visited.parent, visited.place.back(), visited.error), ignored));
        OxReleaseError(ignored); // the handle has a reference of its own
        return handle;
    }

    /// Calls releasePassedDown at its end, also when there is no memory for it.
    std::shared_ptr<const void> owned(void* passedDown) const {
        return {passedDown, [release = options.releasePassedDown, user = user](void* dropped) {
                    if (release) release(dropped, user);
                }};
    }

    OxSgIteratorStruct* const start;
    const bool isOwn; // and so is every location below
    const OxVisitOptions options;
    const OxVisitor visitor;
    void* const user;
};

std::int32_t VisitAll(OxSgIteratorStruct* location, const OxVisitOptions* options,
                      OxVisitor visitor, void* user) {
    At(location);
    if (!visitor) throw BadCall{"visitor", "is null"};
    OxVisitOptions used{};
    used.threads = 1;
    if (options) used = *options;
    if (used.threads < 0) throw BadCall{"threads", "is negative"};
    switch (VisitForC(location, used, visitor, user).run()) {
    case VisitEnd::Stopped:
        return kOxVisitStopped;
    case VisitEnd::Cancelled:
        return kOxVisitCancelled;
    case VisitEnd::Done:
        break;
    }
    return kOxVisitDone;
}

std::int32_t Visit(OxSgIteratorStruct* location, const OxVisitOptions* options, OxVisitor visitor,
                   void* user, OxErrorStruct*& error) {
    try {
        return VisitAll(location, options, visitor, user);
    } catch (...) {
        error = CurrentError("visit");
        return kOxVisitFailed;
    }
}

} // namespace

void FillVisitSlots(Suite& suite) {
    TELLAR_SET_ERROR_ENTRY(suite, 42, visit, Visit);
}

} // namespace TELLAR::ScenegraphIteratorHost4
