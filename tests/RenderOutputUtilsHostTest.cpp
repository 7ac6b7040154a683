#include <OxTellarProducers/OxRenderOutputUtilsHostSuite.h>

#include <cmath>
#include <optional>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include <OxTellarProducers/OxCameraInfoHandle.h>
#include <OxTellarSDK/AttributeStream.h>

#include "CameraScenes.h"
#include "CapturedLog.h"
#include "RenderUtils.h"
#include "ScopedEnvironment.h"
#include "SuiteHandles.h"
#include "TempDirectory.h"
#include "plugins/RenderUtilsChecksSuite.h"

namespace {

using namespace TellarTest;
using OxAttribute::FloatAttribute;
using OxAttribute::GroupAttribute;
using OxAttribute::IntAttribute;
using OxAttribute::StringAttribute;
using TELLAR::OxCameraInfoToHandle;
using TELLAR::OxHandleToCameraInfo;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr const char* kLogger = "RenderOutputUtils";

TEST_F(RenderUtils, BuildProceduralArgumentsInBothForms) {
    const Handle geo = Handle::of(StaticRoot(CameraScene({}))->getProducerByPath(kGeo));
    const auto procedural = Group({{"args", Group({{"count", Int(3)}})}});
    EXPECT_EQ(TextOwned(Utils().getProceduralArguments(geo.get(), nullptr, procedural.getHandle(),
                                                       kOxProceduralClassic, nullptr, nullptr)),
              " -count 3 -frame 1 -shutter 0 0 -cropwindow 0 1 0 1");
    const OxProceduralContext_v1 context = {12, -0.25f, 0.25f, {0, 0.5f, 0.25f, 1}, 640, 480};
    EXPECT_EQ(TextOwned(Utils().getProceduralArguments(geo.get(), &context, procedural.getHandle(),
                                                       kOxProceduralClassic, nullptr, nullptr)),
              " -count 3 -frame 12 -shutter -0.25 0.25 -cropwindow 0 0.5 0.25 1");
    const GroupAttribute group = OxAttribute::ParseAttributeXml(
        TextOwned(Utils().getProceduralArguments(geo.get(), &context, procedural.getHandle(),
                                                 kOxProceduralAttributes, nullptr, nullptr)));
    EXPECT_EQ(group.getChildByName("frame"), FloatAttribute(12.0f));
    EXPECT_EQ(TextOf(group.getChildByName("ombraFullName")), kGeo);
}

TEST_F(RenderUtils, TellProceduralsThatWantTheCameraTheSizeOfThePicture) {
    const Handle geo =
        Handle::of(StaticRoot(CameraScene(CameraAttrs(UnitLens())))->getProducerByPath(kGeo));
    const auto procedural =
        Group({{"args", Group({})},
               {"includeCameraInfo", Text("As Parameters")},
               {"cameraInfo",
                Group({{"whichCamera", Text("Other Camera")}, {"cameraPath", Text(kCamera)}})}});
    const OxProceduralContext_v1 context = {1, 0, 0, {0, 1, 0, 1}, 640, 480};
    const GroupAttribute group = OxAttribute::ParseAttributeXml(
        TextOwned(Utils().getProceduralArguments(geo.get(), &context, procedural.getHandle(),
                                                 kOxProceduralAttributes, nullptr, nullptr)));
    EXPECT_EQ(group.getChildByName("cameraInfo_xres"), IntAttribute(640));
    EXPECT_EQ(group.getChildByName("cameraInfo_yres"), IntAttribute(480));
}

TEST_F(RenderUtils, TellWhatGoesWrongWithProceduralArguments) {
    const ScopedEnvironment unset("TELLAR_NO_SUCH_VARIABLE", std::nullopt);
    const Handle geo = Handle::of(StaticRoot(CameraScene({}))->getProducerByPath(kGeo));
    const auto procedural =
        Group({{"args", Group({{"file", Text("$TELLAR_NO_SUCH_VARIABLE/a")}})}});
    std::vector<std::string> told;
    const auto tell = [](const char* message, void* user) {
        static_cast<std::vector<std::string>*>(user)->emplace_back(message);
    };
    Owned(Utils().getProceduralArguments(geo.get(), nullptr, procedural.getHandle(),
                                         kOxProceduralClassic, tell, &told));
    EXPECT_THAT(told, ElementsAre("asset resolve failed on  '$TELLAR_NO_SUCH_VARIABLE/a' when "
                                  "building an procedural call."));
}

TEST_F(RenderUtils, TellThePixelArea) {
    const Handle geo =
        Handle::of(StaticRoot(CameraScene(CameraAttrs(UnitLens()),
                                          {{"bound", Doubles({-1, 1, -1, 1, -2, -2})}}))
                       ->getProducerByPath(kGeo));
    EXPECT_EQ(Utils().getPixelAreaThroughCamera(geo.get(), kCamera, "square_512"), 256 * 256);
}

TEST_F(RenderUtils, LogWhatAnEntryThrowsWithItsName) {
    const Handle geo =
        Handle::of(StaticRoot(CameraScene(CameraAttrs(UnitLens()),
                                          {{"bound", Doubles({-1, 1, -1, 1, -2, -2})}}))
                       ->getProducerByPath(kGeo));
    const Handle root = Handle::of(RootWith({{"resolution", Text("cinema")}}));
    const CapturedLog log;
    EXPECT_EQ(Utils().getPixelAreaThroughCamera(geo.get(), kCamera, "cinema"), 0);
    EXPECT_EQ(Utils().getRenderResolution(root.get(), nullptr, nullptr), nullptr);
    const std::string error = "FileOut: Error querying resolution table for resolution: 'cinema'.";
    EXPECT_THAT(log.textsOf(kLogger), ElementsAre("getPixelAreaThroughCamera: " + error,
                                                  "getRenderResolution: " + error));
    EXPECT_EQ(log.messages()[0].level, OxLogLevel::error);
}

TEST_F(RenderUtils, FindTheSampleTimesOfAShutter) {
    const float times[] = {3, 1, 0, 2, 1};
    const FloatAttribute relevant =
        Owned(Utils().getSampleTimesRelevantToShutterRange(times, 5, 1.5f, 2.5f));
    const auto sample = relevant.getNearestSample(0.0f);
    EXPECT_THAT(std::vector<float>(sample.begin(), sample.end()), ElementsAre(1, 2, 3));
    EXPECT_EQ(relevant.getTupleSize(), 1);
    const float withNone[] = {0, NAN, 1};
    const FloatAttribute numbers =
        Owned(Utils().getSampleTimesRelevantToShutterRange(withNone, 3, 0, 1));
    EXPECT_EQ(numbers.getNumberOfValues(), 2);
    const FloatAttribute none =
        Owned(Utils().getSampleTimesRelevantToShutterRange(nullptr, 0, 0, 1));
    EXPECT_TRUE(none.isValid());
    EXPECT_EQ(none.getNumberOfValues(), 0);
}

TEST_F(RenderUtils, TellResolutionAndCameraOfTheRoot) {
    const Handle root =
        Handle::of(RootWith({{"resolution", Text("hd_720")}, {"cameraName", Text("/root/c")}}));
    int width = 0;
    int height = 0;
    EXPECT_EQ(TextOwned(Utils().getRenderResolution(root.get(), &width, &height)), "hd_720");
    EXPECT_EQ(width, 1280);
    EXPECT_EQ(height, 720);
    EXPECT_EQ(TextOwned(Utils().getRenderResolution(root.get(), nullptr, nullptr)), "hd_720");
    EXPECT_EQ(TextOwned(Utils().getCameraPath(root.get())), "/root/c");
}

TEST_F(RenderUtils, ConvertTexturesAndExpandPaths) {
    const auto textures = Group({{"colour", Text("a.tx")}});
    const GroupAttribute converted =
        Owned(Utils().convertTexturesToArbitraryAttr(textures.getHandle()));
    EXPECT_EQ(TextOf(converted.getChildByName("colour.scope")), "primitive");
    EXPECT_EQ(TextOwned(Utils().getArchString()), "tarnix1");
    EXPECT_EQ(TextOwned(Utils().expandArchPath("lib/%ARCH")), "lib/tarnix1");
}

TEST_F(RenderUtils, FlattenMaterialsUntilTheyAreForgotten) {
    const auto material = [](const char* node) {
        return Group({{"style", Text("network")}, {"terminals", Group({{"surface", Text(node)}})}});
    };
    const char* const names[] = {"surface"};
    const auto surfaceOf = [&](const char* node) {
        const Handle geo = Handle::of(
            StaticRoot(CameraScene({}, {{"material", material(node)}}))->getProducerByPath(kGeo));
        const GroupAttribute flattened =
            Owned(Utils().getFlattenedMaterialAttr(geo.get(), names, 1));
        return TextOf(flattened.getChildByName("terminals.surface"));
    };
    Utils().emptyFlattenedMaterialCache();
    const Handle plain = Handle::of(StaticRoot(CameraScene({}, {{"material", material("plain")}})));
    EXPECT_EQ(Utils().getFlattenedMaterialAttr(plain.get(), nullptr, 1), nullptr);
    EXPECT_EQ(surfaceOf("first"), "first");
    EXPECT_EQ(surfaceOf("second"), "first");
    Utils().emptyFlattenedMaterialCache();
    EXPECT_EQ(surfaceOf("second"), "second");
    Utils().emptyFlattenedMaterialCache();
}

TEST_F(RenderUtils, ReadTheNodesOfAMaterial) {
    const auto material =
        Group({{"nodes", Group({{"n", Group({{"name", Text("n")}, {"type", Text("t")}})}})}});
    OxShadingNodeMapStruct* const nodes =
        Utils().getShadingNetworkNodesOfMaterial(material.getHandle());
    OxShadingStruct* const node = Utils().findShadingNode(nodes, "n");
    EXPECT_STREQ(Utils().getShadingNodeType(node), "t");
    Utils().releaseShadingNode(node);
    Utils().destroyShadingNodeMap(nodes);
}

TEST_F(RenderUtils, NameOneEntryTwiceForNodesAndConnections) {
    EXPECT_EQ(Utils().getShadingNodeName, Utils().getConnectionName);
    EXPECT_EQ(Utils().getShadingNodeType, Utils().getConnectedPort);
}

TEST_F(RenderUtils, FindTheDelegatesOfARendererAndThoseOfAll) {
    OxScenegraphLocationDelegatePluginSuite_v1* const sphere =
        Utils().getLocationDelegate("sphere", "lantern");
    ASSERT_NE(sphere, nullptr);
    const StringAttribute renderer = Owned(sphere->getSupportedRenderer(sphere->create()));
    EXPECT_EQ(TextOf(renderer), "lantern");
    EXPECT_NE(Utils().getLocationDelegate("sphere", ""), sphere);
    EXPECT_EQ(Utils().getLocationDelegate("sphere", ""),
              Utils().getLocationDelegate("sphere", nullptr));
    const StringAttribute types = Owned(Utils().getLocationTypesWithDelegates("lantern"));
    EXPECT_THAT(ValuesOf(types), testing::Contains("sphere"));
    const StringAttribute ofAll = Owned(Utils().getLocationTypesWithDelegates(nullptr));
    EXPECT_THAT(ValuesOf(ofAll), testing::Contains("tree"));
}

TEST_F(RenderUtils, FindNoDelegatesWhereThereAreNone) {
    EXPECT_EQ(Utils().getLocationDelegate("sphere", "nobody"), nullptr);
    const StringAttribute types = Owned(Utils().getLocationTypesWithDelegates("nobody"));
    EXPECT_TRUE(types.isValid());
    EXPECT_THAT(ValuesOf(types), IsEmpty());
}

// Camera handles ----------------------------------------------------------------------------------

TEST_F(RenderUtils, KeepACameraForAsLongAsItsHandle) {
    auto camera = std::make_shared<TELLAR::CameraInfo>();
    camera->fov = 30;
    const std::weak_ptr<TELLAR::CameraInfo> watched = camera;
    CameraInfoStruct* const handle = OxCameraInfoToHandle(std::move(camera));
    EXPECT_EQ(OxHandleToCameraInfo(handle), watched.lock());
    Utils().retainCameraInfo(handle);
    Utils().releaseCameraInfo(handle);
    EXPECT_EQ(Utils().getCameraFov(handle), 30.0f);
    Utils().releaseCameraInfo(handle);
    EXPECT_TRUE(watched.expired());
}

TEST_F(RenderUtils, LetACameraOutliveItsHandle) {
    const auto camera = std::make_shared<TELLAR::CameraInfo>();
    Utils().releaseCameraInfo(OxCameraInfoToHandle(camera));
    EXPECT_EQ(camera.use_count(), 1);
    EXPECT_EQ(camera->xform, Imath::Matrix44<double>());
}

TEST_F(RenderUtils, GiveTheIdentityForACameraWithoutTransform) {
    const Handle root = Handle::of(StaticRoot(CameraScene(CameraAttrs(UnitLens()))));
    CameraInfoStruct* const camera = Utils().getCameraInfo(root.get(), kCamera);
    const double* const xform = Utils().getCameraXform(camera);
    ASSERT_NE(xform, nullptr);
    EXPECT_THAT(std::vector<double>(xform, xform + 16),
                ElementsAre(1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1));
    Utils().releaseCameraInfo(camera);
}

TEST_F(RenderUtils, HaveNoHandleOfNoCamera) {
    EXPECT_EQ(OxCameraInfoToHandle(nullptr), nullptr);
    EXPECT_EQ(OxHandleToCameraInfo(nullptr), nullptr);
}

/// Ends the process with a handle of each kind of count left, its last message on standard error.
[[noreturn]] void EndWithHandles(int kept) {
    OxLoggingSetSink({});
    OxLoggingSetLevel(kLogger, OxLogLevel::debug);
    static auto* const left = new std::vector<CameraInfoStruct*>; // no leak: they are not lost
    for (int i = 0; i < 3; ++i) {
        CameraInfoStruct* const handle =
            OxCameraInfoToHandle(std::make_shared<TELLAR::CameraInfo>());
        if (i < kept)
            left->push_back(handle);
        else
            Utils().releaseCameraInfo(handle);
    }
    std::exit(0);
}

using RenderUtilsDeathTest = RenderUtils;

TEST_F(RenderUtilsDeathTest, TellAtTheEndHowManyCamerasWereNotReleased) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(EndWithHandles(2), testing::ExitedWithCode(0), "Final CameraInfoStruct count: 2");
    EXPECT_EXIT(EndWithHandles(0), testing::ExitedWithCode(0), "Final CameraInfoStruct count: 0");
}

// From a plug-in in C -----------------------------------------------------------------------------

const RenderUtilsChecksSuite& Checks() {
    static const auto* const checks = static_cast<const RenderUtilsChecksSuite*>(
        Host()->getPluginSuite("render utils checks", "TestRenderUtilsChecks", 1));
    if (!checks) throw std::runtime_error("The plug-in with the checks is not found.");
    return *checks;
}

TEST_F(RenderUtils, TakeNullAtEveryEntryFromC) {
    EXPECT_EQ(Checks().checkNullHandles(), 0);
}

TEST_F(RenderUtils, FlushThePluginsOfTheRuntimeAlone) {
    EXPECT_EQ(Checks().checkFlush(), 0);
}

TEST_F(RenderUtils, GiveACameraToC) {
    Children camera = CameraAttrs({{"projection", Text("orthographic")},
                                   {"fov", Double(90)},
                                   {"near", Double(1)},
                                   {"far", Double(101)},
                                   {"left", Double(-2)},
                                   {"right", Double(3)},
                                   {"top", Double(4)},
                                   {"bottom", Double(-5)},
                                   {"orthographicWidth", Double(8)}});
    camera.emplace_back("xform", Translation(3, 0, 0));
    const TempDirectory folder;
    OxAttribute::WriteOpFile(folder.path("scene.oxop"), SceneTree(CameraScene(camera)));
    EXPECT_EQ(Checks().checkCamera(folder.path("scene.oxop").c_str()), 0);
}

TEST_F(RenderUtils, GiveEverythingElseToC) {
    const auto material = Group(
        {{"style", Text("network")},
         {"nodes", Group({{"clay", Group({{"name", Text("clay")}, {"type", Text("matte")}})}})},
         {"terminals", Group({{"surface", Text("clay")}})}});
    Children settings = Output(
        {{"rendererSettings", Group({{"tempRenderLocation", Text("/tmp/beauty.####.exr")}})}},
        {{"resolution", Text("hd_720")}, {"tileRender", IntAttribute({2, 3}, 2)}});
    const TempDirectory folder;
    OxAttribute::WriteOpFile(
        folder.path("scene.oxop"),
        SceneTree(CameraScene(CameraAttrs(UnitLens()),
                              {{"material", material},
                               {"textures", Group({{"dirt", Text("dirt.exr")}})},
                               {"procedural", Group({{"args", Group({{"count", Int(3)}})}})},
                               {"bound", Doubles({-1, 1, -1, 1, -2, -2})}},
                              {{"renderSettings", Group(settings)}})));
    Utils().emptyFlattenedMaterialCache();
    EXPECT_EQ(Checks().checkRest(folder.path("scene.oxop").c_str()), 0);
}

TEST_F(RenderUtils, GiveAShadingNetworkToC) {
    const auto clay = Group({{"name", Text("clay")},
                             {"type", Text("matte")},
                             {"parameters", Group({{"roughness", Double(0.5)}})},
                             {"connections", Group({{"Kd:r", Text("out@dots")}})}});
    const auto material = Group({{"style", Text("network")}, {"nodes", Group({{"clay", clay}})}});
    const TempDirectory folder;
    OxAttribute::WriteOpFile(folder.path("scene.oxop"),
                             SceneTree(CameraScene({}, {{"material", material}})));
    EXPECT_EQ(Checks().checkShadingNetwork(folder.path("scene.oxop").c_str()), 0);
}

} // namespace
