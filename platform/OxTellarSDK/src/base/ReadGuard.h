#ifndef OXTELLARSDK_READGUARD_H
#define OXTELLARSDK_READGUARD_H

#include <atomic>
#include <cstdint>

#include "PerThread.h"

namespace OxTellarRuntimeDetail {

/// Lets threads follow pointers without locks and counts while another thread unlinks what they
/// lead to. Whatever a thread reaches while it has a guard is freed only after the guard is gone.
///
/// The thread that frees goes this way: it unlinks, so that no reader that begins now can reach the
/// objects; BeginGrace; and frees once HasGracePassed.
///
/// A guard may be made where the thread has one already. It must be gone before the thread waits
/// for another one's work or runs code that is not ours: nothing is freed meanwhile.
///
/// Why it is safe. A thread has a count, odd while it has a guard, that it alone changes. The
/// freeing thread's look at a count has to come either after the reader's entry, and then it sees
/// an odd count and waits for another one, or before; and then the reader's loads have to come
/// after the unlinking. For that, entry is a plain store, which the processor may move behind
/// later loads, and BeginGrace has the system put a barrier into all threads of the process
/// (membarrier): of an entry before the barrier the count is seen, and loads behind the barrier see
/// what was unlinked. Where the system has no such call, and under ThreadSanitizer, which does not
/// know it, entry is an exchange and so is the look at the count. Of two read-modify-writes of one
/// word one comes first and the later one sees it, with all that happened before. The exit is a
/// release store, so what a guarded thread read was read before it is freed.
///
/// The system has to be told that the process will want barriers. That takes it ten milliseconds if
/// there are several threads, longer than a scene takes to open. So it is told at the first guard
/// if there is one thread only, and else at the first BeginGrace or when a thread has had a million
/// guards; until then, entry is an exchange. Every barrier comes after that, so some threads may
/// already enter by a store while others do not.
class ReadGuard {
public:
    ReadGuard() noexcept : slot(current) {
        if (!slot) slot = FindSlot();
        if (!slot) {
            EnterShared();
            return;
        }
        before = slot->count.load(std::memory_order_relaxed);
        if (isInner()) return;
        if (slot->isLight.load(std::memory_order_relaxed)) {
            slot->count.store(before + 1, std::memory_order_release); // after the last exit
            std::atomic_signal_fence(std::memory_order_seq_cst);      // for the compiler
        } else {
            enterByExchange();
        }
    }
    ~ReadGuard() {
        if (!slot)
            LeaveShared();
        else if (!isInner())
            slot->count.store(before + 2, std::memory_order_release);
    }
    ReadGuard(const ReadGuard&) = delete;
    ReadGuard& operator=(const ReadGuard&) = delete;

    /// Whether the calling thread enters its guards by a plain store.
    static bool IsLight() noexcept;

    // For the thread that frees; one at a time.

    /// Begins to wait for all guards that exist now. Another wait that was begun is given up for
    /// it. False when the system refuses: then nothing may be freed.
    [[nodiscard]] static bool BeginGrace() noexcept;
    /// Whether all guards that existed at the last BeginGrace are gone.
    [[nodiscard]] static bool HasGracePassed() noexcept;

private:
    /// The count of one thread, used again by another after its end.
    struct alignas(64) Slot {
        std::atomic<std::uint64_t> count{0};
        std::uint64_t awaited = 0;        // an odd count that is waited for; the freeing thread's
        std::atomic<bool> isLight{false}; // the thread's; does not become false again
        std::atomic<bool> isTaken{true};
        Slot* next = nullptr;
    };
    /// Gives the thread's slot back when the thread ends.
    struct Owner {
        Owner() noexcept;
        ~Owner();
        Owner(const Owner&) = delete;
        Owner& operator=(const Owner&) = delete;
    };

    bool isInner() const { return before % 2 != 0; }
    void enterByExchange() noexcept;
    static Slot* FindSlot() noexcept;
    static Slot* TakeSlot() noexcept;
    static Slot* TakeFreeSlot() noexcept;
    static void ForgetOtherThreads() noexcept;
    static void EnterShared() noexcept;
    static void LeaveShared() noexcept;

    static TELLAR_THREAD_WORD Slot* current;
    static std::atomic<Slot*> slots;
    static std::atomic<std::int64_t> freeSlots;     // without those that threads are just taking
    static std::atomic<std::uint64_t> sharedGuards; // of threads without a slot
    static bool areSharedAwaited;

    Slot* slot; // null for a thread that has none: without memory for it, and at its end
    std::uint64_t before = 0;
};

} // namespace OxTellarRuntimeDetail

#endif
