#include "Container.h"

#include <algorithm>
#include <cstdint>
#include <stdexcept>
#include <string>

#include "GltfError.h"

namespace TellarSceneImport {

namespace {

// glTF itself needs about a dozen levels. Readers further down the line recurse.
constexpr int kMaxJsonDepth = 256;

// Binary glTF: a header of three words (magic, version, length), then chunks, each with a
// header of two words (length, kind); the first chunk is the JSON text.
constexpr std::uint32_t kBinaryMagic = 0x46546C67; // "glTF"
constexpr std::uint32_t kJsonChunk = 0x4E4F534A;   // "JSON"
constexpr std::uint32_t kBinaryChunk = 0x004E4942; // "BIN"
constexpr std::size_t kHeaderSize = 12;
constexpr std::size_t kChunkHeaderSize = 8;

std::uint32_t WordAt(std::string_view content, std::size_t offset) {
    std::uint32_t word = 0;
    for (int i = 0; i < 4; ++i)
        word |= std::uint32_t(static_cast<unsigned char>(content[offset + i])) << 8 * i;
    return word;
}

// Removes the chunk from the front of `rest`.
std::string_view TakeChunk(std::string_view& rest, std::uint32_t& kind, const char* name) {
    if (rest.size() < kChunkHeaderSize) GltfError(std::string("the ") + name + " chunk is missing");
    const std::size_t length = WordAt(rest, 0);
    kind = WordAt(rest, 4);
    rest.remove_prefix(kChunkHeaderSize);
    if (length > rest.size()) GltfError(std::string("the file ends inside the ") + name + " chunk");
    const std::string_view chunk = rest.substr(0, length);
    rest.remove_prefix(length);
    return chunk;
}

GltfParts SplitBinary(std::string_view content) {
    if (content.size() < kHeaderSize) GltfError("the file ends inside its header");
    const std::uint32_t version = WordAt(content, 4);
    if (version != 2)
        throw std::runtime_error("it is glTF " + std::to_string(version) +
                                 "; only glTF 2 is supported");
    const std::size_t length = WordAt(content, 8);
    if (length < kHeaderSize || length > content.size())
        GltfError("the file is shorter than its header says");
    std::string_view rest = content.substr(kHeaderSize, length - kHeaderSize);
    GltfParts parts;
    std::uint32_t kind = 0;
    parts.json = TakeChunk(rest, kind, "JSON");
    if (kind != kJsonChunk) GltfError("the JSON chunk is missing");
    if (rest.size() < kChunkHeaderSize) return parts;
    const std::string_view chunk = TakeChunk(rest, kind, "binary");
    if (kind == kBinaryChunk) parts.binary = chunk;
    return parts;
}

// How deep brackets are nested outside strings.
int NestingOf(std::string_view json) {
    int depth = 0, deepest = 0;
    bool inString = false;
    for (std::size_t i = 0; i < json.size(); ++i) {
        const char c = json[i];
        if (inString && c == '\\')
            ++i;
        else if (c == '"')
            inString = !inString;
        else if (!inString && (c == '{' || c == '['))
            deepest = std::max(deepest, ++depth);
        else if (!inString && (c == '}' || c == ']'))
            --depth;
    }
    return deepest;
}

} // namespace

GltfParts SplitGltf(std::string_view content) {
    GltfParts parts;
    if (content.size() >= 4 && WordAt(content, 0) == kBinaryMagic)
        parts = SplitBinary(content);
    else
        parts.json = content;
    constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
    if (parts.json.substr(0, 3) == kByteOrderMark) parts.json.remove_prefix(3);
    if (NestingOf(parts.json) > kMaxJsonDepth)
        GltfError("its JSON is nested deeper than " + std::to_string(kMaxJsonDepth));
    return parts;
}

} // namespace TellarSceneImport
