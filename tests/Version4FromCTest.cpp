// Version 4 of the suites as a plug-in in C uses it.

#include <stdexcept>

#include <gtest/gtest.h>

#include <OxTellarSDK/AttributeStream.h>
#include <OxTellarSDK/PluginManager.h>

#include "CameraScenes.h"
#include "IteratorScenes.h"
#include "IteratorScenes4.h"
#include "plugins/Version4ChecksSuite.h"

namespace {

using namespace TellarTest;

/// The table of the plug-in with the checks, which finds the suites in the host.
const Version4ChecksSuite& Checks() {
    static const auto* const checks = [] {
        OxPluginManager::PluginManager::addSearchPath(TELLAR_TEST_PLUGIN_DIR);
        return static_cast<const Version4ChecksSuite*>(
            Host()->getPluginSuite("version 4 checks", "TestVersion4Checks", 1));
    }();
    if (!checks) throw std::runtime_error("The plug-in with the checks is not found.");
    return *checks;
}

TEST(Version4FromC, TakesNullHandlesInEverySlot) {
    EXPECT_EQ(Checks().checkNullHandles(), 0);
}

TEST(Version4FromC, IsWalkedAsItsHeaderShows) {
    const SceneFile file;
    EXPECT_EQ(Checks().checkWalk(file.c_str(), kWideSceneLocations), 0);
}

TEST(Version4FromC, IsVisitedByManyThreads) {
    const SceneFile file;
    for (const int threads : {1, 8})
        EXPECT_EQ(Checks().checkVisit(file.c_str(), threads, kWideSceneLocations), 0);
}

TEST(Version4FromC, TellsErrors) {
    const SceneFile file(FailingTree({"a", "b", "c"}, {"/root/b"}));
    EXPECT_EQ(Checks().checkErrors(file.c_str(), "/root/b"), 0);
}

TEST(Version4FromC, TellsTheCamera) {
    Children camera = CameraAttrs(UnitLens());
    camera.emplace_back("xform", Translation(3, 0, 0));
    const SceneFile file(SceneTree(CameraScene(camera, {{"tag", Text(UniqueTag())}})));
    EXPECT_EQ(Checks().checkCamera(file.c_str()), 0);
}

} // namespace
