#include "OxRenderOutputUtilsHost.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <limits>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include <OxTellarProducers/ArchPath.h>
#include <OxTellarProducers/CameraProjection.h>
#include <OxTellarProducers/ConvertTextures.h>
#include <OxTellarProducers/MaterialFlattening.h>
#include <OxTellarProducers/OxScenegraphLocationDelegateCache.h>
#include <OxTellarProducers/OxSgIterator.h>
#include <OxTellarProducers/ProceduralArguments.h>
#include <OxTellarProducers/RenderResolution.h>
#include <OxTellarProducers/ScreenSpace.h>
#include <OxTellarProducers/TilePath.h>
#include <OxTellarSDK/PluginManager.h>

#include "CameraInfoHandle.h"
#include "ShadingHandles.h"
#include "SuiteEntry.h"
#include "Utils/Paths/TempRenderLocation.h"

namespace TELLAR {
namespace RenderOutputUtilsHost {

namespace {

using OxAttribute::Attribute;
using OxAttribute::FloatAttribute;
using OxAttribute::GroupAttribute;
using OxAttribute::IntAttribute;
using OxAttribute::StringAttribute;
using Producer = boost::intrusive_ptr<GeometryProducer>;
using Suite = OxRenderOutputUtilsHostSuite_v3;

const NamedLogger kLogger("RenderOutputUtils");

template <typename Body>
auto Enter(const SuiteEntry& entry, Body body) {
    return RunSuiteEntry(kLogger, entry, body);
}

/// An entry that asks a location: `ask` gets its producer. A null handle gives null. Entries that
/// have an answer to no location, too, do without it: there, a null handle is a null producer.
template <typename Ask>
auto EnterWith(const SuiteEntry& entry, OxSgIteratorStruct* location, Ask ask) {
    return Enter(entry, [&] {
        const Producer producer = OxHandleToGeometryProducer(location);
        return producer ? ask(producer) : decltype(ask(producer))();
    });
}

/// What a camera tells, the record kept meanwhile.
template <typename Read>
auto ReadCamera(CameraInfoStruct* handle, Read read) {
    const std::shared_ptr<CameraInfo> camera = OxHandleToCameraInfo(handle);
    return camera ? read(*camera) : decltype(read(*camera))();
}

/// What a node tells, its description kept meanwhile.
template <typename Read>
auto ReadNode(OxShadingStruct* handle, Read read) {
    const auto node = NodeOf(handle);
    return node ? read(*node) : decltype(read(*node))();
}

std::string Text(const char* text) {
    return text ? text : "";
}

OxAttributeStruct* TextToC(const std::string& text) {
    return StringAttribute(text).detach();
}

// The callback of the library knows no user data: the call under way in this thread does.
struct ProceduralCall {
    OxProceduralError onError;
    void* user;
};
thread_local const ProceduralCall* currentCall = nullptr;

class ScopedProceduralCall {
public:
    explicit ScopedProceduralCall(const ProceduralCall& call)
        : outer(std::exchange(currentCall, &call)) {}
    ~ScopedProceduralCall() { currentCall = outer; }
    ScopedProceduralCall(const ScopedProceduralCall&) = delete;
    ScopedProceduralCall& operator=(const ScopedProceduralCall&) = delete;

private:
    const ProceduralCall* const outer;
};

void TellError(const std::string& message, Producer) {
    currentCall->onError(message.c_str(), currentCall->user);
}

ProceduralOutputContextInfo ToContext(const OxProceduralContext_v1* context) {
    ProceduralOutputContextInfo info;
    if (!context) return info;
    info.frame = context->frame;
    info.shutterOpen = context->shutterOpen;
    info.shutterClose = context->shutterClose;
    std::copy(std::begin(context->cropWindow), std::end(context->cropWindow), info.cropWindow);
    info.xres = context->xres;
    info.yres = context->yres;
    return info;
}

OxAttributeStruct* GetProceduralArguments(OxSgIteratorStruct* location,
                                          const OxProceduralContext_v1* context,
                                          OxAttributeStruct* procedural, OxProceduralForm form,
                                          OxProceduralError onError, void* user) {
    return Enter("getProceduralArguments", [&] {
        const Producer producer = OxHandleToGeometryProducer(location);
        const ProceduralCall call{onError, user};
        const ScopedProceduralCall scope(call);
        ProceduralOutputContextInfo info = ToContext(context);
        const auto build = form == kOxProceduralAttributes
                               ? BuildScenegraphAttrProceduralArgumentsString
                               : BuildClassicProceduralArgumentsString;
        return TextToC(build(producer, info, Attribute::CreateAndRetain(procedural),
                             onError ? TellError : nullptr));
    });
}

/// Asks each plug-in of the API, in every version, to drop its caches.
void FlushPlugins(const std::string& apiName) {
    using OxPluginManager::PluginManager;
    std::vector<std::string> names;
    PluginManager::getApiNames(names);
    if (std::find(names.begin(), names.end(), apiName) == names.end()) return;
    std::vector<unsigned int> versions;
    PluginManager::getPluginApiVersions(apiName, versions);
    for (const unsigned int version : versions) {
        PluginManager::getPluginNames(apiName, names, version);
        for (const std::string& name : names)
            PluginManager::flushSpecificPluginCache(
                PluginManager::getPlugin(name, apiName, version));
    }
}

void FlushRuntimePluginCaches() {
    Enter("flushRuntimePluginCaches", [] { FlushPlugins("TellarRuntime"); });
}

int GetPixelArea(OxSgIteratorStruct* location, const char* cameraPath, const char* resolution) {
    return EnterWith("getPixelAreaThroughCamera", location, [&](const Producer& producer) {
        return GetPixelAreaThroughCamera(producer, Text(cameraPath), Text(resolution));
    });
}

OxAttributeStruct* GetRelevantSampleTimes(const float* times, std::int64_t count, float open,
                                          float close) {
    return Enter("getSampleTimesRelevantToShutterRange", [&]() -> OxAttributeStruct* {
        if (count < 0 || (count > 0 && !times)) return nullptr;
        // What is no number has no place among times in order.
        std::set<float> ordered;
        std::copy_if(times, times + count, std::inserter(ordered, ordered.end()),
                     [](float time) { return !std::isnan(time); });
        std::vector<float> relevant;
        FindSampleTimesRelevantToShutterRange(ordered, open, close, relevant);
        return FloatAttribute(relevant, 1).detach();
    });
}

OxAttributeStruct* GetResolution(OxSgIteratorStruct* root, int* width, int* height) {
    return Enter("getRenderResolution", [&] {
        std::string name;
        GetRenderResolution(&name, width, height, OxHandleToGeometryProducer(root));
        return TextToC(name);
    });
}

OxAttributeStruct* GetPathOfCamera(OxSgIteratorStruct* root) {
    return Enter("getCameraPath",
                 [&] { return TextToC(GetCameraPath(OxHandleToGeometryProducer(root))); });
}

OxAttributeStruct* ConvertTextures(OxAttributeStruct* textures) {
    return Enter("convertTexturesToArbitraryAttr", [&] {
        return ConvertTexturesToArbitraryAttr(Attribute::CreateAndRetain(textures)).detach();
    });
}

OxAttributeStruct* GetArch() {
    return Enter("getArchString", [] { return TextToC(GetArchString()); });
}

OxAttributeStruct* ExpandArch(const char* path) {
    return Enter("expandArchPath", [&] { return path ? TextToC(ExpandArchPath(path)) : nullptr; });
}

OxAttributeStruct* GetFlattenedMaterial(OxSgIteratorStruct* location,
                                        const char* const* terminalNames, std::int64_t count) {
    return EnterWith("getFlattenedMaterialAttr", location,
                     [&](const Producer& producer) -> OxAttributeStruct* {
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

OxShadingNodeMapStruct* GetNodesOfMaterial(OxAttributeStruct* material) {
    return Enter("getShadingNetworkNodesOfMaterial", [&] {
        auto map = std::make_unique<OxShadingNodeMapStruct>();
        ShadingNodeDescription::GetShadingNetworkNodes(
            GroupAttribute(Attribute::CreateAndRetain(material)), map->nodes);
        return map.release();
    });
}

OxShadingNodeMapStruct* GetNodes(OxSgIteratorStruct* location) {
    return EnterWith("getShadingNetworkNodes", location, [](const Producer& producer) {
        auto map = std::make_unique<OxShadingNodeMapStruct>();
        ShadingNodeDescription::GetShadingNetworkNodes(producer, map->nodes);
        return map.release();
    });
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

std::int64_t CountParameters(OxShadingStruct* handle) {
    return ReadNode(handle, [](const ShadingNodeDescription& node) {
        return static_cast<std::int64_t>(node.getParameterNames().size());
    });
}

std::int64_t CountConnections(OxShadingStruct* handle) {
    return ReadNode(handle, [](const ShadingNodeDescription& node) {
        return static_cast<std::int64_t>(node.getConnectionNames().size());
    });
}

/// "" when out of range.
const char* NameAt(const std::vector<std::string>& names, std::int64_t index) {
    const bool isInside = index >= 0 && index < static_cast<std::int64_t>(names.size());
    return isInside ? names[static_cast<std::size_t>(index)].c_str() : "";
}

const char* GetParameterName(OxShadingStruct* handle, std::int64_t index) {
    const auto node = NodeOf(handle);
    return node ? NameAt(node->getParameterNames(), index) : "";
}

const char* GetConnectionNameAt(OxShadingStruct* handle, std::int64_t index) {
    const auto node = NodeOf(handle);
    return node ? NameAt(node->getConnectionNames(), index) : "";
}

OxAttributeStruct* GetParameter(OxShadingStruct* handle, const char* name) {
    return Enter("getShadingParameter", [&] {
        return ReadNode(handle, [&](const ShadingNodeDescription& node) {
            return node.getParameter(Text(name)).detach();
        });
    });
}

OxShadingStruct* GetConnection(OxShadingStruct* handle, const char* name) {
    return Enter("getShadingConnection", [&] {
        return ReadNode(handle, [&](const ShadingNodeDescription& node) {
            return ToHandle(node.getConnection(Text(name)));
        });
    });
}

int IsNodeValid(OxShadingStruct* handle) {
    return ReadNode(handle,
                    [](const ShadingNodeDescription& node) { return node.isValid() ? 1 : 0; });
}

int IsConnectionValid(OxShadingStruct* handle) {
    // Null counts as valid here, unlike a null node.
    if (!handle) return 1;
    const auto connection = ConnectionOf(handle);
    return connection && connection->isValid() ? 1 : 0;
}

CameraInfoStruct* GetCamera(OxSgIteratorStruct* root, const char* cameraPath) {
    return EnterWith("getCameraInfo", root, [&](const Producer& producer) {
        return OxCameraInfoToHandle(GetCameraInfo(producer, Text(cameraPath)));
    });
}

template <float CameraGeometry::*Member>
float GetLensValue(CameraInfoStruct* handle) {
    return ReadCamera(handle, [](const CameraInfo& camera) { return camera.*Member; });
}

int GetOrthographic(CameraInfoStruct* handle) {
    return ReadCamera(handle, [](const CameraInfo& camera) { return camera.orthographic ? 1 : 0; });
}

float GetOrthographicWidth(CameraInfoStruct* handle) {
    return ReadCamera(handle, [](const CameraInfo& camera) { return camera.orthographicWidth; });
}

const double* GetXform(CameraInfoStruct* handle) {
    return ReadCamera(handle, [](const CameraInfo& camera) { return camera.xform.getValue(); });
}

OxScenegraphLocationDelegatePluginSuite_v1* GetDelegate(const char* locationType,
                                                        const char* rendererName) {
    return Enter("getLocationDelegate", [&] {
        return OxScenegraphLocationDelegateCache::getPluginSuite(Text(locationType),
                                                                 Text(rendererName));
    });
}

OxAttributeStruct* GetDelegateTypes(const char* rendererName) {
    return Enter("getLocationTypesWithDelegates", [&] {
        std::vector<std::string> types;
        OxScenegraphLocationDelegateCache::getLocationTypesWithDelegates(types, Text(rendererName));
        return StringAttribute(types, 1).detach();
    });
}

/// Frames that no int holds become the nearest that it does; what is no number becomes 0.
int ToFrame(float frame) {
    constexpr auto kLeast = static_cast<double>(std::numeric_limits<int>::min());
    constexpr auto kMost = static_cast<double>(std::numeric_limits<int>::max());
    return std::isnan(frame) ? 0 : static_cast<int>(std::clamp<double>(frame, kLeast, kMost));
}

OxAttributeStruct* GetTempLocation(OxSgIteratorStruct* root, const char* outputName, float frame) {
    return EnterWith("getTempRenderLocation", root, [&](const Producer& producer) {
        return TextToC(GetTempRenderLocation(*producer, Text(outputName), ToFrame(frame)));
    });
}

OxAttributeStruct* GetTilePath(OxSgIteratorStruct* location, const char* path) {
    return Enter("getTilePath", [&]() -> OxAttributeStruct* {
        if (!path) return nullptr;
        const Producer producer = OxHandleToGeometryProducer(location);
        const IntAttribute tile(producer ? producer->getGlobalAttribute("renderSettings.tileRender")
                                         : Attribute());
        if (!tile.isValid()) return TextToC(path);
        const auto values = tile.getNearestSample(0.0f);
        return TextToC(ProcessTilePath(path, {values.begin(), values.end()}));
    });
}

Suite MakeSuite() {
    Suite suite{};
    suite.getProceduralArguments = GetProceduralArguments;
    suite.flushRuntimePluginCaches = FlushRuntimePluginCaches;
    suite.getPixelAreaThroughCamera = GetPixelArea;
    suite.getSampleTimesRelevantToShutterRange = GetRelevantSampleTimes;
    suite.getRenderResolution = GetResolution;
    suite.getCameraPath = GetPathOfCamera;
    suite.convertTexturesToArbitraryAttr = ConvertTextures;
    suite.getArchString = GetArch;
    suite.expandArchPath = ExpandArch;
    suite.getFlattenedMaterialAttr = GetFlattenedMaterial;
    suite.emptyFlattenedMaterialCache = EmptyMaterialCache;
    suite.getShadingNetworkNodesOfMaterial = GetNodesOfMaterial;
    suite.getShadingNetworkNodes = GetNodes;
    suite.destroyShadingNodeMap = DestroyNodes;
    suite.retainShadingNode = RetainShading;
    suite.releaseShadingNode = ReleaseShading;
    suite.retainShadingConnection = RetainShading;
    suite.releaseShadingConnection = ReleaseShading;
    suite.findShadingNode = FindNode;
    suite.getShadingNodeName = FirstText;
    suite.getShadingNodeType = SecondText;
    suite.getNumberOfShadingParameters = CountParameters;
    suite.getShadingParameterName = GetParameterName;
    suite.getShadingParameter = GetParameter;
    suite.getNumberOfShadingConnections = CountConnections;
    suite.getShadingConnectionName = GetConnectionNameAt;
    suite.getShadingConnection = GetConnection;
    suite.isShadingNodeValid = IsNodeValid;
    suite.getConnectionName = FirstText;
    suite.getConnectedPort = SecondText;
    suite.getConnectedNode = ThirdText;
    suite.isShadingConnectionValid = IsConnectionValid;
    suite.getCameraInfo = GetCamera;
    suite.retainCameraInfo = RetainCameraInfo;
    suite.releaseCameraInfo = ReleaseCameraInfo;
    suite.getCameraFov = GetLensValue<&CameraGeometry::fov>;
    suite.getCameraNear = GetLensValue<&CameraGeometry::near>;
    suite.getCameraFar = GetLensValue<&CameraGeometry::far>;
    suite.getCameraLeft = GetLensValue<&CameraGeometry::left>;
    suite.getCameraRight = GetLensValue<&CameraGeometry::right>;
    suite.getCameraTop = GetLensValue<&CameraGeometry::top>;
    suite.getCameraBottom = GetLensValue<&CameraGeometry::bottom>;
    suite.getCameraOrthographic = GetOrthographic;
    suite.getCameraOrthographicWidth = GetOrthographicWidth;
    suite.getCameraXform = GetXform;
    suite.getLocationDelegate = GetDelegate;
    suite.getLocationTypesWithDelegates = GetDelegateTypes;
    suite.getTempRenderLocation = GetTempLocation;
    suite.getTilePath = GetTilePath;
    return suite;
}

constexpr std::size_t Slot(std::size_t offset) {
    return offset / sizeof(void*);
}

static_assert(sizeof(Suite) == 49 * sizeof(void*), "49 slots, for ever");
static_assert(Slot(offsetof(Suite, getProceduralArguments)) == 0);
static_assert(Slot(offsetof(Suite, flushRuntimePluginCaches)) == 1);
static_assert(Slot(offsetof(Suite, getPixelAreaThroughCamera)) == 2);
static_assert(Slot(offsetof(Suite, getSampleTimesRelevantToShutterRange)) == 3);
static_assert(Slot(offsetof(Suite, getRenderResolution)) == 4);
static_assert(Slot(offsetof(Suite, getCameraPath)) == 5);
static_assert(Slot(offsetof(Suite, convertTexturesToArbitraryAttr)) == 6);
static_assert(Slot(offsetof(Suite, getArchString)) == 7);
static_assert(Slot(offsetof(Suite, expandArchPath)) == 8);
static_assert(Slot(offsetof(Suite, getFlattenedMaterialAttr)) == 9);
static_assert(Slot(offsetof(Suite, emptyFlattenedMaterialCache)) == 10);
static_assert(Slot(offsetof(Suite, getShadingNetworkNodesOfMaterial)) == 11);
static_assert(Slot(offsetof(Suite, getShadingNetworkNodes)) == 12);
static_assert(Slot(offsetof(Suite, destroyShadingNodeMap)) == 13);
static_assert(Slot(offsetof(Suite, retainShadingNode)) == 14);
static_assert(Slot(offsetof(Suite, releaseShadingNode)) == 15);
static_assert(Slot(offsetof(Suite, retainShadingConnection)) == 16);
static_assert(Slot(offsetof(Suite, releaseShadingConnection)) == 17);
static_assert(Slot(offsetof(Suite, findShadingNode)) == 18);
static_assert(Slot(offsetof(Suite, getShadingNodeName)) == 19);
static_assert(Slot(offsetof(Suite, getShadingNodeType)) == 20);
static_assert(Slot(offsetof(Suite, getNumberOfShadingParameters)) == 21);
static_assert(Slot(offsetof(Suite, getShadingParameterName)) == 22);
static_assert(Slot(offsetof(Suite, getShadingParameter)) == 23);
static_assert(Slot(offsetof(Suite, getNumberOfShadingConnections)) == 24);
static_assert(Slot(offsetof(Suite, getShadingConnectionName)) == 25);
static_assert(Slot(offsetof(Suite, getShadingConnection)) == 26);
static_assert(Slot(offsetof(Suite, isShadingNodeValid)) == 27);
static_assert(Slot(offsetof(Suite, getConnectionName)) == 28);
static_assert(Slot(offsetof(Suite, getConnectedPort)) == 29);
static_assert(Slot(offsetof(Suite, getConnectedNode)) == 30);
static_assert(Slot(offsetof(Suite, isShadingConnectionValid)) == 31);
static_assert(Slot(offsetof(Suite, getCameraInfo)) == 32);
static_assert(Slot(offsetof(Suite, retainCameraInfo)) == 33);
static_assert(Slot(offsetof(Suite, releaseCameraInfo)) == 34);
static_assert(Slot(offsetof(Suite, getCameraFov)) == 35);
static_assert(Slot(offsetof(Suite, getCameraNear)) == 36);
static_assert(Slot(offsetof(Suite, getCameraFar)) == 37);
static_assert(Slot(offsetof(Suite, getCameraLeft)) == 38);
static_assert(Slot(offsetof(Suite, getCameraRight)) == 39);
static_assert(Slot(offsetof(Suite, getCameraTop)) == 40);
static_assert(Slot(offsetof(Suite, getCameraBottom)) == 41);
static_assert(Slot(offsetof(Suite, getCameraOrthographic)) == 42);
static_assert(Slot(offsetof(Suite, getCameraOrthographicWidth)) == 43);
static_assert(Slot(offsetof(Suite, getCameraXform)) == 44);
static_assert(Slot(offsetof(Suite, getLocationDelegate)) == 45);
static_assert(Slot(offsetof(Suite, getLocationTypesWithDelegates)) == 46);
static_assert(Slot(offsetof(Suite, getTempRenderLocation)) == 47);
static_assert(Slot(offsetof(Suite, getTilePath)) == 48);

} // namespace

} // namespace RenderOutputUtilsHost

const OxRenderOutputUtilsHostSuite_v3* GetRenderOutputUtilsHostSuite_v3() {
    static const OxRenderOutputUtilsHostSuite_v3 suite = RenderOutputUtilsHost::MakeSuite();
    return &suite;
}

} // namespace TELLAR
