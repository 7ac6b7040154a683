#include "ThreadSlot.h"

#include <atomic>

namespace OxAttribute {

namespace {

// One bit for each number that no thread has.
std::atomic<std::uint32_t> freeSlots{(1u << ThreadSlot::kShared) - 1};

std::uint32_t TakeFreeSlot() noexcept {
    std::uint32_t free = freeSlots.load(std::memory_order_relaxed);
    while (free != 0) {
        const std::uint32_t rest = free & (free - 1);
        if (!freeSlots.compare_exchange_weak(free, rest, std::memory_order_acquire,
                                             std::memory_order_relaxed))
            continue;
        std::uint32_t slot = 0;
        for (std::uint32_t bit = free ^ rest; bit != 1; bit >>= 1)
            ++slot;
        return slot;
    }
    return ThreadSlot::kShared;
}

} // namespace

TELLAR_THREAD_WORD std::uint32_t ThreadSlot::current = ThreadSlot::kNone;

ThreadSlot::ThreadSlot() noexcept : number(TakeFreeSlot()) {
    current = number;
}

ThreadSlot::~ThreadSlot() {
    current = kNone;
    if (number != kShared) freeSlots.fetch_or(1u << number, std::memory_order_release);
}

std::uint32_t ThreadSlot::Assign() noexcept {
    const ThreadSlot* own = PerThread<ThreadSlot>::Get();
    return own ? own->number : kShared;
}

} // namespace OxAttribute
