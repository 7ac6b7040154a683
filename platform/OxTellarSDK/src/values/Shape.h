#ifndef OXTELLARSDK_SHAPE_H
#define OXTELLARSDK_SHAPE_H

#include <cstdint>
#include <memory>
#include <string_view>

#include "ContainerLayout.h"

namespace OxAttribute {

/// The common part of all groups of a file that have one shape. It is checked and copied from the
/// ShapeRecord, so that it stays as it is when the bytes of a mapped file change. Only the texts of
/// the names lie in the file.
///
/// Everything below a group with a shape has a fixed place: its child groups have shapes too, and
/// these have lower numbers.
struct Shape {
    enum class Check : std::uint8_t {
        Word, ///< the child is as it should be if its first word is
        Text, ///< and a NUL must lie behind the string
        Full  ///< and it must have been checked as a value of its own
    };

    struct Child {
        std::uint64_t offset; ///< bytes from the child to the group; of a shared child to the start
                              ///< of the file
        std::uint32_t word;
        std::uint32_t nameLength;
        const char* name;
        Check check;
        bool isShared;

        std::string_view nameView() const { return {name, nameLength}; }
    };

    /// The groups stand at this remainder of 8 bytes, so that their values are aligned.
    struct Alignment {
        bool isKnown = false;
        std::uint8_t remainder = 0;
    };

    std::uint32_t number = 0;
    std::uint32_t count = 0;
    std::uint32_t depth = 0;
    Alignment alignment;
    bool hasFullValues = false; ///< not all values are short
    std::uint64_t extentBytes = 0;
    std::unique_ptr<Child[]> children;
};

} // namespace OxAttribute

#endif
