#ifndef SCENEIMPORT_MEMORYBUDGET_H
#define SCENEIMPORT_MEMORYBUDGET_H

#include <cstdint>

namespace TellarSceneImport {

/// Counts the memory that the content of a file takes. Many parts of a small file can use the same
/// data, or data that is all zeros, and take any amount of memory together.
class MemoryBudget {
public:
    explicit MemoryBudget(std::uint64_t mebibytes) : mebibytes(mebibytes) {}

    /// Throws std::runtime_error if the limit is too low for `count` more values of `size` bytes.
    void require(std::uint64_t count, std::uint64_t size) const;
    /// The same for values that stay in memory.
    void take(std::uint64_t count, std::uint64_t size);
    /// Throws std::runtime_error when the numbers without data have become too many to be meant.
    void takeZeros(std::uint64_t count);

private:
    const std::uint64_t mebibytes;
    std::uint64_t taken = 0; // bytes
    std::uint64_t zeros = 0;
};

} // namespace TellarSceneImport

#endif
