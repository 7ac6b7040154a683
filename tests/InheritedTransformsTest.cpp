#include <OxTellarProducers/LocationTransforms.h>

#include <map>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <OxTellarProducers/CreateGeometryProducer.h>
#include <OxTellarSDK/XFormUtil.h>

#include "ProducerHelpers.h"
#include "RunTogether.h"
#include "SceneBuilders.h"

// World matrices of locations whose parent keeps what its children inherit, compared with those of
// producers of another kind, which are asked level by level.

namespace {

using namespace OxAttribute;
using namespace TellarTest;
using TELLAR::GeometryProducer;
using Ptr = GeometryProducer::Ptr;

constexpr int kWidth = 4;

Attribute Moved(int x) {
    return Group(
        {{"translate", Doubles({x + 0.1, 2.0, 0.3})}, {"scale", Doubles({2, 3, x + 1.0})}});
}

Attribute Moving(int x) {
    const std::map<float, std::vector<double>> samples = {{0.0f, {x + 0.1, 0, 0}},
                                                          {0.5f, {x + 0.7, 1, 0}}};
    return Group({{"translate", DoubleAttribute(samples, 3)}});
}

/// Locations with a transform that moves, one that does not, none, and one that is no group.
GroupAttribute Tree(int levels) {
    const Attribute transforms[kWidth] = {Moved(levels), Moving(levels), {}, Text("no group")};
    Children children;
    for (int i = 0; i < kWidth && levels > 0; ++i) {
        GroupAttribute below = Tree(levels - 1);
        Children attrs = {{"xform", transforms[i]}};
        children.emplace_back("child" + std::to_string(i),
                              Group({{"a", Group(attrs)}, {"c", below.getChildByName("c")}}));
    }
    return Location({{"xform", Moved(7)}}, children);
}

Ptr Runtime(const GroupAttribute& root) {
    return TELLAR::CreateThreadAwareGeometryProducer(SceneTree(root), "/root");
}

void CompareWithStatic(const Ptr& location, const Ptr& expected, int& compared) {
    ++compared;
    ASSERT_EQ(location->getFullName(), expected->getFullName());
    ASSERT_EQ(location->getGlobalXFormGroup(), expected->getGlobalXFormGroup());
    for (const float time : {0.0f, 0.25f}) {
        const auto matrix =
            OxXFormUtil::CalcTransformMatrixAtTime(expected->getGlobalXFormGroup(), time);
        ASSERT_EQ(OxXFormUtil::CalcTransformMatrixAtTime(location->getGlobalXFormGroup(), time),
                  matrix);
        ASSERT_EQ(TELLAR::GetWorldMatrix(*location, time), TELLAR::GetWorldMatrix(*expected, time));
    }
    for (Ptr child = location->getFirstChild(); child; child = child->getNextSibling())
        ASSERT_NO_FATAL_FAILURE(
            CompareWithStatic(child, expected->getChildByName(child->getName().c_str()), compared));
}

} // namespace

TEST(InheritedTransforms, GiveWhatProducersOfAnotherKindGive) {
    const GroupAttribute tree = Tree(4);
    int compared = 0;
    CompareWithStatic(Runtime(tree), StaticRoot(tree), compared);
    EXPECT_EQ(compared, 1 + 4 + 16 + 64 + 256);
}

TEST(InheritedTransforms, OfALocationFoundByPathCountAllItsAncestors) {
    const GroupAttribute tree = Tree(4);
    const std::string path = "/root/child0/child2/child0/child0";
    const Ptr location = Runtime(tree)->getProducerByPath(path);
    const Ptr expected = StaticRoot(tree);
    EXPECT_EQ(TELLAR::GetWorldMatrix(*location),
              TELLAR::GetWorldMatrix(*expected->getProducerByPath(path)));
}

TEST(InheritedTransforms, BelowMoreLevelsThanTheStackHoldsAreComposed) {
    constexpr int kDeep = 20000;
    std::string path = "/root";
    for (int i = 0; i < kDeep; ++i)
        path += "/a";
    const GroupAttribute ops =
        Group({{"scene", OpEntry("StaticScene", Group({{"location", Text(path)},
                                                       {"a", Group({{"xform", Moved(1)}})}}))}});
    const Ptr root = TELLAR::CreateThreadAwareGeometryProducer(ops, "/root");
    const Ptr location = root->getProducerByPath(path);
    ASSERT_TRUE(location);
    EXPECT_EQ(TELLAR::GetWorldMatrix(*location), TELLAR::GetLocalMatrix(*location));
    EXPECT_EQ(location->getGlobalXFormGroup().getNumberOfChildren(), 1);
}

TEST(InheritedTransforms, AreKeptOnceWhenThreadsAskForThemTogether) {
    const GroupAttribute tree = Tree(4);
    const Ptr expected = StaticRoot(tree);
    const std::string path = "/root/child0/child0/child0/child1";
    const auto matrix = TELLAR::GetWorldMatrix(*expected->getProducerByPath(path), 0.25f);
    const GroupAttribute group = expected->getProducerByPath(path)->getGlobalXFormGroup();
    for (int round = 0; round < 20; ++round) {
        const Ptr location = Runtime(tree)->getProducerByPath(path);
        RunTogether(4, [&](int) {
            EXPECT_EQ(TELLAR::GetWorldMatrix(*location, 0.25f), matrix);
            EXPECT_EQ(location->getGlobalXFormGroup(), group);
        });
    }
}
