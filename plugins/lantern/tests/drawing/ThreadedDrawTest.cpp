#include "drawing/Draw.h"

#include <gtest/gtest.h>

#include "DrawingScenes.h"

namespace {

using namespace LanternTest;

TEST(ThreadedDraw, SharesOneSceneAmongItsThreads) {
    SceneData scene = EmptyScene(96, 64);
    Material veil = Matt({0.5f, 0.5f, 0.5f});
    veil.opacity = 0.5f;
    for (int i = 0; i < 20; ++i)
        AddSphere(scene, {float(i % 5) - 2, float(i / 5) - 2, -4}, 0.4f,
                  AddMaterial(scene, i % 2 ? veil : Matt(Color(1, 1, 1))));
    AddMesh(scene, Square(-9, -9, 9, 9, -6), AddMaterial(scene, Glowing({1, 1, 1})));
    AddEnvironment(scene);
    scene.quality.samples = 2;
    EXPECT_EQ(Drawn(scene, 0, 4).pixels, Drawn(scene, 0, 3).pixels);
}

} // namespace
