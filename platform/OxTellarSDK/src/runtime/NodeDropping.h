#ifndef OXTELLARSDK_NODEDROPPING_H
#define OXTELLARSDK_NODEDROPPING_H

#include <cstdint>
#include <mutex>

#include "LocationStore.h"

namespace OxTellarRuntimeDetail {

/// The lock under which the children of a location are added and dropped.
std::mutex& ChildLock(const LocationNode& parent);

/// Drops blocks of nodes when memory is short, oldest first. See the source file.
class NodeDropping {
public:
    /// Lets the budget drop results. Called for each store; does something once.
    static void Register();
    /// For ResultMemory.
    static std::uint64_t Drop(std::uint32_t usedBefore, std::uint64_t wanted);
    /// Frees all blocks of a store that nobody uses any more.
    static void FreeAll(LocationStore& store) noexcept;

private:
    static std::uint64_t Unlink(NodeBlock& block);
    static void Settle() noexcept;
    static void FreeNodes(NodeBlock& block) noexcept;
};

} // namespace OxTellarRuntimeDetail

#endif
