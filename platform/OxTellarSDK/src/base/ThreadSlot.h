#ifndef OXTELLARSDK_THREADSLOT_H
#define OXTELLARSDK_THREADSLOT_H

#include <cstdint>

#include "ThreadWord.h"

namespace OxAttribute {

/// A small number that no other living thread has, for counters that only one thread
/// writes. Numbers of ended threads are given out again; when all are taken, threads get
/// the shared one, whose counters need atomic additions.
class ThreadSlot {
public:
    static constexpr std::uint32_t kCount = 32;
    static constexpr std::uint32_t kShared = kCount - 1;

    static std::uint32_t Current() {
        const std::uint32_t slot = current;
        return slot != kNone ? slot : Assign();
    }

private:
    static constexpr std::uint32_t kNone = ~0u;
    static std::uint32_t Assign() noexcept;
    static TELLAR_THREAD_WORD std::uint32_t current;
    friend struct ThreadSlotOwner;
};

} // namespace OxAttribute

#endif
