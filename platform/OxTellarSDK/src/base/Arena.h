#ifndef OXTELLARSDK_ARENA_H
#define OXTELLARSDK_ARENA_H

#include <cstddef>
#include <memory>
#include <vector>

namespace OxTellarRuntimeDetail {

/// Memory that is given out piece by piece and let go all at once. It comes in regions that grow
/// with what is used: where threads ask the general allocator for millions of small pieces, it
/// asks the system for a few pages at a time, and has all other threads wait for each.
///
/// Threads: one at a time.
class Arena {
public:
    Arena() = default;
    Arena(const Arena&) = delete;
    Arena& operator=(const Arena&) = delete;

    /// Aligned to a cache line; what lies in it is not destroyed.
    void* allocate(std::size_t bytes);

private:
    struct Free {
        void operator()(char* memory) const;
    };
    std::vector<std::unique_ptr<char, Free>> regions;
    char* next = nullptr;
    std::size_t left = 0;
    std::size_t nextRegionBytes = 512;
};

} // namespace OxTellarRuntimeDetail

#endif
