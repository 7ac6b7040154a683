#include <OxTellarProducers/ProceduralArguments.h>

#include <stdexcept>
#include <string>

#include <gmock/gmock.h>

#include <OxTellarProducers/CameraInfo.h>
#include <OxTellarProducers/CreateGeometryProducer.h>

#include "CameraScenes.h"
#include "ProceduralFixture.h"
#include "TestOps.h"

namespace {

using namespace TellarTest;
using OxAttribute::FloatAttribute;
using testing::ElementsAre;

using CameraArguments = Procedural;

TEST_F(CameraArguments, AreWrittenWhenWantedAsParameters) {
    EXPECT_EQ(classic(WantingCamera("As Parameters")),
              std::string(" -cameraInfo_path /root/world/cam/camera") + kUnitCameraFlags +
                  kDefaultEnd);
}

TEST_F(CameraArguments, AreNotWrittenWhenWantedOtherwise) {
    EXPECT_EQ(classic(WantingCamera("None")), kDefaultEnd);
    EXPECT_EQ(classic(WantingCamera("As Attributes")), kDefaultEnd);
    EXPECT_EQ(classic(WantingCamera("as parameters")), kDefaultEnd);
    EXPECT_THAT(NamesOf(attributes(WantingCamera("As Attributes"))),
                ElementsAre("frame", "shutter", "cropwindow", "ombraFullName"));
}

TEST_F(CameraArguments, AreThoseOfTheRenderCamera) {
    const auto settings = Group({{"cameraName", Text(kGeo)}});
    geo = StaticRoot(CameraScene({}, CameraAttrs(With(UnitLens(), "fov", Double(33.3))),
                                 {{"renderSettings", settings}}))
              ->getProducerByPath(kGeo);
    EXPECT_THAT(classic(WantingCamera("As Parameters")),
                testing::StartsWith(" -cameraInfo_path /root/world/geo -cameraInfo_fov 33.3 "));
}

TEST_F(CameraArguments, MayBeThoseOfAnotherCamera) {
    geo = StaticRoot(CameraScene({}, CameraAttrs(UnitLens())))->getProducerByPath(kGeo);
    const auto other = Group({{"whichCamera", Text("Other Camera")}, {"cameraPath", Text(kGeo)}});
    EXPECT_THAT(classic(WantingCamera("As Parameters", other)),
                testing::StartsWith(" -cameraInfo_path /root/world/geo "));
    const auto render = Group({{"whichCamera", Text("Render Camera")}, {"cameraPath", Text(kGeo)}});
    EXPECT_EQ(classic(WantingCamera("As Parameters", render)), kDefaultEnd);
}

TEST_F(CameraArguments, AreLeftOutWithoutAPathOrACamera) {
    const auto other = [](const char* path) {
        return Group({{"whichCamera", Text("Other Camera")}, {"cameraPath", Text(path)}});
    };
    EXPECT_EQ(classic(WantingCamera("As Parameters", other(""))), kDefaultEnd);
    EXPECT_EQ(classic(WantingCamera("As Parameters", other("/root/nowhere"))), kDefaultEnd);
    EXPECT_EQ(attributes(WantingCamera("As Parameters", other(""))).getNumberOfChildren(), 4);
}

TEST_F(CameraArguments, LetTheErrorOfReadingTheCameraThrough) {
    const auto scene = CameraScene(CameraAttrs(UnitLens()));
    geo = TELLAR::CreateSyncGeometryProducer(
        MakeClient(
            Group({{"scene", OpEntry("StaticScene", scene)},
                   {"throw", OpEntry("TestThrow", Group({{"at", Text(kCamera)}}), {"scene"})}})),
        kGeo);
    ASSERT_TRUE(geo);
    EXPECT_THROW(classic(WantingCamera("As Parameters")), std::runtime_error);
    TELLAR::ClearCameraInfoCache();
    EXPECT_THROW(attributesXml(WantingCamera("As Parameters")), std::runtime_error);
    EXPECT_EQ(classic(WantingCamera("None")), kDefaultEnd) << "nobody reads the camera";
}

TEST_F(CameraArguments, HaveTheTransformRowByRow) {
    Children camera = CameraAttrs(UnitLens());
    camera.emplace_back("xform", Translation(0.1, 2, 3));
    geo = StaticRoot(CameraScene(camera))->getProducerByPath(kGeo);
    EXPECT_THAT(classic(WantingCamera("As Parameters")),
                testing::HasSubstr(" -cameraInfo_xform 1 0 0 0 0 1 0 0 0 0 1 0 0.1 2 3 1 "));
    const FloatAttribute xform =
        attributes(WantingCamera("As Parameters")).getChildByName("cameraInfo_xform");
    EXPECT_EQ(xform.getTupleSize(), 16);
    EXPECT_EQ(xform.getNearestSample(0)[12], 0.1f);
}

} // namespace
