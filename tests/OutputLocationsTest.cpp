#include <OxTellarProducers/OxRenderOutputUtilsHostSuite.h>

#include <string>

#include <gmock/gmock.h>

#include "CameraScenes.h"
#include "RenderUtils.h"
#include "ScopedEnvironment.h"
#include "SuiteHandles.h"

namespace {

using namespace TellarTest;
using OxAttribute::Attribute;
using OxAttribute::IntAttribute;

std::string TempLocation(const Children& settings, const char* output, float frame) {
    return TextOwned(
        Utils().getTempRenderLocation(Handle::of(RootWith(settings)).get(), output, frame));
}

std::string ExplicitLocation(const std::string& location, float frame) {
    return TempLocation(
        Output({{"rendererSettings", Group({{"tempRenderLocation", Text(location)}})}}), "beauty",
        frame);
}

TEST_F(RenderUtils, PutTheFrameIntoATemporaryLocation) {
    EXPECT_EQ(ExplicitLocation("/tmp/beauty.####.exr", 7), "/tmp/beauty.0007.exr");
    EXPECT_EQ(ExplicitLocation("/tmp/#/b.##.exr", 123), "/tmp/123/b.123.exr");
    EXPECT_EQ(ExplicitLocation("/tmp/b.####", -7.9f), "/tmp/b.-007");
    EXPECT_EQ(ExplicitLocation("/tmp/b.exr", 7), "/tmp/b.exr");
    EXPECT_EQ(ExplicitLocation("#", 1e30f), "2147483647");
    EXPECT_EQ(ExplicitLocation("##/#/###", 7), "07/7/007");
    EXPECT_EQ(ExplicitLocation("####", -12345), "-12345");
}

TEST_F(RenderUtils, PutTheFrameIntoARunOfAnyLength) {
    const std::string location = ExplicitLocation(std::string(1000000, '#') + ".exr", 7);
    EXPECT_EQ(location, std::string(999999, '0') + "7.exr");
}

TEST_F(RenderUtils, ExpandHomeAndVariablesOfATemporaryLocation) {
    const ScopedEnvironment home("HOME", "/home/ada");
    const ScopedEnvironment show("TELLAR_TEST_SHOW", "garden");
    EXPECT_EQ(ExplicitLocation("~/$TELLAR_TEST_SHOW/b.##.exr", 7), "/home/ada/garden/b.07.exr");
}

TEST_F(RenderUtils, ExpandHomeThenVariablesThenTheFrame) {
    const ScopedEnvironment home("HOME", "/home/$TELLAR_TEST_SHOW");
    const ScopedEnvironment show("TELLAR_TEST_SHOW", "garden##");
    EXPECT_EQ(ExplicitLocation("~/$TELLAR_TEST_SHOW/b.####", 7), "/home/garden07/garden07/b.0007");
    const ScopedEnvironment tilde("TELLAR_TEST_SHOW", "~");
    EXPECT_EQ(ExplicitLocation("$TELLAR_TEST_SHOW/b", 7), "~/b");
    const ScopedEnvironment nested("TELLAR_TEST_SHOW", "$HOME");
    EXPECT_EQ(ExplicitLocation("$TELLAR_TEST_SHOW/b", 7), "$HOME/b");
}

TEST_F(RenderUtils, ComposeATemporaryLocationThatIsNotSet) {
    const Children settings = Output({{"tempRenderId", Text("r17")}}, {{"tempDir", Text("/tmp")}});
    EXPECT_EQ(TempLocation(settings, "beauty", 7), "/tmp/r17.0007");
    EXPECT_EQ(TempLocation(settings, "other", 7), "");
    Children unset = Output({{"tempRenderId", Text("r17")},
                             {"rendererSettings", Group({{"tempRenderLocation", Text("")}})}},
                            {{"tempDir", Text("/tmp")}});
    EXPECT_EQ(TempLocation(unset, "beauty", 7), "/tmp/r17.0007") << "empty is not set";
    EXPECT_EQ(TempLocation(Output({{"tempRenderId", Text("r17")}}, {{"tempDir", Text("/tmp/")}}),
                           "beauty", 12345),
              "/tmp/r17.12345");
    EXPECT_EQ(TempLocation(Output({{"tempRenderId", Text("r17")}}), "beauty", 7), "");
    EXPECT_EQ(TempLocation({}, "beauty", 7), "");
}

TEST_F(RenderUtils, TakeATemporaryLocationFromItsOwnAttributeAlone) {
    const auto location = Group({{"tempRenderLocation", Text("/wrong")}});
    const Children settings = {
        {"tempRenderLocation", Text("/wrong")},
        {"rendererSettings", location},
        {"outputs", Group({{"tempRenderLocation", Text("/wrong")},
                           {"beauty", Group({{"tempRenderLocation", Text("/wrong")}})},
                           {"depth", Group({{"rendererSettings", location}})}})}};
    EXPECT_EQ(TempLocation(settings, "beauty", 7), "");
    EXPECT_EQ(TempLocation(settings, "depth", 7), "/wrong");
}

TEST_F(RenderUtils, TellWhereATileIsWritten) {
    const auto tiles = [](const Attribute& tile) {
        return StaticRoot(CameraScene({}, {}, {{"renderSettings", Group({{"tileRender", tile}})}}))
            ->getProducerByPath(kGeo);
    };
    const Handle tiled = Handle::of(tiles(IntAttribute({2, 3}, 2)));
    EXPECT_EQ(TextOwned(Utils().getTilePath(tiled.get(), "/out/b.exr")), "/out/tile_2_3.b.exr");
    const Handle untiled = Handle::of(tiles(Text("2 3")));
    EXPECT_EQ(TextOwned(Utils().getTilePath(untiled.get(), "/out/b.exr")), "/out/b.exr");
    EXPECT_EQ(TextOwned(Utils().getTilePath(nullptr, "/out/b.exr")), "/out/b.exr");
}

} // namespace
