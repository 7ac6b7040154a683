#ifndef OXTELLARSDK_NODEMEMORY_H
#define OXTELLARSDK_NODEMEMORY_H

#include <cstdint>

namespace OxTellarRuntimeDetail {

struct LocationNode;

/// Memory for arrays of 1 to 32 nodes. It comes from the system a mebibyte at a time, in pages of
/// 32 nodes each. A page holds arrays of one size, and serves any other size once all of them are
/// free; a mebibyte without arrays goes back to the system, except for one.
///
/// Threads: everything may be called from any number of threads.
namespace NodeMemory {

/// For how many nodes there is room in the array that `Take` gives for so many.
std::uint32_t RoomFor(std::uint32_t nodes);
/// Uninitialised memory, each node in a cache line of its own. Throws std::bad_alloc.
LocationNode* Take(std::uint32_t nodes);
/// `nodes` is the number for which the array was taken.
void Give(LocationNode* array, std::uint32_t nodes) noexcept;

} // namespace NodeMemory
} // namespace OxTellarRuntimeDetail

#endif
