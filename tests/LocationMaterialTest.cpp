#include <OxTellarProducers/MaterialFlattening.h>

#include <string>
#include <vector>

#include <gmock/gmock.h>

#include <OxTellarProducers/CreateGeometryProducer.h>

#include "MaterialGroups.h"
#include "RunTogether.h"
#include "SceneBuilders.h"

namespace {

using namespace TellarTest;
using OxAttribute::GroupAttribute;
using TELLAR::EmptyFlattenedMaterialCache;
using TELLAR::GetFlattenedMaterialAttr;
using testing::ElementsAre;

using Ptr = TELLAR::GeometryProducer::Ptr;

/// /root > parent > child, each with a material or none.
Ptr ChildOf(const GroupAttribute& rootMaterial, const GroupAttribute& parentMaterial,
            const GroupAttribute& childMaterial) {
    const auto attrs = [](const GroupAttribute& material) {
        return material.isValid() ? Children{{"material", material}} : Children{};
    };
    const auto parent =
        Location(attrs(parentMaterial), {{"child", Location(attrs(childMaterial))}});
    const auto root = Location(attrs(rootMaterial), {{"parent", parent}});
    return TELLAR::CreateStaticGeometryProducer("/root", root, nullptr)
        ->getProducerByPath("/root/parent/child");
}

class LocationMaterial : public testing::Test {
protected:
    void SetUp() override { EmptyFlattenedMaterialCache(); }
    void TearDown() override { EmptyFlattenedMaterialCache(); }
};

TEST_F(LocationMaterial, IsMadeOfItsOwnAndThoseAboveNearestFirst) {
    const auto flattened = GetFlattenedMaterialAttr(
        ChildOf(Network("far", {"surface", "x"}), {}, Network("near", {"surface"})),
        {"surface", "x"});
    EXPECT_THAT(NamesIn(flattened, "nodes"), ElementsAre("near:0", "far:1"));
}

TEST_F(LocationMaterial, IsMinimizedEvenWhenThereIsOne) {
    const auto flattened = GetFlattenedMaterialAttr(
        ChildOf({}, Network("n", {"surface"}, {{"extra", Int(1)}}), {}), {"surface"});
    EXPECT_THAT(NamesOf(flattened), ElementsAre("style", "nodes", "terminals"));
}

TEST_F(LocationMaterial, IsInvalidWithoutAnyAndForANullProducer) {
    EXPECT_FALSE(GetFlattenedMaterialAttr(ChildOf({}, {}, {}), {"surface"}).isValid());
    EXPECT_FALSE(GetFlattenedMaterialAttr(Ptr(), {"surface"}).isValid());
}

TEST_F(LocationMaterial, IsKeptByPathWhateverElseIsAskedUntilAllIsForgotten) {
    const auto first =
        GetFlattenedMaterialAttr(ChildOf({}, {}, Network("n", {"surface"})), {"surface"});
    const auto other = ChildOf(Network("far", {"x"}), {}, Network("near", {"surface"}));
    EXPECT_EQ(GetFlattenedMaterialAttr(other, {"x"}).getHandle(), first.getHandle());
    EmptyFlattenedMaterialCache();
    EXPECT_THAT(NamesIn(GetFlattenedMaterialAttr(other, {"x"}), "nodes"), ElementsAre("far:1"));
}

TEST_F(LocationMaterial, ThatThereIsNoneIsKeptToo) {
    EXPECT_FALSE(GetFlattenedMaterialAttr(ChildOf({}, {}, {}), {"surface"}).isValid());
    const auto other = ChildOf({}, {}, Network("n", {"surface"}));
    EXPECT_FALSE(GetFlattenedMaterialAttr(other, {"surface"}).isValid());
    EmptyFlattenedMaterialCache();
    EXPECT_TRUE(GetFlattenedMaterialAttr(other, {"surface"}).isValid());
}

/// Two leaves below a location with a material of its own, and a root with another.
Ptr RootOfTwoLeaves(const GroupAttribute& one, const GroupAttribute& other) {
    const auto leaves = Location(
        {{"material", Network("middle", {"x"})}},
        {{"one", Location({{"material", one}})}, {"other", Location({{"material", other}})}});
    return TELLAR::CreateStaticGeometryProducer(
        "/root", Location({{"material", Network("far", {"y"})}}, {{"leaves", leaves}}), nullptr);
}

GroupAttribute FlattenedAt(const Ptr& root, const char* path, const Names& terminals) {
    return GetFlattenedMaterialAttr(root->getProducerByPath(path), terminals);
}

TEST_F(LocationMaterial, IsOneValueForLocationsWithEqualMaterials) {
    const auto root = RootOfTwoLeaves(Network("near", {"z"}), Network("near", {"z"}));
    const auto one = FlattenedAt(root, "/root/leaves/one", {"x", "z"});
    const auto other = FlattenedAt(root, "/root/leaves/other", {"x", "z"});
    EXPECT_EQ(one.getHandle(), other.getHandle());
    EXPECT_THAT(NamesIn(one, "nodes"), ElementsAre("near:0", "middle:1"));
}

TEST_F(LocationMaterial, IsMadeAnewWhenAllIsForgotten) {
    const auto root = RootOfTwoLeaves(Network("near", {"z"}), Network("near", {"z"}));
    const auto before = FlattenedAt(root, "/root/leaves/one", {"x", "z"});
    EmptyFlattenedMaterialCache();
    const auto after = FlattenedAt(root, "/root/leaves/one", {"x", "z"});
    EXPECT_EQ(after, before);
    EXPECT_NE(after.getHandle(), before.getHandle());
}

TEST_F(LocationMaterial, IsNotSharedAcrossOtherMaterialsOrTerminals) {
    const auto root = RootOfTwoLeaves(Network("near", {"z"}), Network("another", {"z"}));
    EXPECT_EQ(TextAt(FlattenedAt(root, "/root/leaves/one", {"z"}), "terminals.z"), "near:0");
    EXPECT_EQ(TextAt(FlattenedAt(root, "/root/leaves/other", {"z"}), "terminals.z"), "another:0");

    EmptyFlattenedMaterialCache();
    const auto equal = RootOfTwoLeaves(Network("near", {"z"}), Network("near", {"z"}));
    EXPECT_THAT(NamesIn(FlattenedAt(equal, "/root/leaves/one", {"z"}), "nodes"),
                ElementsAre("near:0"));
    EXPECT_THAT(NamesIn(FlattenedAt(equal, "/root/leaves/other", {"z", "y"}), "nodes"),
                ElementsAre("near:0", "far:2"));
}

TEST_F(LocationMaterial, MayBeAskedForByManyThreadsWhileOthersForgetAll) {
    Children leaves;
    for (int i = 0; i < 20; ++i)
        leaves.emplace_back("leaf" + std::to_string(i),
                            Location({{"material", Network("n" + std::to_string(i % 3), {"z"})}}));
    const auto scene = Location({{"material", Network("far", {"y"})}, {"tag", Text(UniqueTag())}},
                                {{"world", Location({}, leaves)}});
    const auto root = TELLAR::CreateThreadAwareGeometryProducer(SceneTree(scene), "/root");
    ASSERT_TRUE(root);
    RunTogether(8, [&](int number) {
        for (int round = 0; round < 30; ++round) {
            if (number == 0) EmptyFlattenedMaterialCache();
            for (int i = 0; i < 20; ++i) {
                const std::string path = "/root/world/leaf" + std::to_string(i);
                const auto flattened = FlattenedAt(root, path.c_str(), {"z", "y"});
                ASSERT_EQ(TextAt(flattened, "terminals.z"), "n" + std::to_string(i % 3) + ":0");
                ASSERT_EQ(TextAt(flattened, "terminals.y"), "far:1");
            }
        }
    });
}

} // namespace
