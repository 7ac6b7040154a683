#include "MaterialRules.h"

#include <algorithm>
#include <cstddef>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Values.h"
#include "text/SimilarNames.h"

namespace TELLAR {

using namespace OxAttribute;

namespace {

constexpr std::size_t kMostEntries = 65536;

std::string_view Trimmed(std::string_view text) {
    const std::size_t begin = text.find_first_not_of(" \t");
    if (begin == std::string_view::npos) return {};
    return text.substr(begin, text.find_last_not_of(" \t") - begin + 1);
}

/// Whether an entry of "terminals" is no node but the output of one: "surfacePort" beside
/// "surface".
bool IsPort(const GroupAttribute& terminals, std::string_view name) {
    constexpr std::string_view kEnd = "Port";
    if (name.size() <= kEnd.size() || name.substr(name.size() - kEnd.size()) != kEnd) return false;
    return terminals.findChild(name.substr(0, name.size() - kEnd.size())) >= 0;
}

/// The nodes of a network, each with the nodes that feed it.
class Network {
public:
    Network(const GroupAttribute& material, Drafts& drafts) : drafts(drafts) {
        const GroupAttribute nodes(ChildOf(material, "nodes"));
        for (std::int64_t i = 0; i < nodes.getNumberOfChildren(); ++i)
            addNode(nodes.getChildName(i), GroupAttribute(nodes.getChildByIndex(i)));
        for (std::int64_t i = 0; i < nodes.getNumberOfChildren(); ++i)
            addConnections(
                indexOf(nodes.getChildName(i)),
                "material.nodes." + nodes.getChildName(i) + ".connections",
                GroupAttribute(ChildOf(GroupAttribute(nodes.getChildByIndex(i)), "connections")));
        addTerminals(GroupAttribute(ChildOf(material, "terminals")));
        checkInterface(material);
    }

    void findLoop() const;
    void findUnusedTextures() const;

private:
    static constexpr std::size_t kNoNode = static_cast<std::size_t>(-1);

    struct Node {
        std::string key;
        GroupAttribute content;
        std::vector<std::size_t> sources;
    };

    void addNode(const std::string& key, const GroupAttribute& content) {
        const std::string_view name = TextOf(ChildOf(content, "name"));
        if (name.empty() || TextOf(ChildOf(content, "type")).empty())
            drafts.add(Rule::MaterialNode, "material.nodes." + key,
                       std::string("it has no ") + (name.empty() ? "name" : "type"));
        const std::size_t index = nodes.size();
        nodes.push_back({key, content, {}});
        known.emplace(key, index);
        if (!name.empty()) known.emplace(std::string(name), index);
    }

    std::size_t indexOf(const std::string& name) const {
        const auto found = known.find(name);
        return found == known.end() ? kNoNode : found->second;
    }

    /// The node of this name. Adds a draft if there is none.
    std::size_t find(const std::string& attribute, std::string_view name) const {
        const std::size_t index = indexOf(std::string(name));
        if (index != kNoNode) return index;
        std::vector<std::string> keys;
        for (const Node& node : nodes)
            keys.push_back(node.key);
        drafts.add(Rule::MaterialNode, attribute,
                   "there is no node " + Quoted(name) + TellarInternal::DidYouMean(keys, name));
        return kNoNode;
    }

    /// Groups have connections with dotted names.
    void addConnections(std::size_t node, const std::string& name, const GroupAttribute& group) {
        for (std::int64_t i = 0; i < group.getNumberOfChildren() && entriesLeft > 0; ++i) {
            --entriesLeft;
            const Attribute child = group.getChildByIndex(i);
            const std::string attribute = name + '.' + group.getChildName(i);
            if (child.getType() == kAttributeTypeGroup)
                addConnections(node, attribute, GroupAttribute(child));
            else
                addConnection(node, attribute, TextOf(child));
        }
    }

    void addConnection(std::size_t node, const std::string& attribute, std::string_view text) {
        const std::size_t at = text.find('@');
        const std::string_view source =
            at == std::string_view::npos ? text : Trimmed(text.substr(at + 1));
        if (at == std::string_view::npos || Trimmed(text.substr(0, at)).empty() || source.empty() ||
            source.find('@') != std::string_view::npos)
            return drafts.add(Rule::MaterialNode, attribute,
                              Quoted(text) + " is no connection \"port@node\"");
        const std::size_t index = find(attribute, source);
        if (index == kNoNode)
            hasUnknownNode = true;
        else
            nodes[node].sources.push_back(index);
    }

    void addTerminals(const GroupAttribute& group) {
        for (std::int64_t i = 0; i < group.getNumberOfChildren(); ++i) {
            const std::string_view name = TextOf(group.getChildByIndex(i));
            if (name.empty() || IsPort(group, group.getChildNameView(i))) continue;
            const std::size_t index = find("material.terminals." + group.getChildName(i), name);
            if (index == kNoNode)
                hasUnknownNode = true;
            else
                terminals.push_back(index);
        }
    }

    /// Only the entries of exposed parameters are read.
    void checkInterface(const GroupAttribute& material) const {
        const GroupAttribute interface(ChildOf(material, "interface"));
        const GroupAttribute parameters(ChildOf(material, "parameters"));
        for (std::int64_t i = 0; i < interface.getNumberOfChildren(); ++i) {
            const std::string name = interface.getChildName(i);
            const std::string_view source =
                TextOf(ChildOf(GroupAttribute(interface.getChildByIndex(i)), "src"));
            const std::size_t dot = source.find('.');
            const std::string attribute = "material.interface." + name + ".src";
            if (parameters.findChild(name) < 0) continue;
            if (dot == std::string_view::npos)
                drafts.add(Rule::MaterialNode, attribute,
                           Quoted(source) + " is no parameter \"node.parameter\"");
            else
                find(attribute, source.substr(0, dot));
        }
    }

    /// For each node whether a terminal leads to it.
    std::vector<bool> findUsed() const {
        std::vector<bool> isUsed(nodes.size(), false);
        std::vector<std::size_t> open = terminals;
        while (!open.empty()) {
            const std::size_t node = open.back();
            open.pop_back();
            if (isUsed[node]) continue;
            isUsed[node] = true;
            open.insert(open.end(), nodes[node].sources.begin(), nodes[node].sources.end());
        }
        return isUsed;
    }

    Drafts& drafts;
    std::vector<Node> nodes;
    std::map<std::string, std::size_t> known; // by key, and by name
    std::vector<std::size_t> terminals;
    /// A group may be in "connections" under several names, so that the number of entries may
    /// double with each level. The rest is left out, as by readers of networks.
    std::size_t entriesLeft = kMostEntries;
    bool hasUnknownNode = false; // a terminal or a connection names one
};

/// Removes nodes whose sources are all removed, until none is left or a circle.
void Network::findLoop() const {
    std::vector<std::size_t> sourcesLeft(nodes.size(), 0);
    std::vector<std::vector<std::size_t>> fed(nodes.size());
    std::vector<std::size_t> open;
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        sourcesLeft[i] = nodes[i].sources.size();
        for (const std::size_t source : nodes[i].sources)
            fed[source].push_back(i);
        if (sourcesLeft[i] == 0) open.push_back(i);
    }
    std::size_t left = nodes.size();
    while (!open.empty()) {
        const std::size_t node = open.back();
        open.pop_back();
        --left;
        for (const std::size_t next : fed[node])
            if (--sourcesLeft[next] == 0) open.push_back(next);
    }
    if (left == 0) return;
    // Each node that is left has a source that is left, so going to sources ends in the circle.
    std::size_t node = 0;
    while (sourcesLeft[node] == 0)
        ++node;
    for (std::size_t step = 0; step < nodes.size(); ++step)
        node = *std::find_if(nodes[node].sources.begin(), nodes[node].sources.end(),
                             [&](std::size_t source) { return sourcesLeft[source] > 0; });
    drafts.add(Rule::MaterialLoop, "material.nodes." + nodes[node].key,
               "the node feeds itself through its connections");
}

void Network::findUnusedTextures() const {
    if (terminals.empty() || hasUnknownNode) return;
    const std::vector<bool> isUsed = findUsed();
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        const std::string_view file = TextOf(nodes[i].content.getChildByName("parameters.file"));
        if (!isUsed[i] && !file.empty())
            drafts.add(Rule::TextureUnused, "material.nodes." + nodes[i].key + ".parameters.file",
                       "no terminal uses the node of the texture " + Quoted(file));
    }
}

/// Inserts the texts in a group, as far as there are not too many entries. The texts live as long
/// as the group.
void AddTexts(const GroupAttribute& group, std::size_t& entriesLeft,
              std::set<std::string_view>& texts) {
    for (std::int64_t i = 0; i < group.getNumberOfChildren() && entriesLeft > 0; ++i) {
        --entriesLeft;
        const Attribute child = group.getChildByIndex(i);
        if (child.getType() == kAttributeTypeGroup)
            AddTexts(GroupAttribute(child), entriesLeft, texts);
        else
            texts.insert(TextOf(child));
    }
}

bool IsNetwork(const GroupAttribute& material) {
    return TextOf(ChildOf(material, "style")) == "network";
}

} // namespace

void CheckMaterial(const GroupAttribute& material, Drafts& drafts) {
    if (!IsNetwork(material)) return;
    const Network network(material, drafts);
    network.findLoop();
    network.findUnusedTextures();
}

void CheckTextureUse(const GroupAttribute& textures, const GroupAttribute& material,
                     Drafts& drafts) {
    if (!IsNetwork(material)) return;
    std::set<std::string_view> used;
    std::size_t entriesLeft = kMostEntries;
    for (const char* part : {"nodes", "parameters"})
        AddTexts(GroupAttribute(ChildOf(material, part)), entriesLeft, used);
    if (entriesLeft == 0) return;
    for (std::int64_t i = 0; i < textures.getNumberOfChildren(); ++i)
        if (used.count(textures.getChildNameView(i)) == 0)
            drafts.add(Rule::TextureUnused, "textures." + textures.getChildName(i),
                       "no node of the material names it");
}

} // namespace TELLAR
