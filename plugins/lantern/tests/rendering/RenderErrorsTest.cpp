#include "Entries.h"

#include <cstdint>

#include "RenderingTest.h"

namespace {

using namespace LanternTest;

const int kColors = 64 * 48 * 4;

TEST(RenderErrors, RefusesARegionOutsideOfThePicture) {
    Watcher watcher;
    std::string message;
    const Rendering rendering(SphereScene(), 1, watcher, 1);
    const std::string refusal = "1: the region has no pixel of the picture";
    EXPECT_EQ(rendering.setRegion({64, 0, 5, 5}, message), 0);
    EXPECT_EQ(message, refusal);
    EXPECT_EQ(rendering.setRegion({10, 10, -5, 5}, message), 0);
    EXPECT_EQ(rendering.setRegion({INT32_MAX, INT32_MAX, INT32_MAX, INT32_MAX}, message), 0);
    EXPECT_EQ(rendering.setRegion({INT32_MIN, 0, 5, 5}, message), 0);
    EXPECT_EQ(rendering.wait(), kOxRenderDone);
    EXPECT_EQ(Rendering(SphereScene(), 1, watcher, 0, {64, 0, 1, 1}).startError, refusal);
}

TEST(RenderErrors, AnswersWrongCalls) {
    const OxRendererPluginSuite_v2& renderer = Renderer();
    OxErrorStruct* error = nullptr;
    EXPECT_EQ(renderer.start(nullptr, &error), nullptr);
    EXPECT_EQ(TextOf(error), "1: the job has no valid size");
    EXPECT_EQ(renderer.start(nullptr, nullptr), nullptr);
    EXPECT_EQ(renderer.wait(nullptr, -1, &error), kOxRenderFailed);
    EXPECT_EQ(TextOf(error), "1: there is no render");
    EXPECT_EQ(renderer.readLayer(nullptr, 0, nullptr, 0, &error), -1);
    EXPECT_EQ(TextOf(error), "1: there is no render");
    EXPECT_EQ(renderer.setRegion(nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(renderer.applyChanges(nullptr, nullptr, nullptr), 0);
    EXPECT_EQ(renderer.getNumberOfLayers(nullptr), 0);
    EXPECT_EQ(renderer.getLayer(nullptr, 0, nullptr), 0);
    renderer.request(nullptr, kOxRenderCancel);
    renderer.pause(nullptr);
    renderer.resume(nullptr);
    renderer.release(nullptr);
}

TEST(RenderErrors, NeedsNoListener) {
    const Location root = SphereScene();
    OxRenderJob_v2 job{};
    job.size = sizeof job;
    job.root = root.get();
    job.samples = 1;
    OxRenderStruct* const render = Renderer().start(&job, nullptr);
    ASSERT_NE(render, nullptr);
    EXPECT_EQ(Renderer().wait(render, -1, nullptr), kOxRenderDone);
    Renderer().release(render);
    job.listener.size = 4;
    OxErrorStruct* error = nullptr;
    EXPECT_EQ(Renderer().start(&job, &error), nullptr);
    EXPECT_EQ(TextOf(error), "1: the listener has no valid size");
}

TEST(RenderErrors, RefusesBuffersOfAWrongSize) {
    Watcher watcher;
    const Rendering rendering(SphereScene(), 1, watcher);
    ASSERT_EQ(rendering.wait(), kOxRenderDone);
    std::vector<float> colors(kColors);
    OxErrorStruct* error = nullptr;
    EXPECT_EQ(Renderer().readLayer(rendering.get(), 0, colors.data(), kColors - 1, &error), -1);
    EXPECT_EQ(TextOf(error), "1: the layer \"\" has 12288 values, not 12287");
    EXPECT_EQ(Renderer().readLayer(rendering.get(), 1, colors.data(), kColors, &error), -1);
    EXPECT_EQ(TextOf(error), "1: there is no layer 1");
}

TEST(RenderErrors, RefusesAJobThatCannotBeDrawn) {
    Watcher watcher;
    EXPECT_EQ(Rendering(Location(), 1, watcher).startError, "1: there is no scene to render");
    const Rendering toNowhere(SphereScene(), 1, watcher, 0, {0, 0, 0, 0}, "/nowhere/a.exr");
    EXPECT_NE(toNowhere.startError.find("/nowhere"), std::string::npos) << toNowhere.startError;
    EXPECT_EQ(toNowhere.get(), nullptr);
}

TEST(RenderErrors, TellsWhyItFailedWithEveryWait) {
    Watcher watcher;
    const Location root = RootOfJson(SceneJson(
        "", R"("renderSettings": {"cameraName": "/root/nowhere", "resolution": "64x48"})"));
    const Rendering rendering(root, 1, watcher);
    for (int i = 0; i < 2; ++i) {
        OxErrorStruct* error = nullptr;
        EXPECT_EQ(Renderer().wait(rendering.get(), -1, &error), kOxRenderFailed);
        EXPECT_NE(TextOf(error).find("/root/nowhere"), std::string::npos);
    }
    EXPECT_EQ(watcher.messages, std::vector<std::string>());
}

} // namespace
