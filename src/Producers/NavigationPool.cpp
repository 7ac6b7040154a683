#include "NavigationPool.h"

#include <algorithm>
#include <array>
#include <exception>
#include <memory>
#include <new>

#include <boost/thread/tss.hpp>

#include <OxTellarProducers/AsyncGeometryProducer.h>
#include <OxTellarProducers/SyncGeometryProducer.h>
#include <OxTellarProducers/ThreadAwareGeometryProducer.h>

namespace TELLAR {

namespace {

// Room for any runtime-backed producer. What others derive from them may be larger.
constexpr std::size_t kBlockBytes =
    std::max({sizeof(SyncGeometryProducer), sizeof(AsyncGeometryProducer),
              sizeof(ThreadAwareGeometryProducer)});
// A walk keeps one producer a level, and at most two of a level at once.
constexpr std::size_t kKept = 32;
// Longer paths are rare, and not worth keeping room for.
constexpr std::size_t kLongestKeptPath = 1024;

struct Pool {
    std::array<void*, kKept> blocks{};
    std::array<std::string*, kKept> paths{};
    std::size_t blockCount = 0;
    std::size_t pathCount = 0;

    ~Pool();
};

// Null before a thread's first use and after its pool is gone. The pool itself lies on the heap: a
// program has little thread-local storage left for libraries that it loads while it runs.
thread_local Pool* threadPool = nullptr;
thread_local bool threadPoolEnded = false;

Pool::~Pool() {
    while (blockCount > 0)
        ::operator delete(blocks[--blockCount]);
    while (pathCount > 0)
        delete paths[--pathCount];
}

void EndPool(Pool* pool) {
    threadPool = nullptr;
    threadPoolEnded = true;
    delete pool;
}

/// Null when the thread has come to its end, or there is no memory for a pool.
Pool* MakePool() noexcept {
    if (threadPoolEnded) return nullptr;
    try {
        static auto* const pools = new boost::thread_specific_ptr<Pool>(&EndPool);
        auto made = std::make_unique<Pool>();
        pools->reset(made.get());
        threadPool = made.release();
    } catch (const std::exception&) { // the caller does without, and the next one tries again
    }
    return threadPool;
}

Pool* GetPool() noexcept {
    return threadPool ? threadPool : MakePool();
}

} // namespace

void* NavigationPool::TakeMemory(std::size_t bytes) {
    if (bytes > kBlockBytes) return ::operator new(bytes);
    Pool* pool = GetPool();
    if (pool && pool->blockCount > 0) return pool->blocks[--pool->blockCount];
    return ::operator new(kBlockBytes);
}

void NavigationPool::GiveMemory(void* memory, std::size_t bytes) noexcept {
    Pool* pool = bytes <= kBlockBytes ? GetPool() : nullptr;
    if (pool && pool->blockCount < kKept)
        pool->blocks[pool->blockCount++] = memory;
    else
        ::operator delete(memory);
}

std::string* NavigationPool::TakePath() {
    Pool* pool = GetPool();
    return pool && pool->pathCount > 0 ? pool->paths[--pool->pathCount] : new std::string;
}

void NavigationPool::GivePath(std::string* path) noexcept {
    Pool* pool = GetPool();
    if (pool && pool->pathCount < kKept && path->capacity() <= kLongestKeptPath)
        pool->paths[pool->pathCount++] = path;
    else
        delete path;
}

} // namespace TELLAR
