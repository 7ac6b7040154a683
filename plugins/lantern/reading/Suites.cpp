#include "reading/Suites.h"

#include <OxPluginHost/OxPluginHost.h>

#include "Report.h"
#include "reading/Attribute.h"
#include "reading/HostError.h"

namespace lantern {

namespace {

constexpr unsigned int kVersion = 4;

template <typename Suite>
const Suite* FindSuite(const OxPluginHost& host, const char* name) {
    const void* const suite = host.getSuite(name, kVersion);
    if (!suite)
        throw RenderError("the host has no suite \"" + std::string(name) + "\" of version " +
                          std::to_string(kVersion));
    return static_cast<const Suite*>(suite);
}

} // namespace

Suites::Suites(const OxPluginHost& host)
    : attributeSuite(FindSuite<OxAttributeSuite_v4>(host, OX_ATTRIBUTE_HOST_SUITE)),
      iteratorSuite(
          FindSuite<OxScenegraphIteratorHostSuite_v4>(host, OX_SCENEGRAPH_ITERATOR_HOST_SUITE)),
      utilsSuite(
          FindSuite<OxRenderOutputUtilsHostSuite_v4>(host, OX_RENDER_OUTPUT_UTILS_HOST_SUITE)) {}

std::string GetTilePath(const Suites& suites, OxSgIteratorStruct* root, const char* picture) {
    HostError error(suites);
    const Attribute path = Attribute::owning(
        suites.attributes(), suites.utils().getTilePath(root, picture, error.slot()));
    error.throwIfSet();
    return path.text(picture ? picture : "");
}

} // namespace lantern
