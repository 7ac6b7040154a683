#include "reading/ShadingNetwork.h"

#include <utility>

namespace lantern {

ShadingNode::ShadingNode(const Suites& suites, OxShadingStruct* node)
    : suites(&suites),
      node(node, [&utils = suites.utils()](OxShadingStruct* n) { utils.releaseShadingNode(n); }),
      typeName(suites.utils().getShadingNodeType(node)) {}

ShadingNode::ShadingNode(std::string type, Attribute parameters)
    : typeName(std::move(type)), legacyParameters(std::move(parameters)) {}

Attribute ShadingNode::parameter(const std::string& name) const {
    if (!node) return legacyParameters.child(name);
    return Attribute::owning(suites->attributes(), suites->utils().getShadingParameter(
                                                       node.get(), name.c_str(), nullptr));
}

std::optional<ShadingConnection> ShadingNode::connection(const std::string& name) const {
    if (!node) return {};
    const auto& utils = suites->utils();
    OxShadingStruct* const found = utils.getShadingConnection(node.get(), name.c_str(), nullptr);
    if (!found) return {};
    ShadingConnection connection{utils.getConnectedNode(found), utils.getConnectedPort(found)};
    utils.releaseShadingConnection(found);
    return connection;
}

bool ShadingNode::hasConnectionsOfComponents(const std::string& name) const {
    if (!node) return false;
    const auto& utils = suites->utils();
    const std::string prefix = name + ":";
    for (std::int64_t i = 0; i < utils.getNumberOfShadingConnections(node.get()); ++i) {
        const std::string fed = utils.getShadingConnectionName(node.get(), i);
        if (fed.compare(0, prefix.size(), prefix) == 0) return true;
    }
    return false;
}

ShadingNetwork::ShadingNetwork(const Suites& suites, const Attribute& material)
    : suites(suites), material(material) {
    if (!material.child("style").isTextEqual("network")) return;
    nodes = {
        suites.utils().getShadingNetworkNodesOfMaterial(material.get(), nullptr),
        [&utils = suites.utils()](OxShadingNodeMapStruct* n) { utils.destroyShadingNodeMap(n); }};
}

std::optional<ShadingNode> ShadingNetwork::surface() const {
    if (nodes) return find(material.child("terminals.surface").text());
    const std::string shader = material.child("surfaceShader").text();
    if (shader.empty()) return {};
    return ShadingNode(shader, material.child("surfaceParams"));
}

std::optional<ShadingNode> ShadingNetwork::find(const std::string& name) const {
    if (!nodes) return {};
    OxShadingStruct* const found =
        suites.utils().findShadingNode(nodes.get(), name.c_str(), nullptr);
    if (!found) return {};
    return ShadingNode(suites, found);
}

} // namespace lantern
