#include "SceneFormat.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <stdexcept>
#include <string_view>

#include "SourceFile.h"
#include "files/RegularFile.h"

namespace TellarSceneImport {

namespace {

// The start of the file in lower case. Empty if it cannot be read; the reader reports that later.
std::string StartOf(const std::string& path) {
    RegularFile::State opened;
    std::string ignored;
    const RegularFile::Pointer file = RegularFile::Open(path, opened, ignored);
    if (!file) return {};
    std::string start(64, '\0');
    start.resize(std::fread(start.data(), 1, start.size(), file.get()));
    std::transform(start.begin(), start.end(), start.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return start;
}

bool StartsWith(std::string_view text, std::string_view start) {
    return text.substr(0, start.size()) == start;
}

} // namespace

std::string SceneFormatOf(const FileStamp& stamp) {
    const std::string start = StartOf(stamp.path);
    if (StartsWith(start, "version https://git-lfs"))
        throw std::runtime_error("it is a pointer of Git LFS; \"git lfs pull\" gets the file");
    if (StartsWith(start, "<!doctype html") || StartsWith(start, "<html"))
        throw std::runtime_error("it is a web page");
    if (StartsWith(start, "gltf")) return ".glb";
    if (StartsWith(start, "ply\n") || StartsWith(start, "ply\r")) return ".ply";
    return LowerExtension(stamp.path);
}

char UpAxisOf(const std::string& format) {
    return format == ".stl" || format == ".3mf" ? 'z' : 'y';
}

} // namespace TellarSceneImport
