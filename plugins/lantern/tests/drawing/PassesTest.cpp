#include "drawing/Passes.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cmath>

#include <gtest/gtest.h>

#include "DrawingScenes.h"

namespace {

using namespace LanternTest;

/// A floor under a small lamp on the left, and a sky without noise on the right.
SceneData HalfNoisy(int width = 32, int height = 16) {
    SceneData scene = EmptyScene(width, height);
    AddMesh(scene, Square(-9, -9, 0, 9, -4), AddMaterial(scene, Matt(Color(0.8f))));
    AddMesh(scene, Square(-1, -1, -0.5f, 1, -3), AddMaterial(scene, Glowing(Color(9))));
    AddEnvironment(scene, Color(0.5f));
    scene.quality.samples = 256;
    return scene;
}

double Rmse(const Picture& a, const Picture& b) {
    double sum = 0;
    for (std::size_t i = 0; i < a.pixels.size(); ++i)
        sum += std::pow(double(a.pixels[i]) - b.pixels[i], 2);
    return std::sqrt(sum / double(a.pixels.size()));
}

// Noise goal --------------------------------------------------------------------------------------

TEST(NoiseGoal, SavesPathsWhereThereIsNoNoise) {
    SceneData scene = HalfNoisy();
    scene.quality.noise = 0.02f;
    const Picture picture = Drawn(scene);
    EXPECT_LT(*picture.facts.samples, 200);
    EXPECT_GT(*picture.facts.samples, 16);
    EXPECT_EQ(At(picture, 30, 8).g, 0.5f);
}

TEST(NoiseGoal, IsReached) {
    SceneData scene = HalfNoisy();
    const Picture reference = Drawn(scene, 2048);
    double last = 1;
    for (const float noise : {0.1f, 0.05f, 0.02f}) {
        scene.quality.noise = noise;
        const double error = Rmse(Drawn(scene, 2048), reference);
        EXPECT_LT(error, noise);
        EXPECT_LT(error, last);
        last = error;
    }
}

TEST(NoiseGoal, GivesAllPathsIfItCannotBeReached) {
    SceneData scene = HalfNoisy(16, 16);
    AddMesh(scene, Square(-9, -9, 9, 9, -4), 1);
    const Picture wanted = Drawn(scene, 32);
    scene.quality.noise = 1e-9f;
    EXPECT_EQ(Drawn(scene, 32).facts.samples, 32);
    EXPECT_EQ(Drawn(scene, 32).pixels, wanted.pixels);
}

TEST(NoiseGoal, GivesTheSamePictureForAnyNumberOfThreadsAndAnyWindow) {
    SceneData scene = HalfNoisy(75, 41);
    scene.quality.noise = 0.05f;
    const Picture whole = Drawn(scene, 0, 1);
    EXPECT_EQ(Drawn(scene, 0, 4).pixels, whole.pixels);
    for (const Window& window : {Window{3, 5, 30, 31}, Window{29, 7, 75, 41}, Window{5, 5, 6, 6}}) {
        scene.framing.window = window;
        const Picture part = Drawn(scene);
        for (int y = window.y0; y < window.y1; ++y)
            for (int x = window.x0; x < window.x1; ++x)
                ASSERT_EQ(At(part, x, y).g, At(whole, x, y).g) << x << " " << y;
    }
}

// Time limit --------------------------------------------------------------------------------------

TEST(TimeLimit, LeavesOnePathPerPixelAtLeast) {
    SceneData scene = HalfNoisy();
    scene.quality.minutes = 1e-9;
    const Picture picture = Drawn(scene);
    EXPECT_EQ(picture.facts.samples, 1);
    EXPECT_TRUE(picture.isComplete);
    EXPECT_EQ(picture.pixels, Drawn(HalfNoisy(), 1).pixels);
}

TEST(TimeLimit, GivesThePictureOfTheNumberOfPathsThatItAllows) {
    SceneData scene = HalfNoisy();
    scene.quality.minutes = 0.2 / 60;
    const auto before = std::chrono::steady_clock::now();
    const Picture picture = Drawn(scene, 1000000);
    const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - before;
    EXPECT_LT(seconds.count(), 10); // a million paths would take minutes
    ASSERT_LT(*picture.facts.samples, 1000000);
    EXPECT_EQ(picture.pixels, Drawn(HalfNoisy(), *picture.facts.samples, 1).pixels);
}

TEST(TimeLimit, CountsFromTheBeginningOfTheRender) {
    SceneData scene = HalfNoisy();
    scene.quality.minutes = 1;
    Report report;
    const auto longAgo = std::chrono::steady_clock::now() - std::chrono::minutes(2);
    EXPECT_EQ(Draw(scene, {64, 2, longAgo}, report).facts.samples, 1);
}

TEST(TimeLimit, DoesNotChangeAPictureThatIsFaster) {
    SceneData scene = HalfNoisy();
    scene.quality.minutes = 60;
    EXPECT_EQ(Drawn(scene, 32).pixels, Drawn(HalfNoisy(), 32).pixels);
}

// Ending early ------------------------------------------------------------------------------------

/// A listener that asks for the picture so far after some questions.
struct Impatient {
    std::atomic<int> questions{0};
    int patience = 0;

    OxRenderListener_v1 listener() {
        OxRenderListener_v1 listener{};
        listener.user = this;
        listener.isCancelled = [](void* self) {
            auto& caller = *static_cast<Impatient*>(self);
            return ++caller.questions > caller.patience ? int(kOxRenderFinish) : 0;
        };
        return listener;
    }
};

TEST(EndingEarly, GivesThePictureSoFar) {
    const SceneData scene = HalfNoisy();
    Impatient caller;
    caller.patience = 3 * 32 * 16; // during the third pass
    Report report(caller.listener());
    const Picture picture = Draw(scene, {256, 2}, report);
    EXPECT_FALSE(picture.isComplete);
    EXPECT_GE(*picture.facts.samples, 1);
    EXPECT_LE(*picture.facts.samples, 4);
    EXPECT_EQ(At(picture, 30, 8).g, 0.5f); // each pixel is the mean of the paths that it has
    EXPECT_EQ(At(picture, 30, 15).a, 1);
}

TEST(EndingEarly, IsCancellationBeforeThereIsAnything) {
    Impatient caller;
    Report report(caller.listener());
    EXPECT_THROW(Draw(HalfNoisy(), {256, 2}, report), Cancelled);
}

} // namespace
