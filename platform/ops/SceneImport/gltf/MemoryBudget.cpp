#include "MemoryBudget.h"

#include <stdexcept>
#include <string>

#include "GltfError.h"

namespace TellarSceneImport {

namespace {

constexpr std::uint64_t kMostZeros = std::uint64_t(1) << 27;

} // namespace

void MemoryBudget::require(std::uint64_t count, std::uint64_t size) const {
    const std::uint64_t left = (mebibytes << 20) - taken;
    if (size > 0 && count > left / size)
        throw std::runtime_error("reading it takes more than " + std::to_string(mebibytes) +
                                 " MiB of memory (SCENE_READER_MEBIBYTES)");
}

void MemoryBudget::take(std::uint64_t count, std::uint64_t size) {
    require(count, size);
    taken += count * size;
}

void MemoryBudget::takeZeros(std::uint64_t count) {
    if (count > kMostZeros - zeros) GltfError("its accessors without data are too large");
    zeros += count;
}

} // namespace TellarSceneImport
