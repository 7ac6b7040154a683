#ifndef OXTELLARSDK_COOKWAITS_H
#define OXTELLARSDK_COOKWAITS_H

namespace OxTellarRuntimeDetail {

/// Which thread is making what, and which thread waits for whom. Two threads that need each other's
/// unfinished work would wait for ever; the one that comes second is told so instead.
///
/// A subject is something that one thread makes and others wait for, such as the result of a
/// location; it is known by its address. What a thread needs for its subject it makes meanwhile, so
/// the subjects of a thread form a stack, the last one innermost. Entering and leaving a subject is
/// two stores to the thread's own memory. Only a thread that makes something and is about to wait
/// takes a lock: it looks who makes the subject that it wants, what that thread waits for, who
/// makes that, and so on. A circle is found by the last thread that closes it. Nothing here
/// allocates.

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

/// A thread that waits for a subject, with all that it makes itself.
struct WaitingThread {
    const void* subject;
    const MadeSubject* innermost;
    WaitingThread* next;
};

/// The calling thread is known to wait for the subject while this object lives, and begins to make
/// nothing new. It must not wait if canEnd says so.
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
