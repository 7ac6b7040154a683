#include "Render.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

#include "RenderingTest.h"
#include "Sanitized.h"

namespace {

using namespace LanternTest;

const int kColors = 64 * 48 * 4;

/// The colors of a complete render of the scene.
std::vector<float> Drawn(const Location& root, int samples) {
    Watcher watcher;
    const Rendering rendering(root, samples, watcher);
    EXPECT_EQ(rendering.wait(), kOxRenderDone);
    return rendering.read();
}

bool HasPaths(const std::vector<float>& colors, int x, int y) {
    return colors[static_cast<std::size_t>((y * 64 + x) * 4 + 3)] > 0 ||
           colors[static_cast<std::size_t>((y * 64 + x) * 4)] > 0;
}

// Pixels ------------------------------------------------------------------------------------------

TEST(Render, GivesThePixelsThatDrawGives) {
    const Location root = SphereScene();
    Told told;
    const SceneData scene = LanternTest::Read(root, told);
    Report report;
    EXPECT_EQ(Drawn(root, 5), Draw(scene, {5, 1}, report).pixels);
}

TEST(Render, ShowsPixelsLongBeforeThePictureIsComplete) {
    Watcher watcher;
    const Rendering rendering(SphereScene(), kEndless, watcher);
    ASSERT_TRUE(Soon([&] { return !rendering.read().empty() && rendering.passes > 0; }));
    const std::vector<float> colors = rendering.read();
    ASSERT_EQ(colors.size(), std::size_t(kColors));
    EXPECT_TRUE(HasPaths(colors, 0, 0));
    EXPECT_TRUE(HasPaths(colors, 63, 47));
    EXPECT_EQ(rendering.wait(0), kOxRenderRunning);
    EXPECT_GT(watcher.pixelCalls, 0);
}

TEST(Render, LetsTheListenerReadThePixelsThatAreNew) {
    Watcher watcher;
    std::atomic<OxRenderStruct*> render{nullptr};
    std::atomic<int> dark{0};
    std::atomic<int> looked{0};
    watcher.onPixels = [&](const OxPixelRegion& region) {
        if (!render) return;
        std::vector<float> colors(kColors);
        Renderer().readLayer(render, 0, colors.data(), kColors, nullptr);
        if (!HasPaths(colors, region.left, region.top)) ++dark;
        ++looked;
    };
    const Rendering rendering(SphereScene(), 300, watcher);
    render = rendering.get();
    EXPECT_EQ(rendering.wait(), kOxRenderDone);
    EXPECT_GT(looked, 0);
    EXPECT_EQ(dark, 0);
}

TEST(Render, NamesTheLayersAndTheirChannels) {
    Watcher watcher;
    const Rendering rendering(
        SphereScene("0", R"(, "aovs": ["depth", "normal", "id", "cryptomatte"])"), 2, watcher);
    ASSERT_EQ(rendering.wait(), kOxRenderDone);
    std::string text;
    const std::int64_t count = Renderer().getNumberOfLayers(rendering.get());
    for (std::int64_t i = 0; i < count; ++i) {
        OxRenderLayer layer{};
        ASSERT_EQ(Renderer().getLayer(rendering.get(), i, &layer), 1);
        text +=
            std::string(layer.name) + "(" + layer.channels + ")" + (layer.isInteger ? "i " : " ");
    }
    EXPECT_EQ(text.substr(0, 60), "(R,G,B,A) depth(Z) normal(X,Y,Z) id(id)i CryptoObject00(R,G,");
}

TEST(Render, ReadsTheDepthOfASphere) {
    Watcher watcher;
    const Rendering rendering(SphereScene("0", R"(, "aovs": "depth")"), 4, watcher);
    ASSERT_EQ(rendering.wait(), kOxRenderDone);
    const std::vector<float> depth = rendering.read(1);
    ASSERT_EQ(depth.size(), std::size_t(64 * 48));
    EXPECT_NEAR(depth[24 * 64 + 32], 3, 0.05);
    EXPECT_EQ(depth[0], 1e10f);
}

TEST(Render, TellsWhereTheLayersOfACropWindowLie) {
    Watcher watcher;
    const Rendering rendering(SphereScene("0", R"(, "cropWindow": [0.25, 0.75, 0.5, 1.0])"), 1,
                              watcher);
    ASSERT_EQ(rendering.wait(), kOxRenderDone);
    OxRenderLayer layer{};
    ASSERT_EQ(Renderer().getLayer(rendering.get(), 0, &layer), 1);
    EXPECT_EQ(layer.region.left, 16);
    EXPECT_EQ(layer.region.top, 24);
    EXPECT_EQ(layer.region.width, 32);
    EXPECT_EQ(layer.region.height, 24);
}

// Several renders ---------------------------------------------------------------------------------

TEST(Render, DrawsSeveralScenesAtOnce) {
    const std::array<std::string, 4> heights{"-1", "0", "1", "2"};
    std::array<std::vector<float>, 4> alone;
    std::array<std::vector<float>, 4> together;
    std::array<Location, 4> roots;
    for (std::size_t i = 0; i < heights.size(); ++i) {
        roots[i] = SphereScene(heights[i]);
        alone[i] = Drawn(roots[i], 4);
    }
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < heights.size(); ++i)
        threads.emplace_back([&, i] { together[i] = Drawn(roots[i], 4); });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(together, alone);
    EXPECT_NE(alone[0], alone[1]);
}

// Wishes ------------------------------------------------------------------------------------------

TEST(Render, RestsWhileItIsPaused) {
    constexpr int kPasses =
        TellarTest::kSanitized ? 50 : 400; // still drawing when the pause begins
    Watcher watcher;
    const Rendering rendering(SphereScene(), kPasses, watcher);
    Renderer().pause(rendering.get());
    ASSERT_TRUE(Soon([&] { return Renderer().getNumberOfLayers(rendering.get()) > 0; }));
    std::this_thread::sleep_for(std::chrono::milliseconds(50)); // pixels that were begun
    const std::vector<float> before = rendering.read();
    EXPECT_EQ(rendering.wait(0.1), kOxRenderRunning);
    EXPECT_EQ(rendering.read(), before);
    Renderer().resume(rendering.get());
    EXPECT_EQ(rendering.wait(), kOxRenderDone);
    EXPECT_EQ(rendering.read(), Drawn(SphereScene(), kPasses));
}

TEST(Render, DoesNotCountAPauseForItsTimeLimit) {
    Watcher watcher;
    const Rendering rendering(SphereScene("0", R"(, "minutes": 0.03)"), kEndless, watcher);
    Renderer().pause(rendering.get());
    ASSERT_TRUE(Soon([&] { return Renderer().getNumberOfLayers(rendering.get()) > 0; }));
    std::this_thread::sleep_for(std::chrono::milliseconds(1900)); // longer than the limit
    Renderer().resume(rendering.get());
    EXPECT_EQ(rendering.wait(), kOxRenderDone);
    rendering.read();
    EXPECT_GT(rendering.passes, 1); // there is always one
}

TEST(Render, EndsAPauseWhenItIsAskedToFinish) {
    Watcher watcher;
    const Rendering rendering(SphereScene(), kEndless, watcher);
    ASSERT_TRUE(Soon([&] { return watcher.fraction > 0; }));
    Renderer().pause(rendering.get());
    Renderer().request(rendering.get(), kOxRenderFinish);
    EXPECT_EQ(rendering.wait(60), kOxRenderStopped);
}

TEST(Render, IsCancelledAtAnyTime) {
    for (const int milliseconds : {0, 1, 5, 20}) {
        SCOPED_TRACE(milliseconds);
        Watcher watcher;
        const Rendering rendering(SphereScene(), kEndless, watcher);
        std::this_thread::sleep_for(std::chrono::milliseconds(milliseconds));
        Renderer().request(rendering.get(), kOxRenderCancel);
        EXPECT_EQ(rendering.wait(60), kOxRenderCancelled);
    }
}

TEST(Render, EndsWhenItIsReleased) {
    Watcher watcher;
    { const Rendering rendering(SphereScene(), kEndless, watcher); }
    const int calls = watcher.pixelCalls;
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_EQ(watcher.pixelCalls, calls);
}

// Regions -----------------------------------------------------------------------------------------

TEST(Render, DrawsOnlyTheRegion) {
    Watcher watcher;
    const Rendering rendering(SphereScene(), 4, watcher, 0, {8, 10, 20, 5});
    ASSERT_EQ(rendering.wait(), kOxRenderDone);
    const std::vector<float> colors = rendering.read();
    const std::vector<float> whole = Drawn(SphereScene(), 4);
    for (int y = 0; y < 48; ++y) {
        for (int x = 0; x < 64; ++x) {
            const bool isInside = x >= 8 && x < 28 && y >= 10 && y < 15;
            const auto at = static_cast<std::size_t>((y * 64 + x) * 4);
            ASSERT_EQ(colors[at], isInside ? whole[at] : 0) << x << ' ' << y;
        }
    }
}

TEST(Render, CompletesThePixelsOutsideOfARegionLater) {
    Watcher watcher;
    const Rendering rendering(SphereScene(), 32, watcher, 1, {8, 10, 20, 5});
    std::string message;
    ASSERT_TRUE(Soon([&] { return !rendering.read().empty() && rendering.passes > 0; }));
    EXPECT_EQ(rendering.setRegion({30, 0, 10, 100}, message), 1) << message;
    ASSERT_EQ(rendering.wait(), kOxRenderDone);
    EXPECT_EQ(rendering.setRegion({0, 0, 0, 0}, message), 1) << message;
    ASSERT_EQ(rendering.wait(), kOxRenderDone);
    EXPECT_EQ(rendering.read(), Drawn(SphereScene(), 32));
}

} // namespace
