#ifndef TELLAR_PROFILE_BYTESMADE_H
#define TELLAR_PROFILE_BYTESMADE_H

#include <cstddef>
#include <cstdint>

#include <OxTellarSDK/TellarRuntime.h>

namespace TELLAR {

/// The size of the numbers and strings in a result, its attributes and the names of its potential
/// children, that are in none of the locations `reads`: see CookTotals::bytesMade. Throws
/// std::bad_alloc, and std::runtime_error when a value lies in a damaged file.
std::uint64_t BytesMade(const TellarRuntime::LocationData& result,
                        const TellarRuntime::LocationData* reads, std::size_t count);

} // namespace TELLAR

#endif
