#include "RenderOutputEntries.h"

#include <algorithm>
#include <cstdint>
#include <iterator>

#include <OxTellarProducers/ConvertTextures.h>
#include <OxTellarProducers/MaterialFlattening.h>

#include "RenderOutputHandles.h"

namespace TELLAR::RenderOutputUtilsHost {

namespace {

using namespace OxAttribute;

void RetainShading(OxShadingStruct* handle) noexcept {
    if (handle) handle->refCount.fetch_add(1, std::memory_order_relaxed);
}

void ReleaseShading(OxShadingStruct* handle) noexcept {
    // The thread that frees the handle must see the reads of the others as done.
    if (handle && handle->refCount.fetch_sub(1, std::memory_order_acq_rel) <= 1) delete handle;
}

OxAttributeStruct* GetFlattenedMaterial(OxSgIteratorStruct* location,
                                        const char* const* terminalNames, std::int64_t count) {
    if (!location || count < 0 || (count > 0 && !terminalNames)) return nullptr;
    std::vector<std::string> names;
    std::transform(terminalNames, terminalNames + count, std::back_inserter(names), Text);
    return GetFlattenedMaterialAttr(OxHandleToGeometryProducer(location), names).detach();
}

OxShadingStruct* FindNode(OxShadingNodeMapStruct* nodes, const char* name) {
    if (!nodes || !name) return nullptr;
    const auto found = nodes->nodes.find(name);
    return found == nodes->nodes.end() ? nullptr : ToHandle(found->second);
}

/// The name of a node or of a connection: one entry serves both slots.
const char* GetName(OxShadingStruct* handle) noexcept {
    if (const auto* node = NodeOf(handle)) return node->getName().c_str();
    if (const auto* connection = ConnectionOf(handle)) return connection->getName().c_str();
    return "";
}

/// The type of a node or the port that feeds a connection: one entry serves both slots.
const char* GetTypeOrPort(OxShadingStruct* handle) noexcept {
    if (const auto* node = NodeOf(handle)) return node->getType().c_str();
    if (const auto* connection = ConnectionOf(handle))
        return connection->getConnectedPort().c_str();
    return "";
}

const char* GetConnectedNode(OxShadingStruct* handle) noexcept {
    const auto* connection = ConnectionOf(handle);
    return connection ? connection->getConnectedNode().c_str() : "";
}

/// The names of a node's parameters or of its connections.
using Names = const std::vector<std::string>& (ShadingNodeDescription::*)() const;

template <Names GetNames>
std::int64_t CountNames(OxShadingStruct* handle) noexcept {
    const auto* node = NodeOf(handle);
    return node ? static_cast<std::int64_t>((node->*GetNames)().size()) : 0;
}

template <Names GetNames>
const char* GetNameAt(OxShadingStruct* handle, std::int64_t index) noexcept {
    if (index < 0 || index >= CountNames<GetNames>(handle)) return "";
    return (NodeOf(handle)->*GetNames)()[static_cast<std::size_t>(index)].c_str();
}

OxAttributeStruct* GetParameter(OxShadingStruct* handle, const char* name) {
    const auto* node = NodeOf(handle);
    return node ? node->getParameter(Text(name)).detach() : nullptr;
}

OxShadingStruct* GetConnection(OxShadingStruct* handle, const char* name) {
    const auto* node = NodeOf(handle);
    return node ? ToHandle(node->getConnection(Text(name))) : nullptr;
}

int IsNodeValid(OxShadingStruct* handle) {
    const auto* node = NodeOf(handle);
    return node && node->isValid() ? 1 : 0;
}

int IsConnectionValid(OxShadingStruct* handle) {
    // A null connection is valid, unlike a null node.
    if (!handle) return 1;
    const auto* connection = ConnectionOf(handle);
    return connection && connection->isValid() ? 1 : 0;
}

} // namespace

void FillMaterialSlots(Suite& suite) {
    TELLAR_SET_ENTRY(suite, 6, convertTexturesToArbitraryAttr, [](OxAttributeStruct* textures) {
        return ConvertTexturesToArbitraryAttr(Attribute::CreateAndRetain(textures)).detach();
    });
    TELLAR_SET_ENTRY(suite, 9, getFlattenedMaterialAttr, GetFlattenedMaterial);
    TELLAR_SET_ENTRY(suite, 10, emptyFlattenedMaterialCache, EmptyFlattenedMaterialCache);
    TELLAR_SET_ENTRY(suite, 11, getShadingNetworkNodesOfMaterial, [](OxAttributeStruct* material) {
        return MakeNodeMap(GroupAttribute(Attribute::CreateAndRetain(material)));
    });
    TELLAR_SET_ENTRY(suite, 12, getShadingNetworkNodes, [](OxSgIteratorStruct* location) {
        return location ? MakeNodeMap(OxHandleToGeometryProducer(location)) : nullptr;
    });
    TELLAR_SET_SLOT(suite, 13, destroyShadingNodeMap,
                    [](OxShadingNodeMapStruct* nodes) { delete nodes; });
    TELLAR_SET_SLOT(suite, 14, retainShadingNode, RetainShading);
    TELLAR_SET_SLOT(suite, 15, releaseShadingNode, ReleaseShading);
    TELLAR_SET_SLOT(suite, 16, retainShadingConnection, RetainShading);
    TELLAR_SET_SLOT(suite, 17, releaseShadingConnection, ReleaseShading);
    TELLAR_SET_ENTRY(suite, 18, findShadingNode, FindNode);
    TELLAR_SET_SLOT(suite, 19, getShadingNodeName, GetName);
    TELLAR_SET_SLOT(suite, 20, getShadingNodeType, GetTypeOrPort);
    TELLAR_SET_SLOT(suite, 21, getNumberOfShadingParameters,
                    CountNames<&ShadingNodeDescription::getParameterNames>);
    TELLAR_SET_SLOT(suite, 22, getShadingParameterName,
                    GetNameAt<&ShadingNodeDescription::getParameterNames>);
    TELLAR_SET_ENTRY(suite, 23, getShadingParameter, GetParameter);
    TELLAR_SET_SLOT(suite, 24, getNumberOfShadingConnections,
                    CountNames<&ShadingNodeDescription::getConnectionNames>);
    TELLAR_SET_SLOT(suite, 25, getShadingConnectionName,
                    GetNameAt<&ShadingNodeDescription::getConnectionNames>);
    TELLAR_SET_ENTRY(suite, 26, getShadingConnection, GetConnection);
    TELLAR_SET_SLOT(suite, 27, isShadingNodeValid, IsNodeValid);
    TELLAR_SET_SLOT(suite, 28, getConnectionName, GetName);
    TELLAR_SET_SLOT(suite, 29, getConnectedPort, GetTypeOrPort);
    TELLAR_SET_SLOT(suite, 30, getConnectedNode, GetConnectedNode);
    TELLAR_SET_SLOT(suite, 31, isShadingConnectionValid, IsConnectionValid);
}

} // namespace TELLAR::RenderOutputUtilsHost
