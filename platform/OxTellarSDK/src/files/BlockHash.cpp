#include "BlockHash.h"

#include <xxhash.h>

namespace OxAttribute {

#ifdef TELLAR_HAS_AVX2

std::uint64_t HashBlock(const void* data, std::uint64_t bytes) {
    static const bool hasAvx2 = __builtin_cpu_supports("avx2");
    return hasAvx2 ? HashBlockByAvx2(data, bytes) : XXH3_64bits(data, bytes);
}

#else

std::uint64_t HashBlock(const void* data, std::uint64_t bytes) {
    return XXH3_64bits(data, bytes);
}

#endif

} // namespace OxAttribute
