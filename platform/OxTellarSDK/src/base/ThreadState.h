#ifndef OXTELLARSDK_THREADSTATE_H
#define OXTELLARSDK_THREADSTATE_H

#include <exception>
#include <memory>

namespace OxAttribute {

/// State that a thread keeps on the heap from the first use of something to the thread's end.
///
/// The thread-local storage of a library that is loaded into a running program comes out of a few
/// hundred bytes that the program has left for all such libraries. So nothing but a pointer to the
/// state lies there; the destructor of the state sets that pointer to null.
class ThreadState {
public:
    ThreadState() = default;
    virtual ~ThreadState() = default;
    ThreadState(const ThreadState&) = delete;
    ThreadState& operator=(const ThreadState&) = delete;

    /// A new State for the calling thread, deleted when the thread ends, after its thread_local
    /// objects. Null when there is no memory for it, and once the thread's states have been
    /// deleted: the caller then does without.
    template <typename State>
    static State* Make() noexcept {
        if (IsOver()) return nullptr;
        try {
            auto made = std::make_unique<State>();
            return Keep(*made) ? made.release() : nullptr;
        } catch (const std::exception&) {
            return nullptr;
        }
    }

private:
    static bool IsOver() noexcept;
    static bool Keep(ThreadState& state) noexcept;
    static void End(void* newest) noexcept;

    ThreadState* next = nullptr;
};

} // namespace OxAttribute

#endif
