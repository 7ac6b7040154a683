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
    return StringAttribute(material.getChildByName("style")).getValueView() == "network";
}

/// A group without group inheritance.
GroupAttribute Group(const Children& children) {
    return {children, false};
}

void AppendUnlessEmpty(Children& children, const char* name, const Children& grandchildren) {
    if (!grandchildren.empty()) children.emplace_back(name, Group(grandchildren));
}

/// The interface entries of exposed parameters, reduced to their "src".
Children ReadUsedInterface(const GroupAttribute& material, const GroupAttribute& parameters) {
    Children entries;
    const GroupAttribute interface(material.getChildByName("interface"));
    if (!interface.isValid()) return entries;
    for (std::int64_t i = 0; i < parameters.getNumberOfChildren(); ++i) {
        const GroupAttribute entry(interface.getChildByName(parameters.getChildNameView(i)));
        const Attribute src = entry.getChildByName("src");
        if (src.isValid()) entries.emplace_back(parameters.getChildName(i), Group({{"src", src}}));
    }
    return entries;
}

/// For materials without networks: the nearest child of each name.
GroupAttribute NearestChildren(const std::vector<GroupAttribute>& materials) {
    Children children;
    std::set<std::string_view> taken; // views into the materials
    for (const GroupAttribute& material : materials)
        for (std::int64_t i = 0; i < material.getNumberOfChildren(); ++i)
            if (taken.insert(material.getChildNameView(i)).second)
                children.emplace_back(material.getChildName(i), material.getChildByIndex(i));
    return children.empty() ? GroupAttribute() : Group(children);
}

/// A legacy material as a network with a node for every terminal that it has a shader for.
GroupAttribute ToNetwork(const GroupAttribute& legacy,
                         const std::vector<std::string>& terminalNames) {
    Children nodes;
    Children terminals;
    for (const std::string& terminal : terminalNames) {
        const StringAttribute shader(legacy.getChildByName(terminal + "Shader"));
        if (shader.getValueView().empty()) continue;
        Children node{{"name", StringAttribute(terminal)},
                      {"type", StringAttribute(shader.getValueView())}};
        const GroupAttribute parameters(legacy.getChildByName(terminal + "Params"));
        if (parameters.isValid()) node.emplace_back("parameters", parameters);
        nodes.emplace_back(terminal, Group(node));
        terminals.emplace_back(terminal, StringAttribute(terminal));
    }
    return Group({{"style", StringAttribute("network")},
                  {"nodes", Group(nodes)},
                  {"terminals", Group(terminals)}});
}

/// Appends the suffix to every value.
StringAttribute WithSuffix(const StringAttribute& texts, const std::string& suffix) {
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
    Children children;
    for (std::int64_t i = 0; i < connections.getNumberOfChildren(); ++i) {
        Attribute child = connections.getChildByIndex(i);
        if (child.getType() == kAttributeTypeString)
            child = WithSuffix(StringAttribute(child), suffix);
        else if (child.getType() == kAttributeTypeGroup && levels > 0)
            child = Reconnected(GroupAttribute(child), suffix, levels - 1);
        children.emplace_back(connections.getChildName(i), std::move(child));
    }
    return {children, true};
}

/// A copy of a node under another name, connected to nodes with the same suffix.
GroupAttribute RenamedNode(const GroupAttribute& node, const std::string& name,
                           const std::string& suffix) {
    constexpr int kLevelsOfConnectionGroups = 1;
    Children children;
    for (std::int64_t i = 0; i < node.getNumberOfChildren(); ++i) {
        Attribute child = node.getChildByIndex(i);
        const std::string_view childName = node.getChildNameView(i);
        if (childName == "connections" && child.getType() == kAttributeTypeGroup)
            child = Reconnected(GroupAttribute(child), suffix, kLevelsOfConnectionGroups);
        children.emplace_back(childName, std::move(child));
    }
    // Takes the place of the node's own name, if it has one.
    children.emplace_back("name", StringAttribute(name));
    return {children, node.getGroupInherit()};
}

/// Puts the networks of several materials side by side.
class NetworkMerger {
public:
    explicit NetworkMerger(const std::vector<std::string>& terminalNames)
        : terminalNames(terminalNames) {}

    /// Nearest first. A material that serves no terminal adds nothing.
    void add(const GroupAttribute& material, std::size_t index) {
        const std::string suffix = ":" + std::to_string(index);
        if (!claimTerminals(material, suffix)) return;
        addNodes(GroupAttribute(material.getChildByName("nodes")), suffix);
        addInterface(GroupAttribute(material.getChildByName("interface")), suffix);
        addParameters(GroupAttribute(material.getChildByName("parameters")), suffix);
    }

    GroupAttribute take() const {
        Children network{{"style", StringAttribute("network")}};
        AppendUnlessEmpty(network, "nodes", nodes);
        AppendUnlessEmpty(network, "interface", interface);
        AppendUnlessEmpty(network, "parameters", parameters);
        AppendUnlessEmpty(network, "terminals", terminals);
        return Group(network);
    }

private:
    /// Takes the terminals that no nearer material has. False when there is none.
    bool claimTerminals(const GroupAttribute& material, const std::string& suffix) {
        bool isAny = false;
        for (const std::string& name : terminalNames) {
            if (claimed.count(name) != 0) continue;
            const StringAttribute node(material.getChildByName("terminals." + name));
            if (node.getValueView().empty()) continue;
            claimed.insert(name);
            terminals.emplace_back(name, StringAttribute(node.getValue("", false) + suffix));
            isAny = true;
        }
        return isAny;
    }

    void addNodes(const GroupAttribute& group, const std::string& suffix) {
        for (std::int64_t i = 0; i < group.getNumberOfChildren(); ++i) {
            const GroupAttribute node(group.getChildByIndex(i));
            if (!node.isValid()) continue;
            std::string name = group.getChildName(i) + suffix;
            GroupAttribute renamed = RenamedNode(node, name, suffix);
            nodes.emplace_back(std::move(name), std::move(renamed));
        }
    }

    void addInterface(const GroupAttribute& group, const std::string& suffix) {
        for (std::int64_t i = 0; i < group.getNumberOfChildren(); ++i) {
            const GroupAttribute entry(group.getChildByIndex(i));
            const StringAttribute src(entry.getChildByName("src"));
            if (!src.isValid()) continue;
            const auto pieces = OxStringUtil::split(src.getValueView(), ".");
            if (pieces.size() != 2) continue;
            const StringAttribute renamed(pieces[0] + suffix + "." + pieces[1]);
            interface.emplace_back(group.getChildName(i) + suffix, Group({{"src", renamed}}));
        }
    }

    void addParameters(const GroupAttribute& group, const std::string& suffix) {
        for (std::int64_t i = 0; i < group.getNumberOfChildren(); ++i)
            parameters.emplace_back(group.getChildName(i) + suffix, group.getChildByIndex(i));
    }

    const std::vector<std::string>& terminalNames;
    std::set<std::string> claimed;
    Children nodes;
    Children interface;
    Children parameters;
    Children terminals;
};

} // namespace

GroupAttribute MinimizeResolvedMaterialAttr(const GroupAttribute& material) {
    if (!IsNetwork(material)) return material;
    Children children{{"style", material.getChildByName("style")}};
    const GroupAttribute nodes(material.getChildByName("nodes"));
    if (nodes.isValid()) children.emplace_back("nodes", nodes);
    const GroupAttribute parameters(material.getChildByName("parameters"));
    if (parameters.isValid()) {
        children.emplace_back("parameters", parameters);
        AppendUnlessEmpty(children, "interface", ReadUsedInterface(material, parameters));
    }
    const Attribute terminals = material.getChildByName("terminals");
    if (terminals.isValid()) children.emplace_back("terminals", terminals);
    return Group(children);
}

GroupAttribute GetFlattenedMaterialAttr(const std::vector<GroupAttribute>& materials,
                                        const std::vector<std::string>& terminalNames) {
    if (materials.empty()) return {};
    if (materials.size() == 1) return materials.front();
    if (std::none_of(materials.begin(), materials.end(), IsNetwork))
        return NearestChildren(materials);
    NetworkMerger merger(terminalNames);
    for (std::size_t i = 0; i < materials.size(); ++i)
        merger.add(IsNetwork(materials[i]) ? materials[i] : ToNetwork(materials[i], terminalNames),
                   i);
    return merger.take();
}

} // namespace TELLAR
