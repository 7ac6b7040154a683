#ifndef OXTELLARPRODUCERS_SPAREMEMORY_H
#define OXTELLARPRODUCERS_SPAREMEMORY_H

#include <array>
#include <cstddef>
#include <new>

#include "PerThread.h"

namespace TELLAR {

/// Memory for the next objects of a class of which every step of a walk makes and drops one. Each
/// thread keeps some blocks of sizeof(T) bytes.
///
///     static void* operator new(std::size_t bytes) { return SpareMemory<T>::Take(bytes); }
///     static void operator delete(void* memory, std::size_t bytes) noexcept {
///         SpareMemory<T>::Give(memory, bytes);
///     }
template <typename T>
class SpareMemory {
public:
    static void* Take(std::size_t bytes) {
        SpareMemory* spare = bytes == sizeof(T) ? PerThread<SpareMemory>::Get() : nullptr;
        return spare && spare->count > 0 ? spare->blocks[--spare->count] : ::operator new(bytes);
    }

    static void Give(void* memory, std::size_t bytes) noexcept {
        SpareMemory* spare = bytes == sizeof(T) ? PerThread<SpareMemory>::Get() : nullptr;
        if (spare && spare->count < kBlocks)
            spare->blocks[spare->count++] = memory;
        else
            ::operator delete(memory);
    }

    ~SpareMemory() {
        while (count > 0)
            ::operator delete(blocks[--count]);
    }

private:
    // A walk keeps one object a level, and at most two of a level at once.
    static constexpr std::size_t kBlocks = 32;

    std::array<void*, kBlocks> blocks{};
    std::size_t count = 0;
};

} // namespace TELLAR

#endif
