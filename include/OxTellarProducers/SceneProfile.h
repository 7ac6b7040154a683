#ifndef OXTELLARPRODUCERS_SCENEPROFILE_H
#define OXTELLARPRODUCERS_SCENEPROFILE_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <memory>
#include <string>
#include <vector>

#include <OxTellarProducers/Export.h>
#include <OxTellarProducers/GeometryProducer.h>
#include <OxTellarProducers/VisitLocations.h>
#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/TellarError.h>

namespace TELLAR {

class CookRecorder;

/// The cost of several cooks together. Times are in seconds of real time, added up over threads.
/// The time that the profiler itself needs is not in them.
struct CookTotals {
    std::uint64_t cooks = 0;
    /// Cooks that failed although none of the cooks that they needed did.
    std::uint64_t errors = 0;
    /// The part of the total time in which the op worked itself: without the cooks of its inputs,
    /// and without waits.
    double ownSeconds = 0;
    /// From the beginning to the end. A cook within another one of the same op (op type, location)
    /// is not counted twice.
    double totalSeconds = 0;
    /// How often, and how long, a thread needed one of these results while another thread was
    /// making it, and had to wait.
    std::uint64_t waits = 0;
    double waitSeconds = 0;
    /// The size of the numbers and strings in the results that were not in a location that the cook
    /// read. A value that an op gives to several locations counts at each of them. A value of less
    /// than 1 KiB that was read under another name counts as well.
    std::uint64_t bytesMade = 0;
};

/// Equal ops share their results and are one here; the name is that of the first one seen.
struct ProfiledOp {
    std::string name;
    std::string type;
    OxAttribute::Hash identity; ///< see TellarRuntime::Op::getIdentity
    CookTotals totals;
};

struct ProfiledOpType {
    std::string type;
    std::size_t ops = 0; ///< those of them that cooked or were waited for
    CookTotals totals;
};

/// The cooks of one location by all ops.
struct ProfiledLocation {
    std::string path;
    CookTotals totals;
};

/// A node of the tree of calls: the cooks by one op that were needed by the cooks of the parent.
/// The waits in its totals are those of the parent for this op. The total time of a call is its own
/// time, and the total and wait times of its children.
struct ProfiledCall {
    static constexpr std::size_t kNoParent = static_cast<std::size_t>(-1);

    std::size_t parent = kNoParent; ///< index in SceneProfile::calls; lower than the call's own
    std::size_t op = 0;             ///< index in SceneProfile::ops
    CookTotals totals;
};

/// One cook, or one wait for another thread's cook.
struct ProfiledEvent {
    enum Kind { Cook, Wait };

    Kind kind = Cook;
    std::size_t op = 0;     ///< index in SceneProfile::ops
    std::size_t thread = 0; ///< threads count from 0 in the order of their first cooks
    std::string location;
    /// Seconds since the profiler began. Between the beginning and the end lies also what the
    /// profiler needed itself.
    double start = 0;
    double seconds = 0;
    std::uint64_t bytesMade = 0;
    bool hasFailed = false;
};

/// The cooks of this process while a profiler watched.
struct SceneProfile {
    double seconds = 0;      ///< how long it watched
    std::size_t threads = 0; ///< that cooked or waited
    CookTotals totals;       ///< of all cooks; the total time is that of cooks not within others
    // The costliest by own time come first.
    std::vector<ProfiledOp> ops;
    std::vector<ProfiledOpType> opTypes;
    std::vector<ProfiledLocation> locations; ///< the costliest ones alone
    std::vector<ProfiledCall> calls;         ///< parents come before their children
    std::vector<ProfiledEvent> events;       ///< the longest ones, by start
    std::uint64_t eventsLeftOut = 0;         ///< shorter ones than those
    std::vector<ErrorFacts> errors;          ///< the first ones
    /// Cooks that are counted at another call of the same op, because the tree of calls was full,
    /// and cooks that are missing everywhere, because memory was.
    std::uint64_t callsMerged = 0;
    std::uint64_t cooksLost = 0;
};

/// How much a profile keeps. Whatever the scene, memory is bounded by these numbers, by the number
/// of ops, and by a few megabytes for each thread.
struct ProfileLimits {
    /// The costs of locations are exact while fewer than sixteen thousand are cooked. Of more, the
    /// costliest are kept; they may lack cooks that took less than the cheapest of them.
    std::size_t locations = 100;
    std::size_t events = 0;
    std::size_t errors = 100;
};

/// Watches all cooks of this process, whoever asks for them, from its construction until stop().
/// A location whose result exists already is not cooked again, and so does not appear. Cooking
/// takes a little longer meanwhile (docs/profile.md has numbers).
///
/// Threads: cooks may go on in any number of threads; one thread at a time calls the members.
class TELLAR_API CookProfiler {
public:
    /// Throws std::bad_alloc.
    explicit CookProfiler(const ProfileLimits& limits = {});
    ~CookProfiler();
    CookProfiler(const CookProfiler&) = delete;
    CookProfiler& operator=(const CookProfiler&) = delete;

    /// Stops watching. Cooks that have not ended by then are not counted.
    void stop();
    /// Stops watching and tells what was seen. Throws std::bad_alloc.
    [[nodiscard]] SceneProfile take();

private:
    struct Watch;
    std::shared_ptr<CookRecorder> recorder;
    std::unique_ptr<Watch> watch; // null when stopped
};

/// The result of CookLocations.
struct CookedLocations {
    std::uint64_t locations = 0;   ///< those that exist
    std::uint64_t failed = 0;      ///< those that could not be cooked
    std::exception_ptr firstError; ///< null when none failed
    VisitEnd end = VisitEnd::Done;
};

/// Cooks the location `start` and everything below it. A location that cannot be cooked is counted,
/// and its siblings follow. `count`, unless null, grows with every location. See VisitLocations for
/// threads and exceptions.
TELLAR_API CookedLocations CookLocations(const GeometryProducer::Ptr& start,
                                         const VisitOptions& options,
                                         std::atomic<std::uint64_t>* count = nullptr);

} // namespace TELLAR

#endif
