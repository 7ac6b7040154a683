#include "ContainerMap.h"

#include <cstdlib>
#include <new>
#include <stdexcept>

#include "FileBuffer.h"

namespace OxAttribute {

static_assert(FileBuffer::kAlignment % ContainerMap::kGranule == 0, "one container a granule");

// Constant-initialised: handles are looked up before and after all other objects exist.
std::array<std::atomic<ContainerMap::Leaf*>, ContainerMap::kRoots> ContainerMap::roots;

std::atomic<Container*>& ContainerMap::At(std::uint64_t granule) noexcept {
    return (*roots[granule >> 16].load(std::memory_order_relaxed))[granule & 0xffff];
}

void ContainerMap::Add(const char* begin, std::uint64_t bytes, Container* container) {
    const std::uint64_t first = reinterpret_cast<std::uintptr_t>(begin) / kGranule;
    const std::uint64_t end = first + (bytes + kGranule - 1) / kGranule;
    if ((end - 1) >> 16 >= kRoots)
        throw std::runtime_error("the system gave memory beyond 48 bits of addresses");
    for (std::uint64_t root = first >> 16; root <= (end - 1) >> 16; ++root) {
        if (roots[root].load(std::memory_order_acquire)) continue;
        // Never freed. The system gives only those of its pages that are written to.
        void* const memory = std::calloc(1, sizeof(Leaf));
        if (!memory) throw std::bad_alloc();
        Leaf* none = nullptr;
        if (!roots[root].compare_exchange_strong(none, new (memory) Leaf)) std::free(memory);
    }
    for (std::uint64_t granule = first; granule < end; ++granule)
        At(granule).store(container, std::memory_order_release);
}

void ContainerMap::Remove(const char* begin, std::uint64_t bytes) noexcept {
    const std::uint64_t first = reinterpret_cast<std::uintptr_t>(begin) / kGranule;
    const std::uint64_t end = first + (bytes + kGranule - 1) / kGranule;
    for (std::uint64_t granule = first; granule < end; ++granule)
        At(granule).store(nullptr, std::memory_order_release);
}

} // namespace OxAttribute
