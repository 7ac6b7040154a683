#ifndef TELLAR_PROFILE_THREADCOOKS_H
#define TELLAR_PROFILE_THREADCOOKS_H

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

#include <OxTellarSDK/CookObserver.h>
#include <OxTellarSDK/TellarRuntime.h>

#include "CallTree.h"
#include "CostliestLocations.h"
#include "LongestEvents.h"

namespace TELLAR {

/// The cooks of one thread. They nest, so those that go on form a stack.
///
/// Two clocks are read. Events have the real time, which is the same for all threads. Everything
/// else is measured by the real time without what these functions took themselves.
///
/// Threads: `lock` guards everything; only the thread itself changes it.
class ThreadCooks {
public:
    using Clock = std::chrono::steady_clock;
    using ObservedCook = OxOpType::ObservedCook;

    /// What all threads share, which has to outlive this object.
    struct Shared {
        const Clock::time_point start = Clock::now();
        CostliestLocations locations;
        LongestEvents events;
    };

    ThreadCooks(Shared& shared, std::uint32_t number) : shared(shared), number(number) {}

    void cookBegins(const ObservedCook& cook) noexcept;
    void inputWasRead(const TellarRuntime::LocationData& data) noexcept;
    void cookEnds(const ObservedCook& cook, const TellarRuntime::LocationData& result) noexcept;
    /// Returns false when a cook that this one needed has failed.
    bool cookFails(const ObservedCook& cook) noexcept;
    void waitBegins() noexcept;
    void waitEnds(const ObservedCook& cook) noexcept;

    /// The sums of the thread, while its lock is held.
    struct Seen {
        std::unique_lock<std::mutex> guard;
        const CallTree& calls;
        std::uint64_t lost;
    };
    /// Also hands the costs and events that wait in this object to Shared. Throws std::bad_alloc.
    Seen look();
    std::uint32_t getNumber() const { return number; }

private:
    struct Cook {
        CallTree::NodeIndex node = CallTree::kRoot;
        std::size_t place = 0;     // in `places`
        std::size_t firstRead = 0; // in `reads`
        bool opensPlace = false;
        bool hasFailedInput = false;
        std::int64_t realStart = 0; // for events
        std::int64_t start = 0;
        std::int64_t inner = 0; // the time of the cooks and waits within this one
    };
    /// What an event tells besides its cook, in real time.
    struct Span {
        ProfiledEvent::Kind kind;
        bool hasFailed;
        std::int64_t start;
        std::int64_t end;
    };
    class Step;

    bool end(const ObservedCook& cook, const TellarRuntime::LocationData* result) noexcept;
    std::size_t enterPlace(const std::string& path, bool& isNew);
    void addToPlace(std::size_t place, CookSums sums, bool isOver) noexcept;
    void addEvent(const ObservedCook& cook, const Span& span, const CookSums& sums) noexcept;
    void deliverCosts();
    void deliverEvents();
    std::uint64_t bytesMade(const Cook& cook, const TellarRuntime::LocationData& result) noexcept;
    std::int64_t realTime() const {
        return std::chrono::nanoseconds(Clock::now() - shared.start).count();
    }

    Shared& shared;
    const std::uint32_t number;
    std::mutex lock;
    CallTree calls;
    std::vector<Cook> cooks;                        // those that go on, the innermost last
    std::vector<TellarRuntime::LocationData> reads; // of those cooks
    std::vector<LocationCost> places;               // of those cooks; the first `openPlaces`
    std::size_t openPlaces = 0;
    std::int64_t spent = 0;     // the time that these functions took
    std::int64_t waitStart = 0; // real time
    std::size_t unseen = 0;     // cooks that go on and are not in `cooks`, for want of memory
    std::uint64_t lost = 0;     // cooks that are not counted
    std::array<LocationCost, 64> costs; // to be delivered together; the first `waitingCosts`
    std::size_t waitingCosts = 0;
    std::array<CookEvent, 64> events;
    std::size_t waitingEvents = 0;
};

} // namespace TELLAR

#endif
