#ifndef TELLAR_PLATFORM_PERTHREAD_H
#define TELLAR_PLATFORM_PERTHREAD_H

#include <exception>
#include <memory>

#include <pthread.h>

/// Replaces thread_local for a plain variable with a constant initial value. At every access from
/// another source file, thread_local would first check whether the variable has been initialised;
/// GCC and Clang have a word for variables that need no such check.
#ifdef __GNUC__
#define TELLAR_THREAD_WORD __thread
#else
#define TELLAR_THREAD_WORD thread_local
#endif

namespace PerThreadDetail {

/// The objects that one thread keeps, in a list that is deleted when the thread ends. Every library
/// has a list of its own.
///
/// A pthread key tells when a thread ends. A thread_local object would not do: the C library ends
/// the process if it has no memory to register the destructor of one.
class KeptObject {
public:
    KeptObject() = default;
    virtual ~KeptObject() = default;
    KeptObject(const KeptObject&) = delete;
    KeptObject& operator=(const KeptObject&) = delete;

    /// True while the objects of the calling thread are deleted.
    static bool IsThreadEnding() noexcept { return isThreadEnding; }

    /// Adds the object to the calling thread's list. False when there is no memory for that.
    static bool Keep(KeptObject& object) noexcept {
        static const Key key;
        if (!key.isMade) return false;
        object.next = static_cast<KeptObject*>(pthread_getspecific(key.value));
        return pthread_setspecific(key.value, &object) == 0;
    }

private:
    struct Key {
        pthread_key_t value = {};
        const bool isMade = pthread_key_create(&value, &DeleteAll) == 0;
    };

    static void DeleteAll(void* newest) noexcept {
        isThreadEnding = true;
        auto* object = static_cast<KeptObject*>(newest);
        while (object) {
            const std::unique_ptr<KeptObject> deleted(object);
            object = deleted->next;
        }
        isThreadEnding = false;
    }

    static inline TELLAR_THREAD_WORD bool isThreadEnding = false;
    KeptObject* next = nullptr;
};

} // namespace PerThreadDetail

/// One T for each thread, on the heap from its first use to the end of the thread.
///
/// The thread-local storage of a library that is loaded into a running program comes out of a few
/// hundred bytes that the program has left for all such libraries, so nothing but a pointer lies
/// there.
template <typename T>
class PerThread {
public:
    /// The calling thread's object. Null when there is no memory for it, and while the objects of a
    /// thread that has ended are deleted. Code that runs on the thread after that gets a new one.
    static T* Get() noexcept { return object ? object : Make(); }
    /// The calling thread's object; null when the thread has none yet.
    static T* Find() noexcept { return object; }

private:
    struct Kept final : PerThreadDetail::KeptObject {
        T value;
        ~Kept() override { object = nullptr; }
    };

    static T* Make() noexcept {
        if (Kept::IsThreadEnding()) return nullptr;
        try {
            auto made = std::make_unique<Kept>();
            if (Kept::Keep(*made)) object = &made.release()->value;
        } catch (const std::exception&) { // the caller does without, and the next one tries again
        }
        return object;
    }

    static inline TELLAR_THREAD_WORD T* object = nullptr;
};

#endif
