#ifndef SCENEIMPORT_MEMORYBUDGET_H
#define SCENEIMPORT_MEMORYBUDGET_H

#include <cstdint>

namespace TellarSceneImport {

/// Counts the memory that the content of a file takes. The parts of a small file can take any
/// amount of memory together if they all use the same data, or data that is all zeros.
class MemoryBudget {
public:
    explicit MemoryBudget(std::uint64_t mebibytes) : mebibytes(mebibytes) {}

    /// Throws std::runtime_error if the limit is too low for `count` more values of `size` bytes.
    void require(std::uint64_t count, std::uint64_t size) const;
    /// Like require(), and counts the values, which stay in memory.
    void take(std::uint64_t count, std::uint64_t size);
    /// Counts numbers without data. Throws std::runtime_error when there are implausibly many.
    void takeZeros(std::uint64_t count);

private:
    const std::uint64_t mebibytes;
    std::uint64_t taken = 0; // bytes
    std::uint64_t zeros = 0;
};

} // namespace TellarSceneImport

#endif
