#include "ThreadSlot.h"

#include <atomic>

#include "ThreadState.h"

namespace OxAttribute {

namespace {

// A bit for each slot that no thread has.
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

// Gives the number back when its thread ends. What still runs on the thread after that counts in
// the shared slot.
struct ThreadSlotOwner final : ThreadState {
    const std::uint32_t slot = TakeFreeSlot();

    ~ThreadSlotOwner() override {
        ThreadSlot::current = ThreadSlot::kShared;
        if (slot != ThreadSlot::kShared) freeSlots.fetch_or(1u << slot, std::memory_order_release);
    }
};

std::uint32_t ThreadSlot::Assign() noexcept {
    const ThreadSlotOwner* owner = ThreadState::Make<ThreadSlotOwner>();
    current = owner ? owner->slot : kShared;
    return current;
}

} // namespace OxAttribute
