#include "ThreadSlot.h"

#include <array>
#include <atomic>
#include <cstddef>

namespace OxAttribute {

namespace {

constexpr std::uint32_t kWordBits = 64;

// One bit for each number that a thread has. The shared one is never given to a single thread.
using Words = std::array<std::atomic<std::uint64_t>, ThreadSlot::kCount / kWordBits>;
Words takenSlots{};

constexpr std::uint64_t kSharedBit = std::uint64_t(1) << ThreadSlot::kShared % kWordBits;
static_assert(ThreadSlot::kCount % kWordBits == 0 && ThreadSlot::kShared + 1 == ThreadSlot::kCount,
              "the shared number is the last bit of the last word");

std::uint32_t FirstZero(std::uint64_t word) noexcept {
    std::uint32_t bit = 0;
    for (; (word & 1) != 0; word >>= 1)
        ++bit;
    return bit;
}

std::uint32_t TakeFreeSlot() noexcept {
    for (std::size_t i = 0; i < takenSlots.size(); ++i) {
        const std::uint64_t reserved = i + 1 == takenSlots.size() ? kSharedBit : 0;
        std::uint64_t taken = takenSlots[i].load(std::memory_order_relaxed);
        while ((taken | reserved) != ~std::uint64_t(0)) {
            const std::uint32_t bit = FirstZero(taken | reserved);
            if (takenSlots[i].compare_exchange_weak(taken, taken | std::uint64_t(1) << bit,
                                                    std::memory_order_acquire,
                                                    std::memory_order_relaxed))
                return static_cast<std::uint32_t>(i) * kWordBits + bit;
        }
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
    if (number == kShared) return;
    takenSlots[number / kWordBits].fetch_and(~(std::uint64_t(1) << number % kWordBits),
                                             std::memory_order_release);
}

std::uint32_t ThreadSlot::Assign() noexcept {
    const ThreadSlot* own = PerThread<ThreadSlot>::Get();
    return own ? own->number : kShared;
}

} // namespace OxAttribute
