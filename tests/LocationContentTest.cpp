#include <OxTellarProducers/LocationContent.h>

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include <OxTellarProducers/CreateGeometryProducer.h>

#include "ProducerHelpers.h"
#include "RunTogether.h"
#include "SceneBuilders.h"

namespace {

using namespace TellarTest;
using OxAttribute::GroupAttribute;
using OxAttribute::Hash;
using TELLAR::ContentHash;
using TELLAR::GeometryProducer;
using TELLAR::IsSameContent;

GroupAttribute MovedBy(double x) {
    return Group({{"translate", Doubles({x, 0, 0})}});
}

/// /root/{tree/trunk, rock}, repeated as /root/trees/{i_0, i_1, i_2}.
GroupAttribute Forest(const std::string& tag) {
    const GroupAttribute trunk = Location({{"type", Text("sphere")}, {"tag", Text(tag)}});
    const GroupAttribute tree =
        Location({{"type", Text("group")}, {"xform", MovedBy(5)}}, {{"trunk", trunk}});
    const GroupAttribute rock = Location({{"type", Text("sphere")}, {"tag", Text(tag)}});
    const GroupAttribute args = Group({{"source", Text("/root/tree")},
                                       {"target", Text("/root/trees")},
                                       {"counts", OxAttribute::IntAttribute({3, 1, 1}, 3)},
                                       {"keepSource", Int(1)}});
    return Group({{"scene", OpEntry("StaticScene", Location({}, {{"tree", tree}, {"rock", rock}}))},
                  {"forest", OpEntry("Array", args, {"scene"})}});
}

GeometryProducer::Ptr At(const std::shared_ptr<TellarRuntime::Client>& client, const char* path) {
    return TELLAR::CreateSyncGeometryProducer(client, path);
}

Hash HashOf(const OxAttribute::GroupAttribute& location) {
    return ContentHash(*StaticRoot(location));
}

TEST(ContentHash, LeavesOutTheTransformAlone) {
    const Hash plain = HashOf(Location({{"a", Int(1)}, {"b", Int(2)}}));
    EXPECT_EQ(HashOf(Location({{"a", Int(1)}, {"xform", MovedBy(1)}, {"b", Int(2)}})), plain);
    EXPECT_EQ(HashOf(Location({{"a", Int(1)}, {"b", Int(2)}, {"xform", MovedBy(2)}})), plain);
    EXPECT_NE(HashOf(Location({{"a", Int(1)}, {"b", Int(3)}})), plain);
    EXPECT_NE(HashOf(Location({{"a", Int(1)}, {"c", Int(2)}})), plain);
    EXPECT_NE(HashOf(Location({{"a", Int(1)}})), plain);
    EXPECT_NE(HashOf(Location({{"a", Int(1)}, {"b", Int(2)}}, {{"child", Location({})}})), plain);
}

TEST(ContentHash, IsEqualForInstancesWithEqualAttributes) {
    const auto client = MakeClient(Forest(UniqueTag()));
    EXPECT_EQ(ContentHash(*At(client, "/root/trees/i_0")), ContentHash(*At(client, "/root/tree")));
    EXPECT_NE(ContentHash(*At(client, "/root/trees/i_0")),
              ContentHash(*At(client, "/root/trees/i_0/trunk")));
}

TEST(IsSameContent, HoldsForInstancesWithoutCookingWhatIsBelowThem) {
    const auto client = MakeClient(Forest(UniqueTag()));
    const GeometryProducer::Ptr first = At(client, "/root/trees/i_0");
    const GeometryProducer::Ptr last = At(client, "/root/trees/i_2");
    const GeometryProducer::Ptr source = At(client, "/root/tree");
    const auto cooksBefore = TellarRuntime::getNumberOfCooks();
    EXPECT_TRUE(IsSameContent(*first, *first));
    EXPECT_TRUE(IsSameContent(*first, *last));
    EXPECT_TRUE(IsSameContent(*first, *source));
    EXPECT_FALSE(IsSameContent(*first, *At(client, "/root/trees")));
    EXPECT_LE(TellarRuntime::getNumberOfCooks() - cooksBefore, 2u); // of "/root/trees" alone
}

TEST(IsSameContent, HoldsForEqualLocationsWithoutChildren) {
    const std::string tag = UniqueTag();
    const auto client = MakeClient(Forest(tag));
    EXPECT_TRUE(IsSameContent(*At(client, "/root/tree/trunk"), *At(client, "/root/rock")));
    const GroupAttribute rock = Location({{"type", Text("sphere")}, {"tag", Text(tag)}});
    EXPECT_TRUE(IsSameContent(*StaticRoot(rock), *At(client, "/root/rock")));
}

TEST(IsSameContent, HoldsForTheSamePlaceOfEqualScenes) {
    const std::string tag = UniqueTag();
    const auto client = MakeClient(Forest(tag));
    const auto equal = MakeClient(Forest(tag));
    const auto other = MakeClient(Forest(UniqueTag()));
    EXPECT_TRUE(IsSameContent(*At(client, "/root/trees"), *At(equal, "/root/trees")));
    EXPECT_FALSE(IsSameContent(*At(client, "/root/trees"), *At(other, "/root/trees")));
}

TEST(IsSameContent, IsNotKnownForEqualGroupsOfDifferentOrigin) {
    const GroupAttribute scene = Location({}, {{"child", Location({})}});
    EXPECT_FALSE(IsSameContent(*StaticRoot(scene), *StaticRoot(scene)));
}

TEST(IsSameContent, AnswersManyThreadsAtOnce) {
    const auto client = MakeClient(Forest(UniqueTag()));
    const GeometryProducer::Ptr first = At(client, "/root/trees/i_0");
    const GeometryProducer::Ptr last = At(client, "/root/trees/i_2");
    RunTogether(8, [&](int) {
        for (int i = 0; i < 20; ++i)
            EXPECT_TRUE(IsSameContent(*first, *last));
    });
}

} // namespace
