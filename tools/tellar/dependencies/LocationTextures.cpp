#include "LocationTextures.h"

#include <filesystem>
#include <string_view>
#include <utility>
#include <vector>

#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/TextureReferences.h>

namespace TellarTool {

namespace {

namespace fs = std::filesystem;
using namespace OxAttribute;
using TELLAR::GeometryProducer;

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

    /// Adds the parameters "file" of the nodes, and the public parameters that replace them. Many
    /// locations have the same material.
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

TextureFile At(const std::string& path) {
    TextureFile texture{path, {path}};
    std::vector<std::string> tiles = FindTiles(path);
    if (!tiles.empty()) texture.files = std::move(tiles);
    return texture;
}

} // namespace

std::set<std::string> TexturesBelow(const GeometryProducer::Ptr& start) {
    TextureCollector collector;
    // An explicit stack, because scenes can be nested deeper than calls.
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
