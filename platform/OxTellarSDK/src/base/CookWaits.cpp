#include "CookWaits.h"

#include <mutex>

#include "PerThread.h"

namespace OxTellarRuntimeDetail {

namespace {

TELLAR_THREAD_WORD const MadeSubject* innermostSubject = nullptr;

/// The threads that wait and make something themselves. Each thread adds and removes its own entry
/// under the lock. The subjects that it makes do not change while its entry is in the list.
struct WaitingThreads {
    std::mutex lock;
    WaitingThread* first = nullptr;
};

WaitingThreads& GetWaitingThreads() {
    static auto* const threads = new WaitingThreads;
    return *threads;
}

bool Contains(const MadeSubject* innermost, const void* subject) {
    for (const MadeSubject* made = innermost; made; made = made->outer)
        if (made->subject == subject) return true;
    return false;
}

/// The thread that makes the subject, if it waits; null when it runs or there is none.
const WaitingThread* WaitingMakerOf(const WaitingThread* first, const void* subject) {
    for (const WaitingThread* thread = first; thread; thread = thread->next)
        if (Contains(thread->innermost, subject)) return thread;
    return nullptr;
}

/// True when the subject waits, through any number of threads, for a subject of the calling thread.
/// The loop ends, because every entry was checked when it was added, so the list has no cycle.
bool NeedsThisThread(const WaitingThread* first, const void* subject) {
    while (const WaitingThread* maker = WaitingMakerOf(first, subject)) {
        subject = maker->subject;
        if (IsMadeByThisThread(subject)) return true;
    }
    return false;
}

} // namespace

MakingScope::MakingScope(const void* subject) : made{subject, innermostSubject} {
    innermostSubject = &made;
}

MakingScope::~MakingScope() {
    innermostSubject = made.outer;
}

bool IsMadeByThisThread(const void* subject) {
    return Contains(innermostSubject, subject);
}

WaitScope::WaitScope(const void* subject) : self{subject, innermostSubject, nullptr} {
    if (!self.innermost) return; // no thread waits for this one
    WaitingThreads& threads = GetWaitingThreads();
    const std::lock_guard<std::mutex> guard(threads.lock);
    mayWait = !NeedsThisThread(threads.first, subject);
    if (!mayWait) return;
    self.next = threads.first;
    threads.first = &self;
    isListed = true;
}

WaitScope::~WaitScope() {
    if (!isListed) return;
    WaitingThreads& threads = GetWaitingThreads();
    const std::lock_guard<std::mutex> guard(threads.lock);
    WaitingThread** place = &threads.first;
    while (*place != &self)
        place = &(*place)->next;
    *place = self.next;
}

} // namespace OxTellarRuntimeDetail
