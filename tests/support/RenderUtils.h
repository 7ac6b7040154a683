#ifndef TELLAR_TEST_RENDERUTILS_H
#define TELLAR_TEST_RENDERUTILS_H

#include <string>

#include <gtest/gtest.h>

#include <OxTellarProducers/CameraInfo.h>
#include <OxTellarProducers/OxRenderOutputUtilsHostSuite.h>
#include <OxTellarSDK/PluginManager.h>

#include "CameraScenes.h"
#include "SuiteHandles.h"

/// The suite of the render-output utilities, and the fixture of its tests.
namespace TellarTest {

inline const OxRenderOutputUtilsHostSuite_v3& Utils() {
    return *static_cast<const OxRenderOutputUtilsHostSuite_v3*>(
        Host()->getSuite("RenderOutputUtilsHost", 3));
}

/// The text of an attribute that an entry returned.
inline std::string TextOwned(OxAttributeStruct* attribute) {
    return TextOf(Owned(attribute));
}

/// A root with render settings.
inline TELLAR::GeometryProducer::Ptr RootWith(const Children& settings) {
    return StaticRoot(Location({{"renderSettings", Group(settings)}}));
}

/// Render settings with the output "beauty".
inline Children Output(const Children& output, const Children& more = {}) {
    Children settings{{"outputs", Group({{"beauty", Group(output)}})}};
    settings.insert(settings.end(), more.begin(), more.end());
    return settings;
}

/// For programs that define the folders of the plug-in with the checks and of the delegates.
class RenderUtils : public testing::Test {
public:
    /// Names the folders before the first test, because a process looks for delegates only once.
    static void SetUpTestSuite() {
        OxPluginManager::PluginManager::addSearchPath(TELLAR_TEST_PLUGIN_DIR);
        OxPluginManager::PluginManager::addSearchPath(TELLAR_TEST_DELEGATE_DIR);
        Host();
    }

protected:
    void SetUp() override { TELLAR::ClearCameraInfoCache(); }
};

} // namespace TellarTest

#endif
