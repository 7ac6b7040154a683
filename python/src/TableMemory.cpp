#include "TableMemory.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>

#ifdef __linux__
#include <sys/mman.h>
#include <unistd.h>
#endif

namespace TellarPython {

namespace {

void Reallocate(void*& block, std::size_t bytes) {
    void* const moved = std::realloc(block, bytes);
    if (!moved) throw std::bad_alloc();
    block = moved;
}

#ifdef __linux__

constexpr std::size_t kLarge = std::size_t{4} << 20; // blocks from this size on are mapped
constexpr std::size_t kLargePage = std::size_t{2} << 20;

std::size_t PageSize() {
    static const auto size = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    return size;
}

std::size_t RoundUp(std::size_t bytes, std::size_t unit) {
    return (bytes + unit - 1) / unit * unit;
}

/// Reserves addresses that begin with a large page. A block that moves keeps its large pages only
/// if it moves by whole ones.
void* ReserveAligned(std::size_t bytes) {
    const std::size_t reserved = bytes + kLargePage;
    void* const place =
        mmap(nullptr, reserved, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (place == MAP_FAILED) throw std::bad_alloc();
    const auto address = reinterpret_cast<std::uintptr_t>(place);
    const std::size_t before = RoundUp(address, kLargePage) - address;
    const std::size_t behind = kLargePage - before;
    char* const aligned = static_cast<char*>(place) + before;
    if (before > 0) munmap(place, before);
    if (behind > 0) munmap(aligned + bytes, behind);
    return aligned;
}

void* MapNew(std::size_t bytes) {
    void* const block = ReserveAligned(bytes);
    if (mprotect(block, bytes, PROT_READ | PROT_WRITE) != 0) {
        munmap(block, bytes);
        throw std::bad_alloc();
    }
    madvise(block, bytes, MADV_HUGEPAGE); // may be refused
    return block;
}

/// Moves a mapped block to a place with more room. Its pages are not copied.
void* MoveMapped(void* block, std::size_t oldBytes, std::size_t bytes) {
    void* const place = ReserveAligned(bytes);
    void* const moved = mremap(block, oldBytes, bytes, MREMAP_MAYMOVE | MREMAP_FIXED, place);
    if (moved != MAP_FAILED) return moved;
    munmap(place, bytes);
    throw std::bad_alloc();
}

#endif

} // namespace

#ifdef __linux__

Memory::~Memory() {
    if (mapped > 0)
        munmap(block, mapped);
    else
        std::free(block);
}

void Memory::resize(std::size_t used, std::size_t bytes) {
    if (mapped == 0 && bytes < kLarge) return Reallocate(block, bytes);
    const std::size_t wanted = RoundUp(bytes, PageSize());
    if (mapped == 0) {
        void* const larger = MapNew(wanted);
        if (used > 0) std::memcpy(larger, block, used);
        std::free(block);
        block = larger;
    } else if (wanted < mapped) {
        munmap(static_cast<char*>(block) + wanted, mapped - wanted);
    } else if (wanted > mapped) {
        block = MoveMapped(block, mapped, wanted);
    }
    mapped = wanted;
}

void DropContent(void* part, std::size_t bytes) noexcept {
    const auto address = reinterpret_cast<std::uintptr_t>(part);
    const std::uintptr_t begin = RoundUp(address, PageSize());
    const std::uintptr_t end = (address + bytes) / PageSize() * PageSize();
    if (begin < end)
        madvise(static_cast<char*>(part) + (begin - address), end - begin, MADV_DONTNEED);
}

#else

Memory::~Memory() {
    std::free(block);
}

void Memory::resize(std::size_t, std::size_t bytes) {
    Reallocate(block, bytes);
}

void DropContent(void*, std::size_t) noexcept {}

#endif

} // namespace TellarPython
