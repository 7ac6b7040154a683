#ifndef OXTELLARSDK_PREFETCH_H
#define OXTELLARSDK_PREFETCH_H

#include <cstdint>

namespace OxAttribute {

/// Starts to load the cache line at an address. The address need not be valid.
inline void Prefetch(std::uintptr_t address) {
#ifdef __GNUC__
    // NOLINTNEXTLINE(performance-no-int-to-ptr): never dereferenced
    __builtin_prefetch(reinterpret_cast<const void*>(address));
#else
    static_cast<void>(address);
#endif
}

inline void Prefetch(const void* address) {
    Prefetch(reinterpret_cast<std::uintptr_t>(address));
}

} // namespace OxAttribute

#endif
