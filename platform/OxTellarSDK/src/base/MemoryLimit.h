#ifndef OXTELLARSDK_MEMORYLIMIT_H
#define OXTELLARSDK_MEMORYLIMIT_H

#include <atomic>
#include <cstdint>

namespace OxTellarMemory {

/// The limit in bytes; 0 until it is known. Written hardly ever.
extern std::atomic<std::uint64_t> memoryLimit;

} // namespace OxTellarMemory

#endif
