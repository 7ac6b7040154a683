#include "ThreadCooks.h"

#include <exception>
#include <utility>

#include "BytesMade.h"

namespace TELLAR {

namespace {

using LocationData = TellarRuntime::LocationData;

/// A cook that reads more is compared with the first ones.
constexpr std::size_t kMostReads = 4096;

/// Returns false when memory is missing, or a value lies in a damaged file.
template <typename Work>
bool Attempt(const Work& work) noexcept {
    try {
        work();
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

} // namespace

/// A call by the runtime. Measures how long it takes.
class ThreadCooks::Step {
public:
    explicit Step(ThreadCooks& thread)
        : thread(thread), entered(thread.realTime()), guard(thread.lock) {}
    ~Step() { thread.spent += thread.realTime() - entered; }
    Step(const Step&) = delete;
    Step& operator=(const Step&) = delete;

    std::int64_t realTime() const { return entered; }
    std::int64_t time() const { return entered - thread.spent; }

private:
    ThreadCooks& thread;
    const std::int64_t entered;
    const std::lock_guard<std::mutex> guard;
};

void ThreadCooks::cookBegins(const ObservedCook& cook) noexcept {
    const Step step(*this);
    const std::size_t depth = cooks.size();
    const bool isSeen = unseen == 0 && Attempt([&] {
                            const auto parent = depth ? cooks.back().node : CallTree::kRoot;
                            Cook& begun = cooks.emplace_back();
                            begun.firstRead = reads.size();
                            begun.realStart = step.realTime();
                            begun.start = step.time();
                            begun.node = calls.enter(parent, cook);
                            begun.place = enterPlace(cook.location, begun.opensPlace);
                        });
    if (isSeen) return;
    cooks.resize(depth);
    ++unseen;
    ++lost;
}

void ThreadCooks::inputWasRead(const LocationData& data) noexcept {
    const std::lock_guard<std::mutex> guard(lock);
    if (unseen > 0 || cooks.empty() || !data.doesLocationExist()) return;
    if (reads.size() - cooks.back().firstRead < kMostReads) Attempt([&] { reads.push_back(data); });
}

void ThreadCooks::cookEnds(const ObservedCook& cook, const LocationData& result) noexcept {
    end(cook, &result);
}

bool ThreadCooks::cookFails(const ObservedCook& cook) noexcept {
    return end(cook, nullptr);
}

/// `result` is null for a cook that failed. Returns false when a cook that it needed has failed.
bool ThreadCooks::end(const ObservedCook& cook, const LocationData* result) noexcept {
    const Step step(*this);
    if (unseen > 0) {
        --unseen;
        return false;
    }
    if (cooks.empty()) return false; // it began before this object was there
    const Cook ended = cooks.back();
    cooks.pop_back();
    CookSums sums;
    sums.cooks = 1;
    sums.errors = !result && !ended.hasFailedInput;
    sums.total = step.time() - ended.start;
    sums.own = sums.total - ended.inner;
    sums.bytesMade = result ? bytesMade(ended, *result) : 0;
    reads.resize(ended.firstRead);
    if (!cooks.empty()) {
        cooks.back().inner += sums.total;
        cooks.back().hasFailedInput |= !result;
    }
    calls.sumsOf(ended.node).add(sums);
    addToPlace(ended.place, sums, ended.opensPlace);
    addEvent(cook, {ProfiledEvent::Cook, !result, ended.realStart, step.realTime()}, sums);
    return !ended.hasFailedInput;
}

void ThreadCooks::waitBegins() noexcept {
    waitStart = realTime();
}

void ThreadCooks::waitEnds(const ObservedCook& cook) noexcept {
    const Step step(*this);
    if (unseen > 0) return;
    CookSums sums;
    sums.waits = 1;
    sums.waited = step.realTime() - waitStart;
    const auto parent = cooks.empty() ? CallTree::kRoot : cooks.back().node;
    if (!cooks.empty()) cooks.back().inner += sums.waited;
    Attempt([&] { calls.sumsOf(calls.enter(parent, cook)).add(sums); });
    Attempt([&] {
        bool isNew = false;
        const std::size_t place = enterPlace(cook.location, isNew);
        addToPlace(place, sums, isNew);
    });
    addEvent(cook, {ProfiledEvent::Wait, false, waitStart, step.realTime()}, sums);
}

ThreadCooks::Seen ThreadCooks::look() {
    std::unique_lock<std::mutex> guard(lock);
    deliverCosts();
    deliverEvents();
    return {std::move(guard), calls, lost};
}

/// The place of a location in `places`. `isNew` unless a cook of it goes on already.
std::size_t ThreadCooks::enterPlace(const std::string& path, bool& isNew) {
    for (std::size_t i = openPlaces; i-- > 0;)
        if (places[i].path == path) return i;
    if (openPlaces == places.size()) places.emplace_back();
    places[openPlaces].path = path;
    places[openPlaces].sums = {};
    isNew = true;
    return openPlaces++;
}

/// `isOver` when nothing more will be added. Then the place is the last one.
void ThreadCooks::addToPlace(std::size_t place, CookSums sums, bool isOver) noexcept {
    if (!isOver) sums.total = 0; // it is part of that of a cook which goes on
    LocationCost& here = places[place];
    here.sums.add(sums);
    if (!isOver) return;
    --openPlaces;
    if (!shared.locations.matters(here.sums)) return;
    std::swap(costs[waitingCosts++], here);
    if (waitingCosts == costs.size()) Attempt([this] { deliverCosts(); });
}

void ThreadCooks::addEvent(const ObservedCook& cook, const Span& span,
                           const CookSums& sums) noexcept {
    const std::int64_t duration = span.end - span.start;
    if (!shared.events.matters(duration)) return;
    CookEvent& event = events[waitingEvents];
    const bool hasText = Attempt([&] { event.location = cook.location; });
    if (!hasText) return;
    event.kind = span.kind;
    event.hasFailed = span.hasFailed;
    event.thread = number;
    event.opIdentity = cook.opIdentity;
    event.start = span.start;
    event.duration = duration;
    event.bytesMade = sums.bytesMade;
    if (++waitingEvents == events.size()) Attempt([this] { deliverEvents(); });
}

void ThreadCooks::deliverCosts() {
    shared.locations.add(costs.data(), std::exchange(waitingCosts, 0));
}

void ThreadCooks::deliverEvents() {
    shared.events.add(events.data(), std::exchange(waitingEvents, 0));
}

std::uint64_t ThreadCooks::bytesMade(const Cook& cook, const LocationData& result) noexcept {
    std::uint64_t bytes = 0;
    Attempt([&] {
        bytes = BytesMade(result, reads.data() + cook.firstRead, reads.size() - cook.firstRead);
    });
    return bytes;
}

} // namespace TELLAR
