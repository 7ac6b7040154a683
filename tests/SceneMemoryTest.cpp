// What scenes and their revisions keep in memory, and for how long.

#include <OxTellarProducers/Scene.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "AllocatedBytes.h"
#include "LiveScenes.h"

namespace {

using namespace TellarTest;
using TELLAR::GeometryProducer;
using TELLAR::Scene;

constexpr std::ptrdiff_t kNoise = 100000; // tables and pools that grow in steps

/// 2,000 leaves, whose results take more than kNoise.
OxAttribute::GroupAttribute LargeDescription() {
    Children leaves;
    for (int i = 0; i < 2000; ++i)
        leaves.emplace_back("leaf" + std::to_string(i), Location({{"number", Int(i)}}));
    return Group({{"scene", OpEntry("StaticScene", Location({{"tag", Text(UniqueTag())}}, leaves))},
                  {"edit", OpEntry("AttributeEdit",
                                   Group({{"paths", Texts({"/root/*"})},
                                          {"set", Group({{"edit", Int(0)}})}}),
                                   {"scene"})}});
}

/// Returns the last child.
GeometryProducer::Ptr Walk(const GeometryProducer::Ptr& root) {
    GeometryProducer::Ptr last;
    for (auto child = root->getFirstChild(false); child; child = child->getNextSibling(false))
        last = child;
    return last;
}

std::ptrdiff_t GrowthSince(std::size_t before) {
    return static_cast<std::ptrdiff_t>(AllocatedBytes()) - static_cast<std::ptrdiff_t>(before);
}

/// The holders of an open scene.
struct Holders {
    std::shared_ptr<Scene> scene;
    std::shared_ptr<TellarRuntime::Client> client;
    GeometryProducer::Ptr producer;

    void release(char which) {
        if (which == 's') scene.reset();
        if (which == 'c') client.reset();
        if (which == 'p') producer.reset();
    }
};

class SceneMemory : public testing::TestWithParam<const char*> {};

TEST_P(SceneMemory, IsFreedWithTheLastHolder) {
    const std::string order = GetParam();
    // The first walk leaves what the process keeps.
    Walk(Scene::FromDescription(LargeDescription())->getRoot());
    const std::size_t before = AllocatedBytes();
    Holders held;
    held.scene = Scene::FromDescription(LargeDescription());
    held.client = held.scene->getClient();
    held.producer = Walk(held.scene->getRoot());
    held.release(order[0]);
    held.release(order[1]);
    EXPECT_GT(GrowthSince(before), 4 * kNoise);
    held.release(order[2]);
    EXPECT_LT(GrowthSince(before), kNoise);
}

INSTANTIATE_TEST_SUITE_P(InAnyOrder, SceneMemory,
                         testing::Values("scp", "spc", "csp", "cps", "psc", "pcs"));

TEST(SceneMemory, OfAnOldRevisionIsFreedWithItsLastReader) {
    const auto scene = Scene::FromDescription(LargeDescription());
    auto oldLocation = Walk(scene->getRoot());
    SetEdit(*scene, 1);
    Walk(scene->getRoot());
    const std::size_t both = AllocatedBytes();
    oldLocation.reset();
    EXPECT_LT(GrowthSince(both), -2 * kNoise);
}

TEST(SceneMemory, AfterAThousandEditsIsThatAfterTen) {
    const auto scene = LiveScene();
    const auto subscription = scene->subscribe();
    std::size_t afterTen = 0;
    for (int i = 1; i <= 1000; ++i) {
        SetEdit(*scene, i);
        ASSERT_EQ(EditOf(scene->getRoot()), i);
        subscription->acknowledge(*subscription->take());
        if (i == 10) afterTen = AllocatedBytes();
    }
    EXPECT_LT(GrowthSince(afterTen), 20000);
}

} // namespace
