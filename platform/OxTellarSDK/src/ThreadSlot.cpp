#include "ThreadSlot.h"

#include <mutex>
#include <vector>

namespace OxAttribute {

namespace {

struct FreeSlots {
    std::mutex lock;
    std::vector<std::uint32_t> slots;

    FreeSlots() {
        for (std::uint32_t slot = ThreadSlot::kShared; slot > 0; --slot)
            slots.push_back(slot - 1);
    }
};

FreeSlots& GetFreeSlots() {
    static FreeSlots* const slots = new FreeSlots;
    return *slots;
}

} // namespace

TELLAR_THREAD_WORD std::uint32_t ThreadSlot::current = ThreadSlot::kNone;

// Gives the number back when its thread ends. What still runs on the thread after that (other
// destructors of thread-local objects) counts in the shared slot.
struct ThreadSlotOwner {
    std::uint32_t slot = ThreadSlot::kShared;

    ThreadSlotOwner() {
        FreeSlots& free = GetFreeSlots();
        const std::lock_guard<std::mutex> guard(free.lock);
        if (free.slots.empty()) return;
        slot = free.slots.back();
        free.slots.pop_back();
    }
    ~ThreadSlotOwner() {
        ThreadSlot::current = ThreadSlot::kShared;
        if (slot == ThreadSlot::kShared) return;
        FreeSlots& free = GetFreeSlots();
        const std::lock_guard<std::mutex> guard(free.lock);
        free.slots.push_back(slot);
    }
};

std::uint32_t ThreadSlot::Assign() {
    static thread_local ThreadSlotOwner owner;
    current = owner.slot;
    return current;
}

} // namespace OxAttribute
