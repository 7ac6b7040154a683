#ifndef OXTELLARSDK_ZEROEDMEMORY_H
#define OXTELLARSDK_ZEROEDMEMORY_H

#include <atomic>
#include <cstdint>

namespace OxTellarRuntimeDetail {

/// Makes these words of memory from the heap 0, and gives whole pages of them back to the system,
/// which fills them with zeros when they are next touched. Other threads may use the words at the
/// same time: what they write may be lost.
void ClearWords(std::atomic<std::uint64_t>* begin, std::atomic<std::uint64_t>* end) noexcept;

} // namespace OxTellarRuntimeDetail

#endif
