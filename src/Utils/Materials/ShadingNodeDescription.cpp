#include <OxTellarProducers/ShadingNodeDescription.h>

#include <cstdint>
#include <unordered_set>
#include <utility>

#include <boost/make_shared.hpp>

#include <OxTellarSDK/StringUtil.h>

using namespace OxAttribute;

namespace TELLAR {

namespace {

/// Parameters that a material sets, by the keys of the nodes under "nodes".
using Overrides = std::map<std::string, ShadingNodeDescription::ParameterMap>;

Overrides ReadOverrides(const GroupAttribute& material) {
    Overrides overrides;
    const GroupAttribute parameters(material.getChildByName("parameters"));
    const GroupAttribute interface(material.getChildByName("interface"));
    for (std::int64_t i = 0; i < parameters.getNumberOfChildren(); ++i) {
        const GroupAttribute entry(interface.getChildByName(parameters.getChildNameView(i)));
        const StringAttribute src(entry.getChildByName("src"));
        const auto pieces = OxStringUtil::split(src.getValueView(), ".");
        if (pieces.size() == 2) overrides[pieces[0]][pieces[1]] = parameters.getChildByIndex(i);
    }
    return overrides;
}

/// Collects the connections in nested groups. A group that its parent holds under several names is
/// entered for each of them. The repeats are limited, because they multiply with each level.
struct ConnectionWalk {
    using ConnectionMap = std::map<std::string, ShadingNodeDescription::ConnectionPtr>;
    static constexpr std::int64_t kMaximumRepeats = 65536;

    ConnectionMap& connections;
    std::vector<std::string>& names;
    std::unordered_set<const OxAttributeStruct*> entered;
    std::int64_t repeats; // children looked at again

    void enter(const GroupAttribute& group, const std::string& prefix) {
        const std::int64_t count = group.getNumberOfChildren();
        if (!entered.insert(group.getHandle()).second) {
            repeats += count;
            if (repeats > kMaximumRepeats) return;
        }
        for (std::int64_t i = 0; i < count; ++i) {
            const std::string fullName =
                (prefix.empty() ? prefix : prefix + ".") + group.getChildName(i);
            const auto connection = boost::make_shared<ShadingNodeConnectionDescription>(
                fullName, group.getChildByIndex(i));
            if (connection->isValid()) {
                names.push_back(fullName);
                connections.emplace(fullName, connection);
            } else {
                // The look-up is by the full name, so only groups that it leads to are entered.
                enter(group.getChildByName(fullName), fullName);
            }
        }
    }
};

} // namespace

ShadingNodeConnectionDescription::ShadingNodeConnectionDescription(const std::string& fullName,
                                                                   const StringAttribute& value)
    : name(fullName.substr(0, fullName.rfind(':'))) {
    const auto pieces = OxStringUtil::split(value.getValueView(), "@");
    if (pieces.size() != 2) return;
    connectedPort = OxStringUtil::strip(pieces[0]);
    connectedNode = OxStringUtil::strip(pieces[1]);
}

bool ShadingNodeConnectionDescription::isValid() const {
    return !name.empty() && !connectedPort.empty() && !connectedNode.empty();
}

ShadingNodeDescription::ShadingNodeDescription(const GroupAttribute& node,
                                               const ParameterMap* overrides) {
    const StringAttribute nodeName(node.getChildByName("name"));
    const StringAttribute nodeType(node.getChildByName("type"));
    if (!nodeName.isValid() || !nodeType.isValid()) return;
    name = nodeName.getValue("", false);
    type = nodeType.getValue("", false);

    const GroupAttribute own(node.getChildByName("parameters"));
    parameterNames.reserve(static_cast<std::size_t>(own.getNumberOfChildren()));
    for (std::int64_t i = 0; i < own.getNumberOfChildren(); ++i) {
        parameterNames.push_back(own.getChildName(i));
        parameters[parameterNames.back()] = own.getChildByIndex(i);
    }
    if (overrides) {
        for (const auto& [parameter, value] : *overrides) {
            if (parameters.insert_or_assign(parameter, value).second)
                parameterNames.push_back(parameter);
        }
    }
    recursiveGetConnectionNames(node.getChildByName("connections"), "");
}

ShadingNodeDescription::ShadingNodeDescription(const ShadingNodeDescription&) = default;
ShadingNodeDescription::ShadingNodeDescription(ShadingNodeDescription&&) noexcept = default;
ShadingNodeDescription& ShadingNodeDescription::operator=(const ShadingNodeDescription&) = default;
ShadingNodeDescription&
ShadingNodeDescription::operator=(ShadingNodeDescription&&) noexcept = default;
ShadingNodeDescription::~ShadingNodeDescription() = default;

bool ShadingNodeDescription::isValid() const {
    return !name.empty() && !type.empty();
}

Attribute ShadingNodeDescription::getParameter(const std::string& wanted) const {
    const auto found = parameters.find(wanted);
    return found == parameters.end() ? Attribute() : found->second;
}

void ShadingNodeDescription::getParameterNames(std::vector<std::string>& out) const {
    out = parameterNames;
}

ShadingNodeDescription::ConnectionPtr
ShadingNodeDescription::getConnection(const std::string& wanted) const {
    const auto found = connections.find(wanted);
    return found == connections.end() ? ConnectionPtr() : found->second;
}

void ShadingNodeDescription::getConnectionNames(std::vector<std::string>& out) const {
    out = connectionNames;
}

void ShadingNodeDescription::recursiveGetConnectionNames(const GroupAttribute& group,
                                                         const std::string& prefix) {
    ConnectionWalk{connections, connectionNames, {}, 0}.enter(group, prefix);
}

void ShadingNodeDescription::GetShadingNetworkNodes(const GroupAttribute& material, NodeMap& out) {
    out.clear();
    const Overrides overrides = ReadOverrides(material);
    const GroupAttribute nodes(material.getChildByName("nodes"));
    for (std::int64_t i = 0; i < nodes.getNumberOfChildren(); ++i) {
        const auto found = overrides.find(nodes.getChildName(i));
        auto node = boost::make_shared<ShadingNodeDescription>(
            GroupAttribute(nodes.getChildByIndex(i)),
            found == overrides.end() ? nullptr : &found->second);
        if (node->isValid()) out.emplace(node->getName(), std::move(node));
    }
}

void ShadingNodeDescription::GetShadingNetworkNodes(GeometryProducer::Ptr producer, NodeMap& out) {
    GetShadingNetworkNodes(GroupAttribute(producer->getAttribute("material")), out);
}

} // namespace TELLAR
