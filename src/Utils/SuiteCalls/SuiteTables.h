#ifndef OXTELLARPRODUCERS_SUITETABLES_H
#define OXTELLARPRODUCERS_SUITETABLES_H

#include <tuple>

#include <OxTellarSDK/SuiteFilter.h>

#include "SlotRules.h"

/// The tables of the host as lists of their slots, in order. Whoever appends a slot to a table of
/// version 4 appends it here: until then the table does not compile.

namespace TELLAR {

/// One slot of a table: `member` is a pointer to the table's member.
template <auto member>
struct TableSlot {
    const char* name;
};

/// The name, the version and the slots of a table, in order.
template <typename Table>
struct SuiteTable;

#define TELLAR_TABLE_SLOT(Table, name) (TableSlot<&Table::name>{#name})

template <>
struct SuiteTable<OxAttributeSuite_v1> {
    using Table = OxAttributeSuite_v1;
    static constexpr const char* kName = OX_ATTRIBUTE_HOST_SUITE;
    static constexpr std::uint32_t kVersion = 1;
    static constexpr auto kSlots = std::tuple{TELLAR_TABLE_SLOT(Table, retain),
                                              TELLAR_TABLE_SLOT(Table, release),
                                              TELLAR_TABLE_SLOT(Table, getType),
                                              TELLAR_TABLE_SLOT(Table, getHash),
                                              TELLAR_TABLE_SLOT(Table, isEqual),
                                              TELLAR_TABLE_SLOT(Table, getTupleSize),
                                              TELLAR_TABLE_SLOT(Table, getNumberOfValues),
                                              TELLAR_TABLE_SLOT(Table, getNumberOfTimeSamples),
                                              TELLAR_TABLE_SLOT(Table, getSampleTime),
                                              TELLAR_TABLE_SLOT(Table, getIntSample),
                                              TELLAR_TABLE_SLOT(Table, getFloatSample),
                                              TELLAR_TABLE_SLOT(Table, getDoubleSample),
                                              TELLAR_TABLE_SLOT(Table, getString),
                                              TELLAR_TABLE_SLOT(Table, getNumberOfChildren),
                                              TELLAR_TABLE_SLOT(Table, getChildName),
                                              TELLAR_TABLE_SLOT(Table, getChildByIndex),
                                              TELLAR_TABLE_SLOT(Table, getChildByName),
                                              TELLAR_TABLE_SLOT(Table, getGroupInherit),
                                              TELLAR_TABLE_SLOT(Table, createInt),
                                              TELLAR_TABLE_SLOT(Table, createFloat),
                                              TELLAR_TABLE_SLOT(Table, createDouble),
                                              TELLAR_TABLE_SLOT(Table, createString),
                                              TELLAR_TABLE_SLOT(Table, createNull),
                                              TELLAR_TABLE_SLOT(Table, createGroup),
                                              TELLAR_TABLE_SLOT(Table, getXml)};
};

template <>
struct SuiteTable<OxAttributeSuite_v4> {
    using Table = OxAttributeSuite_v4;
    static constexpr const char* kName = OX_ATTRIBUTE_HOST_SUITE;
    static constexpr std::uint32_t kVersion = 4;
    static constexpr auto kSlots = std::tuple{TELLAR_TABLE_SLOT(Table, retainError),
                                              TELLAR_TABLE_SLOT(Table, releaseError),
                                              TELLAR_TABLE_SLOT(Table, getErrorFacts),
                                              TELLAR_TABLE_SLOT(Table, createError),
                                              TELLAR_TABLE_SLOT(Table, retain),
                                              TELLAR_TABLE_SLOT(Table, release),
                                              TELLAR_TABLE_SLOT(Table, getType),
                                              TELLAR_TABLE_SLOT(Table, getHash),
                                              TELLAR_TABLE_SLOT(Table, isEqual),
                                              TELLAR_TABLE_SLOT(Table, getTupleSize),
                                              TELLAR_TABLE_SLOT(Table, getNumberOfValues),
                                              TELLAR_TABLE_SLOT(Table, getNumberOfTimeSamples),
                                              TELLAR_TABLE_SLOT(Table, getSampleTime),
                                              TELLAR_TABLE_SLOT(Table, getIntSample),
                                              TELLAR_TABLE_SLOT(Table, getFloatSample),
                                              TELLAR_TABLE_SLOT(Table, getDoubleSample),
                                              TELLAR_TABLE_SLOT(Table, getSamples),
                                              TELLAR_TABLE_SLOT(Table, readInts),
                                              TELLAR_TABLE_SLOT(Table, readFloats),
                                              TELLAR_TABLE_SLOT(Table, readDoubles),
                                              TELLAR_TABLE_SLOT(Table, getString),
                                              TELLAR_TABLE_SLOT(Table, getNumberOfChildren),
                                              TELLAR_TABLE_SLOT(Table, getChildName),
                                              TELLAR_TABLE_SLOT(Table, getChildByIndex),
                                              TELLAR_TABLE_SLOT(Table, getChildByName),
                                              TELLAR_TABLE_SLOT(Table, getGroupInherit),
                                              TELLAR_TABLE_SLOT(Table, createInt),
                                              TELLAR_TABLE_SLOT(Table, createFloat),
                                              TELLAR_TABLE_SLOT(Table, createDouble),
                                              TELLAR_TABLE_SLOT(Table, createString),
                                              TELLAR_TABLE_SLOT(Table, createNull),
                                              TELLAR_TABLE_SLOT(Table, createGroup),
                                              TELLAR_TABLE_SLOT(Table, getXml),
                                              TELLAR_TABLE_SLOT(Table, createSamples),
                                              TELLAR_TABLE_SLOT(Table, withChild),
                                              TELLAR_TABLE_SLOT(Table, getErrorPlace)};
};

template <>
struct SuiteTable<OxScenegraphIteratorHostSuite_v2> {
    using Table = OxScenegraphIteratorHostSuite_v2;
    static constexpr const char* kName = OX_SCENEGRAPH_ITERATOR_HOST_SUITE;
    static constexpr std::uint32_t kVersion = 2;
    static constexpr auto kSlots =
        std::tuple{TELLAR_TABLE_SLOT(Table, retainIterator),
                   TELLAR_TABLE_SLOT(Table, releaseIterator),
                   TELLAR_TABLE_SLOT(Table, createRootIteratorFromOpTreeFile),
                   TELLAR_TABLE_SLOT(Table, getFirstChild),
                   TELLAR_TABLE_SLOT(Table, getNextSibling),
                   TELLAR_TABLE_SLOT(Table, getParent),
                   TELLAR_TABLE_SLOT(Table, getRoot),
                   TELLAR_TABLE_SLOT(Table, getChildByName),
                   TELLAR_TABLE_SLOT(Table, getProducerByPath),
                   TELLAR_TABLE_SLOT(Table, getName),
                   TELLAR_TABLE_SLOT(Table, getFullName),
                   TELLAR_TABLE_SLOT(Table, getAttribute),
                   TELLAR_TABLE_SLOT(Table, getGlobalAttribute),
                   TELLAR_TABLE_SLOT(Table, getAttributeNames),
                   TELLAR_TABLE_SLOT(Table, getGlobalXFormGroup),
                   TELLAR_TABLE_SLOT(Table, getPotentialChildren)};
};

template <>
struct SuiteTable<OxScenegraphIteratorHostSuite_v3> {
    using Table = OxScenegraphIteratorHostSuite_v3;
    static constexpr const char* kName = OX_SCENEGRAPH_ITERATOR_HOST_SUITE;
    static constexpr std::uint32_t kVersion = 3;
    static constexpr auto kSlots =
        std::tuple{TELLAR_TABLE_SLOT(Table, retainIterator),
                   TELLAR_TABLE_SLOT(Table, releaseIterator),
                   TELLAR_TABLE_SLOT(Table, loadOpTreeDescription),
                   TELLAR_TABLE_SLOT(Table, createRootIteratorFromOpTreeFile),
                   TELLAR_TABLE_SLOT(Table, createRootIteratorFromOpTreeDescription),
                   TELLAR_TABLE_SLOT(Table, getFirstChild),
                   TELLAR_TABLE_SLOT(Table, getNextSibling),
                   TELLAR_TABLE_SLOT(Table, getParent),
                   TELLAR_TABLE_SLOT(Table, getRoot),
                   TELLAR_TABLE_SLOT(Table, getChildByName),
                   TELLAR_TABLE_SLOT(Table, getProducerByPath),
                   TELLAR_TABLE_SLOT(Table, getName),
                   TELLAR_TABLE_SLOT(Table, getFullName),
                   TELLAR_TABLE_SLOT(Table, getAttribute),
                   TELLAR_TABLE_SLOT(Table, getGlobalAttribute),
                   TELLAR_TABLE_SLOT(Table, getAttributeNames),
                   TELLAR_TABLE_SLOT(Table, getGlobalXFormGroup),
                   TELLAR_TABLE_SLOT(Table, getPotentialChildren),
                   TELLAR_TABLE_SLOT(Table, finalizeRuntime)};
};

template <>
struct SuiteTable<OxScenegraphIteratorHostSuite_v4> {
    using Table = OxScenegraphIteratorHostSuite_v4;
    static constexpr const char* kName = OX_SCENEGRAPH_ITERATOR_HOST_SUITE;
    static constexpr std::uint32_t kVersion = 4;
    static constexpr auto kSlots =
        std::tuple{TELLAR_TABLE_SLOT(Table, openScene),
                   TELLAR_TABLE_SLOT(Table, openDescription),
                   TELLAR_TABLE_SLOT(Table, retainScene),
                   TELLAR_TABLE_SLOT(Table, releaseScene),
                   TELLAR_TABLE_SLOT(Table, getSceneIdentity),
                   TELLAR_TABLE_SLOT(Table, getSceneRevision),
                   TELLAR_TABLE_SLOT(Table, getSceneRoot),
                   TELLAR_TABLE_SLOT(Table, loadOpTreeDescription),
                   TELLAR_TABLE_SLOT(Table, createRootIteratorFromOpTreeFile),
                   TELLAR_TABLE_SLOT(Table, createRootIteratorFromOpTreeDescription),
                   TELLAR_TABLE_SLOT(Table, retainIterator),
                   TELLAR_TABLE_SLOT(Table, releaseIterator),
                   TELLAR_TABLE_SLOT(Table, getFirstChild),
                   TELLAR_TABLE_SLOT(Table, getNextSibling),
                   TELLAR_TABLE_SLOT(Table, getParent),
                   TELLAR_TABLE_SLOT(Table, getRoot),
                   TELLAR_TABLE_SLOT(Table, getChildByName),
                   TELLAR_TABLE_SLOT(Table, getProducerByPath),
                   TELLAR_TABLE_SLOT(Table, getNumberOfChildren),
                   TELLAR_TABLE_SLOT(Table, getChildName),
                   TELLAR_TABLE_SLOT(Table, getChild),
                   TELLAR_TABLE_SLOT(Table, evict),
                   TELLAR_TABLE_SLOT(Table, getLocationError),
                   TELLAR_TABLE_SLOT(Table, getName),
                   TELLAR_TABLE_SLOT(Table, getFullName),
                   TELLAR_TABLE_SLOT(Table, getType),
                   TELLAR_TABLE_SLOT(Table, getAttribute),
                   TELLAR_TABLE_SLOT(Table, getGlobalAttribute),
                   TELLAR_TABLE_SLOT(Table, getAttributeNames),
                   TELLAR_TABLE_SLOT(Table, getGlobalXFormGroup),
                   TELLAR_TABLE_SLOT(Table, getPotentialChildren),
                   TELLAR_TABLE_SLOT(Table, getContentHash),
                   TELLAR_TABLE_SLOT(Table, isSame),
                   TELLAR_TABLE_SLOT(Table, getSubtree),
                   TELLAR_TABLE_SLOT(Table, getInstances),
                   TELLAR_TABLE_SLOT(Table, retainInstances),
                   TELLAR_TABLE_SLOT(Table, releaseInstances),
                   TELLAR_TABLE_SLOT(Table, getNumberOfInstances),
                   TELLAR_TABLE_SLOT(Table, getNumberOfPrototypes),
                   TELLAR_TABLE_SLOT(Table, getPrototype),
                   TELLAR_TABLE_SLOT(Table, readInstances),
                   TELLAR_TABLE_SLOT(Table, getInstance),
                   TELLAR_TABLE_SLOT(Table, visit),
                   TELLAR_TABLE_SLOT(Table, subscribe),
                   TELLAR_TABLE_SLOT(Table, retainSubscription),
                   TELLAR_TABLE_SLOT(Table, releaseSubscription),
                   TELLAR_TABLE_SLOT(Table, waitForChanges),
                   TELLAR_TABLE_SLOT(Table, receiveChanges),
                   TELLAR_TABLE_SLOT(Table, acknowledgeChanges),
                   TELLAR_TABLE_SLOT(Table, retainChanges),
                   TELLAR_TABLE_SLOT(Table, releaseChanges),
                   TELLAR_TABLE_SLOT(Table, getNumberOfChanges),
                   TELLAR_TABLE_SLOT(Table, getChange),
                   TELLAR_TABLE_SLOT(Table, getChangedRoot),
                   TELLAR_TABLE_SLOT(Table, getPreviousRoot),
                   TELLAR_TABLE_SLOT(Table, finalizeRuntime)};
};

template <>
struct SuiteTable<OxRenderOutputUtilsHostSuite_v3> {
    using Table = OxRenderOutputUtilsHostSuite_v3;
    static constexpr const char* kName = OX_RENDER_OUTPUT_UTILS_HOST_SUITE;
    static constexpr std::uint32_t kVersion = 3;
    static constexpr auto kSlots =
        std::tuple{TELLAR_TABLE_SLOT(Table, getProceduralArguments),
                   TELLAR_TABLE_SLOT(Table, flushRuntimePluginCaches),
                   TELLAR_TABLE_SLOT(Table, getPixelAreaThroughCamera),
                   TELLAR_TABLE_SLOT(Table, getSampleTimesRelevantToShutterRange),
                   TELLAR_TABLE_SLOT(Table, getRenderResolution),
                   TELLAR_TABLE_SLOT(Table, getCameraPath),
                   TELLAR_TABLE_SLOT(Table, convertTexturesToArbitraryAttr),
                   TELLAR_TABLE_SLOT(Table, getArchString),
                   TELLAR_TABLE_SLOT(Table, expandArchPath),
                   TELLAR_TABLE_SLOT(Table, getFlattenedMaterialAttr),
                   TELLAR_TABLE_SLOT(Table, emptyFlattenedMaterialCache),
                   TELLAR_TABLE_SLOT(Table, getShadingNetworkNodesOfMaterial),
                   TELLAR_TABLE_SLOT(Table, getShadingNetworkNodes),
                   TELLAR_TABLE_SLOT(Table, destroyShadingNodeMap),
                   TELLAR_TABLE_SLOT(Table, retainShadingNode),
                   TELLAR_TABLE_SLOT(Table, releaseShadingNode),
                   TELLAR_TABLE_SLOT(Table, retainShadingConnection),
                   TELLAR_TABLE_SLOT(Table, releaseShadingConnection),
                   TELLAR_TABLE_SLOT(Table, findShadingNode),
                   TELLAR_TABLE_SLOT(Table, getShadingNodeName),
                   TELLAR_TABLE_SLOT(Table, getShadingNodeType),
                   TELLAR_TABLE_SLOT(Table, getNumberOfShadingParameters),
                   TELLAR_TABLE_SLOT(Table, getShadingParameterName),
                   TELLAR_TABLE_SLOT(Table, getShadingParameter),
                   TELLAR_TABLE_SLOT(Table, getNumberOfShadingConnections),
                   TELLAR_TABLE_SLOT(Table, getShadingConnectionName),
                   TELLAR_TABLE_SLOT(Table, getShadingConnection),
                   TELLAR_TABLE_SLOT(Table, isShadingNodeValid),
                   TELLAR_TABLE_SLOT(Table, getConnectionName),
                   TELLAR_TABLE_SLOT(Table, getConnectedPort),
                   TELLAR_TABLE_SLOT(Table, getConnectedNode),
                   TELLAR_TABLE_SLOT(Table, isShadingConnectionValid),
                   TELLAR_TABLE_SLOT(Table, getCameraInfo),
                   TELLAR_TABLE_SLOT(Table, retainCameraInfo),
                   TELLAR_TABLE_SLOT(Table, releaseCameraInfo),
                   TELLAR_TABLE_SLOT(Table, getCameraFov),
                   TELLAR_TABLE_SLOT(Table, getCameraNear),
                   TELLAR_TABLE_SLOT(Table, getCameraFar),
                   TELLAR_TABLE_SLOT(Table, getCameraLeft),
                   TELLAR_TABLE_SLOT(Table, getCameraRight),
                   TELLAR_TABLE_SLOT(Table, getCameraTop),
                   TELLAR_TABLE_SLOT(Table, getCameraBottom),
                   TELLAR_TABLE_SLOT(Table, getCameraOrthographic),
                   TELLAR_TABLE_SLOT(Table, getCameraOrthographicWidth),
                   TELLAR_TABLE_SLOT(Table, getCameraXform),
                   TELLAR_TABLE_SLOT(Table, getLocationDelegate),
                   TELLAR_TABLE_SLOT(Table, getLocationTypesWithDelegates),
                   TELLAR_TABLE_SLOT(Table, getTempRenderLocation),
                   TELLAR_TABLE_SLOT(Table, getTilePath)};
};

template <>
struct SuiteTable<OxRenderOutputUtilsHostSuite_v4> {
    using Table = OxRenderOutputUtilsHostSuite_v4;
    static constexpr const char* kName = OX_RENDER_OUTPUT_UTILS_HOST_SUITE;
    static constexpr std::uint32_t kVersion = 4;
    static constexpr auto kSlots =
        std::tuple{TELLAR_TABLE_SLOT(Table, getWorldMatrix),
                   TELLAR_TABLE_SLOT(Table, getWorldMatrices),
                   TELLAR_TABLE_SLOT(Table, getLocalMatrix),
                   TELLAR_TABLE_SLOT(Table, getTransformTimes),
                   TELLAR_TABLE_SLOT(Table, getCameraPath),
                   TELLAR_TABLE_SLOT(Table, getCameraInfo),
                   TELLAR_TABLE_SLOT(Table, retainCameraInfo),
                   TELLAR_TABLE_SLOT(Table, releaseCameraInfo),
                   TELLAR_TABLE_SLOT(Table, getCameraLens),
                   TELLAR_TABLE_SLOT(Table, getCameraFov),
                   TELLAR_TABLE_SLOT(Table, getCameraNear),
                   TELLAR_TABLE_SLOT(Table, getCameraFar),
                   TELLAR_TABLE_SLOT(Table, getCameraLeft),
                   TELLAR_TABLE_SLOT(Table, getCameraRight),
                   TELLAR_TABLE_SLOT(Table, getCameraTop),
                   TELLAR_TABLE_SLOT(Table, getCameraBottom),
                   TELLAR_TABLE_SLOT(Table, getCameraOrthographic),
                   TELLAR_TABLE_SLOT(Table, getCameraOrthographicWidth),
                   TELLAR_TABLE_SLOT(Table, getCameraXform),
                   TELLAR_TABLE_SLOT(Table, getCameraProjection),
                   TELLAR_TABLE_SLOT(Table, convertPointsToNdc),
                   TELLAR_TABLE_SLOT(Table, convertPointsToPixels),
                   TELLAR_TABLE_SLOT(Table, getPixelAreaOfBound),
                   TELLAR_TABLE_SLOT(Table, getPixelAreaThroughCamera),
                   TELLAR_TABLE_SLOT(Table, getSampleTimesRelevantToShutterRange),
                   TELLAR_TABLE_SLOT(Table, getRenderResolution),
                   TELLAR_TABLE_SLOT(Table, getTilePath),
                   TELLAR_TABLE_SLOT(Table, getTempRenderLocation),
                   TELLAR_TABLE_SLOT(Table, getFlattenedMaterialAttr),
                   TELLAR_TABLE_SLOT(Table, getMaterials),
                   TELLAR_TABLE_SLOT(Table, flattenMaterials),
                   TELLAR_TABLE_SLOT(Table, emptyFlattenedMaterialCache),
                   TELLAR_TABLE_SLOT(Table, getShadingNetworkNodesOfMaterial),
                   TELLAR_TABLE_SLOT(Table, getShadingNetworkNodes),
                   TELLAR_TABLE_SLOT(Table, destroyShadingNodeMap),
                   TELLAR_TABLE_SLOT(Table, retainShadingNode),
                   TELLAR_TABLE_SLOT(Table, releaseShadingNode),
                   TELLAR_TABLE_SLOT(Table, retainShadingConnection),
                   TELLAR_TABLE_SLOT(Table, releaseShadingConnection),
                   TELLAR_TABLE_SLOT(Table, findShadingNode),
                   TELLAR_TABLE_SLOT(Table, getShadingNodeName),
                   TELLAR_TABLE_SLOT(Table, getShadingNodeType),
                   TELLAR_TABLE_SLOT(Table, getNumberOfShadingParameters),
                   TELLAR_TABLE_SLOT(Table, getShadingParameterName),
                   TELLAR_TABLE_SLOT(Table, getShadingParameter),
                   TELLAR_TABLE_SLOT(Table, getNumberOfShadingConnections),
                   TELLAR_TABLE_SLOT(Table, getShadingConnectionName),
                   TELLAR_TABLE_SLOT(Table, getShadingConnection),
                   TELLAR_TABLE_SLOT(Table, isShadingNodeValid),
                   TELLAR_TABLE_SLOT(Table, getConnectionName),
                   TELLAR_TABLE_SLOT(Table, getConnectedPort),
                   TELLAR_TABLE_SLOT(Table, getConnectedNode),
                   TELLAR_TABLE_SLOT(Table, isShadingConnectionValid),
                   TELLAR_TABLE_SLOT(Table, convertTexturesToArbitraryAttr),
                   TELLAR_TABLE_SLOT(Table, getProceduralArguments),
                   TELLAR_TABLE_SLOT(Table, flushRuntimePluginCaches),
                   TELLAR_TABLE_SLOT(Table, getArchString),
                   TELLAR_TABLE_SLOT(Table, expandArchPath),
                   TELLAR_TABLE_SLOT(Table, getLocationDelegate),
                   TELLAR_TABLE_SLOT(Table, getLocationTypesWithDelegates)};
};

/// The functions for a cook, without the pointer to a table in front of them.
template <>
struct SuiteTable<OxCookSuite> {
    using Table = OxCookSuite;
    static constexpr const char* kName = OxPluginManager::kCookSuiteName;
    static constexpr std::uint32_t kVersion = 1;
    static constexpr auto kSlots = std::tuple{TELLAR_TABLE_SLOT(Table, getPath),
                                              TELLAR_TABLE_SLOT(Table, getArgs),
                                              TELLAR_TABLE_SLOT(Table, getNumberOfInputs),
                                              TELLAR_TABLE_SLOT(Table, getInput),
                                              TELLAR_TABLE_SLOT(Table, retainLocationData),
                                              TELLAR_TABLE_SLOT(Table, releaseLocationData),
                                              TELLAR_TABLE_SLOT(Table, doesLocationExist),
                                              TELLAR_TABLE_SLOT(Table, getLocationAttributes),
                                              TELLAR_TABLE_SLOT(Table, getLocationChildren),
                                              TELLAR_TABLE_SLOT(Table, pass),
                                              TELLAR_TABLE_SLOT(Table, setAttributes),
                                              TELLAR_TABLE_SLOT(Table, setPotentialChildren),
                                              TELLAR_TABLE_SLOT(Table, setNote),
                                              TELLAR_TABLE_SLOT(Table, getParentNote),
                                              TELLAR_TABLE_SLOT(Table, getProbableIndex),
                                              TELLAR_TABLE_SLOT(Table, isFresh)};
};

#undef TELLAR_TABLE_SLOT

template <typename Table>
constexpr std::size_t kSlotCount = std::tuple_size_v<decltype(SuiteTable<Table>::kSlots)>;

/// Tables of version 4 and the functions for a cook begin with their size and version.
template <typename Table>
constexpr bool kIsSized = SuiteTable<Table>::kVersion >= 4 || std::is_same_v<Table, OxCookSuite>;

/// The number of pointers in a table.
template <typename Table>
constexpr std::size_t kPointerCount = kSlotCount<Table> +
                                      (std::is_same_v<Table, OxCookSuite> ? 1 : 0);

/// No slot is missing in the list of names.
template <typename Table>
constexpr bool kHasAllSlots = sizeof(Table) == kPointerCount<Table> * sizeof(void*) +
                                                   (kIsSized<Table> ? 2 * sizeof(std::uint32_t)
                                                                    : 0);

template <auto member>
constexpr auto MemberOf(TableSlot<member>) {
    return member;
}

/// The pointer to the member of a slot.
template <typename Table, std::size_t index>
constexpr auto kSlotMember = MemberOf(std::get<index>(SuiteTable<Table>::kSlots));

template <typename Table, typename Result, typename... Arguments>
constexpr SlotInfo DescribeSlot(Result (*Table::*)(Arguments...), const char* name, int index) {
    static_assert(sizeof...(Arguments) <= kMostArguments);
    SlotInfo slot;
    slot.suite = SuiteTable<Table>::kName;
    slot.version = SuiteTable<Table>::kVersion;
    slot.name = name;
    slot.index = index;
    slot.result = TypeOf<Result>();
    slot.argumentCount = sizeof...(Arguments);
    slot.arguments = {TypeOf<Arguments>()...};
    ApplySlotRules(slot);
    return slot;
}

/// The meaning of a slot.
template <typename Table, std::size_t index>
inline constexpr SlotInfo kSlotInfo = DescribeSlot(kSlotMember<Table, index>,
                                                   std::get<index>(SuiteTable<Table>::kSlots).name,
                                                   static_cast<int>(index));

/// Calls `visit` with the SlotInfo of each slot of a table.
template <typename Table, std::size_t... index, typename Visit>
void ForEachSlot(std::index_sequence<index...>, const Visit& visit) {
    (visit(kSlotInfo<Table, index>), ...);
}
template <typename Table, typename Visit>
void ForEachSlot(const Visit& visit) {
    ForEachSlot<Table>(std::make_index_sequence<kSlotCount<Table>>(), visit);
}

} // namespace TELLAR

#endif
