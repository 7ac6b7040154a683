#include "ResultMemory.h"

namespace OxTellarRuntimeDetail {

ResultMemory& ResultMemory::Get() {
    static auto* const memory = new ResultMemory;
    return *memory;
}

ResultMemory::ResultMemory() noexcept : Cache("results") {}

std::uint64_t ResultMemory::drop(std::uint32_t usedBefore, std::uint64_t wanted) {
    const Drop function = dropResults.load(std::memory_order_relaxed);
    return function ? function(usedBefore, wanted) : 0;
}

TELLAR_THREAD_WORD std::uint64_t ValueBytes::bytes = 0;
TELLAR_THREAD_WORD std::uint64_t ValueBytes::measured = 0;

std::uint64_t ValueBytes::Meter::end() noexcept {
    if (isOver) return 0;
    isOver = true;
    const std::uint64_t made = bytes - measured - before;
    measured += made;
    return static_cast<std::int64_t>(made) > 0 ? made : 0;
}

} // namespace OxTellarRuntimeDetail
