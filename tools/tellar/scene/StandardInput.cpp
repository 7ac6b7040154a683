#include "StandardInput.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <string_view>

#include "Output.h"
#include "Terminal.h"

namespace TellarTool {

namespace {

constexpr std::size_t kBeginning = 4096; // bytes that tell the kind of a file

std::string ReadAll() {
    std::string content;
    char piece[1 << 16];
    while (const std::size_t count = std::fread(piece, 1, sizeof piece, stdin))
        content.append(piece, count);
    if (std::ferror(stdin))
        throw std::runtime_error(std::string("standard input: ") + std::strerror(errno));
    if (content.empty()) throw std::runtime_error("standard input: there is nothing to read");
    return content;
}

bool BeginsWith(std::string_view text, std::string_view beginning) {
    return text.substr(0, beginning.size()) == beginning;
}

/// The file extension that fits the content. Text of an unknown kind is taken for an OBJ file.
const char* ExtensionFor(std::string_view content) {
    const std::string_view beginning = content.substr(0, kBeginning);
    const auto has = [beginning](const char* word) {
        return beginning.find(word) != std::string_view::npos;
    };
    if (BeginsWith(beginning, "glTF")) return ".glb";
    if (BeginsWith(beginning, "ply\n") || BeginsWith(beginning, "ply\r")) return ".ply";
    if (BeginsWith(beginning, "Kaydara FBX") || BeginsWith(beginning, "; FBX")) return ".fbx";
    if (has("<COLLADA")) return ".dae";
    const std::size_t first = content.find_first_not_of(" \t\r\n\xEF\xBB\xBF");
    const bool isJson = first != std::string_view::npos && content[first] == '{';
    if (!isJson) return ".obj";
    const bool isDescription = content.find("\"ops\"") != std::string_view::npos;
    return isDescription || content.find("\"asset\"") == std::string_view::npos ? ".json" : ".gltf";
}

} // namespace

StandardInput::StandardInput() {
    if (IsTerminal(stdin))
        throw std::runtime_error("standard input: a scene is expected there, not a terminal");
    const std::string content = ReadAll();
    path = folder.file(std::string("standard-input") + ExtensionFor(content));
    WriteFile(path, content);
}

} // namespace TellarTool
