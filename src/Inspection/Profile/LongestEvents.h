#ifndef TELLAR_PROFILE_LONGESTEVENTS_H
#define TELLAR_PROFILE_LONGESTEVENTS_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

#include <OxTellarProducers/SceneProfile.h>
#include <OxTellarSDK/Attribute.h>

namespace TELLAR {

/// ProfiledEvent while it is kept. Times are in nanoseconds.
struct CookEvent {
    ProfiledEvent::Kind kind = ProfiledEvent::Cook;
    bool hasFailed = false;
    std::uint32_t thread = 0;
    OxAttribute::Hash opIdentity;
    std::int64_t start = 0;
    std::int64_t duration = 0;
    std::uint64_t bytesMade = 0;
    std::string location;
};

/// The longest events, out of any number. A cook is at least as long as those that it needed, so a
/// cook that is kept stands within others that are kept.
///
/// Threads: everything may be called from any number of threads.
class LongestEvents {
public:
    explicit LongestEvents(std::size_t wanted) : wanted(wanted) {}

    /// False for what add() would refuse.
    bool matters(std::int64_t duration) const {
        return wanted > 0 && duration >= least.load(std::memory_order_relaxed);
    }
    /// Takes `count` events, whose texts it may swap for others. Throws std::bad_alloc, and some
    /// may then be missing.
    void add(CookEvent* added, std::size_t count);

    /// The wanted number of events, by start.
    std::vector<CookEvent> getLongest();

private:
    void forgetShorter();

    const std::size_t wanted;
    std::atomic<std::int64_t> least{0};
    std::mutex lock;
    std::vector<CookEvent> events; // guarded by lock
};

} // namespace TELLAR

#endif
