// Stands in for the run-time library of ThreadSanitizer, and counts which cache lines several
// threads write to, and how many locks they take. Code that was compiled with -fsanitize=thread
// calls it before each access to memory, so any program of the preset "tsan" can be counted without
// being built again: the loader has to find this library in place of the sanitizer's.
//
// What was not compiled so is not seen: the C library's own memory, and copies by memcpy.

#include "SharingRuntime.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdio>
#include <map>
#include <unordered_map>
#include <vector>

#include <dlfcn.h>
#include <pthread.h>

namespace {

constexpr std::uintptr_t kLineBytes = 64;

/// What one thread did to one cache line: in how many of its locations it wrote there, and from
/// which instruction last.
struct LineUse {
    std::uint64_t locations = 0;
    std::uint64_t lastLocation = 0;
    const void* site = nullptr;
};

struct ThreadLog {
    std::unordered_map<std::uintptr_t, LineUse> lines;
    std::uint64_t location = 1;
    std::uint64_t locks = 0;
    std::uint64_t phase = 0;
};

/// What all threads did to one line.
struct SharedLine {
    std::uint64_t writes = 0;
    std::uint64_t most = 0; // by one thread
    const void* site = nullptr;

    void add(const LineUse& use) {
        writes += use.locations;
        if (use.locations > most) site = use.site;
        most = std::max(most, use.locations);
    }
    /// How often at most the line can have gone from one thread to another, in whatever order they
    /// ran: each write by another thread than the one that wrote most takes it there and back.
    std::uint64_t handOvers() const { return std::min(writes, 2 * (writes - most)); }
};

std::atomic<std::uint64_t> currentPhase{0}; // 0 while nothing is recorded
std::atomic_flag logsLock = ATOMIC_FLAG_INIT;
std::vector<ThreadLog*>& Logs() {
    static auto* const logs = new std::vector<ThreadLog*>;
    return *logs;
}
__thread ThreadLog* ownLog = nullptr;
__thread bool isInside = false;

/// The calling thread's log of the phase; null when nothing is recorded. Never freed: the process
/// ends soon.
ThreadLog* GetLog() {
    const std::uint64_t phase = currentPhase.load(std::memory_order_relaxed);
    if (phase == 0 || isInside) return nullptr;
    if (ownLog && ownLog->phase == phase) return ownLog;
    isInside = true;
    ownLog = new ThreadLog;
    ownLog->phase = phase;
    while (logsLock.test_and_set(std::memory_order_acquire)) {
    }
    Logs().push_back(ownLog);
    logsLock.clear(std::memory_order_release);
    isInside = false;
    return ownLog;
}

void NoteLine(ThreadLog& log, std::uintptr_t line, const void* site) {
    LineUse& use = log.lines[line];
    if (use.lastLocation == log.location) return;
    use.lastLocation = log.location;
    ++use.locations;
    use.site = site;
}

void NoteWrite(const volatile void* memory, std::uint64_t bytes, const void* site) {
    ThreadLog* const log = GetLog();
    if (!log || bytes == 0) return;
    isInside = true;
    const auto first = reinterpret_cast<std::uintptr_t>(memory);
    for (std::uintptr_t line = first / kLineBytes; line <= (first + bytes - 1) / kLineBytes; ++line)
        NoteLine(*log, line, site);
    isInside = false;
}

void NoteLock(const void* lock, std::uint64_t bytes, const void* site) {
    if (ThreadLog* const log = GetLog()) ++log->locks;
    NoteWrite(lock, bytes, site);
}

template <typename Function>
Function Next(const char* name) {
    return reinterpret_cast<Function>(::dlsym(RTLD_NEXT, name));
}

} // namespace

void TellarSharingBegin() {
    static std::uint64_t last = 0;
    Logs().clear();
    currentPhase.store(++last, std::memory_order_release);
}

void TellarSharingLocation() {
    if (ThreadLog* const log = GetLog()) ++log->location;
}

TellarSharing TellarSharingEnd(int sites) {
    currentPhase.store(0, std::memory_order_release);
    std::unordered_map<std::uintptr_t, SharedLine> lines;
    TellarSharing sharing{};
    for (const ThreadLog* log : Logs()) {
        sharing.locations += log->location - 1;
        sharing.locks += log->locks;
        for (const auto& [line, use] : log->lines)
            lines[line].add(use);
    }
    std::map<const void*, std::uint64_t> bySite;
    for (const auto& [address, line] : lines) {
        sharing.sharedWrites += line.handOvers();
        bySite[line.site] += line.handOvers();
    }
    std::vector<std::pair<std::uint64_t, const void*>> most;
    for (const auto& [site, count] : bySite)
        most.emplace_back(count, site);
    std::sort(most.rbegin(), most.rend());
    for (std::size_t i = 0; i < most.size() && i < static_cast<std::size_t>(sites); ++i) {
        Dl_info info{};
        if (!::dladdr(most[i].second, &info)) continue;
        std::printf("    %10llu  %s+0x%zx\n", static_cast<unsigned long long>(most[i].first),
                    info.dli_fname,
                    static_cast<std::size_t>(static_cast<const char*>(most[i].second) -
                                             static_cast<const char*>(info.dli_fbase)));
    }
    return sharing;
}

// What compilers call. Their names and parameters are those of the sanitizer's interface.
extern "C" {

void __tsan_init() {}
void __tsan_func_entry(void*) {}
void __tsan_func_exit() {}

#define TELLAR_ACCESS(bytes)                                                                       \
    void __tsan_read##bytes(void*) {}                                                              \
    void __tsan_unaligned_read##bytes(void*) {}                                                    \
    void __tsan_volatile_read##bytes(void*) {}                                                     \
    void __tsan_write##bytes(void* memory) {                                                       \
        NoteWrite(memory, bytes, __builtin_return_address(0));                                     \
    }                                                                                              \
    void __tsan_unaligned_write##bytes(void* memory) {                                             \
        NoteWrite(memory, bytes, __builtin_return_address(0));                                     \
    }                                                                                              \
    void __tsan_volatile_write##bytes(void* memory) {                                              \
        NoteWrite(memory, bytes, __builtin_return_address(0));                                     \
    }
TELLAR_ACCESS(1)
TELLAR_ACCESS(2)
TELLAR_ACCESS(4)
TELLAR_ACCESS(8)
TELLAR_ACCESS(16)

void __tsan_read_range(void*, unsigned long) {}
void __tsan_write_range(void* memory, unsigned long bytes) {
    NoteWrite(memory, bytes, __builtin_return_address(0));
}
void __tsan_vptr_read(void**) {}
void __tsan_vptr_update(void** memory, void*) {
    NoteWrite(memory, sizeof(void*), __builtin_return_address(0));
}
void __tsan_atomic_thread_fence(int) {
    __atomic_thread_fence(__ATOMIC_SEQ_CST);
}
void __tsan_atomic_signal_fence(int) {}

// An exchange that fails counts as well: it takes the line from the others.
#define TELLAR_CHANGE(bits, type, name, function)                                                  \
    type __tsan_atomic##bits##_##name(volatile type* memory, type value, int) {                    \
        NoteWrite(memory, sizeof(type), __builtin_return_address(0));                              \
        return function(memory, value, __ATOMIC_SEQ_CST);                                          \
    }
#define TELLAR_EXCHANGE(bits, type, name)                                                          \
    int __tsan_atomic##bits##_compare_exchange_##name(volatile type* memory, type* expected,       \
                                                      type desired, int, int) {                    \
        NoteWrite(memory, sizeof(type), __builtin_return_address(0));                              \
        return __atomic_compare_exchange_n(memory, expected, desired, false, __ATOMIC_SEQ_CST,     \
                                           __ATOMIC_SEQ_CST);                                      \
    }
#define TELLAR_ATOMIC(bits, type)                                                                  \
    type __tsan_atomic##bits##_load(const volatile type* memory, int) {                            \
        return __atomic_load_n(memory, __ATOMIC_SEQ_CST);                                          \
    }                                                                                              \
    void __tsan_atomic##bits##_store(volatile type* memory, type value, int) {                     \
        NoteWrite(memory, sizeof(type), __builtin_return_address(0));                              \
        __atomic_store_n(memory, value, __ATOMIC_SEQ_CST);                                         \
    }                                                                                              \
    TELLAR_CHANGE(bits, type, exchange, __atomic_exchange_n)                                       \
    TELLAR_CHANGE(bits, type, fetch_add, __atomic_fetch_add)                                       \
    TELLAR_CHANGE(bits, type, fetch_sub, __atomic_fetch_sub)                                       \
    TELLAR_CHANGE(bits, type, fetch_and, __atomic_fetch_and)                                       \
    TELLAR_CHANGE(bits, type, fetch_or, __atomic_fetch_or)                                         \
    TELLAR_CHANGE(bits, type, fetch_xor, __atomic_fetch_xor)                                       \
    TELLAR_EXCHANGE(bits, type, strong)                                                            \
    TELLAR_EXCHANGE(bits, type, weak)
TELLAR_ATOMIC(8, std::uint8_t)
TELLAR_ATOMIC(16, std::uint16_t)
TELLAR_ATOMIC(32, std::uint32_t)
TELLAR_ATOMIC(64, std::uint64_t)

// Locks. An unlocking writes to the line of its locking.
#define TELLAR_LOCK(name, type)                                                                    \
    int name(type* lock) {                                                                         \
        static const auto next = Next<int (*)(type*)>(#name);                                      \
        NoteLock(lock, sizeof *lock, __builtin_return_address(0));                                 \
        return next(lock);                                                                         \
    }
TELLAR_LOCK(pthread_mutex_lock, pthread_mutex_t)
TELLAR_LOCK(pthread_mutex_trylock, pthread_mutex_t)
TELLAR_LOCK(pthread_rwlock_rdlock, pthread_rwlock_t)
TELLAR_LOCK(pthread_rwlock_wrlock, pthread_rwlock_t)
TELLAR_LOCK(pthread_rwlock_tryrdlock, pthread_rwlock_t)
TELLAR_LOCK(pthread_rwlock_trywrlock, pthread_rwlock_t)
}
