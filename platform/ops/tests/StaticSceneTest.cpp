#include <string>
#include <vector>

#include <gmock/gmock.h>

#include <TempDirectory.h>

#include "OpTypeScenes.h"

namespace {

using namespace OxAttribute;
using namespace OpTypeScenes;
using testing::ElementsAre;

TEST(StaticScene, PresentsItsArgumentsAtRoot) {
    Graph graph;
    const Op scene = graph.add("StaticScene", SmallScene());
    EXPECT_EQ(graph.attrs(scene, "/root"), Group({{"tag", Int(0)}}));
    EXPECT_THAT(graph.children(scene, "/root"), ElementsAre("world", "materials"));
    EXPECT_THAT(graph.children(scene, "/root/world/geo"), ElementsAre("ball", "box"));
    EXPECT_EQ(graph.attr(scene, "/root/world/geo/box/lid", "tag"), Int(5));
    EXPECT_EQ(graph.attr(scene, "/root/world/geo/box/body", "tag"), Int(6));
}

TEST(StaticScene, ALeafHasNoPotentialChildren) {
    Graph graph;
    const Op scene = graph.add(
        "StaticScene",
        Group({{"c", Group({{"bare", Group({})}, {"empty", Group({{"c", Group({})}})}})}}));
    EXPECT_TRUE(graph.exists(scene, "/root/bare"));
    EXPECT_FALSE(graph.attrs(scene, "/root/bare").isValid());
    EXPECT_FALSE(graph.cook(scene, "/root/bare").getPotentialChildren().isValid());
    EXPECT_FALSE(graph.cook(scene, "/root/empty").getPotentialChildren().isValid());
}

TEST(StaticScene, LocationsThatAreNotDescribedDoNotExist) {
    Graph graph;
    const Op scene =
        graph.add("StaticScene", Group({{"c", Group({{"number", Int(1)}, {"group", Group({})}})}}));
    EXPECT_FALSE(graph.exists(scene, "/root/other"));
    EXPECT_FALSE(graph.exists(scene, "/root/number"));
    EXPECT_FALSE(graph.exists(scene, "/root/number/below"));
    EXPECT_FALSE(graph.exists(scene, "/root/group/below"));
    EXPECT_FALSE(graph.exists(scene, "/rootbeer"));
    EXPECT_FALSE(graph.exists(scene, "/other"));
}

TEST(StaticScene, WithoutArgumentsIsABareRoot) {
    Graph graph;
    const Op scene = graph.add("StaticScene", GroupAttribute());
    EXPECT_TRUE(graph.exists(scene, "/root"));
    EXPECT_FALSE(graph.attrs(scene, "/root").isValid());
}

TEST(StaticScene, CanHangBelowAnyLocation) {
    Graph graph;
    const Op scene = graph.add("StaticScene", Group({{"location", Text("/root/world/geo")},
                                                     {"a", Group({{"tag", Int(1)}})},
                                                     {"c", Group({{"ball", Location({})}})}}));
    EXPECT_THAT(graph.children(scene, "/root"), ElementsAre("world"));
    EXPECT_FALSE(graph.attrs(scene, "/root").isValid());
    EXPECT_THAT(graph.children(scene, "/root/world"), ElementsAre("geo"));
    EXPECT_EQ(graph.attrs(scene, "/root/world/geo"), Group({{"tag", Int(1)}}));
    EXPECT_TRUE(graph.exists(scene, "/root/world/geo/ball"));
    EXPECT_FALSE(graph.exists(scene, "/root/other"));
    EXPECT_FALSE(graph.exists(scene, "/root/world/geometry"));
}

TEST(StaticScene, FindsALocationWhoseParentWasNeverCooked) {
    Graph graph;
    const Op scene = graph.add("StaticScene", SmallScene());
    EXPECT_EQ(graph.attr(scene, "/root/world/geo/box/body", "tag"), Int(6));
    EXPECT_EQ(graph.attr(scene, "/root/world/geo/box", "tag"), Int(4));
}

TEST(StaticScene, FindsSiblingsInAnyOrder) {
    Children many;
    for (int number = 0; number < 50; ++number)
        many.emplace_back("n" + std::to_string(number), Location({{"tag", Int(number)}}));
    Graph graph;
    const Op scene = graph.add("StaticScene", Location({}, many));
    EXPECT_EQ(graph.children(scene, "/root").size(), 50u);
    EXPECT_EQ(graph.attr(scene, "/root/n7", "tag"), Int(7));
    EXPECT_EQ(graph.attr(scene, "/root/n8", "tag"), Int(8));
    EXPECT_EQ(graph.attr(scene, "/root/n49", "tag"), Int(49));
    EXPECT_EQ(graph.attr(scene, "/root/n0", "tag"), Int(0));
    EXPECT_FALSE(graph.exists(scene, "/root/n50"));
}

TEST(StaticScene, DecodesTheNamesOfLocations) {
    Graph graph;
    const Op scene = graph.add("StaticScene", Location({}, {{"v1%2E2", Location({{"tag", Int(1)}})},
                                                            {"100%25", Location({{"tag", Int(2)}})},
                                                            {"as.is", Location({{"tag", Int(3)}})},
                                                            {"50%", Location({{"tag", Int(4)}})}}));
    EXPECT_THAT(graph.children(scene, "/root"), ElementsAre("v1.2", "100%", "as.is", "50%"));
    EXPECT_EQ(graph.attr(scene, "/root/v1.2", "tag"), Int(1));
    EXPECT_EQ(graph.attr(scene, "/root/100%", "tag"), Int(2));
    EXPECT_EQ(graph.attr(scene, "/root/as.is", "tag"), Int(3));
    EXPECT_EQ(graph.attr(scene, "/root/50%", "tag"), Int(4));
    EXPECT_FALSE(graph.exists(scene, "/root/v1%2E2"));
}

TEST(StaticScene, SharesItsAttributesWithoutACopy) {
    const GroupAttribute description = SmallScene();
    Graph graph;
    const Op scene = graph.add("StaticScene", description);
    EXPECT_EQ(graph.attrs(scene, "/root/world/geo").getHandle(),
              description.getChildByName("c.world.c.geo.a").getHandle());
}

TEST(StaticScene, PresentsASceneFromAFileLikeOneInMemory) {
    // Large enough to be used in place, mapped into memory.
    const std::vector<double> ballast(600000, 1.0);
    const GroupAttribute inMemory =
        Location({{"ballast", DoubleAttribute(ballast, 1)}}, {{"small", SmallScene()}});
    const TempDirectory folder;
    const GroupAttribute inFile = ThroughAFile(inMemory, folder.path("scene"));

    Graph graph;
    const Op memoryScene = graph.add("StaticScene", inMemory);
    const Op fileScene = graph.add("StaticScene", inFile);
    const GroupAttribute args =
        Group({{"paths", Texts({"/root/**"})}, {"translate", Doubles({1, 0, 0})}});
    const Op memoryMerge = graph.add("Merge", GroupAttribute(),
                                     {memoryScene, graph.add("Transform", args, {memoryScene})});
    const Op fileMerge = graph.add("Merge", GroupAttribute(),
                                   {fileScene, graph.add("Transform", args, {fileScene})});
    for (const char* path : {"/root", "/root/small", "/root/small/world/geo/ball",
                             "/root/small/world/geo/box/lid", "/root/small/materials/red"}) {
        SCOPED_TRACE(path);
        EXPECT_TRUE(graph.exists(fileScene, path));
        EXPECT_EQ(graph.attrs(fileScene, path), graph.attrs(memoryScene, path));
        EXPECT_EQ(graph.attrs(fileMerge, path), graph.attrs(memoryMerge, path));
    }
    EXPECT_EQ(graph.countFrom(fileMerge, "/root"), 11u);
}

} // namespace
