#include "OxRenderOutputUtilsHost.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>
#include <utility>

#include <OxTellarProducers/ArchPath.h>
#include <OxTellarProducers/OxScenegraphLocationDelegateCache.h>
#include <OxTellarProducers/ProceduralArguments.h>
#include <OxTellarProducers/TilePath.h>
#include <OxTellarSDK/PluginManager.h>

#include "PerThread.h"
#include "RenderOutputEntries.h"
#include "TempRenderLocation.h"

namespace TELLAR {

namespace RenderOutputUtilsHost {

namespace {

using namespace OxAttribute;
using OxPluginManager::PluginManager;

/// A call that builds arguments. The library's error callback has no user data, so it reads the
/// innermost call of its thread.
struct ProceduralCall {
    ProceduralCall(OxProceduralError onError, void* user)
        : onError(onError), user(user), outer(std::exchange(innermost, this)) {}
    ~ProceduralCall() { innermost = outer; }
    ProceduralCall(const ProceduralCall&) = delete;
    ProceduralCall& operator=(const ProceduralCall&) = delete;

    const OxProceduralError onError;
    void* const user;
    const ProceduralCall* const outer;
    static inline TELLAR_THREAD_WORD const ProceduralCall* innermost = nullptr;
};

void TellError(const std::string& message, GeometryProducer::Ptr) {
    ProceduralCall::innermost->onError(message.c_str(), ProceduralCall::innermost->user);
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

} // namespace

std::string BuildProceduralArguments(const GeometryProducer::Ptr& location,
                                     const OxProceduralContext_v1* context,
                                     OxAttributeStruct* procedural, OxProceduralForm form,
                                     OxProceduralError onError, void* user) {
    const ProceduralCall call(onError, user);
    ProceduralOutputContextInfo info = ToContext(context);
    const auto build = form == kOxProceduralAttributes
                           ? BuildScenegraphAttrProceduralArgumentsString
                           : BuildClassicProceduralArgumentsString;
    return build(location, info, Attribute::CreateAndRetain(procedural),
                 onError ? TellError : nullptr);
}

void FlushRuntimePluginCaches() {
    constexpr const char* kApiName = "TellarRuntime";
    std::vector<unsigned int> versions;
    PluginManager::getPluginApiVersions(kApiName, versions);
    for (const unsigned int version : versions) {
        std::vector<std::string> names;
        PluginManager::getPluginNames(kApiName, names, version);
        for (const std::string& name : names)
            PluginManager::flushSpecificPluginCache(
                PluginManager::getPlugin(name, kApiName, version));
    }
}

OxAttributeStruct* GetLocationTypesWithDelegates(const char* rendererName) {
    std::vector<std::string> types;
    OxScenegraphLocationDelegateCache::getLocationTypesWithDelegates(types, Text(rendererName));
    return StringAttribute(types, 1).detach();
}

int ToFrame(float frame) {
    constexpr auto kLeast = static_cast<double>(std::numeric_limits<int>::min());
    constexpr auto kMost = static_cast<double>(std::numeric_limits<int>::max());
    return std::isnan(frame) ? 0 : static_cast<int>(std::clamp<double>(frame, kLeast, kMost));
}

std::string GetTilePath(GeometryProducer* location, const char* path) {
    const IntAttribute tile(location ? location->getGlobalAttribute("renderSettings.tileRender")
                                     : Attribute());
    if (!tile.isValid()) return path;
    const auto values = tile.getNearestSample(0.0f);
    return ProcessTilePath(path, {values.begin(), values.end()});
}

namespace {

OxAttributeStruct* GetProceduralArguments(OxSgIteratorStruct* location,
                                          const OxProceduralContext_v1* context,
                                          OxAttributeStruct* procedural, OxProceduralForm form,
                                          OxProceduralError onError, void* user) {
    return TextToC(BuildProceduralArguments(OxHandleToGeometryProducer(location), context,
                                            procedural, form, onError, user));
}

OxScenegraphLocationDelegatePluginSuite_v1* GetLocationDelegate(const char* locationType,
                                                                const char* rendererName) {
    return OxScenegraphLocationDelegateCache::getPluginSuite(Text(locationType),
                                                             Text(rendererName));
}

OxAttributeStruct* GetTempLocation(OxSgIteratorStruct* root, const char* outputName, float frame) {
    const auto producer = OxHandleToGeometryProducer(root);
    if (!producer) return nullptr;
    return TextToC(GetTempRenderLocation(*producer, Text(outputName), ToFrame(frame)));
}

Suite MakeSuite() {
    static_assert(sizeof(Suite) == 49 * sizeof(void*));
    Suite suite{};
    TELLAR_SET_ENTRY(suite, 0, getProceduralArguments, GetProceduralArguments);
    TELLAR_SET_ENTRY(suite, 1, flushRuntimePluginCaches, FlushRuntimePluginCaches);
    FillCameraSlots(suite); // 2 to 5, and 32 to 44
    TELLAR_SET_ENTRY(suite, 7, getArchString, [] { return TextToC(GetArchString()); });
    TELLAR_SET_ENTRY(suite, 8, expandArchPath, [](const char* path) {
        return path ? TextToC(ExpandArchPath(path)) : nullptr;
    });
    FillMaterialSlots(suite); // 6, and 9 to 31
    TELLAR_SET_ENTRY(suite, 45, getLocationDelegate, GetLocationDelegate);
    TELLAR_SET_ENTRY(suite, 46, getLocationTypesWithDelegates, GetLocationTypesWithDelegates);
    TELLAR_SET_ENTRY(suite, 47, getTempRenderLocation, GetTempLocation);
    TELLAR_SET_ENTRY(suite, 48, getTilePath, [](OxSgIteratorStruct* location, const char* path) {
        const auto producer = OxHandleToGeometryProducer(location);
        return path ? TextToC(GetTilePath(producer.get(), path)) : nullptr;
    });
    return suite;
}

} // namespace

} // namespace RenderOutputUtilsHost

const OxRenderOutputUtilsHostSuite_v3* GetRenderOutputUtilsHostSuite_v3() {
    static const auto suite = RenderOutputUtilsHost::MakeSuite();
    return &suite;
}

} // namespace TELLAR
