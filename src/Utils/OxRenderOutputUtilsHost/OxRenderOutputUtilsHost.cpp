#include "OxRenderOutputUtilsHost.h"

#include "RenderOutputEntries.h"

namespace TELLAR {

namespace {

OxRenderOutputUtilsHostSuite_v3 MakeSuite() {
    using namespace RenderOutputUtilsHost;
    static_assert(sizeof(Suite) == 49 * sizeof(void*));
    Suite suite{};
    FillCameraSlots(suite);
    FillMaterialSlots(suite);
    FillPathSlots(suite);
    FillPluginSlots(suite);
    FillProceduralSlots(suite);
    return suite;
}

} // namespace

const OxRenderOutputUtilsHostSuite_v3* GetRenderOutputUtilsHostSuite_v3() {
    static const OxRenderOutputUtilsHostSuite_v3 suite = MakeSuite();
    return &suite;
}

} // namespace TELLAR
