#include <OxTellarSDK/TextureReferences.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <system_error>
#include <utility>

#include <OxConfiguration/Configuration.h>
#include <OxTellarSDK/GroupBuilder.h>

#include "files/FolderFiles.h"

namespace OxAttribute {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view kTileMark = "<UDIM>";
constexpr std::size_t kTileDigits = 4;

/// An attribute that contains texture files, and its dotted name.
using Found = std::pair<std::string, StringAttribute>;

Attribute ChildOf(const GroupAttribute& group, std::string_view name) {
    return group.getChildByIndex(group.findChild(name));
}

bool HasDot(std::string_view name) {
    return name.find('.') != std::string_view::npos;
}

void AddFiles(std::string path, const Attribute& attribute, std::vector<Found>& found) {
    StringAttribute files(attribute);
    if (files.isValid() && files.getNumberOfTimeSamples() == 1)
        found.emplace_back(std::move(path), std::move(files));
}

void AddNodes(const GroupAttribute& nodes, std::vector<Found>& found) {
    for (std::int64_t i = 0; i < nodes.getNumberOfChildren(); ++i) {
        const std::string name = nodes.getChildName(i);
        const GroupAttribute node(nodes.getChildByIndex(i));
        if (!HasDot(name))
            AddFiles("material.nodes." + name + ".parameters.file",
                     ChildOf(ChildOf(node, "parameters"), "file"), found);
    }
}

/// Adds the texts in "textures". A child is a text, or a group with several texts as its "maps".
void AddTextures(const GroupAttribute& textures, std::vector<Found>& found) {
    for (std::int64_t i = 0; i < textures.getNumberOfChildren(); ++i) {
        const std::string name = textures.getChildName(i);
        const Attribute texture = textures.getChildByIndex(i);
        if (HasDot(name)) continue;
        AddFiles("textures." + name, texture, found);
        AddFiles("textures." + name + ".maps", ChildOf(texture, "maps"), found);
    }
}

std::vector<Found> FindFiles(const GroupAttribute& attrs) {
    std::vector<Found> found;
    AddNodes(ChildOf(ChildOf(attrs, "material"), "nodes"), found);
    AddFiles("light.texture", ChildOf(ChildOf(attrs, "light"), "texture"), found);
    AddTextures(ChildOf(attrs, "textures"), found);
    return found;
}

/// The place of "<UDIM>" in the file's name; npos if there is none.
std::size_t FindTileMark(std::string_view file) {
    const std::size_t mark = file.rfind(kTileMark);
    const bool isInFolder =
        mark != std::string_view::npos && file.find('/', mark) != std::string_view::npos;
    return isInFolder ? std::string_view::npos : mark;
}

/// Whether the four characters are a number of at least 1001.
bool IsTileNumber(std::string_view text) {
    const auto isDigit = [](char c) { return c >= '0' && c <= '9'; };
    return std::all_of(text.begin(), text.end(), isDigit) && text > "1000";
}

/// Whether the file exists, or one of its tiles.
bool Exists(const std::string& file, std::error_code& error) {
    return IsTilePattern(file) ? !FindTiles(file).empty() : fs::exists(file, error);
}

/// The path of the file in the folder; empty if the file is not there.
std::string PathIn(const fs::path& folder, std::string_view file) {
    std::string path = (folder / file).lexically_normal().generic_string();
    std::error_code ignored;
    return Exists(path, ignored) ? path : std::string();
}

/// The attribute with other paths; invalid if none of them changes.
StringAttribute Replaced(const StringAttribute& files, const TexturePath& pathOf) {
    std::vector<std::string> paths;
    bool isChanged = false;
    for (const std::string_view file : files.getNearestSample(0.0f)) {
        std::string path = file.empty() ? std::string() : pathOf(std::string(file));
        isChanged = isChanged || !path.empty();
        if (path.empty()) path = file;
        paths.push_back(std::move(path));
    }
    return isChanged ? StringAttribute(paths, files.getTupleSize()) : StringAttribute();
}

/// Whether a renderer may replace parts of the name before it opens a file.
bool IsPattern(std::string_view file) {
    return file.front() == '~' || file.find_first_of("$#%<*?") != std::string_view::npos ||
           file.find("://") != std::string_view::npos;
}

} // namespace

std::vector<TextureReference> FindTextures(const GroupAttribute& attrs) {
    std::vector<TextureReference> textures;
    if (!attrs.isValid()) return textures;
    for (const auto& [attribute, files] : FindFiles(attrs))
        for (const std::string_view file : files.getNearestSample(0.0f))
            if (!file.empty()) textures.push_back({attribute, std::string(file)});
    return textures;
}

bool IsTilePattern(std::string_view file) {
    return FindTileMark(file) != std::string_view::npos;
}

std::vector<std::string> FindTiles(const std::string& file) {
    if (!IsTilePattern(file)) return {};
    const fs::path path = file;
    const fs::path folder = path.parent_path();
    const std::string pattern = path.filename().string();
    const std::size_t mark = FindTileMark(pattern);
    const std::string end = pattern.substr(mark + kTileMark.size());
    std::error_code ignored;
    std::vector<std::string> tiles;
    for (const std::string& found :
         TellarInternal::FolderFiles(folder.empty() ? "." : folder.string(), ignored)) {
        const std::string name = fs::path(found).filename().string();
        if (name.size() != mark + kTileDigits + end.size()) continue;
        if (name.compare(0, mark, pattern, 0, mark) != 0) continue;
        if (name.compare(mark + kTileDigits, std::string::npos, end) != 0) continue;
        if (IsTileNumber(name.substr(mark, kTileDigits)))
            tiles.push_back((folder / name).generic_string());
    }
    std::sort(tiles.begin(), tiles.end());
    return tiles;
}

bool IsRelativeFile(std::string_view path) {
    return !path.empty() && fs::path(path).is_relative() && path.front() != '/';
}

GroupAttribute WithTexturesIn(const std::string& folder, const GroupAttribute& attrs) {
    return WithTextures(attrs, [&folder](const std::string& file) {
        return IsRelativeFile(file) ? PathIn(folder, file) : std::string();
    });
}

GroupAttribute WithTextures(const GroupAttribute& attrs, const TexturePath& pathOf) {
    if (!attrs.isValid()) return attrs;
    GroupBuilder builder;
    bool isChanged = false;
    for (const auto& [attribute, files] : FindFiles(attrs)) {
        const StringAttribute paths = Replaced(files, pathOf);
        if (!paths.isValid()) continue;
        if (!isChanged) {
            builder.setGroupInherit(attrs.getGroupInherit());
            builder.update(attrs);
        }
        isChanged = true;
        builder.set(attribute, paths);
    }
    return isChanged ? builder.build() : attrs;
}

bool IsMissingTexture(const std::string& file) {
    std::string plain = file;
    if (const std::size_t mark = FindTileMark(file); mark != std::string::npos)
        plain.erase(mark, kTileMark.size());
    if (plain.empty() || IsPattern(plain)) return false;
    std::error_code error;
    if (Exists(file, error) || error) return false;
    return !IsRelativeFile(file) || Config()->get("ASSET_SEARCH_PATH").empty();
}

} // namespace OxAttribute
