#ifndef OXTELLARSDK_RESULTMEMORY_H
#define OXTELLARSDK_RESULTMEMORY_H

#include <atomic>
#include <cstdint>

#include <OxTellarSDK/MemoryBudget.h>

#include "PerThread.h"

namespace OxTellarRuntimeDetail {

/// The cache of results of cooks: its entries are the records. It counts records, the values that
/// cooks made for them, and the nodes by which they are found. Records are made in a lower layer
/// than the one that can drop them, which gives its function here.
class ResultMemory final : public OxTellarMemory::Cache {
public:
    using Drop = std::uint64_t (*)(std::uint32_t usedBefore, std::uint64_t wanted);

    static ResultMemory& Get();

    void setDrop(Drop function) noexcept { dropResults.store(function, std::memory_order_relaxed); }
    std::uint64_t drop(std::uint32_t usedBefore, std::uint64_t wanted) override;

private:
    ResultMemory() noexcept;
    ~ResultMemory() override = default;

    std::atomic<Drop> dropResults{nullptr};
};

/// The bytes of values in memory that the calling thread has allocated less those that it has
/// freed. Modulo 2^64.
class ValueBytes {
public:
    static void Allocated(std::uint64_t more) noexcept { bytes += more; }
    static void Freed(std::uint64_t fewer) noexcept { bytes -= fewer; }
    static std::uint64_t OfThisThread() noexcept { return bytes; }

    /// Notes how many bytes the calling thread has added since the construction. What other meters
    /// counted meanwhile is theirs.
    class Meter {
    public:
        Meter() noexcept : before(bytes - measured) {}
        /// Ends the measurement. 0 when more was freed.
        ~Meter() { end(); }
        Meter(const Meter&) = delete;
        Meter& operator=(const Meter&) = delete;
        std::uint64_t end() noexcept;

    private:
        const std::uint64_t before;
        bool isOver = false;
    };

private:
    static TELLAR_THREAD_WORD std::uint64_t bytes;
    static TELLAR_THREAD_WORD std::uint64_t measured; // by meters that have ended
};

} // namespace OxTellarRuntimeDetail

#endif
