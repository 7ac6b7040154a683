#include <OxTellarProducers/MaterialFlattening.h>

#include <algorithm>
#include <map>
#include <set>
#include <utility>

#include <OxTellarSDK/StringUtil.h>

using namespace OxAttribute;

namespace TELLAR {

namespace {

using Children = std::vector<GroupAttribute::Child>;

bool IsNetwork(const GroupAttribute& material) {
    return material.getTextView("style") == "network";
}

/// A group without group inheritance; invalid without children.
GroupAttribute Group(const Children& children) {
    return children.empty() ? GroupAttribute() : GroupAttribute(children, false);
}

void AppendChildren(Children& children, const GroupAttribute& group,
                    const std::string& suffix = {}) {
    children.reserve(children.size() + static_cast<std::size_t>(group.getNumberOfChildren()));
    for (std::int64_t i = 0; i < group.getNumberOfChildren(); ++i)
        children.emplace_back(group.getChildName(i) + suffix, group.getChildByIndex(i));
}

/// The interface entries of exposed parameters, reduced to their "src".
GroupAttribute UsedInterface(const GroupAttribute& interface, const GroupAttribute& parameters) {
    Children entries;
    for (std::int64_t i = 0; i < parameters.getNumberOfChildren(); ++i) {
        const GroupAttribute entry(interface.getChildByName(parameters.getChildNameView(i)));
        const Attribute src = entry.getChildByName("src");
        if (src.isValid()) entries.emplace_back(parameters.getChildName(i), Group({{"src", src}}));
    }
    return Group(entries);
}

/// The nearest child of each name, for materials of which none is a network.
GroupAttribute NearestChildren(const std::vector<GroupAttribute>& materials) {
    Children children;
    std::set<std::string_view> taken; // views into the materials
    for (const GroupAttribute& material : materials)
        for (std::int64_t i = 0; i < material.getNumberOfChildren(); ++i)
            if (taken.insert(material.getChildNameView(i)).second)
                children.emplace_back(material.getChildName(i), material.getChildByIndex(i));
    return Group(children);
}

/// A legacy material as a network with a node for every terminal that it has a shader for. A
/// network is returned as it is.
GroupAttribute AsNetwork(const GroupAttribute& material,
                         const std::vector<std::string>& terminalNames) {
    if (IsNetwork(material)) return material;
    Children nodes;
    Children terminals;
    for (const std::string& terminal : terminalNames) {
        const StringAttribute shader(material.getChildByName(terminal + "Shader"));
        if (shader.getValueView().empty()) continue;
        const GroupAttribute parameters(material.getChildByName(terminal + "Params"));
        nodes.emplace_back(terminal, Group({{"name", StringAttribute(terminal)},
                                            {"type", StringAttribute(shader.getValueView())},
                                            {"parameters", parameters}}));
        terminals.emplace_back(terminal, StringAttribute(terminal));
    }
    return Group({{"style", StringAttribute("network")},
                  {"nodes", Group(nodes)},
                  {"terminals", Group(terminals)}});
}

/// Appends the suffix to every value.
StringAttribute WithSuffix(const StringAttribute& texts, const std::string& suffix) {
    const bool isPlainText = texts.getNumberOfTimeSamples() == 1 && texts.getSampleTime(0) == 0 &&
                             texts.getNumberOfValues() == 1 && texts.getTupleSize() == 1;
    if (isPlainText) return StringAttribute(std::string(texts.getValueView()) + suffix);
    std::map<float, std::vector<std::string>> samples;
    for (std::int64_t i = 0; i < texts.getNumberOfTimeSamples(); ++i) {
        std::vector<std::string>& sample = samples[texts.getSampleTime(i)];
        for (const std::string_view text : texts.getSample(i))
            sample.push_back(std::string(text) + suffix);
    }
    return {samples, texts.getTupleSize()};
}

/// Appends the suffix to the node names in connections. Groups are entered `levels` deep.
GroupAttribute Reconnected(const GroupAttribute& connections, const std::string& suffix,
                           int levels) {
    if (!connections.isValid()) return {};
    Children children;
    AppendChildren(children, connections);
    for (auto& [name, child] : children) {
        if (child.getType() == kAttributeTypeString)
            child = WithSuffix(child, suffix);
        else if (child.getType() == kAttributeTypeGroup && levels > 0)
            child = Reconnected(child, suffix, levels - 1);
    }
    return {children, true};
}

/// A copy of a node under another name, connected to nodes with the same suffix.
GroupAttribute RenamedNode(const GroupAttribute& node, const std::string& name,
                           const std::string& suffix) {
    constexpr int kLevelsOfConnectionGroups = 1;
    Children children;
    children.reserve(static_cast<std::size_t>(node.getNumberOfChildren()) + 2);
    AppendChildren(children, node);
    // A later child replaces an earlier one of its name, and invalid ones are left out.
    children.emplace_back("connections", Reconnected(node.getChildByName("connections"), suffix,
                                                     kLevelsOfConnectionGroups));
    children.emplace_back("name", StringAttribute(name));
    return {children, node.getGroupInherit()};
}

/// The networks of several materials side by side.
struct MergedNetwork {
    Children nodes;
    Children interface;
    Children parameters;
    Children terminals;

    /// Takes the materials nearest first. A material that supplies no terminal adds nothing.
    void add(const GroupAttribute& material, const std::vector<std::string>& terminalNames,
             const std::string& suffix) {
        if (!addTerminals(material, terminalNames, suffix)) return;
        addNodes(material.getChildByName("nodes"), suffix);
        addInterface(material.getChildByName("interface"), suffix);
        AppendChildren(parameters, material.getChildByName("parameters"), suffix);
    }

    /// Adds the terminals that no nearer material has. Returns false if there are none.
    bool addTerminals(const GroupAttribute& material, const std::vector<std::string>& terminalNames,
                      const std::string& suffix) {
        const std::size_t before = terminals.size();
        for (const std::string& name : terminalNames) {
            if (std::any_of(terminals.begin(), terminals.end(),
                            [&](const auto& terminal) { return terminal.first == name; }))
                continue;
            const StringAttribute node(material.getChildByName("terminals." + name));
            if (node.getValueView().empty()) continue;
            terminals.emplace_back(name, StringAttribute(node.getValue("", false) + suffix));
        }
        return terminals.size() > before;
    }

    void addNodes(const GroupAttribute& group, const std::string& suffix) {
        for (std::int64_t i = 0; i < group.getNumberOfChildren(); ++i) {
            const GroupAttribute node(group.getChildByIndex(i));
            const std::string name = group.getChildName(i) + suffix;
            if (node.isValid()) nodes.emplace_back(name, RenamedNode(node, name, suffix));
        }
    }

    void addInterface(const GroupAttribute& group, const std::string& suffix) {
        for (std::int64_t i = 0; i < group.getNumberOfChildren(); ++i) {
            const StringAttribute src(
                GroupAttribute(group.getChildByIndex(i)).getChildByName("src"));
            const auto pieces = OxStringUtil::split(src.getValueView(), ".");
            if (pieces.size() != 2) continue;
            const StringAttribute renamed(pieces[0] + suffix + "." + pieces[1]);
            interface.emplace_back(group.getChildName(i) + suffix, Group({{"src", renamed}}));
        }
    }
};

} // namespace

GroupAttribute MinimizeResolvedMaterialAttr(const GroupAttribute& material) {
    if (!IsNetwork(material)) return material;
    const GroupAttribute parameters(material.getChildByName("parameters"));
    return Group({{"style", material.getChildByName("style")},
                  {"nodes", GroupAttribute(material.getChildByName("nodes"))},
                  {"parameters", parameters},
                  {"interface", UsedInterface(material.getChildByName("interface"), parameters)},
                  {"terminals", material.getChildByName("terminals")}});
}

GroupAttribute GetFlattenedMaterialAttr(const std::vector<GroupAttribute>& materials,
                                        const std::vector<std::string>& terminalNames) {
    if (materials.empty()) return {};
    if (materials.size() == 1) return materials.front();
    if (std::none_of(materials.begin(), materials.end(), IsNetwork))
        return NearestChildren(materials);
    MergedNetwork merged;
    for (std::size_t i = 0; i < materials.size(); ++i)
        merged.add(AsNetwork(materials[i], terminalNames), terminalNames, ":" + std::to_string(i));
    return Group({{"style", StringAttribute("network")},
                  {"nodes", Group(merged.nodes)},
                  {"interface", Group(merged.interface)},
                  {"parameters", Group(merged.parameters)},
                  {"terminals", Group(merged.terminals)}});
}

} // namespace TELLAR
