#include <OxTellarProducers/RenderResolution.h>

#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include <OxConfiguration/Configuration.h>

#include "CameraScenes.h"
#include "CapturedLog.h"
#include "ErrorOf.h"
#include "ScopedEnvironment.h"

namespace {

using namespace TellarTest;
using TELLAR::GetCameraPath;
using TELLAR::GetRenderResolution;

using Ptr = TELLAR::GeometryProducer::Ptr;

Ptr RootWith(const Children& settings) {
    return StaticRoot(Location({{"renderSettings", Group(settings)}}));
}

struct Resolution {
    std::string name = "untouched";
    int width = -1;
    int height = -1;
};

Resolution ResolutionOf(const Ptr& root) {
    Resolution found;
    GetRenderResolution(&found.name, &found.width, &found.height, root);
    return found;
}

/// The error of asking for everything, or for nothing when `resolution` is null.
std::string ResolutionErrorOf(const Ptr& root, Resolution* resolution) {
    return ErrorOf([&] {
        GetRenderResolution(resolution ? &resolution->name : nullptr,
                            resolution ? &resolution->width : nullptr,
                            resolution ? &resolution->height : nullptr, root);
    });
}

/// A location without attributes under that root.
Ptr ChildOfRootWith(const Children& settings) {
    const auto scene = Location({{"renderSettings", Group(settings)}}, {{"world", Location({})}});
    return StaticRoot(scene)->getFirstChild();
}

/// A resolution table that cannot be had, while it lives.
class NoResolutionTable {
public:
    NoResolutionTable() { Config()->reload(); }
    ~NoResolutionTable() {
        file.reset();
        Config()->reload();
    }
    CapturedLog log;

private:
    std::optional<ScopedEnvironment> file{std::in_place, "OX_CONFIG_RESOLUTION_TABLE",
                                          "/no/such/table.json"};
};

TEST(RenderResolution, IsThatOfTheRootsSettings) {
    const Resolution found = ResolutionOf(RootWith({{"resolution", Text("hd_1080")}}));
    EXPECT_EQ(found.name, "hd_1080");
    EXPECT_EQ(found.width, 1920);
    EXPECT_EQ(found.height, 1080);
}

TEST(RenderResolution, IsASquareWithoutAskingTheTableWhenNoneIsSet) {
    const NoResolutionTable none;
    for (const auto& root :
         {Ptr(), StaticRoot(Location({})), RootWith({}), RootWith({{"resolution", Int(512)}})}) {
        const Resolution found = ResolutionOf(root);
        EXPECT_EQ(found.name, "square_512");
        EXPECT_EQ(found.width, 512);
        EXPECT_EQ(found.height, 512);
    }
    EXPECT_TRUE(none.log.textsOf("ResolutionTable").empty());
}

TEST(RenderResolution, IsReadFromTheProducerItselfAndNotFromThoseAbove) {
    const Resolution found = ResolutionOf(ChildOfRootWith({{"resolution", Text("hd_1080")}}));
    EXPECT_EQ(found.name, "square_512");
    EXPECT_EQ(found.width, 512);
}

TEST(RenderResolution, ThatTheTableDoesNotHaveIsAnErrorWhichWritesNothing) {
    Resolution found;
    EXPECT_EQ(ResolutionErrorOf(RootWith({{"resolution", Text("cinema")}}), &found),
              "FileOut: Error querying resolution table for resolution: 'cinema'.");
    EXPECT_EQ(found.name, "untouched");
    EXPECT_EQ(found.width, -1);
    EXPECT_EQ(found.height, -1);
}

TEST(RenderResolution, ThatIsEmptyOrHasNoValueIsAnError) {
    const std::string error = "FileOut: Error querying resolution table for resolution: ''.";
    EXPECT_EQ(ResolutionErrorOf(RootWith({{"resolution", Text("")}}), nullptr), error);
    EXPECT_EQ(ResolutionErrorOf(RootWith({{"resolution", Texts({})}}), nullptr), error);
}

TEST(RenderResolution, SkipsNullPointersButStillAsksTheTable) {
    int height = 0;
    GetRenderResolution(nullptr, nullptr, &height, RootWith({{"resolution", Text("hd_720")}}));
    EXPECT_EQ(height, 720);
    EXPECT_EQ(ResolutionErrorOf(RootWith({{"resolution", Text("hd_720")}}), nullptr), "no error");
    EXPECT_EQ(ResolutionErrorOf(RootWith({{"resolution", Text("cinema")}}), nullptr),
              "FileOut: Error querying resolution table for resolution: 'cinema'.");
}

TEST(RenderResolution, WithoutATableIsAnErrorWhichWritesNothing) {
    const NoResolutionTable none;
    Resolution found;
    EXPECT_EQ(ResolutionErrorOf(RootWith({{"resolution", Text("hd_720")}}), &found),
              "GetRenderResolution: Error getting resolution table");
    EXPECT_EQ(found.name, "untouched");
    EXPECT_EQ(none.log.textsOf("ResolutionTable").size(), 1u);
}

TEST(CameraPath, IsThatOfTheRootsSettings) {
    EXPECT_EQ(GetCameraPath(RootWith({{"cameraName", Text("/root/cam")}})), "/root/cam");
}

TEST(CameraPath, HasADefaultWhenNoneIsSet) {
    EXPECT_EQ(GetCameraPath(StaticRoot(Location({}))), "/root/world/cam/camera");
    EXPECT_EQ(GetCameraPath(RootWith({{"cameraName", Int(1)}})), "/root/world/cam/camera");
}

TEST(CameraPath, IsEmptyWhenAnEmptyOneOrNoValueIsSet) {
    EXPECT_EQ(GetCameraPath(RootWith({{"cameraName", Text("")}})), "");
    EXPECT_EQ(GetCameraPath(RootWith({{"cameraName", Texts({})}})), "");
}

TEST(CameraPath, IsReadFromTheProducerItselfAndNotFromThoseAbove) {
    EXPECT_EQ(GetCameraPath(ChildOfRootWith({{"cameraName", Text("/root/cam")}})),
              "/root/world/cam/camera");
}

TEST(CameraPath, IsEmptyForANullProducer) {
    EXPECT_EQ(GetCameraPath(nullptr), "");
}

} // namespace
