#include "NodeMemory.h"

#include <array>
#include <cstddef>
#include <mutex>
#include <new>

#if defined(__unix__) || defined(__APPLE__)
#include <sys/mman.h>
#endif

#include "LocationNode.h"

namespace OxTellarRuntimeDetail::NodeMemory {

namespace {

constexpr std::size_t kRegionBytes = std::size_t(1) << 20;
constexpr std::uint32_t kPageNodes = 32;
constexpr std::size_t kPageBytes = kPageNodes * sizeof(LocationNode);
constexpr std::uint32_t kPages = kRegionBytes / kPageBytes;

// Sizes that fill a page well. Each fits the next smaller number of nodes, too.
constexpr std::array<std::uint8_t, 10> kSizes = {1, 2, 3, 4, 5, 6, 8, 10, 16, 32};

std::size_t SizeClass(std::uint32_t nodes) {
    std::size_t sizeClass = 0;
    while (kSizes[sizeClass] < nodes)
        ++sizeClass;
    return sizeClass;
}

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

struct Page {
    std::uint32_t free = 0; // one bit for each array that can be taken
    std::uint8_t sizeClass = 0;
    Page* previous = nullptr; // among the pages of its size with free arrays
    Page* next = nullptr;
};

/// Lies in the first pages of its memory.
struct Region {
    Region* previous = nullptr; // among the regions with free pages
    Region* next = nullptr;
    std::uint32_t freePages = 0;
    std::array<std::uint16_t, kPages> freeList{}; // the first `freePages` are numbers of free pages
    std::array<Page, kPages> pages{};

    Region() {
        for (std::uint32_t page = kPages; page > FirstPage();)
            freeList[freePages++] = static_cast<std::uint16_t>(--page);
    }
    static constexpr std::uint32_t FirstPage();
    bool isEmpty() const { return freePages == kPages - FirstPage(); }
    char* memoryOf(const Page& page) {
        return reinterpret_cast<char*>(this) +
               static_cast<std::size_t>(&page - pages.data()) * kPageBytes;
    }

    static Region& Of(void* memory) {
        const std::size_t offset = reinterpret_cast<std::uintptr_t>(memory) & (kRegionBytes - 1);
        return *reinterpret_cast<Region*>(static_cast<char*>(memory) - offset);
    }
};

constexpr std::uint32_t Region::FirstPage() {
    return (sizeof(Region) + kPageBytes - 1) / kPageBytes;
}

// LeakSanitizer finds pointers only in memory of the general allocator.
#if (defined(__unix__) || defined(__APPLE__)) && !defined(__SANITIZE_ADDRESS__)
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

struct Pool {
    std::mutex lock; // of all members
    Region* regions = nullptr;
    std::array<Page*, kSizes.size()> pages{};
    std::uint32_t emptyRegions = 0;

    Page& takePage(std::size_t sizeClass) {
        if (!regions) {
            Link(regions, *new (TakeFromSystem()) Region);
            ++emptyRegions;
        }
        Region& region = *regions;
        if (region.isEmpty()) --emptyRegions;
        Page& page = region.pages[region.freeList[--region.freePages]];
        if (region.freePages == 0) Unlink(regions, region);
        page.sizeClass = static_cast<std::uint8_t>(sizeClass);
        page.free = ~0u >> (32 - kPageNodes / kSizes[sizeClass]);
        return page;
    }

    void givePage(Region& region, Page& page) noexcept {
        if (region.freePages == 0) Link(regions, region);
        region.freeList[region.freePages++] =
            static_cast<std::uint16_t>(&page - region.pages.data());
        if (!region.isEmpty() || ++emptyRegions == 1) return;
        --emptyRegions;
        Unlink(regions, region);
        GiveToSystem(&region);
    }
};

Pool& GetPool() {
    static Pool* const pool = new Pool;
    return *pool;
}

std::uint32_t LowestBit(std::uint32_t bits) {
#if defined(__GNUC__)
    return static_cast<std::uint32_t>(__builtin_ctz(bits));
#else
    std::uint32_t bit = 0;
    while ((bits >> bit & 1) == 0)
        ++bit;
    return bit;
#endif
}

} // namespace

std::uint32_t RoomFor(std::uint32_t nodes) {
    return kSizes[SizeClass(nodes)];
}

LocationNode* Take(std::uint32_t nodes) {
    const std::size_t sizeClass = SizeClass(nodes);
    Pool& pool = GetPool();
    const std::lock_guard<std::mutex> guard(pool.lock);
    Page*& first = pool.pages[sizeClass];
    if (!first) Link(first, pool.takePage(sizeClass));
    Page& page = *first;
    const std::uint32_t array = LowestBit(page.free);
    page.free &= page.free - 1;
    if (page.free == 0) Unlink(first, page);
    return reinterpret_cast<LocationNode*>(Region::Of(&page).memoryOf(page)) +
           array * kSizes[sizeClass];
}

void Give(LocationNode* array, std::uint32_t nodes) noexcept {
    const std::size_t sizeClass = SizeClass(nodes);
    Region& region = Region::Of(array);
    Page& page = region.pages[static_cast<std::size_t>(reinterpret_cast<char*>(array) -
                                                       reinterpret_cast<char*>(&region)) /
                              kPageBytes];
    const auto place =
        static_cast<std::uint32_t>(array - reinterpret_cast<LocationNode*>(region.memoryOf(page))) /
        kSizes[sizeClass];
    Pool& pool = GetPool();
    const std::lock_guard<std::mutex> guard(pool.lock);
    if (page.free == 0) Link(pool.pages[sizeClass], page);
    page.free |= 1u << place;
    if (page.free != ~0u >> (32 - kPageNodes / kSizes[sizeClass])) return;
    Unlink(pool.pages[sizeClass], page);
    pool.givePage(region, page);
}

} // namespace OxTellarRuntimeDetail::NodeMemory
