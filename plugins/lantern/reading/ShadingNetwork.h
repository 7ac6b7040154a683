#ifndef LANTERN_READING_SHADINGNETWORK_H
#define LANTERN_READING_SHADINGNETWORK_H

#include <memory>
#include <optional>
#include <string>

#include "reading/Attribute.h"
#include "reading/Suites.h"

namespace lantern {

/// The source of a connected input: a node and its output port.
struct ShadingConnection {
    std::string node;
    std::string port;
};

/// A node of a material with its parameters and connections. Copies share one node. For one thread
/// at a time.
class ShadingNode {
public:
    /// Takes over the handle's reference.
    ShadingNode(const Suites& suites, OxShadingStruct* node);
    /// The shader of a legacy material, which has no connections.
    ShadingNode(std::string type, Attribute parameters);

    const std::string& type() const { return typeName; }
    Attribute parameter(const std::string& name) const;
    std::optional<ShadingConnection> connection(const std::string& name) const;
    /// Whether a single component of the input is connected.
    bool hasConnectionsOfComponents(const std::string& name) const;

private:
    const Suites* suites = nullptr;
    std::shared_ptr<OxShadingStruct> node;
    std::string typeName;
    Attribute legacyParameters;
};

/// The nodes of a flattened material.
class ShadingNetwork {
public:
    ShadingNetwork(const Suites& suites, const Attribute& material);

    /// Returns nothing if the material has no surface.
    std::optional<ShadingNode> surface() const;
    std::optional<ShadingNode> find(const std::string& name) const;

private:
    const Suites& suites;
    Attribute material;
    std::shared_ptr<OxShadingNodeMapStruct> nodes; ///< null for a legacy material
};

} // namespace lantern

#endif
