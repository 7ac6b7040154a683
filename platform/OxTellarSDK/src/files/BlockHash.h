#ifndef OXTELLARSDK_BLOCKHASH_H
#define OXTELLARSDK_BLOCKHASH_H

#include <cstdint>

namespace OxAttribute {

/// XXH3, 64 bits, with the widest instructions that the processor has: for long runs of bytes.
std::uint64_t HashBlock(const void* data, std::uint64_t bytes);

/// The same hash; may be called on processors with AVX2 only.
std::uint64_t HashBlockByAvx2(const void* data, std::uint64_t bytes);

} // namespace OxAttribute

#endif
