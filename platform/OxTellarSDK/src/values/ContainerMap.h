#ifndef OXTELLARSDK_CONTAINERMAP_H
#define OXTELLARSDK_CONTAINERMAP_H

#include <array>
#include <atomic>
#include <cstdint>

namespace OxAttribute {

class Container;

/// Which container the bytes at an address belong to. Their bytes begin at multiples of kGranule,
/// so no granule belongs to two of them.
///
/// Threads: any number may look up while one thread adds or removes; what is looked up must not be
/// removed meanwhile.
class ContainerMap {
public:
    static constexpr std::uint64_t kGranule = 65536;

    /// Null for memory that is not part of a container.
    static Container* Find(const void* address) noexcept {
        const auto number = reinterpret_cast<std::uintptr_t>(address);
        const Leaf* leaf = roots[number >> 32 & (kRoots - 1)].load(std::memory_order_acquire);
        return leaf ? (*leaf)[number >> 16 & 0xffff].load(std::memory_order_acquire) : nullptr;
    }

    /// Throws std::bad_alloc, and std::runtime_error for an address beyond 48 bits, without effect
    /// for look-ups.
    static void Add(const char* begin, std::uint64_t bytes, Container* container);
    static void Remove(const char* begin, std::uint64_t bytes) noexcept;

private:
    static constexpr std::uint64_t kRoots = 65536;
    using Leaf = std::array<std::atomic<Container*>, 65536>; // for 4 GiB of addresses

    static std::atomic<Container*>& At(std::uint64_t granule) noexcept;

    static std::array<std::atomic<Leaf*>, kRoots> roots;
};

} // namespace OxAttribute

#endif
