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
    /// The value is "port@node"; blanks around both parts are removed. Any other value leaves port
    /// and node empty.
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

    /// Describes a child group of a material's "nodes". The values in `overrides`, which may be
    /// null, replace the node's own. Malformed parts are left out. Without "name" or "type" the
    /// description is empty.
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

    /// The value of a parameter; invalid if there is none of this name.
    OxAttribute::Attribute getParameter(const std::string& wanted) const;
    /// The node's own parameters in its order, then those that only the material sets, sorted.
    const std::vector<std::string>& getParameterNames() const { return parameterNames; }
    void getParameterNames(std::vector<std::string>& out) const;

    /// The connection with a full name, such as "layer.Kd:r"; null if there is none.
    ConnectionPtr getConnection(const std::string& wanted) const;
    /// Full names, in the order found. A group may be in "connections" under several names, and
    /// the number of repeats may double with each level; those beyond 65,536 are left out.
    const std::vector<std::string>& getConnectionNames() const { return connectionNames; }
    void getConnectionNames(std::vector<std::string>& out) const;

    /// Assigns the nodes of a network material by name: the first one of each name, without those
    /// that have no name or type. The "parameters" of the material replace values of the nodes that
    /// its "interface" connects them to. Malformed parts are left out.
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
