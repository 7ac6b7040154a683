#ifndef OXTELLARSDK_SMALLMEMORY_H
#define OXTELLARSDK_SMALLMEMORY_H

#include <cstddef>
#include <new>

namespace OxTellarRuntimeDetail {

/// Memory for what is made and dropped by the million while scenes are walked: values, nodes, lists
/// of children. A general allocator joins neighbouring pieces when they are freed and splits them
/// again, which takes longer than a cook when many go at once. Here a piece serves the next taker
/// of its size as it is, without a head of its own. A page has pieces of one size, and serves any
/// other size once all of them are free; a mebibyte without pieces goes back to the system.
///
/// Larger pieces come from malloc. So do all in an AddressSanitizer build, which sees a use after
/// the end, and in a process with the environment variable TELLAR_PLAIN_MEMORY, for tools that
/// watch malloc.
///
/// Threads: everything may be called from any number of threads. Each keeps a few free pieces of
/// each size, up to 16 KiB, and gives them back when it ends.
namespace SmallMemory {

constexpr std::size_t kLargest = 2048;
constexpr std::size_t kUnit = 16; // sizes are multiples of it

/// How many bytes a piece takes that `Take` gives for so many.
std::size_t RoomFor(std::size_t bytes) noexcept;
/// Uninitialised memory, aligned to 16 bytes, and to 64 if the size is a multiple of 64. Throws
/// std::bad_alloc.
void* Take(std::size_t bytes);
/// `bytes` is the number for which it was taken, or its RoomFor.
void Give(void* memory, std::size_t bytes) noexcept;

/// Objects of a class that is derived from it come from here. Not for base classes with a virtual
/// destructor, and not for arrays.
struct Object {
    static void* operator new(std::size_t bytes) { return Take(bytes); }
    static void* operator new(std::size_t, void* place) noexcept { return place; }
    static void operator delete(void* memory, std::size_t bytes) noexcept { Give(memory, bytes); }
};

/// For std::unique_ptr to arrays and to objects with something behind them, whose size it keeps.
struct Deleter {
    std::size_t bytes = 0;
    void operator()(void* memory) const noexcept { Give(memory, bytes); }
};

} // namespace SmallMemory
} // namespace OxTellarRuntimeDetail

#endif
