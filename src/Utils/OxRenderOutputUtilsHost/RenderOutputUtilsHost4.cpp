#include <OxTellarProducers/ArchPath.h>
#include <OxTellarProducers/OxScenegraphLocationDelegateCache.h>

#include "OxRenderOutputUtilsHost.h"
#include "RenderOutputEntries4.h"
#include "TempRenderLocation.h"

namespace TELLAR {

namespace RenderOutputUtilsHost4 {

namespace {

namespace Host = RenderOutputUtilsHost;

OxAttributeStruct* GetTemporaryLocation(OxSgIteratorStruct* root, const char* outputName,
                                        float frame) {
    const GeometryProducer::Ptr producer = At(root);
    return TextToC(Host::GetTempRenderLocation(*producer, NotNull(outputName, "outputName"),
                                               Host::ToFrame(frame)));
}

OxAttributeStruct* GetArguments(OxSgIteratorStruct* location, const OxProceduralContext_v1* context,
                                OxAttributeStruct* procedural, OxProceduralForm form,
                                OxProceduralError onError, void* user) {
    const GeometryProducer::Ptr producer = At(location);
    NotNull(procedural, "procedural");
    return TextToC(
        Host::BuildProceduralArguments(producer, context, procedural, form, onError, user));
}

OxScenegraphLocationDelegatePluginSuite_v1* GetDelegate(const char* locationType,
                                                        const char* rendererName) {
    return OxScenegraphLocationDelegateCache::getPluginSuite(NotNull(locationType, "locationType"),
                                                             Host::Text(rendererName));
}

Suite MakeSuite() {
    static_assert(sizeof(Suite) == 2 * sizeof(std::uint32_t) + 60 * sizeof(void*));
    Suite suite{};
    suite.size = sizeof suite;
    suite.version = 4;
    FillTransformSlots(suite); // 0 to 3
    FillCameraSlots(suite);    // 4 to 25
    TELLAR_SET_ERROR_ENTRY(
        suite, 26, getTilePath, [](OxSgIteratorStruct* location, const char* path) {
            return TextToC(Host::GetTilePath(At(location).get(), NotNull(path, "path")));
        });
    TELLAR_SET_ERROR_ENTRY(suite, 27, getTempRenderLocation, GetTemporaryLocation);
    FillMaterialSlots(suite); // 28 to 53
    TELLAR_SET_ERROR_ENTRY(suite, 54, getProceduralArguments, GetArguments);
    TELLAR_SET_SILENT_ENTRY(suite, 55, flushRuntimePluginCaches, Host::FlushRuntimePluginCaches);
    TELLAR_SET_ERROR_ENTRY(suite, 56, getArchString, [] { return TextToC(GetArchString()); });
    TELLAR_SET_ERROR_ENTRY(suite, 57, expandArchPath, [](const char* path) {
        return TextToC(ExpandArchPath(NotNull(path, "path")));
    });
    TELLAR_SET_ERROR_ENTRY(suite, 58, getLocationDelegate, GetDelegate);
    TELLAR_SET_ERROR_ENTRY(suite, 59, getLocationTypesWithDelegates,
                           Host::GetLocationTypesWithDelegates);
    return suite;
}

} // namespace

} // namespace RenderOutputUtilsHost4

const OxRenderOutputUtilsHostSuite_v4* GetRenderOutputUtilsHostSuite_v4() {
    static const auto suite = RenderOutputUtilsHost4::MakeSuite();
    return &suite;
}

} // namespace TELLAR
