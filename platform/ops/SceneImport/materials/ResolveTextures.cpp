#include "ResolveTextures.h"

#include <charconv>
#include <set>
#include <vector>

#include <OxTellarSDK/GroupBuilder.h>

#include "TextureFiles.h"

namespace TellarSceneImport {

using OxAttribute::GroupAttribute;
using OxAttribute::GroupBuilder;
using OxAttribute::StringAttribute;

namespace {

std::string TextOf(const GroupAttribute& group, const char* name) {
    return StringAttribute(group.getChildByName(name)).getValue("", false);
}

class Resolver {
public:
    Resolver(const SceneContent& content, const std::string& path)
        : content(content), files(path) {}

    GroupAttribute resolved(const ContentMaterial& material);

private:
    using Lost = std::set<std::string>; // names of image nodes

    Lost resolveFiles(const ContentMaterial& material, const GroupAttribute& nodes,
                      GroupBuilder& network);
    std::string pathOf(const std::string& file, const std::string& material);
    std::string pathOfEmbedded(const std::string& number);
    static GroupAttribute without(const Lost& lost, const GroupAttribute& node);

    const SceneContent& content;
    TextureFiles files;
    std::vector<std::string> embedded; // paths, found when they are first needed
    std::vector<bool> isFound;
};

std::string Resolver::pathOfEmbedded(const std::string& number) {
    std::size_t index = content.images.size();
    std::from_chars(number.data(), number.data() + number.size(), index);
    if (index >= content.images.size() || content.images[index].bytes.empty()) {
        files.warn("its embedded image " + number + " is left out: it is empty");
        return {};
    }
    embedded.resize(content.images.size());
    isFound.resize(content.images.size());
    if (!isFound[index])
        embedded[index] =
            files.pathOfEmbedded(content.images[index].bytes, content.images[index].hint);
    isFound[index] = true;
    return embedded[index];
}

std::string Resolver::pathOf(const std::string& file, const std::string& material) {
    return file[0] == '*' ? pathOfEmbedded(file.substr(1)) : files.pathOf(file, material);
}

// Connections are texts such as "r@baseColorImage".
GroupAttribute Resolver::without(const Lost& lost, const GroupAttribute& node) {
    const GroupAttribute connections(node.getChildByName("connections"));
    if (!connections.isValid()) return node;
    GroupBuilder builder, kept;
    builder.update(node);
    for (std::int64_t i = 0; i < connections.getNumberOfChildren(); ++i) {
        const std::string source =
            StringAttribute(connections.getChildByIndex(i)).getValue("", false);
        if (lost.count(source.substr(source.find('@') + 1)) == 0)
            kept.set(connections.getChildName(i), connections.getChildByIndex(i));
    }
    builder.del("connections");
    if (!kept.isEmpty()) builder.set("connections", kept.build());
    return builder.build();
}

// Sets the paths of image nodes, and removes the nodes whose images cannot be written.
Resolver::Lost Resolver::resolveFiles(const ContentMaterial& material, const GroupAttribute& nodes,
                                      GroupBuilder& network) {
    Lost lost;
    for (std::int64_t i = 0; nodes.isValid() && i < nodes.getNumberOfChildren(); ++i) {
        const std::string name(nodes.getChildName(i));
        const std::string file =
            TextOf(GroupAttribute(nodes.getChildByIndex(i)), "parameters.file");
        if (file.empty()) continue;
        const std::string path = pathOf(file, material.name);
        if (path.empty()) {
            lost.insert(name);
            network.del("nodes." + name);
        } else {
            network.set("nodes." + name + ".parameters.file", StringAttribute(path));
        }
    }
    return lost;
}

GroupAttribute Resolver::resolved(const ContentMaterial& material) {
    const GroupAttribute nodes(material.network.getChildByName("nodes"));
    GroupBuilder builder;
    builder.setGroupInherit(material.network.getGroupInherit());
    builder.update(material.network);
    const Lost lost = resolveFiles(material, nodes, builder);
    if (!lost.empty())
        builder.set("nodes.surface",
                    without(lost, GroupAttribute(nodes.getChildByName("surface"))));
    return builder.build();
}

} // namespace

void ResolveTextures(SceneContent& content, const std::string& path) {
    Resolver resolver(content, path);
    for (ContentMaterial& material : content.materials)
        material.network = resolver.resolved(material);
    content.images.clear();
}

} // namespace TellarSceneImport
