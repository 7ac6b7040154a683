#include "reading/Suites.h"

#include <OxPluginHost/OxPluginHost.h>

#include "Report.h"
#include "reading/Attribute.h"

namespace lantern {

namespace {

template <typename Suite>
const Suite* FindSuite(const OxPluginHost& host, const char* name, unsigned int version) {
    const void* const suite = host.getSuite(name, version);
    if (!suite)
        throw RenderError("the host has no suite \"" + std::string(name) + "\" of version " +
                          std::to_string(version));
    return static_cast<const Suite*>(suite);
}

} // namespace

Suites::Suites(const OxPluginHost& host)
    : attributeSuite(FindSuite<OxAttributeSuite_v1>(host, "AttributeHost", 1)),
      iteratorSuite(
          FindSuite<OxScenegraphIteratorHostSuite_v3>(host, OX_SCENEGRAPH_ITERATOR_HOST_SUITE, 3)),
      utilsSuite(
          FindSuite<OxRenderOutputUtilsHostSuite_v3>(host, OX_RENDER_OUTPUT_UTILS_HOST_SUITE, 3)) {}

std::string GetTilePath(const Suites& suites, OxSgIteratorStruct* root, const char* picture) {
    const Attribute path =
        Attribute::owning(suites.attributes(), suites.utils().getTilePath(root, picture));
    return path.text(picture ? picture : "");
}

} // namespace lantern
