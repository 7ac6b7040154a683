#ifndef OXTELLARSDK_FILEMEMORY_H
#define OXTELLARSDK_FILEMEMORY_H

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>

namespace OxAttribute {

/// Counts the pages of one mapped file that were read, as the cache "mapped files" of the memory
/// budget. When memory is short, it gives back to the system those that were first read the longest
/// time ago: the system reads them again when somebody touches them. For any number of threads.
///
/// The owner is told what was given back, and then calls use() again when it reads there. Pages
/// that are touched through pointers that it gave out before are not counted. They are given back
/// with the others when memory is short the next time.
class MappedFileMemory {
public:
    /// The bytes are mapped, privately and for reading, until this is destroyed. Throws
    /// std::bad_alloc.
    MappedFileMemory(char* start, std::uint64_t bytes);
    ~MappedFileMemory();
    MappedFileMemory(const MappedFileMemory&) = delete;
    MappedFileMemory& operator=(const MappedFileMemory&) = delete;

    /// These bytes are read for the first time, or again after they were given back. When memory is
    /// short, this gives back others: nobody else might do so while a large file is only read.
    void use(std::uint64_t begin, std::uint64_t end) noexcept;

    /// Called with the first byte and the end of what is given back, on any thread, and not any
    /// more when another function, or none, has taken its place. It must not throw or use the file.
    using Forget = std::function<void(std::uint64_t begin, std::uint64_t end)>;
    void onGiveBack(Forget function);

private:
    friend class MappedFilesCache;

    // A run is what is given back at once.
    static constexpr std::uint64_t kRunBytes = 1u << 20;

    struct Run {
        std::atomic<std::uint32_t> countedBytes{0};
        std::atomic<std::uint32_t> usedIn{0}; // tick
    };

    std::uint64_t giveBack(std::uint32_t usedBefore);
    void release(std::size_t first, std::size_t end) const noexcept;

    char* const start;
    const std::uint64_t bytes;
    const std::size_t runCount;
    const std::unique_ptr<Run[]> runs;
    Forget forget; // guarded by the lock of the cache
};

} // namespace OxAttribute

#endif
