#ifndef LANTERN_READING_SUITES_H
#define LANTERN_READING_SUITES_H

#include <string>

#include <OxTellarProducers/OxRenderOutputUtilsHostSuite.h>
#include <OxTellarProducers/OxScenegraphIteratorHostSuite.h>
#include <OxTellarSDK/AttributeSuite.h>

struct OxPluginHost;

namespace lantern {

/// The function tables by which the scene is reached; they live as long as the process.
class Suites {
public:
    /// Throws RenderError naming the suite that the host does not have.
    explicit Suites(const OxPluginHost& host);

    const OxAttributeSuite_v1& attributes() const { return *attributeSuite; }
    const OxScenegraphIteratorHostSuite_v3& iterators() const { return *iteratorSuite; }
    const OxRenderOutputUtilsHostSuite_v3& utils() const { return *utilsSuite; }

private:
    const OxAttributeSuite_v1* attributeSuite;
    const OxScenegraphIteratorHostSuite_v3* iteratorSuite;
    const OxRenderOutputUtilsHostSuite_v3* utilsSuite;
};

/// Where the picture of this path goes: itself, or the tile that the scene's settings ask for.
std::string GetTilePath(const Suites& suites, OxSgIteratorStruct* root, const char* picture);

} // namespace lantern

#endif
