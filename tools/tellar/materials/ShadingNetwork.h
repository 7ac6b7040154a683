#ifndef TELLAR_TOOL_SHADINGNETWORK_H
#define TELLAR_TOOL_SHADINGNETWORK_H

#include <string>
#include <vector>

#include <OxTellarProducers/ShadingNodeDescription.h>
#include <OxTellarSDK/Attribute.h>

namespace TellarTool {

/// A material as nodes and connections. Each shader of a legacy material is a node that has the
/// name of its terminal.
struct ShadingNetwork {
    struct Terminal {
        std::string name;
        std::string node;
        std::string port; ///< output of the node; empty when the material names none
    };

    std::vector<Terminal> terminals;
    TELLAR::ShadingNodeDescription::NodeMap nodes;
    OxAttribute::GroupAttribute rest; ///< all other children of the material

    bool hasNode(const std::string& name) const { return nodes.count(name) != 0; }
    /// A sentence about each node that is missing or malformed.
    std::vector<std::string> problems() const;
};

ShadingNetwork ReadNetwork(const OxAttribute::GroupAttribute& material);

} // namespace TellarTool

#endif
