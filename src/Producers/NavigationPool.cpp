#include "NavigationPool.h"

#include <array>
#include <new>

namespace TELLAR {

namespace {

// Room for any runtime-backed producer.
constexpr std::size_t kBlockBytes = 192;
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

// Null before a thread's first use and after its pool is gone.
thread_local Pool* threadPool = nullptr;
thread_local bool threadPoolEnded = false;

Pool::~Pool() {
    threadPool = nullptr;
    threadPoolEnded = true;
    while (blockCount > 0)
        ::operator delete(blocks[--blockCount]);
    while (pathCount > 0)
        delete paths[--pathCount];
}

Pool* MakePool() {
    if (threadPoolEnded) return nullptr;
    static thread_local Pool pool;
    threadPool = &pool;
    return threadPool;
}

Pool* GetPool() {
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
