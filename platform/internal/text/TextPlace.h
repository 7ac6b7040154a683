#ifndef TELLARINTERNAL_TEXTPLACE_H
#define TELLARINTERNAL_TEXTPLACE_H

#include <cstddef>
#include <string>
#include <string_view>

namespace TellarInternal {

/// "<source>:<line>:<column>: " for a byte offset into a text. Lines and columns count from
/// 1; a column is a character, not a byte. Looks at all text before the offset: for errors.
std::string TextPlace(std::string_view source, std::string_view text, std::size_t offset);

} // namespace TellarInternal

#endif
