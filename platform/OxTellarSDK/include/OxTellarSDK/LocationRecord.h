#ifndef OXTELLARSDK_LOCATIONRECORD_H
#define OXTELLARSDK_LOCATIONRECORD_H

#include <atomic>
#include <cstdint>

#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/Export.h>

/// For the runtime's own use; public so that inline functions can read records.
namespace OxTellarRuntimeDetail {

/// The result of one cook. Immutable while its count is not 0.
///
/// Records come from a pool whose memory is never used for anything else. So a reader may try to
/// retain a record that was just released for the last time; it finds a count of 0 and looks again.
/// A record is one cache line, so that reading it costs one access to memory and does not wait for
/// the counts of other records.
struct alignas(64) LocationRecord {
    OxAttribute::GroupAttribute attrs;
    OxAttribute::StringAttribute potentialChildren;
    std::atomic<std::uint32_t> count{0};
    std::uint32_t exists : 1;
    std::uint32_t noteStore : 31; // shortId of the store of the Op that made the note
    std::atomic<std::uint64_t> hash[2] = {{0}, {0}}; // not known while the first is 0
    OxAttribute::Attribute note;
    LocationRecord() : exists(0), noteStore(0) {}

    /// A record with count 1 of a location that does not exist.
    static LocationRecord* Create();
    /// The record of every location that does not exist, with one more reference.
    static LocationRecord* Missing();

    void retain() noexcept { count.fetch_add(1, std::memory_order_relaxed); }
    /// Returns false when the count is 0.
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

    // The values of LocationData without a record.
    OXTELLARSDK_API static const OxAttribute::GroupAttribute& NoAttrs();
    OXTELLARSDK_API static const OxAttribute::StringAttribute& NoPotentialChildren();

private:
    OXTELLARSDK_API void recycle() noexcept;
};

} // namespace OxTellarRuntimeDetail

#endif
