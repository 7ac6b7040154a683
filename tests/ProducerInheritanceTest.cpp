#include <OxTellarProducers/GeometryProducer.h>

#include <limits>
#include <vector>

#include <gmock/gmock.h>

#include <OxTellarProducers/CreateGeometryProducer.h>
#include <OxTellarSDK/XFormUtil.h>

#include "AskedProducer.h"
#include "ProducerHelpers.h"
#include "SceneBuilders.h"

namespace {

using namespace TellarTest;
using OxAttribute::Attribute;
using OxAttribute::GroupAttribute;
using TELLAR::CreateStaticGeometryProducer;
using TELLAR::GeometryProducer;
using TELLAR::GeometryProducerGlobalAttributeProvider;
using testing::ElementsAre;

using Ptr = GeometryProducer::Ptr;

Attribute GlobalAt(const Ptr& root, const char* path, const char* name) {
    return root->getProducerByPath(path, false)->getGlobalAttribute(name);
}

TEST(GeometryProducer, InheritsGlobalAttributesFromTheNearestAncestor) {
    const Ptr root = StaticRoot(
        Location({{"far", Int(1)}, {"near", Int(1)}},
                 {{"a", Location({{"near", Int(2)}}, {{"b", Location({{"own", Int(3)}})}})}}));
    EXPECT_EQ(IntOf(GlobalAt(root, "/root/a/b", "own")), 3);
    EXPECT_EQ(IntOf(GlobalAt(root, "/root/a/b", "near")), 2);
    EXPECT_EQ(IntOf(GlobalAt(root, "/root/a/b", "far")), 1);
    EXPECT_EQ(IntOf(GlobalAt(root, "/root", "near")), 1);
}

TEST(GeometryProducer, HasNoGlobalAttributeThatNoAncestorHas) {
    const Ptr root = StaticRoot(Location({}, {{"a", Location({{"below", Int(1)}})}}));
    EXPECT_FALSE(GlobalAt(root, "/root/a", "missing").isValid());
    EXPECT_FALSE(root->getGlobalAttribute("below").isValid());
}

TEST(GeometryProducer, MergesGlobalGroupsForAsLongAsTheyInherit) {
    const GroupAttribute closed({{"n", Int(9)}}, false);
    const Ptr root =
        StaticRoot(Location({{"settings", Group({{"a", Int(1)}, {"b", Int(1)}})}},
                            {{"open", Location({{"settings", Group({{"b", Int(2)}})}})},
                             {"closed", Location({{"settings", closed}})}}));
    EXPECT_EQ(GlobalAt(root, "/root/open", "settings"), Group({{"a", Int(1)}, {"b", Int(2)}}));
    EXPECT_EQ(GlobalAt(root, "/root/closed", "settings"), closed);
}

TEST(GeometryProducer, FindsGlobalAttributesByDottedPath) {
    const Ptr root =
        StaticRoot(Location({{"a", Group({{"b", Int(5)}})}}, {{"leaf", Location({})}}));
    EXPECT_EQ(IntOf(GlobalAt(root, "/root/leaf", "a.b")), 5);
}

TEST(GeometryProducer, LeavesNoReferenceBehindAfterAGlobalAttribute) {
    const Ptr root = StaticRoot(Location({{"n", Int(1)}}));
    root->getGlobalAttribute("n");
    EXPECT_EQ(root->use_count(), 1u);
}

/// Three levels, each with an int "level", and what a provider over the lowest one says.
class GlobalAttributeProvider : public testing::Test {
protected:
    const Ptr root = StaticRoot(
        Location({{"level", Int(0)}},
                 {{"a", Location({{"level", Int(1)}}, {{"b", Location({{"level", Int(2)}})}})}}));
    GeometryProducerGlobalAttributeProvider provider{root->getProducerByPath("/root/a/b", false)};

    /// The level found `depth` levels up; the status, negative, unless that is 0.
    int levelAt(int depth) {
        Attribute result;
        const int status = provider.provideAttribute("level", depth, result);
        return status == 0 ? IntOf(result) : -status;
    }
};

TEST_F(GlobalAttributeProvider, GoesUpFromItsProducer) {
    EXPECT_EQ(levelAt(0), 2);
    EXPECT_EQ(levelAt(1), 1);
    EXPECT_EQ(levelAt(2), 0);
}

TEST_F(GlobalAttributeProvider, SaysTwoAboveTheRootAndLeavesTheResultAlone) {
    Attribute result = Text("left from an earlier call");
    EXPECT_EQ(provider.provideAttribute("level", 3, result), 2);
    EXPECT_EQ(TextOf(result), "left from an earlier call");
    EXPECT_EQ(provider.provideAttribute("level", std::numeric_limits<int>::max(), result), 2);
}

TEST_F(GlobalAttributeProvider, SaysTwoForTheDeepestDepthOnTheFirstRequest) {
    EXPECT_EQ(levelAt(std::numeric_limits<int>::max()), -2);
    EXPECT_EQ(levelAt(0), 2);
}

TEST_F(GlobalAttributeProvider, AnswersDepthsInAnyOrder) {
    EXPECT_EQ(levelAt(2), 0);
    EXPECT_EQ(levelAt(2), 0);
    EXPECT_EQ(levelAt(0), 2);
    EXPECT_EQ(levelAt(2), 0);
    EXPECT_EQ(levelAt(1), 1);
    EXPECT_EQ(levelAt(4), -2);
    EXPECT_EQ(levelAt(9), -2);
    EXPECT_EQ(levelAt(3), -2);
    EXPECT_EQ(levelAt(1), 1);
}

TEST_F(GlobalAttributeProvider, ProvidesAnInvalidAttributeWhereALocationLacksIt) {
    Attribute result = Text("left from an earlier call");
    EXPECT_EQ(provider.provideAttribute("missing", 1, result), 0);
    EXPECT_FALSE(result.isValid());
}

TEST_F(GlobalAttributeProvider, KeepsItsProducer) {
    EXPECT_EQ(levelAt(0), 2) << "nobody else holds the producer it was made with";
}

TEST(GeometryProducer, IsAskedOncePerLevelForAGlobalAttribute) {
    AskedProducer::Questions questions;
    const Ptr root = new AskedProducer("root", questions);
    const Ptr leaf = new AskedProducer("leaf", questions, new AskedProducer("a", questions, root));
    EXPECT_FALSE(leaf->getGlobalAttribute("name").isValid());
    EXPECT_THAT(questions, ElementsAre("leaf in full", "leaf name", "a name", "root name"));
}

TEST(GeometryProducer, ListsTransformsFromTheRootDownAndLeavesGaps) {
    const GroupAttribute far = Group({{"translate", Doubles({1, 2, 3})}});
    const GroupAttribute near = Group({{"scale", Doubles({2, 2, 2})}});
    const Ptr root = StaticRoot(
        Location({{"xform", far}}, {{"a", Location({}, {{"b", Location({{"xform", near}})}})}}));
    const GroupAttribute xforms =
        root->getProducerByPath("/root/a/b", false)->getGlobalXFormGroup();
    ASSERT_EQ(xforms.getNumberOfChildren(), 2);
    EXPECT_EQ(xforms.getChildName(0), "i0");
    EXPECT_EQ(xforms.getChildName(1), "i2");
    EXPECT_EQ(xforms.getChildByIndex(0), far);
    EXPECT_EQ(xforms.getChildByIndex(1), near);
    EXPECT_FALSE(xforms.getGroupInherit());
}

TEST(GeometryProducer, ListsNoTransformsWhereThereAreNone) {
    const Ptr root = StaticRoot(Location({}, {{"a", Location({})}}));
    const GroupAttribute xforms = root->getFirstChild(false)->getGlobalXFormGroup();
    ASSERT_TRUE(xforms.isValid());
    EXPECT_EQ(xforms.getNumberOfChildren(), 0);
    EXPECT_FALSE(xforms.getGroupInherit());
}

TEST(GeometryProducer, ListsTransformsAsTheyAreWhateverTheirKind) {
    const GroupAttribute closed({{"scale", Doubles({2, 2, 2})}}, false);
    const Ptr root =
        StaticRoot(Location({{"xform", closed}}, {{"a", Location({{"xform", Text("no group")}})}}));
    EXPECT_EQ(root->getFirstChild(false)->getGlobalXFormGroup(),
              GroupAttribute({{"i0", closed}, {"i1", Text("no group")}}, false));
}

TEST(GeometryProducer, NumbersTransformsBeyondTen) {
    const GroupAttribute location = Location({{"xform", Group({})}});
    Ptr producer;
    for (int depth = 0; depth < 12; ++depth)
        producer = CreateStaticGeometryProducer("/x", location, producer);
    const GroupAttribute xforms = producer->getGlobalXFormGroup();
    ASSERT_EQ(xforms.getNumberOfChildren(), 12);
    EXPECT_EQ(xforms.getChildName(2), "i2");
    EXPECT_EQ(xforms.getChildName(11), "i11");
}

TEST(GeometryProducer, ListsTransformsReadyToBeComposed) {
    // The leaf's points are scaled first, then moved with the root.
    const Ptr root = StaticRoot(
        Location({{"xform", Group({{"translate", Doubles({10, 0, 0})}})}},
                 {{"a", Location({{"xform", Group({{"scale", Doubles({2, 3, 4})}})}})}}));
    const auto [matrix, used] = OxXFormUtil::CalcTransformMatrixAtTime(
        root->getFirstChild(false)->getGlobalXFormGroup(), 0);
    const auto values = matrix.getNearestSample(0);
    EXPECT_THAT(std::vector<double>(values.begin(), values.end()),
                ElementsAre(2, 0, 0, 0, 0, 3, 0, 0, 0, 0, 4, 0, 10, 0, 0, 1));
}

} // namespace
