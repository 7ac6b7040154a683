#include "ShadingNetwork.h"

#include <cstdint>
#include <set>
#include <string_view>

#include <boost/make_shared.hpp>

#include "LocationMaterial.h"

namespace TellarTool {

namespace {

using namespace OxAttribute;
using TELLAR::ShadingNodeDescription;
using Children = std::vector<GroupAttribute::Child>;

constexpr const char* kNetworkParts[] = {"style", "nodes", "parameters", "interface", "terminals"};

GroupAttribute Without(const GroupAttribute& group, const std::set<std::string_view>& names) {
    Children children;
    for (std::int64_t i = 0; i < group.getNumberOfChildren(); ++i)
        if (names.count(group.getChildNameView(i)) == 0)
            children.emplace_back(group.getChildName(i), group.getChildByIndex(i));
    return {children, false};
}

ShadingNetwork ReadStyleNetwork(const GroupAttribute& material) {
    ShadingNetwork network;
    const GroupAttribute terminals(material.getChildByName("terminals"));
    for (const std::string& name : TerminalNamesOf(material)) {
        const auto text = [&](const std::string& child) {
            const StringAttribute value(terminals.getChildByIndex(terminals.findChild(child)));
            return value.getValue("", false);
        };
        network.terminals.push_back({name, text(name), text(name + kTerminalPort)});
    }
    ShadingNodeDescription::GetShadingNetworkNodes(material, network.nodes);
    network.rest = Without(material, {std::begin(kNetworkParts), std::end(kNetworkParts)});
    return network;
}

ShadingNetwork ReadLegacy(const GroupAttribute& material) {
    ShadingNetwork network;
    const std::vector<std::string> names = TerminalNamesOf(material);
    std::set<std::string> shown;
    for (const std::string& name : names) {
        const auto child = [&](const char* ending) {
            return material.getChildByIndex(material.findChild(*shown.insert(name + ending).first));
        };
        Children node = {{"name", StringAttribute(name)}, {"type", child("Shader")}};
        const GroupAttribute parameters(child("Params"));
        if (parameters.isValid()) node.emplace_back("parameters", parameters);
        network.terminals.push_back({name, name, ""});
        network.nodes.emplace(
            name, boost::make_shared<ShadingNodeDescription>(GroupAttribute(node, false)));
    }
    network.rest = Without(material, {shown.begin(), shown.end()});
    return network;
}

std::string InputText(const std::string& input, const std::string& node) {
    return "\"" + input + "\" of \"" + node + "\" is connected to";
}

} // namespace

std::vector<std::string> ShadingNetwork::problems() const {
    std::vector<std::string> found;
    const auto check = [&](const std::string& what, const std::string& node) {
        if (!hasNode(node)) found.push_back(what + " \"" + node + "\", which is no node");
    };
    for (const Terminal& terminal : terminals)
        check("terminal \"" + terminal.name + "\" leads to", terminal.node);
    for (const auto& [name, node] : nodes) {
        for (const std::string& input : node->getConnectionNames())
            check(InputText(input, name), node->getConnection(input)->getConnectedNode());
    }
    return found;
}

ShadingNetwork ReadNetwork(const GroupAttribute& material) {
    return IsNetwork(material) ? ReadStyleNetwork(material) : ReadLegacy(material);
}

} // namespace TellarTool
