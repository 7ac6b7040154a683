#ifndef OXTELLARPRODUCERS_SHADINGNODEDESCRIPTION_H
#define OXTELLARPRODUCERS_SHADINGNODEDESCRIPTION_H

#include <map>
#include <string>
#include <vector>

#include <boost/smart_ptr/shared_ptr.hpp>

#include <OxTellarProducers/GeometryProducer.h>

namespace TELLAR {

/// An input of a shading node: which port of which node feeds it. Immutable; any number of threads
/// may share one.
class TELLAR_API ShadingNodeConnectionDescription {
public:
    /// From the full name and the value "port@node", whose parts may have blanks around them. Any
    /// other value leaves port and node empty.
    ShadingNodeConnectionDescription(const std::string& fullName,
                                     const OxAttribute::StringAttribute& value);

    /// The full name up to its last ":"; all of it when there is none.
    const std::string& getName() const { return name; }
    const std::string& getConnectedPort() const { return connectedPort; }
    const std::string& getConnectedNode() const { return connectedNode; }
    /// Whether none of the three is empty.
    bool isValid() const;

private:
    std::string name;
    std::string connectedPort;
    std::string connectedNode;
};

/// A node of a material's shading network: its type, the values of its parameters, and its inputs.
/// A value; const members may be called from any number of threads at once.
class TELLAR_API ShadingNodeDescription {
public:
    using ConnectionPtr = boost::shared_ptr<ShadingNodeConnectionDescription>;
    using NodeMap = std::map<std::string, boost::shared_ptr<ShadingNodeDescription>>;
    using ParameterMap = std::map<std::string, OxAttribute::Attribute>;

    /// From a child group of a material's "nodes". `overrides`, which may be null, are values that
    /// replace the node's own. Malformed parts are left out, never thrown for; without "name" and
    /// "type" the description is empty.
    explicit ShadingNodeDescription(const OxAttribute::GroupAttribute& node,
                                    const ParameterMap* overrides = nullptr);
    /// Copies share the descriptions of connections.
    ShadingNodeDescription(const ShadingNodeDescription& other);
    ShadingNodeDescription(ShadingNodeDescription&& other) noexcept;
    ShadingNodeDescription& operator=(const ShadingNodeDescription& other);
    ShadingNodeDescription& operator=(ShadingNodeDescription&& other) noexcept;
    ~ShadingNodeDescription();

    const std::string& getName() const { return name; }
    const std::string& getType() const { return type; }
    /// Whether neither name nor type is empty.
    bool isValid() const;

    /// Invalid when there is none of this name.
    OxAttribute::Attribute getParameter(const std::string& wanted) const;
    /// The node's own in its order, then those that only the material sets, sorted.
    const std::vector<std::string>& getParameterNames() const { return parameterNames; }
    void getParameterNames(std::vector<std::string>& out) const;

    /// By the full name, such as "layer.Kd:r"; null when there is none.
    ConnectionPtr getConnection(const std::string& wanted) const;
    /// Full names, in the order found. A group may be in "connections" under several names;
    /// repeats beyond 65,536 connections are left out, because their number may double with each
    /// level.
    const std::vector<std::string>& getConnectionNames() const { return connectionNames; }
    void getConnectionNames(std::vector<std::string>& out) const;

    /// Assigns the nodes of a network material by name: the first one of each name, without those
    /// that have no name or type. The "parameters" of the material replace values of the nodes that
    /// its "interface" connects them to. Throws for nothing in the material.
    static void GetShadingNetworkNodes(const OxAttribute::GroupAttribute& material, NodeMap& out);
    /// The same for a location's own "material". The producer must not be null.
    static void GetShadingNetworkNodes(GeometryProducer::Ptr producer, NodeMap& out);

private:
    void recursiveGetConnectionNames(const OxAttribute::GroupAttribute& group,
                                     const std::string& prefix);

    std::string name;
    std::string type;
    ParameterMap parameters;
    std::vector<std::string> parameterNames;
    std::map<std::string, ConnectionPtr> connections;
    std::vector<std::string> connectionNames;
};

} // namespace TELLAR

#endif
