#include "LocationTextures.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <string_view>
#include <utility>
#include <vector>

#include <OxTellarSDK/Attribute.h>

#include "files/FolderFiles.h"

namespace TellarTool {

namespace {

namespace fs = std::filesystem;
using namespace OxAttribute;
using TELLAR::GeometryProducer;

constexpr std::string_view kTile = "<UDIM>";
constexpr std::size_t kTileDigits = 4;

class TextureCollector {
public:
    void visit(GeometryProducer& location) {
        addMaterial(GroupAttribute(location.getAttribute("material")));
        addTexts(location.getAttribute("light.texture"));
        addTextures(GroupAttribute(location.getAttribute("textures")));
    }

    std::set<std::string>& getFiles() { return files; }

private:
    void addTexts(const Attribute& attribute) {
        const StringAttribute texts(attribute);
        for (const std::string_view text : texts.getNearestSample(0.0f))
            if (!text.empty()) files.emplace(text);
    }

    /// The parameters "file" of the nodes, and the public ones that replace them. Many locations
    /// have the same material.
    void addMaterial(const GroupAttribute& material) {
        if (!material.isValid() || !materials.insert(material.getHash()).second) return;
        const GroupAttribute nodes(material.getChildByName("nodes"));
        for (std::int64_t i = 0; i < nodes.getNumberOfChildren(); ++i)
            addTexts(GroupAttribute(nodes.getChildByIndex(i)).getChildByName("parameters.file"));
        const GroupAttribute interface(material.getChildByName("interface"));
        const GroupAttribute parameters(material.getChildByName("parameters"));
        for (std::int64_t i = 0; i < interface.getNumberOfChildren(); ++i) {
            const GroupAttribute entry(interface.getChildByIndex(i));
            const std::string_view target =
                StringAttribute(entry.getChildByName("src")).getValueView();
            if (fs::path(target).extension() == ".file")
                addTexts(
                    parameters.getChildByIndex(parameters.findChild(interface.getChildName(i))));
        }
    }

    /// Each is a text, or a group with several "maps".
    void addTextures(const GroupAttribute& textures) {
        for (std::int64_t i = 0; i < textures.getNumberOfChildren(); ++i) {
            const Attribute texture = textures.getChildByIndex(i);
            addTexts(texture);
            const GroupAttribute group(texture);
            if (group.isValid()) addTexts(group.getChildByName("maps"));
        }
    }

    std::set<std::string> files;
    std::set<Hash> materials;
};

bool AreDigits(std::string_view text) {
    return std::all_of(text.begin(), text.end(), [](unsigned char c) { return std::isdigit(c); });
}

/// The files with a number in place of "<UDIM>", which is at `tile` of the path.
std::vector<std::string> TilesOf(const std::string& path, std::size_t tile) {
    const std::string begin = path.substr(0, tile);
    const std::string end = path.substr(tile + kTile.size());
    std::error_code ignored;
    std::vector<std::string> tiles;
    for (const std::string& file :
         TellarInternal::FolderFiles(fs::path(path).parent_path().string(), ignored)) {
        if (file.size() != begin.size() + kTileDigits + end.size()) continue;
        if (file.compare(0, begin.size(), begin) != 0) continue;
        if (file.compare(begin.size() + kTileDigits, std::string::npos, end) != 0) continue;
        if (AreDigits(std::string_view(file).substr(begin.size(), kTileDigits)))
            tiles.push_back(file);
    }
    std::sort(tiles.begin(), tiles.end());
    return tiles;
}

TextureFile At(const std::string& path) {
    TextureFile texture{path, {path}};
    const std::size_t tile = path.rfind(kTile);
    if (tile == std::string::npos || path.find('/', tile) != std::string::npos) return texture;
    std::vector<std::string> tiles = TilesOf(path, tile);
    if (!tiles.empty()) texture.files = std::move(tiles);
    return texture;
}

} // namespace

std::set<std::string> TexturesBelow(const GeometryProducer::Ptr& start) {
    TextureCollector collector;
    // A stack of its own, because scenes can be nested deeper than calls.
    std::vector<GeometryProducer::Ptr> waiting;
    if (start) waiting.push_back(start);
    while (!waiting.empty()) {
        const GeometryProducer::Ptr location = std::move(waiting.back());
        waiting.pop_back();
        if (location != start)
            if (auto sibling = location->getNextSibling()) waiting.push_back(std::move(sibling));
        if (auto child = location->getFirstChild()) waiting.push_back(std::move(child));
        collector.visit(*location);
    }
    return std::move(collector.getFiles());
}

TextureFile FindTextureFile(const std::string& reference, const std::string& folder) {
    if (fs::path(reference).is_absolute() || folder.empty()) return At(AbsolutePath(reference));
    TextureFile beside = At((fs::path(folder) / reference).lexically_normal().string());
    if (IsFile(beside.files.front())) return beside;
    TextureFile here = At(AbsolutePath(reference));
    return IsFile(here.files.front()) ? here : beside;
}

} // namespace TellarTool
