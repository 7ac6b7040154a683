// A thread has two lists of free pieces of each size, of up to a batch each. When both are empty it
// fetches a batch from the size's pages, and when both are full it gives one back there. So a
// thread takes the lock of a size once for a batch.
//
// Pages come from regions of a mebibyte. Which page a piece belongs to follows from its address.
//
// Locks: that of a size is taken before that of the regions.

#include "SmallMemory.h"

#include <array>
#include <cstdint>
#include <cstdlib>
#include <mutex>
#include <utility>

#if defined(__unix__) || defined(__APPLE__)
#include <sys/mman.h>
#endif

#include "PerThread.h"

#if defined(__SANITIZE_ADDRESS__)
#define TELLAR_ALWAYS_PLAIN_MEMORY
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define TELLAR_ALWAYS_PLAIN_MEMORY
#endif
#endif

namespace OxTellarRuntimeDetail::SmallMemory {

namespace {

constexpr std::size_t kRegionBytes = std::size_t(1) << 20;
constexpr std::size_t kPageBytes = 8192;
constexpr std::uint32_t kPages = kRegionBytes / kPageBytes;
constexpr std::size_t kCacheLineBytes = 64;

// Sizes that fill a page well. Those of 1 to 6, 8, 16 and 32 nodes are among them.
constexpr std::array<std::uint16_t, 26> kSizes = {16,  32,  48,  64,  80,   96,   112,  128, 144,
                                                  160, 176, 192, 208, 224,  240,  256,  320, 384,
                                                  448, 512, 640, 768, 1024, 1344, 1632, 2048};
static_assert(kSizes.back() == kLargest);

/// The size class for so many units.
constexpr auto kClasses = [] {
    std::array<std::uint8_t, kLargest / kUnit + 1> classes{};
    std::uint8_t sizeClass = 0;
    for (std::size_t units = 0; units < classes.size(); ++units) {
        if (units * kUnit > kSizes[sizeClass]) ++sizeClass;
        classes[units] = sizeClass;
    }
    return classes;
}();

std::size_t ClassOf(std::size_t bytes) noexcept {
    return kClasses[(bytes + kUnit - 1) / kUnit];
}

/// How many pieces of a size move between a thread and the pages at once.
constexpr auto kBatches = [] {
    std::array<std::uint8_t, kSizes.size()> batches{};
    for (std::size_t i = 0; i < kSizes.size(); ++i) {
        const std::size_t fitting = kPageBytes / kSizes[i];
        batches[i] = static_cast<std::uint8_t>(fitting > 64 ? 64 : fitting);
    }
    return batches;
}();

struct Piece {
    Piece* next;
};

/// Free pieces of one size.
struct Pieces {
    Piece* first = nullptr;
    std::uint32_t count = 0;

    void push(void* memory) noexcept {
        first = new (memory) Piece{first};
        ++count;
    }
    void* pop() noexcept {
        --count;
        return std::exchange(first, first->next);
    }
};

/// Members of the lists below have `previous` and `next`.
template <typename Item>
void Link(Item*& first, Item& item) {
    item.previous = nullptr;
    item.next = first;
    if (first) first->previous = &item;
    first = &item;
}

template <typename Item>
void Unlink(Item*& first, Item& item) {
    (item.previous ? item.previous->next : first) = item.next;
    if (item.next) item.next->previous = item.previous;
}

/// The lock of its size guards it.
struct Page {
    Piece* free = nullptr;
    std::uint16_t untouched = 0; // pieces at its end that were never taken
    std::uint16_t taken = 0;
    std::uint8_t sizeClass = 0;
    Page* previous = nullptr; // among the pages of its size with free pieces
    Page* next = nullptr;

    bool isFull() const { return !free && untouched == 0; }
};

/// Lies in the first page of its memory.
struct Region {
    Region* previous = nullptr; // among the regions with free pages
    Region* next = nullptr;
    std::uint32_t freePages = kPages - 1;
    std::array<std::uint8_t, kPages> freeList{}; // the first `freePages` are numbers of free pages
    std::array<Page, kPages> pages{};

    Region() {
        for (std::uint32_t i = 0; i < freePages; ++i)
            freeList[i] = static_cast<std::uint8_t>(kPages - 1 - i);
    }
    bool isEmpty() const { return freePages == kPages - 1; }
    char* memoryOf(const Page& page) {
        return reinterpret_cast<char*>(this) +
               static_cast<std::size_t>(&page - pages.data()) * kPageBytes;
    }
    Page& pageOf(const void* memory) {
        return pages[static_cast<std::size_t>(static_cast<const char*>(memory) -
                                              reinterpret_cast<char*>(this)) /
                     kPageBytes];
    }

    static Region& Of(void* memory) {
        const std::size_t offset = reinterpret_cast<std::uintptr_t>(memory) & (kRegionBytes - 1);
        return *reinterpret_cast<Region*>(static_cast<char*>(memory) - offset);
    }
};
static_assert(sizeof(Region) <= kPageBytes && kPages <= 256);

#if defined(__unix__) || defined(__APPLE__)
/// The general allocator would leave as much unused as the alignment is.
void* TakeFromSystem() {
    void* const memory =
        mmap(nullptr, 2 * kRegionBytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) throw std::bad_alloc();
    const std::size_t before = -reinterpret_cast<std::uintptr_t>(memory) & (kRegionBytes - 1);
    char* const aligned = static_cast<char*>(memory) + before;
    if (before != 0) munmap(memory, before);
    munmap(aligned + kRegionBytes, kRegionBytes - before);
    return aligned;
}
void GiveToSystem(void* memory) noexcept {
    munmap(memory, kRegionBytes);
}
#else
void* TakeFromSystem() {
    return ::operator new(kRegionBytes, std::align_val_t(kRegionBytes));
}
void GiveToSystem(void* memory) noexcept {
    ::operator delete(memory, std::align_val_t(kRegionBytes));
}
#endif

struct Regions {
    std::mutex lock; // of all members
    Region* first = nullptr;
    std::uint32_t all = 0;
    std::uint32_t empty = 0;

    Page& takePage() {
        const std::lock_guard<std::mutex> guard(lock);
        if (!first) {
            Link(first, *new (TakeFromSystem()) Region);
            ++all;
            ++empty;
        }
        Region& region = *first;
        if (region.isEmpty()) --empty;
        Page& page = region.pages[region.freeList[--region.freePages]];
        if (region.freePages == 0) Unlink(first, region);
        return page;
    }

    /// Some regions stay, because what is dropped when memory is short is soon made again.
    void givePage(Page& page) noexcept {
        const std::lock_guard<std::mutex> guard(lock);
        Region& region = Region::Of(&page);
        if (region.freePages == 0) Link(first, region);
        region.freeList[region.freePages++] =
            static_cast<std::uint8_t>(&page - region.pages.data());
        if (!region.isEmpty()) return;
        if (empty <= all / 16) {
            ++empty;
            return;
        }
        --all;
        Unlink(first, region);
        GiveToSystem(&region);
    }
};

/// The pages with pieces of one size.
struct alignas(kCacheLineBytes) Size {
    std::mutex lock; // of the pages
    Page* pages = nullptr;
};

struct Central {
    Regions regions;
    std::array<Size, kSizes.size()> sizes;

    /// Pieces of a new page come in the order of their addresses. Throws std::bad_alloc if there is
    /// not even one.
    Pieces take(std::size_t sizeClass, std::uint32_t count) {
        Size& size = sizes[sizeClass];
        const std::lock_guard<std::mutex> guard(size.lock);
        if (!size.pages) addPage(sizeClass);
        Pieces taken;
        Piece** end = &taken.first;
        while (size.pages && taken.count < count) {
            Page& page = *size.pages;
            *end = takeFrom(page);
            end = &(*end)->next;
            ++taken.count;
            if (page.isFull()) Unlink(size.pages, page);
        }
        *end = nullptr;
        return taken;
    }

    void give(std::size_t sizeClass, Pieces given) noexcept {
        Size& size = sizes[sizeClass];
        const std::lock_guard<std::mutex> guard(size.lock);
        while (given.count > 0)
            giveTo(size, given.pop());
    }

private:
    void addPage(std::size_t sizeClass) {
        Page& page = regions.takePage();
        page.free = nullptr;
        page.taken = 0;
        page.untouched = static_cast<std::uint16_t>(kPageBytes / kSizes[sizeClass]);
        page.sizeClass = static_cast<std::uint8_t>(sizeClass);
        Link(sizes[sizeClass].pages, page);
    }

    static Piece* takeFrom(Page& page) {
        ++page.taken;
        if (page.free) return std::exchange(page.free, page.free->next);
        const std::size_t bytes = kSizes[page.sizeClass];
        char* const memory = Region::Of(&page).memoryOf(page);
        return new (memory + (kPageBytes / bytes - page.untouched--) * bytes) Piece{nullptr};
    }

    void giveTo(Size& size, void* memory) noexcept {
        Page& page = Region::Of(memory).pageOf(memory);
        if (page.isFull()) Link(size.pages, page);
        page.free = new (memory) Piece{page.free};
        if (--page.taken > 0) return;
        Unlink(size.pages, page);
        regions.givePage(page);
    }
};

/// Never destroyed, and not on the heap: memory is given back when there is none, too.
Central& GetCentral() noexcept {
    alignas(Central) static unsigned char memory[sizeof(Central)];
    static auto* const central = new (memory) Central;
    return *central;
}

/// The free pieces of one thread.
class Lists {
public:
    Lists() = default;
    ~Lists() {
        for (std::size_t sizeClass = 0; sizeClass < sizes.size(); ++sizeClass) {
            GetCentral().give(sizeClass, sizes[sizeClass].near);
            GetCentral().give(sizeClass, sizes[sizeClass].spare);
        }
    }
    Lists(const Lists&) = delete;
    Lists& operator=(const Lists&) = delete;

    void* take(std::size_t sizeClass) {
        Pair& free = sizes[sizeClass];
        if (!free.near.first) {
            std::swap(free.near, free.spare);
            if (!free.near.first) free.near = GetCentral().take(sizeClass, kBatches[sizeClass]);
        }
        return free.near.pop();
    }

    void give(void* memory, std::size_t sizeClass) noexcept {
        Pair& free = sizes[sizeClass];
        if (free.near.count >= kBatches[sizeClass]) {
            if (free.spare.first) GetCentral().give(sizeClass, free.spare);
            free.spare = std::exchange(free.near, Pieces());
        }
        free.near.push(memory);
    }

private:
    struct Pair {
        Pieces near;
        Pieces spare;
    };
    std::array<Pair, kSizes.size()> sizes;
};

bool IsPlain() noexcept {
#ifdef TELLAR_ALWAYS_PLAIN_MEMORY
    return true;
#else
    static const bool isPlain = std::getenv("TELLAR_PLAIN_MEMORY") != nullptr;
    return isPlain;
#endif
}

void* TakeLarge(std::size_t bytes) {
    void* const memory = std::malloc(bytes);
    if (!memory) throw std::bad_alloc();
    return memory;
}

void* TakePlain(std::size_t bytes) {
    void* const memory = bytes % kCacheLineBytes == 0 ? std::aligned_alloc(kCacheLineBytes, bytes)
                                                      : std::malloc(bytes);
    if (!memory) throw std::bad_alloc();
    return memory;
}

} // namespace

std::size_t RoomFor(std::size_t bytes) noexcept {
    if (bytes <= kLargest) return kSizes[ClassOf(bytes)];
    return (bytes + sizeof(std::size_t) + kUnit - 1) / kUnit * kUnit;
}

void* Take(std::size_t bytes) {
    if (bytes > kLargest) return TakeLarge(bytes);
    const std::size_t sizeClass = ClassOf(bytes);
    Lists* own = PerThread<Lists>::Find();
    if (!own) {
        if (IsPlain()) return TakePlain(kSizes[sizeClass]);
        own = PerThread<Lists>::Get();
    }
    return own ? own->take(sizeClass) : GetCentral().take(sizeClass, 1).pop();
}

void Give(void* memory, std::size_t bytes) noexcept {
    if (bytes > kLargest) return std::free(memory);
    Lists* own = PerThread<Lists>::Find();
    if (!own) {
        if (IsPlain()) return std::free(memory);
        own = PerThread<Lists>::Get();
    }
    const std::size_t sizeClass = ClassOf(bytes);
    if (own) return own->give(memory, sizeClass);
    Pieces one;
    one.push(memory);
    GetCentral().give(sizeClass, one);
}

} // namespace OxTellarRuntimeDetail::SmallMemory
