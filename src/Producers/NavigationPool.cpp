#include "NavigationPool.h"

#include <algorithm>
#include <array>
#include <new>

#include <OxTellarProducers/AsyncGeometryProducer.h>
#include <OxTellarProducers/SyncGeometryProducer.h>
#include <OxTellarProducers/ThreadAwareGeometryProducer.h>

#include "PerThread.h"

namespace TELLAR::NavigationPool {

namespace {

// Room for any runtime-backed producer of this library. Derived classes may be larger.
constexpr std::size_t kBlockBytes =
    std::max({sizeof(SyncGeometryProducer), sizeof(AsyncGeometryProducer),
              sizeof(ThreadAwareGeometryProducer)});
// A walk keeps one producer a level, and at most two of a level at once.
constexpr std::size_t kKept = 32;

struct Blocks {
    std::array<void*, kKept> kept{};
    std::size_t count = 0;

    ~Blocks() {
        while (count > 0)
            ::operator delete(kept[--count]);
    }
};

} // namespace

void* TakeMemory(std::size_t bytes) {
    if (bytes > kBlockBytes) return ::operator new(bytes);
    Blocks* blocks = PerThread<Blocks>::Get();
    if (blocks && blocks->count > 0) return blocks->kept[--blocks->count];
    return ::operator new(kBlockBytes);
}

void GiveMemory(void* memory, std::size_t bytes) noexcept {
    Blocks* blocks = bytes <= kBlockBytes ? PerThread<Blocks>::Get() : nullptr;
    if (blocks && blocks->count < kKept)
        blocks->kept[blocks->count++] = memory;
    else
        ::operator delete(memory);
}

} // namespace TELLAR::NavigationPool
