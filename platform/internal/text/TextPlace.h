#ifndef TELLARINTERNAL_TEXTPLACE_H
#define TELLARINTERNAL_TEXTPLACE_H

#include <cstddef>
#include <string>
#include <string_view>

/// Places in texts. Each function looks at all text before the place.

namespace TellarInternal {

/// "line 2, column 7" for a byte offset into a text. Lines and columns count from 1; a column is a
/// byte.
std::string LineAndColumn(std::string_view text, std::size_t offset);

/// "<source>:<line>:<column>: " for a byte offset into a text. Lines and columns count from 1; a
/// column is a character, not a byte.
std::string TextPlace(std::string_view source, std::string_view text, std::size_t offset);

/// Many places in one text, in the time of a single look at it.
class AscendingPlaces {
public:
    /// Both texts are borrowed.
    AscendingPlaces(std::string_view source, std::string_view text) : source(source), text(text) {}

    /// "<source>:<line>:<column>", as by TextPlace, for an offset not below the one before.
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
