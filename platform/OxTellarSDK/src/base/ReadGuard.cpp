#include "ReadGuard.h"

#include <new>

#if defined(__linux__)
#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>
#if __has_include(<linux/membarrier.h>)
#include <linux/membarrier.h>
#define TELLAR_WITH_MEMBARRIER
#endif
#endif

#if __has_include(<sys/single_threaded.h>)
#include <sys/single_threaded.h>
#define TELLAR_KNOWS_SINGLE_THREAD
#endif

#if defined(__SANITIZE_THREAD__)
#undef TELLAR_WITH_MEMBARRIER
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#undef TELLAR_WITH_MEMBARRIER
#endif
#endif

namespace OxTellarRuntimeDetail {

namespace {

#ifdef TELLAR_WITH_MEMBARRIER

bool Membarrier(int command) noexcept {
    return syscall(__NR_membarrier, command, 0, 0) == 0;
}

/// Whether the system knows that the process wants barriers. Tells it at the first call.
bool CanHaveBarriers() noexcept {
    static const bool can = Membarrier(MEMBARRIER_CMD_REGISTER_PRIVATE_EXPEDITED) &&
                            Membarrier(MEMBARRIER_CMD_PRIVATE_EXPEDITED);
    return can;
}

/// A barrier in every running thread of the process. Registers again where a fork lost that.
bool BarrierInAllThreads() noexcept {
    return Membarrier(MEMBARRIER_CMD_PRIVATE_EXPEDITED) ||
           (Membarrier(MEMBARRIER_CMD_REGISTER_PRIVATE_EXPEDITED) &&
            Membarrier(MEMBARRIER_CMD_PRIVATE_EXPEDITED));
}

#else

bool CanHaveBarriers() noexcept {
    return false;
}
bool BarrierInAllThreads() noexcept {
    return true;
}

#endif

bool HasOneThread() noexcept {
#ifdef TELLAR_KNOWS_SINGLE_THREAD
    return __libc_single_threaded != 0;
#else
    return false;
#endif
}

// So many exchanges take about as long as to tell the system of barriers beside other threads.
constexpr std::uint64_t kManyGuards = 1000000;

// Whether the system was told, so that guards may be light.
std::atomic<bool> hasBarriers{false};

bool NeedBarriers() noexcept {
    if (!CanHaveBarriers()) return false;
    hasBarriers.store(true, std::memory_order_relaxed);
    return true;
}

} // namespace

TELLAR_THREAD_WORD ReadGuard::Slot* ReadGuard::current = nullptr;
std::atomic<ReadGuard::Slot*> ReadGuard::slots{nullptr};
std::atomic<std::int64_t> ReadGuard::freeSlots{0};
std::atomic<std::uint64_t> ReadGuard::sharedGuards{0};
bool ReadGuard::areSharedAwaited = false;

ReadGuard::Owner::Owner() noexcept {
    current = TakeSlot();
}

ReadGuard::Owner::~Owner() {
    Slot* const slot = current;
    current = nullptr;
    if (!slot) return;
    slot->isTaken.store(false, std::memory_order_release);
    freeSlots.fetch_add(1, std::memory_order_relaxed);
}

ReadGuard::Slot* ReadGuard::FindSlot() noexcept {
    PerThread<Owner>::Get();
    return current;
}

/// One that an ended thread had; null when there is none. The slots of other threads are not
/// touched when the count tells that before.
ReadGuard::Slot* ReadGuard::TakeFreeSlot() noexcept {
    if (freeSlots.load(std::memory_order_relaxed) <= 0) return nullptr;
    for (Slot* slot = slots.load(std::memory_order_acquire); slot; slot = slot->next) {
        bool isTaken = false;
        if (!slot->isTaken.compare_exchange_strong(isTaken, true, std::memory_order_acquire))
            continue;
        freeSlots.fetch_sub(1, std::memory_order_relaxed);
        return slot;
    }
    return nullptr;
}

/// One that an ended thread had, or a new one; null without memory.
ReadGuard::Slot* ReadGuard::TakeSlot() noexcept {
    if (Slot* const slot = TakeFreeSlot()) return slot;
    Slot* const made = new (std::nothrow) Slot;
    if (!made) return nullptr;
    if (HasOneThread()) NeedBarriers();
#if defined(__linux__)
    static const bool hearsOfForks = pthread_atfork(nullptr, nullptr, &ForgetOtherThreads) == 0;
    static_cast<void>(hearsOfForks); // without, a forked child may drop less
#endif
    made->next = slots.load(std::memory_order_relaxed);
    while (!slots.compare_exchange_weak(made->next, made, std::memory_order_acq_rel))
        continue;
    return made;
}

/// In a child process that was forked, only the calling thread lives on.
void ReadGuard::ForgetOtherThreads() noexcept {
    for (Slot* slot = slots.load(std::memory_order_relaxed); slot; slot = slot->next) {
        const std::uint64_t count = slot->count.load(std::memory_order_relaxed);
        if (slot != current) slot->count.store(count + count % 2, std::memory_order_relaxed);
    }
    sharedGuards.store(0, std::memory_order_relaxed);
}

void ReadGuard::EnterShared() noexcept {
    sharedGuards.fetch_add(1, std::memory_order_seq_cst);
}

void ReadGuard::LeaveShared() noexcept {
    sharedGuards.fetch_sub(1, std::memory_order_release);
}

void ReadGuard::enterByExchange() noexcept {
    if (before == 2 * kManyGuards) NeedBarriers();
    // The next guard is the first one that is light.
    if (hasBarriers.load(std::memory_order_relaxed))
        slot->isLight.store(true, std::memory_order_relaxed);
    slot->count.exchange(before + 1, std::memory_order_acq_rel);
}

bool ReadGuard::IsLight() noexcept {
    return current && current->isLight.load(std::memory_order_relaxed);
}

bool ReadGuard::BeginGrace() noexcept {
    // A slot that is made after this has a count of 0 here: its thread pushed it by a
    // read-modify-write of `slots`, as this one is, and reads what was unlinked after that.
    Slot* const first = slots.fetch_add(0, std::memory_order_acq_rel);
    if (NeedBarriers() && !BarrierInAllThreads()) return false;
    for (Slot* slot = first; slot; slot = slot->next) {
        const std::uint64_t count = slot->isLight.load(std::memory_order_relaxed)
                                        ? slot->count.load(std::memory_order_acquire)
                                        : slot->count.fetch_add(0, std::memory_order_acq_rel);
        slot->awaited = count % 2 != 0 ? count : 0;
    }
    areSharedAwaited = sharedGuards.fetch_add(0, std::memory_order_seq_cst) != 0;
    return true;
}

bool ReadGuard::HasGracePassed() noexcept {
    // The sum of all threads without a slot is seen to be 0, which may never happen while such
    // threads come and go; there are hardly any.
    if (areSharedAwaited) areSharedAwaited = sharedGuards.load(std::memory_order_acquire) != 0;
    bool hasPassed = !areSharedAwaited;
    for (Slot* slot = slots.load(std::memory_order_acquire); slot; slot = slot->next) {
        if (slot->awaited == 0) continue;
        if (slot->count.load(std::memory_order_acquire) != slot->awaited)
            slot->awaited = 0;
        else
            hasPassed = false;
    }
    return hasPassed;
}

} // namespace OxTellarRuntimeDetail
