#ifndef LANTERN_READING_SUITES_H
#define LANTERN_READING_SUITES_H

#include <string>

#include <OxTellarProducers/OxRenderOutputUtilsHostSuite4.h>
#include <OxTellarProducers/OxScenegraphIteratorHostSuite4.h>
#include <OxTellarSDK/AttributeSuite4.h>

struct OxPluginHost;

namespace lantern {

/// The host's function tables for reading scenes. They live as long as the process.
class Suites {
public:
    /// Throws a RenderError that names a suite which the host does not have.
    explicit Suites(const OxPluginHost& host);

    const OxAttributeSuite_v4& attributes() const { return *attributeSuite; }
    const OxScenegraphIteratorHostSuite_v4& iterators() const { return *iteratorSuite; }
    const OxRenderOutputUtilsHostSuite_v4& utils() const { return *utilsSuite; }

private:
    const OxAttributeSuite_v4* attributeSuite;
    const OxScenegraphIteratorHostSuite_v4* iteratorSuite;
    const OxRenderOutputUtilsHostSuite_v4* utilsSuite;
};

/// Throws a RenderError when the location cannot be cooked. The path to write: the picture's, or
/// that of the tile that the scene's settings ask for.
std::string GetTilePath(const Suites& suites, OxSgIteratorStruct* root, const char* picture);

} // namespace lantern

#endif
