#include <cmath>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include <OxTellarSDK/SubtreeFacts.h>

#include "OpTypeScenes.h"
#include "RunTogether.h"

namespace {

using namespace OpTypeScenes;
using namespace OxOpType;
using testing::ElementsAre;
using testing::Pointwise;

/// /root/world/{ball, box/{lid, body}}: a sphere of radius 2 at (1, 2, 3), and two meshes of one
/// unit cube each, the second of which is moved up by 10.
GroupAttribute Shapes() {
    const Children corners{{"P", FloatAttribute({0, 0, 0, 1, 1, 1}, 3)}};
    const Attribute cube = Group({{"point", Group(corners)}});
    const GroupAttribute ball = Location({{"type", Text("sphere")},
                                          {"geometry", Group({{"radius", Doubles({2})}})},
                                          {"xform", Group({{"translate", Doubles({1, 2, 3})}})}});
    const GroupAttribute lid = Location({{"type", Text("polymesh")},
                                         {"geometry", cube},
                                         {"xform", Group({{"translate", Doubles({0, 10, 0})}})}});
    const GroupAttribute body = Location({{"type", Text("polymesh")}, {"geometry", cube}});
    const GroupAttribute box = Location({{"type", Text("group")}}, {{"lid", lid}, {"body", body}});
    const GroupAttribute world =
        Location({{"type", Text("group")}}, {{"ball", ball}, {"box", box}});
    return Location({}, {{"world", world}});
}

GroupAttribute ArrayOfBoxes(std::initializer_list<int> counts, Children more = {}) {
    more.emplace_back("source", Text("/root/world/box"));
    more.emplace_back("target", Text("/root/boxes"));
    more.emplace_back("counts", IntAttribute(counts, 3));
    return Group(more);
}

class FactsOfOps : public testing::Test {
protected:
    SubtreeFacts facts(const Op& op, const std::string& path) {
        return DescribeSubtree(*graph.client(op), path);
    }
    std::shared_ptr<const Instances> instances(const Op& op, const std::string& path) {
        return DescribeInstances(*graph.client(op), path);
    }
    std::vector<double> bound(const Op& op, const std::string& path) {
        const auto bound = facts(op, path).bound;
        return bound ? std::vector<double>(bound->values.begin(), bound->values.end())
                     : std::vector<double>();
    }

    Graph graph;
    const Op scene = graph.add("StaticScene", Shapes());
};

TEST_F(FactsOfOps, AStaticSceneTellsTypesLocationsAndBound) {
    const SubtreeFacts box = facts(scene, "/root/world/box");
    EXPECT_EQ(box.types, kTypeGroup | kTypePolyMesh);
    EXPECT_EQ(box.locations, 3);
    EXPECT_THAT(box.bound->values, ElementsAre(0, 1, 0, 11, 0, 1));
    EXPECT_THAT(bound(scene, "/root"), ElementsAre(-1, 3, 0, 11, 0, 5));
    EXPECT_EQ(facts(scene, "/root/other").exists, false);
}

TEST_F(FactsOfOps, AStaticSceneGivesUpOnVeryManyLocations) {
    Children many;
    for (int i = 0; i < 20000; ++i)
        many.emplace_back("l" + std::to_string(i), Location({}));
    const Op large = graph.add("StaticScene", Location({}, {{"many", Location({}, many)}}));
    EXPECT_EQ(facts(large, "/root").exists, true);
    EXPECT_FALSE(facts(large, "/root").types);
    EXPECT_FALSE(facts(large, "/root/many").locations);
    EXPECT_EQ(facts(large, "/root/many/l19999").locations, 1);
}

TEST_F(FactsOfOps, AStaticSceneCountsTheLocationsThatExist) {
    const Op named = graph.add(
        "StaticScene",
        Location({}, {{"lamp_v1%2E2", Location({})}, {"a.b", Location({})}, {"none", Int(1)}}));
    const Op twice =
        graph.add("StaticScene", Location({}, {{"a", Location({})}, {"%61", Location({})}}));
    const Op deep = graph.add("StaticScene", Location({}, {{"a%2Fb", Location({})}}));
    EXPECT_EQ(facts(named, "/root").locations, 3);
    EXPECT_EQ(facts(named, "/root/lamp_v1.2").locations, 1);
    EXPECT_EQ(facts(named, "/root/none").exists, false);
    EXPECT_FALSE(facts(twice, "/root").locations); // both are named "a"
    EXPECT_FALSE(facts(deep, "/root").locations);
}

TEST_F(FactsOfOps, ATransformMovesTheBoundOfTheParent) {
    const Op moved = graph.add(
        "Transform",
        Group({{"paths", Text("/root/world/ball")}, {"translate", Doubles({100, 0, 0})}}), {scene});
    EXPECT_THAT(bound(moved, "/root/world/ball"), ElementsAre(-2, 2, -2, 2, -2, 2));
    EXPECT_THAT(facts(moved, "/root/world/ball").boundInParent()->values,
                ElementsAre(99, 103, 0, 4, 1, 5));
    EXPECT_THAT(bound(moved, "/root/world"), ElementsAre(0, 103, 0, 11, 0, 5));
    EXPECT_EQ(facts(moved, "/root").locations, 6);
}

TEST_F(FactsOfOps, AnEditTellsTheFactsThatItCannotChange) {
    const Op edited =
        graph.add("AttributeEdit",
                  Group({{"paths", Text("/root/world/box/**")},
                         {"set", Group({{"geometry", Group({{"radius", Doubles({1})}})}})}}),
                  {scene});
    const Op typed = graph.add(
        "AttributeEdit",
        Group({{"paths", Text("/root/world/box/lid")}, {"set", Group({{"type", Text("curves")}})}}),
        {scene});
    const SubtreeFacts box = facts(edited, "/root/world/box");
    EXPECT_EQ(box.types, kTypeGroup | kTypePolyMesh);
    EXPECT_EQ(box.locations, 3);
    EXPECT_FALSE(box.bound);
    EXPECT_THAT(bound(edited, "/root/world/ball"), ElementsAre(-2, 2, -2, 2, -2, 2));
    EXPECT_EQ(facts(typed, "/root/world/box").types, kTypeGroup | kTypePolyMesh | kTypeCurves);
}

TEST_F(FactsOfOps, APruneCountsWhatIsLeft) {
    const Op pruned = graph.add("Prune", Group({{"paths", Text("/root/**/lid")}}), {scene});
    EXPECT_EQ(facts(pruned, "/root").locations, 5);
    EXPECT_EQ(facts(pruned, "/root/world/box/lid").exists, false);
}

TEST_F(FactsOfOps, AMergeAddsUpItsInputs) {
    const Op other = graph.add(
        "StaticScene",
        Location({}, {{"world", Location({}, {{"lamp", Location({{"type", Text("light")}})}})}}));
    const Op both = graph.add("Merge", Group({}), {scene, other});
    EXPECT_EQ(facts(both, "/root").locations, 7);
    EXPECT_EQ(facts(both, "/root").types, kTypeGroup | kTypeSphere | kTypePolyMesh | kTypeLight);
    EXPECT_THAT(bound(both, "/root"), ElementsAre(-1, 3, 0, 11, 0, 5));
    EXPECT_EQ(facts(both, "/root/world/box").identity, facts(scene, "/root/world/box").identity);
    EXPECT_NE(facts(both, "/root/world").identity, facts(scene, "/root/world").identity);
}

TEST_F(FactsOfOps, ACameraIsCountedWithTheGroupsThatItMakes) {
    const Op camera = graph.add("Camera", Group({{"path", Text("/root/cams/main")}}), {scene});
    const Op settings =
        graph.add("RenderSettings", Group({{"settings", Group({{"frame", Int(1)}})}}), {camera});
    EXPECT_EQ(facts(camera, "/root").locations, 8);
    EXPECT_EQ(facts(camera, "/root/cams").types, kTypeGroup | kTypeCamera);
    EXPECT_EQ(facts(camera, "/root/cams/main").locations, 1);
    EXPECT_EQ(facts(settings, "/root").locations, 8);
}

TEST_F(FactsOfOps, AnArrayMultipliesItsSource) {
    const Op array = graph.add(
        "Array",
        ArrayOfBoxes({10, 1, 5}, {{"spacing", Doubles({3, 1, 4})}, {"groupSize", Int(10)}}),
        {scene});
    const SubtreeFacts target = facts(array, "/root/boxes");
    EXPECT_EQ(target.locations, 1 + 5 + 50 * 3);
    EXPECT_EQ(target.types, kTypeGroup | kTypePolyMesh);
    EXPECT_THAT(target.bound->values, ElementsAre(0, 28, 0, 11, 0, 17));
    EXPECT_EQ(facts(array, "/root/boxes/g_2").locations, 1 + 10 * 3);
    EXPECT_THAT(bound(array, "/root/boxes/g_2"), ElementsAre(0, 28, 0, 11, 8, 9));
    EXPECT_EQ(facts(array, "/root").locations, 3 + 1 + 5 + 50 * 3); // the source is hidden
    EXPECT_EQ(facts(array, "/root/boxes/g_2/i_23").identity,
              facts(scene, "/root/world/box").identity);
}

TEST_F(FactsOfOps, AScatterOfManyInstancesStaysWithinItsExtent) {
    const Op scattered = graph.add("Array",
                                   Group({{"source", Text("/root/world/box/body")},
                                          {"target", Text("/root/bodies")},
                                          {"mode", Text("scatter")},
                                          {"count", Int(1000000)},
                                          {"extent", Doubles({0, 100, 0, 0, 0, 50})},
                                          {"spin", Int(1)}}),
                                   {scene});
    const double radius = std::sqrt(2);
    EXPECT_THAT(bound(scattered, "/root/bodies"),
                Pointwise(testing::DoubleNear(1e-9),
                          {-radius, 100 + radius, 0.0, 1.0, -radius, 50 + radius}));
}

TEST_F(FactsOfOps, AnArrayTellsItsInstancesAtTheTargetAndAtEachGroup) {
    const Op moved = graph.add(
        "Transform", Group({{"paths", Text("/root/world/box")}, {"translate", Doubles({0, 7, 0})}}),
        {scene});
    const Op array =
        graph.add("Array", ArrayOfBoxes({10, 1, 5}, {{"groupSize", Int(10)}}), {moved});
    const auto all = instances(array, "/root/boxes");
    ASSERT_NE(all, nullptr);
    EXPECT_EQ(all->count(), 50);
    EXPECT_THAT(all->prototypes(), ElementsAre("g_0/i_00"));
    EXPECT_EQ(all->path(49), "g_4/i_49");
    const auto group = instances(array, "/root/boxes/g_4");
    ASSERT_NE(group, nullptr);
    EXPECT_EQ(group->count(), 10);
    EXPECT_THAT(group->prototypes(), ElementsAre("i_40"));
    EXPECT_EQ(group->path(9), "i_49");
    std::vector<double> matrix(16);
    std::int64_t prototype = -1;
    group->read(9, 10, &prototype, matrix.data());
    EXPECT_EQ(prototype, 0);
    EXPECT_THAT(matrix, ElementsAre(1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 9, 7, 4, 1));
    EXPECT_EQ(instances(array, "/root"), nullptr);
    EXPECT_EQ(instances(array, "/root/world"), nullptr);
}

TEST_F(FactsOfOps, AnArrayDoesNotTellInstancesThatMoveOrHaveOtherSiblings) {
    const Op moving = graph.add(
        "Transform",
        Group({{"paths", Text("/root/world/box")},
               {"translate", DoubleAttribute({{0.0f, {0, 0, 0}}, {1.0f, {1, 0, 0}}}, 3)}}),
        {scene});
    const Op repeated = graph.add("Array", ArrayOfBoxes({3, 1, 1}), {moving});
    const Op nextToBall = graph.add("Array",
                                    Group({{"source", Text("/root/world/ball")},
                                           {"target", Text("/root/world/box")},
                                           {"counts", IntAttribute({3, 1, 1}, 3)}}),
                                    {scene});
    EXPECT_EQ(instances(repeated, "/root/boxes"), nullptr);
    EXPECT_EQ(instances(nextToBall, "/root/world/box"), nullptr);
}

TEST_F(FactsOfOps, EditsAndMergesPassInstancesThatTheyCannotTouch) {
    const Op array = graph.add("Array", ArrayOfBoxes({3, 1, 1}), {scene});
    const auto edit = [&](const char* glob) {
        return graph.add("AttributeEdit",
                         Group({{"paths", Text(glob)}, {"set", Group({{"user", Int(1)}})}}),
                         {array});
    };
    const Op elsewhere = edit("/root/world/**");
    const Op atTarget = edit("/root/boxes");
    const Op inside = edit("/root/boxes/i_1/lid");
    const Op merged = graph.add("Merge", Group({}), {edit("/root/world"), scene});
    const auto told = instances(array, "/root/boxes");
    ASSERT_NE(told, nullptr);
    EXPECT_NE(instances(elsewhere, "/root/boxes"), nullptr);
    EXPECT_NE(instances(atTarget, "/root/boxes"), nullptr);
    EXPECT_EQ(instances(inside, "/root/boxes"), nullptr);
    EXPECT_NE(instances(merged, "/root/boxes"), nullptr);
}

TEST_F(FactsOfOps, TellsAHundredMillionInstancesWithoutTheirNames) {
    const Op array = graph.add("Array", ArrayOfBoxes({10000, 1, 10000}), {scene});
    const auto cooksBefore = TellarRuntime::getNumberOfCooks();
    const auto all = instances(array, "/root/boxes");
    ASSERT_NE(all, nullptr);
    EXPECT_EQ(all->count(), 100000000);
    std::vector<double> matrices(16 * 1000);
    all->read(99999000, 100000000, nullptr, matrices.data());
    EXPECT_EQ(matrices[16 * 999 + 12], 9999);
    EXPECT_EQ(all->path(99999999), "g_99/g_9999/g_999999/i_99999999");
    EXPECT_EQ(facts(array, "/root/boxes").locations, 1 + 1010100 + 300000000);
    EXPECT_EQ(TellarRuntime::getNumberOfCooks(), cooksBefore);
}

TEST_F(FactsOfOps, ChainsOfFiveHundredOpsAnswerAllThreads) {
    Op last = graph.add("Array", ArrayOfBoxes({3, 1, 1}), {scene});
    for (int i = 0; i < 500; ++i) {
        const Children set{{"user", Int(i)}};
        last = graph.add("AttributeEdit",
                         Group({{"paths", Text("/root/world/ball")}, {"set", Group(set)}}), {last});
    }
    const Client client = graph.client(last);
    RunTogether(8, [&](int) {
        for (int i = 0; i < 5; ++i) {
            EXPECT_EQ(DescribeSubtree(*client, "/root").locations, 13);
            EXPECT_EQ(DescribeInstances(*client, "/root/boxes")->count(), 3);
        }
    });
}

} // namespace
