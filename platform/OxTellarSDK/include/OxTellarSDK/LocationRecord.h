#ifndef OXTELLARSDK_LOCATIONRECORD_H
#define OXTELLARSDK_LOCATIONRECORD_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <new>

#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/Export.h>

/// For the runtime's own use; public so that inline functions can read records.
namespace OxTellarRuntimeDetail {

struct NodeBlock;

/// Where the runtime keeps a location, as long as the generation is that of the block.
struct NodeHandle {
    NodeBlock* block = nullptr;
    std::uint32_t generation = 0;
    std::uint32_t slot = 0;
};

/// The result of one cook. Immutable while its count is not 0.
///
/// Most locations of a scene have no children, so the names of potential children are a part of
/// ParentRecords only.
///
/// Records come from two pools, one of them for ParentRecords. Memory of a pool is never used for
/// anything else. So a reader may try to retain a record that was just released for the last time;
/// it finds a count of 0 and looks again. Records share cache lines: they are made one after the
/// other, so the thread that walks along reads all of them.
struct LocationRecord {
    /// What few records have.
    struct Extra {
        std::atomic<std::uint64_t> hash[2] = {{0}, {0}}; // not known while the first is 0
        OxAttribute::Attribute note;
        std::uint32_t noteStore = 0; // shortId of the store of the Op that made the note

        static void* operator new(std::size_t bytes, const std::nothrow_t&) noexcept;
        static void operator delete(void* memory, std::size_t bytes) noexcept;
    };

    OxAttribute::GroupAttribute attrs;
    std::atomic<std::uint32_t> count{0};
    std::uint32_t exists : 1;
    std::uint32_t isParent : 1;         // a ParentRecord; fixed
    std::uint32_t valueUnits : 30;      // of kUnitBytes each, of the values that its cook made
    std::atomic<Extra*> extra{nullptr}; // owned; made on need
    LocationRecord() : exists(0), isParent(0), valueUnits(0) {}

    /// A record with count 1 of a location that does not exist: a ParentRecord if the names are
    /// valid. Throws std::bad_alloc.
    static LocationRecord* Create(const OxAttribute::StringAttribute& potentialChildren);
    /// Invalid when it is no ParentRecord.
    inline const OxAttribute::StringAttribute& potentialChildren() const;
    /// Takes over all but the names from a record that nobody else knows. For the thread that made
    /// both, before others can find them.
    void takeFrom(LocationRecord& other) noexcept;
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
    /// Releases it because memory is short. Returns how many bytes that has freed; 0 for a record
    /// that others hold.
    std::uint64_t drop() noexcept;

    /// The memory of the record and of what its cook made.
    inline std::uint64_t bytes() const noexcept;
    /// Counts values as its own, once. For the thread that made it, before others can find it.
    void ownValues(std::uint64_t valueBytes) noexcept;

    /// The extra part, made if there is none; null without memory for it. For any thread.
    Extra* needExtra() noexcept;
    /// Keeps the note for the children. For the thread that made the record. Throws
    /// std::bad_alloc.
    void setNote(const OxAttribute::Attribute& note, std::uint32_t store);

    // The values of LocationData without a record.
    OXTELLARSDK_API static const OxAttribute::GroupAttribute& NoAttrs();
    OXTELLARSDK_API static const OxAttribute::StringAttribute& NoPotentialChildren();

private:
    static constexpr std::uint64_t kUnitBytes = 16;
    OXTELLARSDK_API void recycle() noexcept;
    void clear() noexcept;
};

/// The record of a location with potential children.
struct ParentRecord : LocationRecord {
    OxAttribute::StringAttribute names;
    ParentRecord() { isParent = 1; }
};

static_assert(sizeof(LocationRecord) == 24 && sizeof(ParentRecord) == 32, "there are millions");

inline const OxAttribute::StringAttribute& LocationRecord::potentialChildren() const {
    return isParent ? static_cast<const ParentRecord*>(this)->names : NoPotentialChildren();
}

inline std::uint64_t LocationRecord::bytes() const noexcept {
    return (isParent ? sizeof(ParentRecord) : sizeof(LocationRecord)) +
           std::uint64_t(valueUnits) * kUnitBytes;
}

} // namespace OxTellarRuntimeDetail

#endif
