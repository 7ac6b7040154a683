#ifndef OXTELLARSDK_THREADSLOT_H
#define OXTELLARSDK_THREADSLOT_H

#include <cstdint>

#include "PerThread.h"

namespace OxAttribute {

/// A small number that no other living thread has, for counters that only one thread writes.
/// Numbers of ended threads are given out again. A thread that gets none uses the shared number,
/// whose counters need atomic additions.
class ThreadSlot {
public:
    // More than the threads of a large machine; a counter takes a cache line for each of them.
    static constexpr std::uint32_t kCount = 128;
    static constexpr std::uint32_t kShared = kCount - 1;

    static std::uint32_t Current() {
        const std::uint32_t known = current;
        return known != kNone ? known : Assign();
    }

    // For PerThread.
    ThreadSlot() noexcept;
    ~ThreadSlot();
    ThreadSlot(const ThreadSlot&) = delete;
    ThreadSlot& operator=(const ThreadSlot&) = delete;

private:
    static constexpr std::uint32_t kNone = ~0u;
    static std::uint32_t Assign() noexcept;

    // A copy of the number beside the pointer of PerThread: every count of a value in a file reads
    // it.
    static TELLAR_THREAD_WORD std::uint32_t current;
    const std::uint32_t number;
};

} // namespace OxAttribute

#endif
