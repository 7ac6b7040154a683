#ifndef OXTELLARSDK_PREFETCH_H
#define OXTELLARSDK_PREFETCH_H

#include <cstdint>

namespace OxTellarRuntimeDetail {

/// Has the cache lines from an address on fetched while other work goes on. Any address will do.
inline void Prefetch(const void* address, int lines) {
#ifdef __GNUC__
    const auto start = reinterpret_cast<std::uintptr_t>(address);
    for (int i = 0; i < lines; ++i)
        __builtin_prefetch(
            reinterpret_cast<const void*>(start + 64 * static_cast<std::uintptr_t>(i)));
#else
    static_cast<void>(address);
    static_cast<void>(lines);
#endif
}

} // namespace OxTellarRuntimeDetail

#endif
