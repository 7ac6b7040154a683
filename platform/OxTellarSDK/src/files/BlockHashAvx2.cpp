// Compiled for processors with AVX2, and called on these alone. The hash library could choose the
// instructions at run time itself, but it then leaves the wide registers in use, which slows down
// everything that runs afterwards.
#define XXH_INLINE_ALL
#define XXH_VECTOR 2 // XXH_AVX2; its name is not known before the header
#include <xxhash.h>

#include "BlockHash.h"

namespace OxAttribute {

static_assert(XXH_VECTOR == XXH_AVX2, "the number above");

std::uint64_t HashBlockByAvx2(const void* data, std::uint64_t bytes) {
    return XXH3_64bits(data, bytes);
}

} // namespace OxAttribute
