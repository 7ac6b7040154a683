#include "ThreadState.h"

#include <pthread.h>

#include "ThreadWord.h"

namespace OxAttribute {

namespace {

TELLAR_THREAD_WORD bool isOver = false;

// Not a thread_local object with a destructor: the C library ends the process when there is no
// memory to note such a destructor down.
class ThreadEndKey {
public:
    explicit ThreadEndKey(void (*end)(void*)) : isMade(pthread_key_create(&key, end) == 0) {}

    void* get() const { return isMade ? pthread_getspecific(key) : nullptr; }
    bool set(void* value) const { return isMade && pthread_setspecific(key, value) == 0; }

private:
    pthread_key_t key = {};
    const bool isMade;
};

} // namespace

bool ThreadState::IsOver() noexcept {
    return isOver;
}

bool ThreadState::Keep(ThreadState& state) noexcept {
    static const ThreadEndKey key([](void* newest) { End(newest); });
    state.next = static_cast<ThreadState*>(key.get());
    return key.set(&state);
}

void ThreadState::End(void* newest) noexcept {
    isOver = true;
    auto* state = static_cast<ThreadState*>(newest);
    while (state) {
        const std::unique_ptr<ThreadState> ended(state);
        state = ended->next;
    }
}

} // namespace OxAttribute
