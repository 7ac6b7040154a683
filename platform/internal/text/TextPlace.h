#ifndef TELLARINTERNAL_TEXTPLACE_H
#define TELLARINTERNAL_TEXTPLACE_H

#include <cstddef>
#include <string>
#include <string_view>

/// Places in texts, for errors: each function looks at all text before the place.

namespace TellarInternal {

/// "line 2, column 7" for a byte offset into a text. Lines and columns count from 1; a column is a
/// byte.
std::string LineAndColumn(std::string_view text, std::size_t offset);

/// "<source>:<line>:<column>: " for a byte offset into a text. Lines and columns count from 1; a
/// column is a character, not a byte.
std::string TextPlace(std::string_view source, std::string_view text, std::size_t offset);

} // namespace TellarInternal

#endif
