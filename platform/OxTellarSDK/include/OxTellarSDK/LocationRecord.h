#ifndef OXTELLARSDK_LOCATIONRECORD_H
#define OXTELLARSDK_LOCATIONRECORD_H

#include <atomic>
#include <cstdint>

#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/Export.h>

/// The runtime's own, and public only so that reading a location costs no calls.
namespace OxTellarRuntimeDetail {

/// What one cook gave. Immutable while anybody counts it.
///
/// Records come from a pool whose memory stays records for ever: a reader may try to count a
/// record that was just let go by everybody else, finds the count at 0 and looks again. Each is a
/// cache line, so that a reader waits for memory once, and never for another record's counting.
struct alignas(64) LocationRecord {
    OxAttribute::GroupAttribute attrs;
    OxAttribute::StringAttribute potentialChildren;
    std::atomic<std::uint32_t> count{0};
    std::uint32_t exists : 1;
    std::uint32_t noteStore : 31; // shortId of the store of the Op that made the note
    std::atomic<std::uint64_t> hash[2] = {{0}, {0}}; // known once the first is not 0
    OxAttribute::Attribute note;
    LocationRecord() : exists(0), noteStore(0) {}

    /// A record with count 1, which does not exist and has nothing.
    static LocationRecord* Create();
    /// The record of every location that does not exist, with one more reference.
    static LocationRecord* Missing();

    void retain() noexcept { count.fetch_add(1, std::memory_order_relaxed); }
    /// False when nobody counts the record any more.
    bool tryRetain() noexcept {
        std::uint32_t seen = count.load(std::memory_order_relaxed);
        while (seen != 0)
            if (count.compare_exchange_weak(seen, seen + 1, std::memory_order_acquire,
                                            std::memory_order_relaxed))
                return true;
        return false;
    }
    void release() noexcept {
        if (count.fetch_sub(1, std::memory_order_acq_rel) == 1) recycle();
    }

    // What data without a record answers.
    OXTELLARSDK_API static const OxAttribute::GroupAttribute& NoAttrs();
    OXTELLARSDK_API static const OxAttribute::StringAttribute& NoPotentialChildren();

private:
    OXTELLARSDK_API void recycle() noexcept;
};

} // namespace OxTellarRuntimeDetail

#endif
