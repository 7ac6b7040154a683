#include "Checks.h"

#include <OxTellarProducers/OxRendererPluginSuite.h>
#include <OxTellarSDK/OpTypeSuite.h>

#include "OpTypeChecks.h"
#include "RendererChecks.h"

namespace TellarTool {

std::vector<Check> ChecksOf(const std::string& api) {
    if (api == OX_RENDERER_API) return RendererChecks();
    if (api == OX_OP_TYPE_API) return OpTypeChecks();
    return {};
}

} // namespace TellarTool
