#include "DracoHeader.h"

#include <cstddef>

#include "GltfError.h"

namespace TellarSceneImport {

namespace {

constexpr std::string_view kMagic = "DRACO";
constexpr std::uint8_t kMesh = 1;
constexpr std::uint8_t kEdgebreaker = 1;
constexpr std::uint8_t kHasMetadata = 0x80; // a bit of the second byte of the flags
constexpr int kMostLevels = 32;             // limit for the nesting of metadata

/// Takes numbers from the front of the data. Numbers beyond the end are 0.
class Cursor {
public:
    explicit Cursor(std::string_view data) : rest(data) {}

    bool isAtEnd() const { return rest.empty(); }

    std::uint8_t byte() {
        if (rest.empty()) return 0;
        const auto value = static_cast<std::uint8_t>(rest.front());
        rest.remove_prefix(1);
        return value;
    }

    /// Takes a number that is stored with seven bits per byte, the lowest first.
    std::uint32_t number() {
        std::uint32_t value = 0;
        for (int shift = 0; shift < 35; shift += 7) {
            const std::uint8_t next = byte();
            value |= static_cast<std::uint32_t>(next & 0x7f) << shift;
            if (next < 0x80) break;
        }
        return value;
    }

    void skip(std::size_t count) { rest.remove_prefix(count < rest.size() ? count : rest.size()); }

private:
    std::string_view rest;
};

void SkipMetadata(Cursor& cursor, int levelsLeft) {
    if (levelsLeft == 0) GltfError("the metadata of a compressed mesh is nested too deeply");
    for (std::uint32_t i = cursor.number(); i > 0 && !cursor.isAtEnd(); --i) {
        cursor.skip(cursor.byte());
        cursor.skip(cursor.number());
    }
    for (std::uint32_t i = cursor.number(); i > 0 && !cursor.isAtEnd(); --i) {
        cursor.skip(cursor.byte());
        SkipMetadata(cursor, levelsLeft - 1);
    }
}

} // namespace

std::optional<std::uint32_t> DracoFaceCount(std::string_view data) {
    if (data.substr(0, kMagic.size()) != kMagic) return std::nullopt;
    Cursor cursor(data.substr(kMagic.size()));
    const int major = cursor.byte(), minor = cursor.byte();
    const bool isMesh = cursor.byte() == kMesh;
    const bool isEdgebreaker = cursor.byte() == kEdgebreaker;
    if (major != 2 || !isMesh || !isEdgebreaker) return std::nullopt;
    cursor.byte();
    if (cursor.byte() & kHasMetadata) {
        for (std::uint32_t i = cursor.number(); i > 0 && !cursor.isAtEnd(); --i) {
            cursor.number();
            SkipMetadata(cursor, kMostLevels);
        }
        SkipMetadata(cursor, kMostLevels);
    }
    cursor.byte();                  // the kind of traversal
    if (minor < 2) cursor.number(); // the number of new points
    cursor.number();                // the number of points
    return cursor.number();
}

} // namespace TellarSceneImport
