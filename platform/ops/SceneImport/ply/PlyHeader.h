#ifndef SCENEIMPORT_PLYHEADER_H
#define SCENEIMPORT_PLYHEADER_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace TellarSceneImport {

enum class PlyFormat { Text, LittleEndian, BigEndian };

enum class PlyType { Int8, UInt8, Int16, UInt16, Int32, UInt32, Float32, Float64 };

/// The size of a value in a binary file.
std::size_t BytesOf(PlyType type);
bool IsFloat(PlyType type);

struct PlyProperty {
    std::string name;
    PlyType type = PlyType::Float32;
    std::optional<PlyType> lengthType; ///< only for a list
};

struct PlyElement {
    std::string name;
    std::uint64_t count = 0;
    std::vector<PlyProperty> properties;
};

struct PlyHeader {
    PlyFormat format = PlyFormat::Text;
    std::vector<PlyElement> elements;
    std::string texture;   ///< the first picture named by a comment "TextureFile"
    std::string_view body; ///< bytes after the header
};

/// Lines end as the first one does: with a line feed, a carriage return or both. Throws
/// std::runtime_error "damaged PLY: ..." for a header that is damaged or promises more than the
/// file can hold. `content` must live as long as the result.
PlyHeader ReadPlyHeader(std::string_view content);

/// Throws std::runtime_error "damaged PLY: " and the text.
[[noreturn]] void ThrowPlyError(const std::string& what);
[[noreturn]] void ThrowPlyTooShort();

/// Removes a word from the text and returns it; empty at the end of the text.
std::string_view TakePlyWord(std::string_view& text);

} // namespace TellarSceneImport

#endif
