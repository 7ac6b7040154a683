#include <gmock/gmock.h>

#include "OpTypeScenes.h"

namespace {

using namespace OxAttribute;
using namespace OpTypeScenes;
using testing::ElementsAre;

TEST(Merge, PassesThroughALocationOfOneInput) {
    Graph graph;
    const Op first = graph.add("StaticScene", Location({}, {{"a", Location({{"tag", Int(1)}})}}));
    const Op second = graph.add("StaticScene", Location({}, {{"b", Location({{"tag", Int(2)}})}}));
    const Op merge = graph.add("Merge", GroupAttribute(), {first, nullptr, second});
    EXPECT_TRUE(graph.shares(merge, first, "/root/a"));
    EXPECT_TRUE(graph.shares(merge, second, "/root/b"));
    EXPECT_FALSE(graph.exists(merge, "/root/c"));
    EXPECT_THAT(graph.children(merge, "/root"), ElementsAre("a", "b"));
}

TEST(Merge, PassesThroughARecordThatAllInputsShare) {
    Graph graph;
    const Op scene = graph.add("StaticScene", SmallScene());
    const Op left = graph.add("Prune", Group({{"paths", Texts({"/root/x"})}}), {scene});
    const Op right = graph.add("Prune", Group({{"paths", Texts({"/root/y"})}}), {scene});
    const Op merge = graph.add("Merge", GroupAttribute(), {left, right});
    EXPECT_TRUE(graph.shares(merge, scene, "/root/world/geo"));
}

TEST(Merge, MergesAttributesAtEveryLevelLaterInputsWinning) {
    Graph graph;
    const Op first =
        graph.add("StaticScene", Location({{"g", Group({{"x", Int(1)}, {"y", Int(1)}})},
                                           {"one", Int(1)},
                                           {"kind", Int(1)}}));
    const Op second =
        graph.add("StaticScene",
                  Location({{"g", Group({{"y", Int(2)}, {"z", Int(2)}})}, {"kind", Text("two")}}));
    const Op merge = graph.add("Merge", GroupAttribute(), {first, second});
    EXPECT_EQ(graph.attrs(merge, "/root"),
              Group({{"g", Group({{"x", Int(1)}, {"y", Int(2)}, {"z", Int(2)}})},
                     {"one", Int(1)},
                     {"kind", Text("two")}}));
}

TEST(Merge, UnitesPotentialChildrenInOrderOfFirstMention) {
    const GroupAttribute none = Location({});
    Graph graph;
    const Op first = graph.add("StaticScene", Location({}, {{"c", none}, {"a", none}}));
    const Op second = graph.add("StaticScene", Location({}, {{"b", none}, {"a", none}}));
    const Op third = graph.add("StaticScene", Location({}, {{"b", none}, {"d", none}}));
    const Op merge = graph.add("Merge", GroupAttribute(), {first, second, third});
    EXPECT_THAT(graph.children(merge, "/root"), ElementsAre("c", "a", "b", "d"));
}

TEST(Merge, KeepsAttributesThatOnlyOneInputHas) {
    Graph graph;
    const Op bare = graph.add("StaticScene", Group({{"c", Group({{"x", Location({})}})}}));
    const Op leaf = graph.add("StaticScene", Location({{"tag", Int(1)}}));
    const Op merge = graph.add("Merge", GroupAttribute(), {bare, leaf});
    EXPECT_EQ(graph.attrs(merge, "/root").getHandle(), graph.attrs(leaf, "/root").getHandle());
    EXPECT_EQ(graph.cook(merge, "/root").getPotentialChildren().getHandle(),
              graph.cook(bare, "/root").getPotentialChildren().getHandle());
}

TEST(Prune, RemovesMatchingLocationsAndTheirDescendants) {
    Graph graph;
    const Op scene = graph.add("StaticScene", SmallScene());
    const Op prune = graph.add("Prune", Group({{"paths", Texts({"/root/*/geo/b?x"})}}), {scene});
    EXPECT_FALSE(graph.exists(prune, "/root/world/geo/box"));
    EXPECT_FALSE(graph.exists(prune, "/root/world/geo/box/lid"));
    EXPECT_THAT(graph.children(prune, "/root/world/geo"), ElementsAre("ball"));
    EXPECT_EQ(graph.attr(prune, "/root/world/geo", "tag"), Int(2));
}

TEST(Prune, SharesOtherLocationsWithoutACopy) {
    Graph graph;
    const Op scene = graph.add("StaticScene", SmallScene());
    const Op prune = graph.add("Prune", Group({{"paths", Texts({"/root/**/lid"})}}), {scene});
    EXPECT_TRUE(graph.shares(prune, scene, "/root"));
    EXPECT_TRUE(graph.shares(prune, scene, "/root/world/geo"));
    EXPECT_TRUE(graph.shares(prune, scene, "/root/world/geo/ball"));
    EXPECT_TRUE(graph.shares(prune, scene, "/root/world/geo/box/body"));
    EXPECT_FALSE(graph.shares(prune, scene, "/root/world/geo/box"));
}

TEST(Prune, LeavesNoPotentialChildrenIfAllChildrenAreRemoved) {
    Graph graph;
    const Op scene = graph.add("StaticScene", SmallScene());
    const Op prune =
        graph.add("Prune", Group({{"paths", Texts({"/root/world/geo/box/*"})}}), {scene});
    EXPECT_TRUE(graph.exists(prune, "/root/world/geo/box"));
    EXPECT_FALSE(graph.cook(prune, "/root/world/geo/box").getPotentialChildren().isValid());
}

TEST(Prune, KeepsNamesOnRequest) {
    Graph graph;
    const Op scene = graph.add("StaticScene", SmallScene());
    const Op prune = graph.add(
        "Prune", Group({{"paths", Texts({"/root/world/geo/box"})}, {"keepNames", Int(1)}}),
        {scene});
    EXPECT_FALSE(graph.exists(prune, "/root/world/geo/box"));
    EXPECT_TRUE(graph.shares(prune, scene, "/root/world/geo"));
}

TEST(Prune, RemovesNothingWithoutPaths) {
    Graph graph;
    const Op scene = graph.add("StaticScene", SmallScene());
    const Op prune = graph.add("Prune", Group({{"paths", Texts({})}}), {scene});
    EXPECT_TRUE(graph.shares(prune, scene, "/root"));
}

} // namespace
