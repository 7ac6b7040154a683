#include "MappedRegions.h"

#ifndef _WIN32

#include <atomic>
#include <cerrno>
#include <csignal>
#include <mutex>
#include <new>
#include <stdexcept>

#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include "files/RegularFile.h"

namespace OxAttribute {

/// Where a region lies, for the signal handler, which takes no lock. Places are in a list that only
/// grows, and are used again: the handler may be looking at any of them at any time.
///
/// A free place has the end 0. Whoever takes a place writes the end last, and whoever leaves it
/// writes the end first.
struct MappedRegion::Place {
    std::atomic<std::uintptr_t> end{0};
    std::atomic<std::uintptr_t> begin{0};
    std::atomic<int> descriptor{-1};
    std::atomic<bool> isLost{false};
    Place* next = nullptr;
    bool isTaken = false; // guarded by the lock of the list
};

/// A handler that was there before ours.
struct HandlerBefore {
    struct sigaction action;
    const HandlerBefore* earlier;
};

/// What the signal handler and the regions share. All of it is initialised without code, because
/// the handler may run at any time.
struct RegionAccess {
    using Place = MappedRegion::Place;

    static Place* Take();
    static void DemandHandler();
    static bool ReplaceLostPages(std::uintptr_t address);

    static std::mutex lock; // guards taking and leaving places, and installing the handler
    static std::atomic<Place*> places;
    // The last of them. None is ever freed, because the signal handler may be looking at it.
    static std::atomic<const HandlerBefore*> previous;
    static std::atomic<std::uintptr_t> pageBytes;
};

std::mutex RegionAccess::lock;
std::atomic<RegionAccess::Place*> RegionAccess::places{nullptr};
std::atomic<const HandlerBefore*> RegionAccess::previous{nullptr};
std::atomic<std::uintptr_t> RegionAccess::pageBytes{4096};

namespace {

/// Maps zeros. Not by mmap() where it can be avoided: the sanitizers watch that function, and would
/// take the pages for written by this thread.
bool MapZeros(std::uintptr_t begin, std::uintptr_t end) {
    constexpr int kFlags = MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED | MAP_NORESERVE;
#if defined(SYS_mmap) && defined(__LP64__)
    return syscall(SYS_mmap, begin, end - begin, PROT_READ, kFlags, -1, 0) ==
           static_cast<long>(begin);
#else
    void* const place = reinterpret_cast<void*>(begin);
    return mmap(place, end - begin, PROT_READ, kFlags, -1, 0) == place;
#endif
}

/// Does what would have happened without our handler.
void PassOn(int signal, siginfo_t* info, void* context) {
    const HandlerBefore* const last = RegionAccess::previous.load(std::memory_order_acquire);
    const struct sigaction* const before = last ? &last->action : nullptr;
    if (before && (before->sa_flags & SA_SIGINFO) != 0)
        return before->sa_sigaction(signal, info, context);
    const bool wasSent = info->si_code <= 0; // by a process, not for an address
    if (before && before->sa_handler == SIG_IGN && wasSent) return;
    if (before && before->sa_handler != SIG_IGN && before->sa_handler != SIG_DFL)
        return before->sa_handler(signal);
    // The default action ends the process when the instruction is tried again. A signal that was
    // sent does not come again by itself.
    struct sigaction byDefault {};
    byDefault.sa_handler = SIG_DFL;
    sigaction(signal, &byDefault, nullptr);
    if (wasSent) raise(signal);
}

void OnBusError(int signal, siginfo_t* info, void* context) {
    const int errorBefore = errno;
    const auto address = reinterpret_cast<std::uintptr_t>(info->si_addr);
    const bool isOurs = info->si_code == BUS_ADRERR && RegionAccess::ReplaceLostPages(address);
    if (!isOurs) PassOn(signal, info, context);
    errno = errorBefore;
}

bool IsDefault(const struct sigaction& action) {
    return (action.sa_flags & SA_SIGINFO) == 0 &&
           (action.sa_handler == SIG_DFL || action.sa_handler == SIG_IGN);
}

} // namespace

bool RegionAccess::ReplaceLostPages(std::uintptr_t address) {
    for (Place* place = places.load(std::memory_order_acquire); place; place = place->next) {
        const std::uintptr_t end = place->end.load(std::memory_order_acquire);
        if (address >= end) continue;
        const std::uintptr_t begin = place->begin.load(std::memory_order_relaxed);
        const int descriptor = place->descriptor.load(std::memory_order_relaxed);
        std::atomic_thread_fence(std::memory_order_acquire);
        if (address < begin || place->end.load(std::memory_order_relaxed) != end) continue;

        // Everything behind the end of the file is lost. A page before it could not be read, but
        // those behind that may be sound.
        const std::uintptr_t page = pageBytes.load(std::memory_order_relaxed);
        const std::uintptr_t lost = address - address % page;
        struct stat status {};
        const bool isBehindEnd = fstat(descriptor, &status) == 0 &&
                                 begin + static_cast<std::uintptr_t>(status.st_size) <= lost;
        place->isLost.store(true, std::memory_order_release);
        return MapZeros(lost, isBehindEnd ? end : lost + page);
    }
    return false;
}

/// Called with the lock.
RegionAccess::Place* RegionAccess::Take() {
    Place* place = places.load(std::memory_order_relaxed);
    while (place && place->isTaken)
        place = place->next;
    if (!place) {
        place = new Place;
        place->next = places.load(std::memory_order_relaxed);
        places.store(place, std::memory_order_release);
    }
    place->isTaken = true;
    return place;
}

/// Called with the lock. A handler that the host installed over ours is left where it is: it may
/// call ours. Where the host has restored the default, ours is installed again.
void RegionAccess::DemandHandler() {
    const auto fail = [] { throw std::runtime_error(RegularFile::ReasonOf(errno)); };
    struct sigaction current {};
    if (sigaction(SIGBUS, nullptr, &current) != 0) fail();
    if (previous.load(std::memory_order_relaxed) && !IsDefault(current)) return;
    pageBytes.store(static_cast<std::uintptr_t>(sysconf(_SC_PAGESIZE)), std::memory_order_relaxed);
    previous.store(new HandlerBefore{current, previous.load(std::memory_order_relaxed)},
                   std::memory_order_release);
    struct sigaction ours {};
    ours.sa_sigaction = &OnBusError;
    ours.sa_mask = current.sa_mask; // for the handler that ours calls
    ours.sa_flags = (current.sa_flags & SA_RESTART) | SA_SIGINFO | SA_ONSTACK;
    if (sigaction(SIGBUS, &ours, nullptr) != 0) fail();
}

MappedRegion::MappedRegion(const char* start, std::uint64_t bytes, int descriptor) {
    const std::lock_guard<std::mutex> guard(RegionAccess::lock);
    RegionAccess::DemandHandler();
    place = RegionAccess::Take();
    const std::uintptr_t page = RegionAccess::pageBytes.load(std::memory_order_relaxed);
    const auto begin = reinterpret_cast<std::uintptr_t>(start);
    place->isLost.store(false, std::memory_order_relaxed);
    place->begin.store(begin, std::memory_order_relaxed);
    place->descriptor.store(descriptor, std::memory_order_relaxed);
    place->end.store(begin + (bytes + page - 1) / page * page, std::memory_order_release);
}

MappedRegion::~MappedRegion() {
    const std::lock_guard<std::mutex> guard(RegionAccess::lock);
    place->end.store(0, std::memory_order_release);
    place->isTaken = false;
}

bool MappedRegion::isLost() const {
    return place->isLost.load(std::memory_order_acquire);
}

} // namespace OxAttribute

#endif
