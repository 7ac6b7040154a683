#ifndef TELLARINTERNAL_TEXTPLACE_H
#define TELLARINTERNAL_TEXTPLACE_H

#include <cstddef>
#include <string>
#include <string_view>

/// Places in texts. Each function reads all text before the place.

namespace TellarInternal {

/// "line 2, column 7" for a byte offset into a text. Lines and columns count from 1; a column is a
/// byte.
std::string LineAndColumn(std::string_view text, std::size_t offset);

/// "<source>:<line>:<column>: " for a byte offset into a text. Lines and columns count from 1; a
/// column is a character, not a byte.
std::string TextPlace(std::string_view source, std::string_view text, std::size_t offset);

/// Finds many places in one text and reads the text only once.
class AscendingPlaces {
public:
    /// Refers to both texts.
    AscendingPlaces(std::string_view source, std::string_view text) : source(source), text(text) {}

    /// "<source>:<line>:<column>" as in TextPlace(). Offsets have to ascend from call to call.
    std::string at(std::size_t offset);

private:
    std::string_view source;
    std::string_view text;
    std::size_t seen = 0;
    std::size_t line = 1;
    std::size_t lineBegin = 0;
};

} // namespace TellarInternal

#endif
