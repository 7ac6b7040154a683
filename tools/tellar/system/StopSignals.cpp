#include "StopSignals.h"

#if !defined(_WIN32)
#include <atomic>
#include <csignal>
#endif

namespace TellarTool {

#if defined(_WIN32)

StopSignals::StopSignals() = default;
StopSignals::~StopSignals() = default;
int StopSignals::noted() const {
    return 0;
}

#else

namespace {

struct Watched {
    int signal;
    struct sigaction previous;
    bool isTaken; // false: it was ignored, and stays so
};

// Global, because a handler gets no other state. All but the atomic is written before the handler
// is installed.
Watched watched[] = {{SIGINT, {}, false}, {SIGTERM, {}, false}};
std::atomic<int> notedSignal{0};
static_assert(std::atomic<int>::is_always_lock_free, "a signal handler must not wait");

void SetHandler(int signal, void (*handler)(int)) {
    struct sigaction action {};
    action.sa_handler = handler;
    action.sa_flags = SA_RESTART; // so that no read or write fails with EINTR
    sigemptyset(&action.sa_mask);
    sigaction(signal, &action, nullptr);
}

/// The handler, which calls only async-signal-safe functions.
void Note(int signal) {
    notedSignal = signal;
    for (const Watched& other : watched)
        if (other.isTaken) SetHandler(other.signal, SIG_DFL);
}

} // namespace

StopSignals::StopSignals() {
    notedSignal = 0;
    for (Watched& one : watched) {
        sigaction(one.signal, nullptr, &one.previous);
        one.isTaken = one.previous.sa_handler != SIG_IGN;
    }
    for (const Watched& one : watched)
        if (one.isTaken) SetHandler(one.signal, Note);
}

StopSignals::~StopSignals() {
    for (const Watched& one : watched)
        if (one.isTaken) sigaction(one.signal, &one.previous, nullptr);
}

int StopSignals::noted() const {
    return notedSignal;
}

#endif

void StopSignals::throwIfNoted(const char* outcome) const {
    if (const int signal = noted()) throw Stopped{signal, outcome};
}

} // namespace TellarTool
