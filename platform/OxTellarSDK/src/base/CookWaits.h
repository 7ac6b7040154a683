#ifndef OXTELLARSDK_COOKWAITS_H
#define OXTELLARSDK_COOKWAITS_H

namespace OxTellarRuntimeDetail {

/// Detects deadlocks between cooks. Two threads that need each other's unfinished work would wait
/// forever; the second one to wait is told so instead.
///
/// A subject is something that one thread makes and others wait for, such as the result of a
/// location. Its address identifies it. While a thread makes a subject it may make others that it
/// needs, so its subjects form a stack. Entering and leaving a subject takes two stores to the
/// thread's own memory. Only a thread that makes something and is about to wait takes a lock. It
/// then follows the chain: the thread that makes the wanted subject, the subject for which that
/// thread waits, the thread that makes this one, and so on. The thread that would close a cycle
/// finds it. No function here allocates.

/// One subject of a thread, and the one for which it is made.
struct MadeSubject {
    const void* subject;
    const MadeSubject* outer;
};

/// The calling thread makes the subject while this object lives.
class MakingScope {
public:
    explicit MakingScope(const void* subject);
    ~MakingScope();
    MakingScope(const MakingScope&) = delete;
    MakingScope& operator=(const MakingScope&) = delete;

private:
    const MadeSubject made;
};

bool IsMadeByThisThread(const void* subject);

/// A thread that waits for a subject, and the subjects that it makes itself.
struct WaitingThread {
    const void* subject;
    const MadeSubject* innermost;
    WaitingThread* next;
};

/// Announces that the calling thread waits for the subject while this object lives. The thread must
/// not wait unless canEnd() is true, and must not begin to make another subject meanwhile.
class WaitScope {
public:
    explicit WaitScope(const void* subject);
    ~WaitScope();
    WaitScope(const WaitScope&) = delete;
    WaitScope& operator=(const WaitScope&) = delete;

    /// False when the subject, or what it waits for, needs something that the calling thread makes.
    bool canEnd() const { return mayWait; }

private:
    WaitingThread self;
    bool isListed = false;
    bool mayWait = true;
};

} // namespace OxTellarRuntimeDetail

#endif
