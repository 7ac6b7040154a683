#include <OxTellarProducers/ProceduralArguments.h>

#include <string>
#include <vector>

#include <gmock/gmock.h>

#include <OxTellarProducers/CameraInfo.h>

#include "CameraScenes.h"
#include "DrawnArguments.h"
#include "ProceduralFixture.h"

namespace {

using namespace TellarTest;
using OxAttribute::FloatAttribute;
using OxAttribute::GroupAttribute;
using TELLAR::ProceduralOutputContextInfo;
using testing::ElementsAre;

TEST(ProceduralContext, HasDefaultsAndIsCopiedAndMovedWhole) {
    ProceduralOutputContextInfo context;
    EXPECT_EQ(context.frame, 1);
    EXPECT_EQ(context.shutterOpen, 0.0f);
    EXPECT_EQ(context.shutterClose, 0.0f);
    EXPECT_THAT(context.cropWindow, ElementsAre(0, 1, 0, 1));
    EXPECT_EQ(context.xres, 0);
    EXPECT_EQ(context.yres, 0);

    context.frame = 7;
    context.shutterOpen = -0.25f;
    context.shutterClose = 0.25f;
    context.cropWindow[2] = 0.5f;
    context.xres = 640;
    context.yres = 480;
    ProceduralOutputContextInfo copy;
    copy = context;
    ProceduralOutputContextInfo moved;
    moved = std::move(copy);
    EXPECT_EQ(moved.frame, 7);
    EXPECT_EQ(moved.shutterOpen, -0.25f);
    EXPECT_EQ(moved.shutterClose, 0.25f);
    EXPECT_THAT(moved.cropWindow, ElementsAre(0, 1, 0.5f, 1));
    EXPECT_EQ(moved.xres, 640);
    EXPECT_EQ(moved.yres, 480);
}

/// A request for camera information, and the camera that it leads to; null when it leads to none.
struct DrawnCamera {
    const char* include;
    const char* which;
    const char* path;
    const char* found;
};
const std::vector<DrawnCamera> kCameraQuestions{
    {"None", "Other Camera", kCamera, nullptr},
    {"As Attributes", "Other Camera", kCamera, nullptr},
    {"as parameters", "Other Camera", kCamera, nullptr},
    {"", "Other Camera", kCamera, nullptr},
    {"As Parameters", "Other Camera", kCamera, kCamera},
    {"As Parameters", "Other Camera", "", nullptr},
    {"As Parameters", "Other Camera", "/root/nowhere", nullptr},
    {"As Parameters", "Render Camera", kCamera, kGeo},
    {"As Parameters", "other camera", kCamera, kGeo},
    {"As Parameters", "", "", kGeo},
};

constexpr const char* kLensNames[] = {"fov", "near", "far", "left", "right", "top", "bottom"};
constexpr float kUnitLensValues[] = {90, 1, 101, -1, 1, 1, -1};

TEST_F(Procedural, OfRandomGroupsAreWhatWasDrawnInBothForms) {
    const auto settings = Group({{"cameraName", Text(kGeo)}}); // a camera as well
    geo = StaticRoot(CameraScene(CameraAttrs(UnitLens()), CameraAttrs(UnitLens()),
                                 {{"renderSettings", settings}}))
              ->getProducerByPath(kGeo);
    context.frame = 7;
    context.shutterClose = 0.5f;
    context.xres = 640;
    for (unsigned int i = 0; i < 60; ++i) {
        SCOPED_TRACE(i);
        Draw draw(i, context.frame);
        const DrawnArguments args = draw.arguments();
        DrawnArguments system = draw.arguments();
        const DrawnCamera camera = draw.pick(kCameraQuestions);
        const GroupAttribute procedural = Group(
            {{"args", Group(args.given)},
             {"systemArgs", Group(system.given)},
             {"includeCameraInfo", Text(camera.include)},
             {"cameraInfo",
              Group({{"whichCamera", Text(camera.which)}, {"cameraPath", Text(camera.path)}})}});

        const std::string cameraFlags =
            camera.found ? std::string(" -cameraInfo_path ") + camera.found + kUnitCameraFlags : "";
        told = {};
        EXPECT_EQ(classic(procedural), args.flags + system.flags + cameraFlags +
                                           " -frame 7 -shutter 0 0.5 -cropwindow 0 1 0 1");
        std::vector<std::string> complaints = args.complaints;
        complaints.insert(complaints.end(), system.complaints.begin(), system.complaints.end());
        EXPECT_EQ(told.messages, complaints);

        Children expected = args.resolved;
        expected.insert(expected.end(), system.given.begin(), system.given.end());
        expected.emplace_back("frame", FloatAttribute(7.0f));
        expected.emplace_back("shutter", FloatAttribute({0.0f, 0.5f}, 1));
        expected.emplace_back("cropwindow", FloatAttribute({0.0f, 1.0f, 0.0f, 1.0f}, 1));
        if (camera.found) {
            expected.emplace_back("cameraInfo_path", Text(camera.found));
            for (std::size_t lens = 0; lens < 7; ++lens)
                expected.emplace_back(std::string("cameraInfo_") + kLensNames[lens],
                                      FloatAttribute(kUnitLensValues[lens]));
            expected.emplace_back(
                "cameraInfo_xform",
                FloatAttribute({1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1}, 16));
            expected.emplace_back("cameraInfo_xres", Int(640));
            expected.emplace_back("cameraInfo_yres", Int(0));
        }
        expected.emplace_back("ombraFullName", Text(kGeo));
        EXPECT_EQ(attributesXml(procedural), GroupAttribute(expected, false).getXML());
        EXPECT_EQ(told.messages, complaints) << "the builder of attributes tells nobody";
    }
}

} // namespace
