#ifndef OXTELLARSDK_ARENA_H
#define OXTELLARSDK_ARENA_H

#include <cstddef>
#include <memory>
#include <vector>

namespace OxTellarRuntimeDetail {

/// Memory that is allocated piece by piece and freed all at once. It comes in regions that grow
/// with use. The general allocator would ask the system for a few pages at a time, which makes all
/// other threads wait.
///
/// Threads: one at a time.
class Arena {
public:
    Arena() = default;
    Arena(const Arena&) = delete;
    Arena& operator=(const Arena&) = delete;

    /// New memory, aligned to a cache line. Destructors of objects in it are not called.
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
