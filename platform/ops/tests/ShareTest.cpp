#include <string>
#include <vector>

#include <gmock/gmock.h>

#include <OxTellarSDK/SubtreeFacts.h>

#include "OpTypeScenes.h"
#include "RunTogether.h"

namespace {

using namespace OxAttribute;
using namespace OpTypeScenes;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class ShareOp : public testing::Test {
protected:
    Op share(const Op& input, std::initializer_list<std::string_view> locations,
             std::initializer_list<std::string_view> sources, Children more = {}) {
        more.emplace_back("locations", Texts(locations));
        more.emplace_back("sources", Texts(sources));
        return graph.add("Share", Group(more), {input});
    }
    OxOpType::SubtreeFacts facts(const Op& op, const std::string& path) {
        return OxOpType::DescribeSubtree(*graph.client(op), path);
    }
    static std::string errorOf(const Children& args) {
        return CookErrorOf("Share", Group(args), 1);
    }

    Graph graph;
    const Op scene = graph.add("StaticScene", SmallScene());
};

TEST_F(ShareOp, ShowsWhatIsBelowItsSourceWithoutACopy) {
    const Op op = share(scene, {"/root/one", "/root/two"}, {"/root/world/geo"});
    EXPECT_THAT(graph.children(op, "/root/one"), ElementsAre("ball", "box"));
    EXPECT_EQ(graph.cook(op, "/root/two/box/lid").getRecord(),
              graph.cook(scene, "/root/world/geo/box/lid").getRecord());
    EXPECT_FALSE(graph.exists(op, "/root/two/box/other"));
    EXPECT_FALSE(graph.exists(op, "/root/two/other"));
}

TEST_F(ShareOp, MakesLocationsWithTheirAncestors) {
    const Op op = share(scene, {"/root/a/b/c", "/root/a/b/d"}, {"/root/world/geo/box"});
    EXPECT_THAT(graph.children(op, "/root"), ElementsAre("world", "materials", "a"));
    EXPECT_EQ(graph.attrs(op, "/root/a/b"), Group({{"type", Text("group")}}));
    EXPECT_THAT(graph.children(op, "/root/a/b"), ElementsAre("c", "d"));
    EXPECT_EQ(graph.attrs(op, "/root/a/b/c"), Group({{"tag", Int(4)}}));
}

TEST_F(ShareOp, AddsTheAttributesThatALocationLacksButForTheTransform) {
    const Op place = graph.add(
        "StaticScene",
        Location({}, {{"place", Location({{"xform", Group({{"translate", Doubles({9, 9, 9})}})},
                                          {"mine", Int(1)}})},
                      {"named", Location({{"tag", Int(8)}})}}));
    const Op both = graph.add("Merge", GroupAttribute(), {scene, place});
    const Op op =
        share(both, {"/root/place", "/root/named", "/root/made"}, {"/root/world/geo/ball"});
    EXPECT_EQ(graph.attrs(op, "/root/place"),
              Group({{"xform", Group({{"translate", Doubles({9, 9, 9})}})},
                     {"mine", Int(1)},
                     {"tag", Int(3)}}));
    EXPECT_EQ(graph.attrs(op, "/root/named"), Group({{"tag", Int(8)}}));
    EXPECT_EQ(graph.attrs(op, "/root/made"), Group({{"tag", Int(3)}}));
}

TEST_F(ShareOp, KeepsChildrenOfItsOwnAfterThoseOfTheSource) {
    const GroupAttribute own = Location(
        {}, {{"lid", Location({{"tag", Int(50)}})}, {"extra", Location({{"tag", Int(51)}})}});
    const Op both = graph.add("Merge", GroupAttribute(),
                              {scene, graph.add("StaticScene", Location({}, {{"mine", own}}))});
    const Op op = share(both, {"/root/mine"}, {"/root/world/geo/box"});
    EXPECT_THAT(graph.children(op, "/root/mine"), ElementsAre("lid", "body", "extra"));
    EXPECT_EQ(graph.attr(op, "/root/mine/lid", "tag"), Int(50));
    EXPECT_EQ(graph.attr(op, "/root/mine/extra", "tag"), Int(51));
    EXPECT_EQ(graph.attr(op, "/root/mine/body", "tag"), Int(6));
}

TEST_F(ShareOp, ChoosesSourcesByIndexByPlaceOrTheFirst) {
    const auto tagOf = [&](const Op& op, const char* path) { return graph.attr(op, path, "tag"); };
    const Op first = share(scene, {"/root/a", "/root/b", "/root/c"},
                           {"/root/world/geo/ball", "/root/world/geo/box"});
    const Op each =
        share(scene, {"/root/a", "/root/b"}, {"/root/world/geo/ball", "/root/world/geo/box"});
    const Op given =
        share(scene, {"/root/a", "/root/b"}, {"/root/world/geo/ball", "/root/world/geo/box"},
              {{"indices", IntAttribute({1, 0}, 1)}});
    EXPECT_EQ(tagOf(first, "/root/c"), Int(3));
    EXPECT_EQ(tagOf(each, "/root/a"), Int(3));
    EXPECT_EQ(tagOf(each, "/root/b"), Int(4));
    EXPECT_EQ(tagOf(given, "/root/a"), Int(4));
    EXPECT_EQ(tagOf(given, "/root/b"), Int(3));
}

TEST_F(ShareOp, HidesItsSourcesByDefault) {
    const Op hiding = share(scene, {"/root/a"}, {"/root/world/geo/box"});
    const Op keeping =
        share(scene, {"/root/a"}, {"/root/world/geo/box"}, {{"keepSources", Int(1)}});
    EXPECT_THAT(graph.children(hiding, "/root/world/geo"), ElementsAre("ball"));
    EXPECT_FALSE(graph.exists(hiding, "/root/world/geo/box"));
    EXPECT_FALSE(graph.exists(hiding, "/root/world/geo/box/lid"));
    EXPECT_TRUE(graph.shares(hiding, scene, "/root/world/geo/ball"));
    EXPECT_TRUE(graph.shares(keeping, scene, "/root/world/geo"));
    EXPECT_TRUE(graph.shares(keeping, scene, "/root/world/geo/box/lid"));
}

TEST_F(ShareOp, ShowsASourceBelowAnotherSourceThoughItIsHidden) {
    const Op op = share(scene, {"/root/a", "/root/b"}, {"/root/world/geo", "/root/world/geo/box"});
    EXPECT_FALSE(graph.exists(op, "/root/world/geo/box"));
    EXPECT_TRUE(graph.exists(op, "/root/a/box/lid"));
    EXPECT_TRUE(graph.exists(op, "/root/b/lid"));
}

/// /root/protos/{car/{wheel, body}, tyre/rubber, rubber/atom}
GroupAttribute Prototypes() {
    const GroupAttribute car = Location(
        {{"tag", Int(1)}}, {{"wheel", Location({{"own", Int(1)}})}, {"body", Location({})}});
    const GroupAttribute tyre = Location({{"tag", Int(2)}}, {{"rubber", Location({})}});
    const GroupAttribute rubber = Location({{"tag", Int(3)}}, {{"atom", Location({})}});
    const GroupAttribute protos = Location({}, {{"car", car}, {"tyre", tyre}, {"rubber", rubber}});
    return Location({}, {{"protos", protos}});
}

TEST_F(ShareOp, FollowsLocationsInSources) {
    const Op protos = graph.add("StaticScene", Prototypes());
    const Op op = share(protos,
                        {"/root/taxi", "/root/protos/car/wheel", "/root/protos/tyre/rubber",
                         "/root/protos/car/made"},
                        {"/root/protos/car", "/root/protos/tyre", "/root/protos/rubber"},
                        {{"indices", IntAttribute({0, 1, 2, 2}, 1)}});
    EXPECT_THAT(graph.children(op, "/root/taxi"), ElementsAre("wheel", "body", "made"));
    EXPECT_EQ(graph.attrs(op, "/root/taxi/wheel"), Group({{"own", Int(1)}, {"tag", Int(2)}}));
    EXPECT_EQ(graph.attr(op, "/root/taxi/wheel/rubber", "tag"), Int(3));
    EXPECT_TRUE(graph.exists(op, "/root/taxi/wheel/rubber/atom"));
    EXPECT_TRUE(graph.exists(op, "/root/taxi/made/atom"));
    EXPECT_THAT(graph.children(op, "/root/protos"), IsEmpty());
    EXPECT_EQ(graph.countFrom(op, "/root/taxi"), 7u);
    EXPECT_EQ(facts(op, "/root/taxi").locations, 7);
}

TEST_F(ShareOp, FollowsSourcesThatAreLocationsOrLieBelowThem) {
    const Op op = share(scene, {"/root/a", "/root/b", "/root/c", "/root/d"},
                        {"/root/world/geo", "/root/a", "/root/b/box", "/root/none"},
                        {{"keepSources", Int(1)}});
    EXPECT_THAT(graph.children(op, "/root/b"), ElementsAre("ball", "box"));
    EXPECT_THAT(graph.children(op, "/root/c"), ElementsAre("lid", "body"));
    EXPECT_EQ(graph.attr(op, "/root/c/lid", "tag"), Int(5));
    EXPECT_TRUE(graph.exists(op, "/root/d"));
    EXPECT_THAT(graph.children(op, "/root/d"), IsEmpty());
    EXPECT_THAT(graph.warnings(op), ElementsAre("Share: the source \"/root/none\" does not exist"));
}

TEST_F(ShareOp, FollowsAChainOfManySources) {
    std::vector<std::string> locations;
    std::vector<std::string> sources;
    for (int i = 0; i < 100000; ++i) {
        locations.push_back("/root/l" + std::to_string(i));
        sources.push_back("/root/l" + std::to_string(i + 1));
    }
    sources.back() = "/root/world/geo/box";
    const Op op = graph.add("Share",
                            Group({{"locations", StringAttribute(locations, 1)},
                                   {"sources", StringAttribute(sources, 1)},
                                   {"keepSources", Int(1)}}),
                            {scene});
    EXPECT_EQ(graph.attr(op, "/root/l99000/lid", "tag"), Int(5));
    EXPECT_EQ(graph.attr(op, "/root/l99000", "tag"), Int(4));
}

TEST_F(ShareOp, ReachesDeepPaths) {
    std::string deep;
    for (int level = 0; level < 1000; ++level)
        deep += "/a";
    const Op op = share(scene, {"/root/deep", "/root" + deep}, {"/root/world", "/root/materials"});
    EXPECT_TRUE(graph.exists(op, "/root" + deep + "/red"));
    EXPECT_FALSE(graph.exists(op, "/root/deep" + deep));
    EXPECT_TRUE(graph.exists(op, "/root/a/a/a"));
}

TEST_F(ShareOp, ChangesNothingWithoutLocations) {
    const Op op = graph.add(
        "Share",
        Group({{"locations", StringAttribute({}, 1)}, {"sources", StringAttribute({}, 1)}}),
        {scene});
    EXPECT_TRUE(graph.shares(op, scene, "/root"));
    EXPECT_TRUE(graph.shares(op, scene, "/root/world/geo/box"));
}

TEST_F(ShareOp, MakesItsLocationsWithoutAnInput) {
    const Op op = graph.add(
        "Share", Group({{"locations", Texts({"/root/a/b"})}, {"sources", Texts({"/root/c"})}}));
    EXPECT_TRUE(graph.exists(op, "/root/a"));
    EXPECT_EQ(graph.attrs(op, "/root/a/b"), Group({{"type", Text("group")}}));
    EXPECT_FALSE(graph.exists(op, "/root/a/b/c"));
}

TEST_F(ShareOp, RefusesSourcesThatShowThemselves) {
    const auto circle = [](std::initializer_list<std::string_view> locations,
                           std::initializer_list<std::string_view> sources) {
        return errorOf({{"locations", Texts(locations)}, {"sources", Texts(sources)}});
    };
    const std::string text = "Argument \"locations\" must not make a source show itself: ";
    EXPECT_THAT(circle({"/root/a"}, {"/root/a"}),
                HasSubstr(text + "\"/root/a\" shows \"/root/a\"."));
    EXPECT_THAT(circle({"/root/a/b"}, {"/root/a"}), HasSubstr("\"/root/a\" shows \"/root/a\"."));
    EXPECT_THAT(circle({"/root/a"}, {"/root/a/b"}),
                HasSubstr("\"/root/a/b\" shows \"/root/a/b\"."));
    EXPECT_THAT(circle({"/root/a/x", "/root/b/y", "/root/c/z"}, {"/root/b", "/root/c", "/root/a"}),
                HasSubstr(text + "\"/root/b\" shows \"/root/c\" shows \"/root/a\" shows "
                                 "\"/root/b\"."));
    EXPECT_EQ(circle({"/root/a/x", "/root/b/y"}, {"/root/b", "/root/c"}), "no error");
    std::vector<std::string> locations;
    std::vector<std::string> sources;
    for (int i = 0; i < 1000; ++i) {
        locations.push_back("/root/l" + std::to_string(i));
        sources.push_back("/root/l" + std::to_string((i + 1) % 1000));
    }
    EXPECT_THAT(errorOf({{"locations", StringAttribute(locations, 1)},
                         {"sources", StringAttribute(sources, 1)}}),
                HasSubstr(" shows and so on until \"/root/l"));
}

TEST_F(ShareOp, RefusesInvalidArguments) {
    const Attribute two = Texts({"/root/a", "/root/b"});
    EXPECT_THAT(errorOf({{"sources", two}}),
                HasSubstr("Argument \"locations\" is missing; it must be string[]."));
    EXPECT_THAT(errorOf({{"locations", two}}),
                HasSubstr("Argument \"sources\" is missing; it must be string[]."));
    EXPECT_THAT(errorOf({{"locations", two}, {"sources", StringAttribute({}, 1)}}),
                HasSubstr("Argument \"sources\" must name a location to show."));
    EXPECT_THAT(errorOf({{"locations", Texts({"/root/c/"})}, {"sources", two}}),
                HasSubstr("Argument \"locations\" must be absolute location paths, not "
                          "\"/root/c/\"."));
    EXPECT_THAT(
        errorOf({{"locations", Texts({"/root/c", "/root/d", "/root/c"})}, {"sources", two}}),
        HasSubstr("Argument \"locations\" holds \"/root/c\" more than once."));
    EXPECT_THAT(errorOf({{"locations", Texts({"/root/c"})},
                         {"sources", two},
                         {"indices", IntAttribute({0, 1}, 1)}}),
                HasSubstr("Argument \"indices\" has 2 values for 1 locations."));
    EXPECT_THAT(errorOf({{"locations", Texts({"/root/c"})}, {"sources", two}, {"indices", Int(2)}}),
                HasSubstr("Argument \"indices\" holds 2, but there are 2 sources."));
}

TEST_F(ShareOp, TellsTheFactsOfItsSources) {
    const GroupAttribute cloud =
        Location({{"type", Text("pointcloud")},
                  {"geometry", Group({{"point", Group({{"P", FloatAttribute({1, 2, 3}, 3)}})}})}});
    const GroupAttribute part = Location({{"type", Text("group")}}, {{"cloud", cloud}});
    const GroupAttribute moved =
        Location({{"type", Text("group")}, {"xform", Group({{"translate", Doubles({10, 0, 0})}})}});
    const Op input = graph.add("StaticScene", Location({}, {{"part", part}, {"here", moved}}));
    const Op op = share(input, {"/root/here", "/root/made"}, {"/root/part"});
    const auto here = facts(op, "/root/here");
    EXPECT_EQ(here.locations, 2);
    EXPECT_EQ(here.types, OxOpType::kTypeGroup | OxOpType::kTypePointCloud);
    EXPECT_THAT(here.boundInParent()->values, ElementsAre(11, 11, 2, 2, 3, 3));
    EXPECT_EQ(facts(op, "/root/made").identity, facts(input, "/root/part").identity);
    EXPECT_EQ(facts(op, "/root/here/cloud").identity, facts(input, "/root/part/cloud").identity);
    EXPECT_EQ(facts(op, "/root").locations, 5);
    EXPECT_EQ(facts(op, "/root/part").exists, false);
}

TEST_F(ShareOp, PassesTheInstancesOfItsSources) {
    const Op array = graph.add("Array",
                               Group({{"source", Text("/root/world/geo/box")},
                                      {"target", Text("/root/many")},
                                      {"counts", IntAttribute({3, 1, 1}, 3)}}),
                               {scene});
    const Op op = share(array, {"/root/a", "/root/b/c"}, {"/root/many"});
    const auto told = OxOpType::DescribeInstances(*graph.client(op), "/root/b/c");
    ASSERT_NE(told, nullptr);
    EXPECT_EQ(told->count(), 3);
    EXPECT_EQ(OxOpType::DescribeInstances(*graph.client(op), "/root/b"), nullptr);
    EXPECT_EQ(OxOpType::DescribeInstances(*graph.client(op), "/root/many"), nullptr);
}

TEST_F(ShareOp, FindsOneOfAMillionLocationsByManyThreads) {
    std::vector<std::string> locations;
    locations.reserve(1000000);
    for (int i = 0; i < 1000000; ++i)
        locations.push_back("/root/many/g_" + std::to_string(i / 1000) + "/l_" + std::to_string(i));
    const Op op = graph.add("Share",
                            Group({{"locations", StringAttribute(locations, 1)},
                                   {"sources", Texts({"/root/world/geo/box"})}}),
                            {scene});
    const Client client = graph.client(op);
    EXPECT_EQ(graph.children(op, "/root/many").size(), 1000u);
    EXPECT_EQ(graph.children(op, "/root/many/g_999").back(), "l_999999");
    RunTogether(8, [&](int thread) {
        for (int i = thread; i < 1000000; i += 10007) {
            const std::string path = locations[static_cast<std::size_t>(i)];
            ASSERT_TRUE(client->cookLocation(path + "/lid").doesLocationExist()) << path;
            ASSERT_FALSE(client->cookLocation(path + "/lit").doesLocationExist()) << path;
        }
    });
}

} // namespace
