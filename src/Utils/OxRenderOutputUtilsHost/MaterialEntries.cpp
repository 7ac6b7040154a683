#include "RenderOutputEntries.h"

#include <cstdint>
#include <utility>

#include <OxTellarProducers/ConvertTextures.h>
#include <OxTellarProducers/MaterialFlattening.h>
#include <OxTellarProducers/ShadingNodeDescription.h>

/// The head of the handles onto nodes and connections, which share one type in C. Each has a count
/// and one shared pointer, like every handle of the suite; the kind lies in the gap between them.
struct OxShadingStruct {
    enum Kind : std::int16_t { kNode, kConnection };

    std::int32_t refCount; // not atomic: a handle is for one thread at a time
    Kind kind;
};

struct OxShadingNodeMapStruct {
    TELLAR::ShadingNodeDescription::NodeMap nodes;
};

namespace TELLAR::RenderOutputUtilsHost {

namespace {

using namespace OxAttribute;
using Producer = GeometryProducer::Ptr;

struct NodeHandle : OxShadingStruct {
    boost::shared_ptr<const ShadingNodeDescription> node; // never null
};

struct ConnectionHandle : OxShadingStruct {
    boost::shared_ptr<const ShadingNodeConnectionDescription> connection; // never null
};

OxShadingStruct* ToHandle(boost::shared_ptr<ShadingNodeDescription> node) {
    return node ? new NodeHandle{{1, OxShadingStruct::kNode}, std::move(node)} : nullptr;
}

OxShadingStruct* ToHandle(boost::shared_ptr<ShadingNodeConnectionDescription> connection) {
    return connection
               ? new ConnectionHandle{{1, OxShadingStruct::kConnection}, std::move(connection)}
               : nullptr;
}

/// Null for null and for a connection.
boost::shared_ptr<const ShadingNodeDescription> NodeOf(const OxShadingStruct* handle) noexcept {
    if (!handle || handle->kind != OxShadingStruct::kNode) return nullptr;
    return static_cast<const NodeHandle*>(handle)->node;
}

/// Null for null and for a node.
boost::shared_ptr<const ShadingNodeConnectionDescription>
ConnectionOf(const OxShadingStruct* handle) noexcept {
    if (!handle || handle->kind != OxShadingStruct::kConnection) return nullptr;
    return static_cast<const ConnectionHandle*>(handle)->connection;
}

void RetainShading(OxShadingStruct* handle) noexcept {
    if (handle) ++handle->refCount;
}

void ReleaseShading(OxShadingStruct* handle) noexcept {
    if (!handle || --handle->refCount >= 1) return;
    if (handle->kind == OxShadingStruct::kNode)
        delete static_cast<NodeHandle*>(handle);
    else
        delete static_cast<ConnectionHandle*>(handle);
}

/// Reads a node, whose description is kept during the call. Any other handle gives null.
template <typename Read>
auto ReadNode(OxShadingStruct* handle, Read read) {
    const auto node = NodeOf(handle);
    return node ? read(*node) : decltype(read(*node))();
}

OxAttributeStruct* ConvertTextures(OxAttributeStruct* textures) {
    return Enter("convertTexturesToArbitraryAttr", [&] {
        return ConvertTexturesToArbitraryAttr(Attribute::CreateAndRetain(textures)).detach();
    });
}

OxAttributeStruct* GetFlattenedMaterial(OxSgIteratorStruct* location,
                                        const char* const* terminalNames, std::int64_t count) {
    return EnterWith("getFlattenedMaterialAttr", location,
                     [&](auto& producer) -> OxAttributeStruct* {
                         if (count < 0 || (count > 0 && !terminalNames)) return nullptr;
                         std::vector<std::string> names;
                         for (std::int64_t i = 0; i < count; ++i)
                             names.push_back(Text(terminalNames[i]));
                         return GetFlattenedMaterialAttr(producer, names).detach();
                     });
}

void EmptyMaterialCache() {
    Enter("emptyFlattenedMaterialCache", [] { EmptyFlattenedMaterialCache(); });
}

template <typename Source>
OxShadingNodeMapStruct* MakeNodeMap(const Source& source) {
    auto map = std::make_unique<OxShadingNodeMapStruct>();
    ShadingNodeDescription::GetShadingNetworkNodes(source, map->nodes);
    return map.release();
}

OxShadingNodeMapStruct* GetNodesOfMaterial(OxAttributeStruct* material) {
    return Enter("getShadingNetworkNodesOfMaterial",
                 [&] { return MakeNodeMap(GroupAttribute(Attribute::CreateAndRetain(material))); });
}

OxShadingNodeMapStruct* GetNodes(OxSgIteratorStruct* location) {
    return EnterWith("getShadingNetworkNodes", location,
                     [](auto& producer) { return MakeNodeMap(producer); });
}

void DestroyNodes(OxShadingNodeMapStruct* nodes) {
    delete nodes;
}

OxShadingStruct* FindNode(OxShadingNodeMapStruct* nodes, const char* name) {
    return Enter("findShadingNode", [&]() -> OxShadingStruct* {
        if (!nodes || !name) return nullptr;
        const auto found = nodes->nodes.find(name);
        return found == nodes->nodes.end() ? nullptr : ToHandle(found->second);
    });
}

/// The name of a node or of a connection: one entry serves both slots.
const char* GetName(OxShadingStruct* handle) noexcept {
    if (const auto node = NodeOf(handle)) return node->getName().c_str();
    if (const auto connection = ConnectionOf(handle)) return connection->getName().c_str();
    return "";
}

/// The type of a node or the port that feeds a connection: one entry serves both slots.
const char* GetTypeOrPort(OxShadingStruct* handle) noexcept {
    if (const auto node = NodeOf(handle)) return node->getType().c_str();
    if (const auto connection = ConnectionOf(handle)) return connection->getConnectedPort().c_str();
    return "";
}

const char* GetConnectedNode(OxShadingStruct* handle) noexcept {
    const auto connection = ConnectionOf(handle);
    return connection ? connection->getConnectedNode().c_str() : "";
}

/// The names of a node's parameters or of its connections.
using Names = const std::vector<std::string>& (ShadingNodeDescription::*)() const;

template <Names GetNames>
std::int64_t CountNames(OxShadingStruct* handle) {
    const auto node = NodeOf(handle);
    return node ? static_cast<std::int64_t>(((*node).*GetNames)().size()) : 0;
}

template <Names GetNames>
const char* GetNameAt(OxShadingStruct* handle, std::int64_t index) {
    const auto node = NodeOf(handle);
    if (!node || index < 0 || index >= CountNames<GetNames>(handle)) return "";
    return ((*node).*GetNames)()[static_cast<std::size_t>(index)].c_str();
}

OxAttributeStruct* GetParameter(OxShadingStruct* handle, const char* name) {
    return Enter("getShadingParameter", [&] {
        return ReadNode(handle, [&](auto& node) { return node.getParameter(Text(name)).detach(); });
    });
}

OxShadingStruct* GetConnection(OxShadingStruct* handle, const char* name) {
    return Enter("getShadingConnection", [&] {
        return ReadNode(handle,
                        [&](auto& node) { return ToHandle(node.getConnection(Text(name))); });
    });
}

int IsNodeValid(OxShadingStruct* handle) {
    return ReadNode(handle, [](auto& node) { return node.isValid() ? 1 : 0; });
}

int IsConnectionValid(OxShadingStruct* handle) {
    // A null connection is valid, unlike a null node.
    if (!handle) return 1;
    const auto connection = ConnectionOf(handle);
    return connection && connection->isValid() ? 1 : 0;
}

} // namespace

void FillMaterialSlots(Suite& suite) {
    TELLAR_SET_SLOT(suite, 6, convertTexturesToArbitraryAttr, ConvertTextures);
    TELLAR_SET_SLOT(suite, 9, getFlattenedMaterialAttr, GetFlattenedMaterial);
    TELLAR_SET_SLOT(suite, 10, emptyFlattenedMaterialCache, EmptyMaterialCache);
    TELLAR_SET_SLOT(suite, 11, getShadingNetworkNodesOfMaterial, GetNodesOfMaterial);
    TELLAR_SET_SLOT(suite, 12, getShadingNetworkNodes, GetNodes);
    TELLAR_SET_SLOT(suite, 13, destroyShadingNodeMap, DestroyNodes);
    TELLAR_SET_SLOT(suite, 14, retainShadingNode, RetainShading);
    TELLAR_SET_SLOT(suite, 15, releaseShadingNode, ReleaseShading);
    TELLAR_SET_SLOT(suite, 16, retainShadingConnection, RetainShading);
    TELLAR_SET_SLOT(suite, 17, releaseShadingConnection, ReleaseShading);
    TELLAR_SET_SLOT(suite, 18, findShadingNode, FindNode);
    TELLAR_SET_SLOT(suite, 19, getShadingNodeName, GetName);
    TELLAR_SET_SLOT(suite, 20, getShadingNodeType, GetTypeOrPort);
    TELLAR_SET_SLOT(suite, 21, getNumberOfShadingParameters,
                    CountNames<&ShadingNodeDescription::getParameterNames>);
    TELLAR_SET_SLOT(suite, 22, getShadingParameterName,
                    GetNameAt<&ShadingNodeDescription::getParameterNames>);
    TELLAR_SET_SLOT(suite, 23, getShadingParameter, GetParameter);
    TELLAR_SET_SLOT(suite, 24, getNumberOfShadingConnections,
                    CountNames<&ShadingNodeDescription::getConnectionNames>);
    TELLAR_SET_SLOT(suite, 25, getShadingConnectionName,
                    GetNameAt<&ShadingNodeDescription::getConnectionNames>);
    TELLAR_SET_SLOT(suite, 26, getShadingConnection, GetConnection);
    TELLAR_SET_SLOT(suite, 27, isShadingNodeValid, IsNodeValid);
    TELLAR_SET_SLOT(suite, 28, getConnectionName, GetName);
    TELLAR_SET_SLOT(suite, 29, getConnectedPort, GetTypeOrPort);
    TELLAR_SET_SLOT(suite, 30, getConnectedNode, GetConnectedNode);
    TELLAR_SET_SLOT(suite, 31, isShadingConnectionValid, IsConnectionValid);
}

} // namespace TELLAR::RenderOutputUtilsHost
