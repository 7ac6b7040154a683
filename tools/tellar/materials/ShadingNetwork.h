#ifndef TELLAR_TOOL_SHADINGNETWORK_H
#define TELLAR_TOOL_SHADINGNETWORK_H

#include <string>
#include <vector>

#include <OxTellarProducers/ShadingNodeDescription.h>
#include <OxTellarSDK/Attribute.h>

namespace TellarTool {

/// A material as nodes and what leads from one to the other. Of a legacy material every shader is
/// a node, named as its terminal.
struct ShadingNetwork {
    struct Terminal {
        std::string name;
        std::string node;
        std::string port; ///< of the node; empty where the material does not say
    };

    std::vector<Terminal> terminals;
    TELLAR::ShadingNodeDescription::NodeMap nodes;
    OxAttribute::GroupAttribute rest; ///< what is in the material besides

    bool hasNode(const std::string& name) const { return nodes.count(name) != 0; }
    /// Nodes that are not as they should be, or not there.
    std::vector<std::string> problems() const;
};

ShadingNetwork ReadNetwork(const OxAttribute::GroupAttribute& material);

} // namespace TellarTool

#endif
