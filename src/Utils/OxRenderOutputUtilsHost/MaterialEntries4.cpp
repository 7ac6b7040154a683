#include <OxTellarProducers/ConvertTextures.h>
#include <OxTellarProducers/MaterialFlattening.h>

#include "OxRenderOutputUtilsHost.h"
#include "RenderOutputEntries4.h"
#include "RenderOutputHandles.h"

namespace TELLAR::RenderOutputUtilsHost4 {

namespace {

using namespace OxAttribute;
using RenderOutputUtilsHost::ConnectionOf;
using RenderOutputUtilsHost::MakeNodeMap;
using RenderOutputUtilsHost::NodeOf;
using RenderOutputUtilsHost::ToHandle;

OxAttributeStruct* GetFlattened(OxSgIteratorStruct* location, const char* const* terminalNames,
                                std::int64_t count) {
    const GeometryProducer::Ptr producer = At(location);
    const auto terminals = Texts(terminalNames, "terminalNames", count, "count");
    return FlattenMaterials(GetMaterials(*producer), terminals).detach();
}

OxAttributeStruct* GetMaterialList(OxSgIteratorStruct* location) {
    const std::vector<GroupAttribute> materials = GetMaterials(*At(location));
    std::vector<GroupAttribute::Child> children;
    for (std::size_t i = 0; i < materials.size(); ++i)
        children.emplace_back("m" + std::to_string(i), materials[i]);
    return materials.empty() ? nullptr : GroupAttribute(children, false).detach();
}

GroupAttribute GroupOf(OxAttributeStruct* value, const char* argument) {
    GroupAttribute group(ValueOf(value, argument));
    if (!group.isValid()) throw BadCall{argument, "is no group"};
    return group;
}

OxAttributeStruct* Flatten(OxAttributeStruct* const* materials, std::int64_t materialCount,
                           const char* const* terminalNames, std::int64_t terminalCount) {
    CheckArray(materials, "materials", materialCount, "materialCount");
    const auto terminals = Texts(terminalNames, "terminalNames", terminalCount, "terminalCount");
    std::vector<GroupAttribute> groups;
    for (std::int64_t i = 0; i < materialCount; ++i)
        groups.push_back(GroupOf(materials[i], "materials"));
    return FlattenMaterials(groups, terminals).detach();
}

OxShadingStruct* FindNode(OxShadingNodeMapStruct* nodes, const char* name) {
    const auto& known = NotNull(nodes, "nodes")->nodes;
    const auto found = known.find(NotNull(name, "name"));
    return found == known.end() ? nullptr : ToHandle(found->second);
}

const ShadingNodeDescription& NodeAt(OxShadingStruct* node) {
    const ShadingNodeDescription* const description = NodeOf(NotNull(node, "node"));
    if (!description) throw BadCall{"node", "is a connection"};
    return *description;
}

/// A text of a node; null for null and for a connection.
template <const std::string& (ShadingNodeDescription::*GetText)() const>
const char* GetNodeText(OxShadingStruct* handle) noexcept {
    const auto* const node = NodeOf(handle);
    return node ? (node->*GetText)().c_str() : nullptr;
}

/// A text of a connection; null for null and for a node.
template <const std::string& (ShadingNodeConnectionDescription::*GetText)() const>
const char* GetConnectionText(OxShadingStruct* handle) noexcept {
    const auto* const connection = ConnectionOf(handle);
    return connection ? (connection->*GetText)().c_str() : nullptr;
}

using Names = const std::vector<std::string>& (ShadingNodeDescription::*)() const;

/// A name by its index; null when out of range.
template <Names GetNames>
const char* GetNameAt(OxShadingStruct* handle, std::int64_t index) noexcept {
    const auto* const node = NodeOf(handle);
    if (!node || index < 0) return nullptr;
    const auto& names = (node->*GetNames)();
    const auto place = static_cast<std::size_t>(index);
    return place < names.size() ? names[place].c_str() : nullptr;
}

} // namespace

void FillMaterialSlots(Suite& suite) {
    using Node = ShadingNodeDescription;
    using Connection = ShadingNodeConnectionDescription;
    const OxRenderOutputUtilsHostSuite_v3& old = *GetRenderOutputUtilsHostSuite_v3();
    TELLAR_SET_ERROR_ENTRY(suite, 28, getFlattenedMaterialAttr, GetFlattened);
    TELLAR_SET_ERROR_ENTRY(suite, 29, getMaterials, GetMaterialList);
    TELLAR_SET_ERROR_ENTRY(suite, 30, flattenMaterials, Flatten);
    TELLAR_SET_SILENT_ENTRY(suite, 31, emptyFlattenedMaterialCache, EmptyFlattenedMaterialCache);
    TELLAR_SET_ERROR_ENTRY(
        suite, 32, getShadingNetworkNodesOfMaterial,
        [](OxAttributeStruct* material) { return MakeNodeMap(GroupOf(material, "material")); });
    TELLAR_SET_ERROR_ENTRY(suite, 33, getShadingNetworkNodes,
                           [](OxSgIteratorStruct* location) { return MakeNodeMap(At(location)); });
    TELLAR_SET_SLOT(suite, 34, destroyShadingNodeMap, old.destroyShadingNodeMap);
    TELLAR_SET_SLOT(suite, 35, retainShadingNode, old.retainShadingNode);
    TELLAR_SET_SLOT(suite, 36, releaseShadingNode, old.releaseShadingNode);
    TELLAR_SET_SLOT(suite, 37, retainShadingConnection, old.retainShadingConnection);
    TELLAR_SET_SLOT(suite, 38, releaseShadingConnection, old.releaseShadingConnection);
    TELLAR_SET_ERROR_ENTRY(suite, 39, findShadingNode, FindNode);
    TELLAR_SET_SLOT(suite, 40, getShadingNodeName, GetNodeText<&Node::getName>);
    TELLAR_SET_SLOT(suite, 41, getShadingNodeType, GetNodeText<&Node::getType>);
    TELLAR_SET_SLOT(suite, 42, getNumberOfShadingParameters, old.getNumberOfShadingParameters);
    TELLAR_SET_SLOT(suite, 43, getShadingParameterName, GetNameAt<&Node::getParameterNames>);
    TELLAR_SET_ERROR_ENTRY(suite, 44, getShadingParameter,
                           [](OxShadingStruct* node, const char* name) {
                               return NodeAt(node).getParameter(NotNull(name, "name")).detach();
                           });
    TELLAR_SET_SLOT(suite, 45, getNumberOfShadingConnections, old.getNumberOfShadingConnections);
    TELLAR_SET_SLOT(suite, 46, getShadingConnectionName, GetNameAt<&Node::getConnectionNames>);
    TELLAR_SET_ERROR_ENTRY(suite, 47, getShadingConnection,
                           [](OxShadingStruct* node, const char* name) {
                               return ToHandle(NodeAt(node).getConnection(NotNull(name, "name")));
                           });
    TELLAR_SET_SLOT(suite, 48, isShadingNodeValid, old.isShadingNodeValid);
    TELLAR_SET_SLOT(suite, 49, getConnectionName, GetConnectionText<&Connection::getName>);
    TELLAR_SET_SLOT(suite, 50, getConnectedPort, GetConnectionText<&Connection::getConnectedPort>);
    TELLAR_SET_SLOT(suite, 51, getConnectedNode, GetConnectionText<&Connection::getConnectedNode>);
    TELLAR_SET_SLOT(suite, 52, isShadingConnectionValid, [](OxShadingStruct* handle) {
        const auto* const connection = ConnectionOf(handle);
        return connection && connection->isValid() ? 1 : 0;
    });
    TELLAR_SET_ERROR_ENTRY(
        suite, 53, convertTexturesToArbitraryAttr, [](OxAttributeStruct* textures) {
            return ConvertTexturesToArbitraryAttr(ValueOf(textures, "textures")).detach();
        });
}

} // namespace TELLAR::RenderOutputUtilsHost4
