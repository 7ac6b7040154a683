#ifndef OXTELLARSDK_SHAPEWRITER_H
#define OXTELLARSDK_SHAPEWRITER_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <OxTellarSDK/Attribute.h>

#include "BlockSink.h"
#include "ContainerLayout.h"
#include "WrittenContent.h"

namespace OxAttribute {

/// Writes groups behind their children, with shapes where groups are alike, and without elsewhere.
///
/// The first group of a kind is written without a shape, and the second one makes it: most groups
/// of some scenes are unlike any other, and a shape for each would be longer than what it replaces.
/// Records of shapes must not stand in the region of a group with a shape, whose children would
/// have other places than those of the next one. So they wait for a group without.
class ShapeWriter {
public:
    /// A value that was written: its unit, its word (with kSharedChild, if it is part of another
    /// group as well) and, for groups, its depth.
    struct Child {
        std::uint32_t place;
        std::uint32_t word;
        std::uint32_t depth;
    };

    struct Group {
        const GroupAttribute& attribute;
        Hash names;
        std::uint32_t firstUnit; // of its region
        std::uint32_t inherit;   // flag
        const Child* children;
        std::uint64_t count;
    };

    explicit ShapeWriter(BlockSink& sink) : sink(sink) {}

    /// The unit of the next byte. Throws when the file becomes too large.
    std::uint32_t checkUnit() const;

    /// Writes the head of a group whose children have been written.
    Child writeGroup(const Group& group);

    /// Writes what waits, and the units of all shapes.
    void finish(ContainerFooter& footer);

private:
    static constexpr std::size_t kRememberedShapes = 1u << 16;
    static constexpr std::size_t kRememberedNames = 1u << 16;
    // 4 MB of numbers. Groups of further kinds have no shapes.
    static constexpr std::size_t kMostNumbers = 1u << 20;

    struct Waiting {
        std::uint32_t number;
        Hash nameHash;
        std::vector<std::string> names;
        ShapeRecord record;
        std::vector<ShapeEntry> entries;
    };

    /// The number of the group's shape plus 1; 0 if it has none.
    std::uint32_t numberFor(const Group& group, std::uint32_t unit, std::uint32_t depth);
    void describe(const Group& group, std::uint32_t unit);
    std::uint32_t newNumber(const Group& group, std::uint32_t extent, std::uint32_t depth);
    Child writeWide(const Group& group, std::uint32_t depth);
    void writeWaiting();
    template <typename NameAt>
    std::uint32_t writeNames(const Hash& hash, std::uint32_t count, NameAt nameAt);
    template <typename NameAt>
    void writeHashes(std::uint32_t count, NameAt nameAt);

    BlockSink& sink;
    // The number of a shape plus 1; 0 for a group that has occurred once.
    WrittenContent<std::uint32_t, kRememberedShapes> known;
    WrittenContent<std::uint32_t, kRememberedNames> names;
    std::vector<std::uint32_t> shapeUnits; // by number
    std::vector<Waiting> waiting;
    std::vector<ShapeEntry> entries; // of the group that is written
};

} // namespace OxAttribute

#endif
