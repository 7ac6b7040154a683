// Identity, subtrees and instances through version 4 of the suite for iterators.

#include <OxTellarProducers/OxScenegraphIteratorHostSuite4.h>

#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

#include <OxTellarSDK/SubtreeFacts.h>

#include "IteratorScenes4.h"
#include "ProducerHelpers.h"

namespace {

using namespace TellarTest;
using OxAttribute::GroupAttribute;
using testing::ElementsAre;

const OxScenegraphIteratorHostSuite_v4& Suite() {
    return Scenes4();
}

OxAttribute::Attribute MovedBy(double x, double y, double z) {
    return Group({{"translate", OxAttribute::DoubleAttribute({x, y, z}, 3)}});
}

/// /root > box, ball, other ball, more: a mesh of one corner cube moved up by 10, and two spheres
/// that differ by their transforms alone.
GroupAttribute Shapes(const std::string& tag) {
    const OxAttribute::FloatAttribute corners({0, 0, 0, 1, 1, 1}, 3);
    const auto box = Location({{"type", Text("polymesh")},
                               {"geometry", Group({{"point", Group({{"P", corners}})}})},
                               {"xform", MovedBy(0, 10, 0)}});
    const auto ball = [](double x) {
        return Location({{"type", Text("sphere")},
                         {"geometry", Group({{"radius", Doubles({2})}})},
                         {"xform", MovedBy(x, 0, 0)}});
    };
    return Location({{"tag", Text(tag)}},
                    {{"box", box}, {"ball", ball(1)}, {"other", ball(5)}, {"more", Location({})}});
}

/// The shapes, and /root/boxes with six instances of the box in groups of two.
GroupAttribute ArrayOfBoxes() {
    const auto args = Group({{"source", Text("/root/box")},
                             {"target", Text("/root/boxes")},
                             {"counts", OxAttribute::IntAttribute({6, 1, 1}, 3)},
                             {"spacing", Doubles({4, 0, 0})},
                             {"groupSize", Int(2)}});
    return Group({{"scene", OpEntry("StaticScene", Shapes(UniqueTag()))},
                  {"array", OpEntry("Array", args, {"scene"})}});
}

At Child(const At& location, const char* name) {
    return Suite().getChildByName(location.get(), name, nullptr);
}

std::pair<std::uint64_t, std::uint64_t> HashOf(const At& location) {
    std::uint64_t words[2] = {1, 1};
    Suite().getContentHash(location.get(), words);
    return {words[0], words[1]};
}

// Identity ----------------------------------------------------------------------------------------

TEST(Identity4, IsThatOfTheContentWithoutTheTransform) {
    const At root = RootOf(SceneTree(Shapes(UniqueTag())));
    EXPECT_EQ(HashOf(Child(root, "ball")), HashOf(Child(root, "other")));
    EXPECT_NE(HashOf(Child(root, "ball")), HashOf(Child(root, "box")));
    EXPECT_EQ(Suite().isSame(Child(root, "ball").get(), Child(root, "other").get()), 1);
    EXPECT_EQ(Suite().isSame(Child(root, "ball").get(), Child(root, "box").get()), 0);
}

TEST(Identity4, IsNoneForNullAndForLocationsThatFail) {
    const At root = RootOf(FailingTree({"a", "b"}, {"/root/a", "/root/b"}));
    const At a = Suite().getChild(root.get(), 0, nullptr);
    const At b = Suite().getChild(root.get(), 1, nullptr);
    const std::pair<std::uint64_t, std::uint64_t> none(0, 0);
    EXPECT_EQ(HashOf(a), none);
    EXPECT_EQ(HashOf(At()), none);
    Suite().getContentHash(root.get(), nullptr);
    EXPECT_EQ(Suite().isSame(a.get(), b.get()), 0);
    EXPECT_EQ(Suite().isSame(nullptr, root.get()), 0);
    EXPECT_EQ(Suite().isSame(root.get(), nullptr), 0);
}

// Subtrees ----------------------------------------------------------------------------------------

TEST(Subtrees4, AreToldInTheSpaceOfTheParent) {
    const At root = RootOf(SceneTree(Shapes(UniqueTag())));
    CallError error;
    OxSubtree subtree;
    EXPECT_EQ(Suite().getSubtree(Child(root, "box").get(), &subtree, error.out()), 1);
    EXPECT_TRUE(error.isNull());
    EXPECT_EQ(subtree.known,
              std::uint32_t(kOxSubtreeTypes | kOxSubtreeBound | kOxSubtreeLocations));
    EXPECT_EQ(subtree.types, std::uint32_t(kOxTypePolyMesh));
    EXPECT_EQ(subtree.locations, 1);
    EXPECT_THAT(subtree.bound, ElementsAre(0, 1, 10, 11, 0, 1));
    EXPECT_EQ(Suite().getSubtree(root.get(), &subtree, error.out()), 1);
    EXPECT_EQ(subtree.types, std::uint32_t(kOxTypeGroup | kOxTypePolyMesh | kOxTypeSphere));
    EXPECT_EQ(subtree.locations, 5);
}

TEST(Subtrees4, AreNotKnownWithoutOps) {
    const At root = At::of(StaticRoot(Location({})));
    CallError error;
    OxSubtree subtree;
    EXPECT_EQ(Suite().getSubtree(root.get(), &subtree, error.out()), 1);
    EXPECT_EQ(subtree.known, 0u);
    EXPECT_EQ(Suite().getInstances(root.get(), error.out()), nullptr);
    EXPECT_TRUE(error.isNull());
}

TEST(Subtrees4, GiveTheErrorOfALocationThatFails) {
    const At root = RootOf(FailingTree({"a"}, {"/root/a"}));
    const At a = Suite().getFirstChild(root.get(), nullptr);
    CallError error;
    OxSubtree subtree;
    EXPECT_EQ(Suite().getSubtree(a.get(), &subtree, error.out()), 0);
    EXPECT_EQ(error.code(), kOxErrorCook);
    EXPECT_EQ(Suite().getInstances(a.get(), error.out()), nullptr);
    EXPECT_TRUE(error.isNull());
    EXPECT_EQ(Suite().getSubtree(nullptr, &subtree, error.out()), 0);
    EXPECT_EQ(error.text(), "getSubtree: location is null");
    EXPECT_EQ(Suite().getSubtree(root.get(), nullptr, error.out()), 0);
    EXPECT_EQ(error.text(), "getSubtree: subtree is null");
}

// Instances ---------------------------------------------------------------------------------------

TEST(Instances4, AreToldWithTheirPrototypesAndMatrices) {
    const At root = RootOf(ArrayOfBoxes());
    CallError error;
    OxInstancesStruct* const boxes = Suite().getInstances(Child(root, "boxes").get(), error.out());
    ASSERT_NE(boxes, nullptr) << error.text();
    EXPECT_EQ(Suite().getNumberOfInstances(boxes), 6);
    ASSERT_EQ(Suite().getNumberOfPrototypes(boxes), 1);
    const At prototype = Suite().getPrototype(boxes, 0, error.out());
    EXPECT_STREQ(Suite().getType(prototype.get(), nullptr), "polymesh");
    const At last = Suite().getInstance(boxes, 5, error.out());
    EXPECT_EQ(FullNameOf(last), "/root/boxes/g_1/g_2/i_5");
    EXPECT_EQ(HashOf(last), HashOf(prototype));
    EXPECT_EQ(Suite().isSame(last.get(), prototype.get()), 1);
    std::int64_t prototypes[2] = {7, 7};
    double matrices[32] = {};
    EXPECT_EQ(Suite().readInstances(boxes, 4, 6, prototypes, matrices, error.out()), 1);
    EXPECT_TRUE(error.isNull());
    EXPECT_THAT(prototypes, ElementsAre(0, 0));
    EXPECT_THAT(std::vector<double>(matrices + 28, matrices + 32), ElementsAre(20, 10, 0, 1));
    Suite().retainInstances(boxes);
    Suite().releaseInstances(boxes);
    Suite().releaseInstances(boxes);
    EXPECT_EQ(Suite().getInstances(Child(root, "ball").get(), error.out()), nullptr);
    EXPECT_TRUE(error.isNull()) << error.text();
}

TEST(Instances4, RefuseRangesThatTheyDoNotHave) {
    const At root = RootOf(ArrayOfBoxes());
    CallError error;
    OxInstancesStruct* const boxes = Suite().getInstances(Child(root, "boxes").get(), error.out());
    EXPECT_EQ(Suite().readInstances(boxes, 0, 0, nullptr, nullptr, error.out()), 1);
    EXPECT_EQ(Suite().readInstances(boxes, 0, 6, nullptr, nullptr, error.out()), 1);
    EXPECT_EQ(Suite().readInstances(boxes, -1, 2, nullptr, nullptr, error.out()), 0);
    EXPECT_EQ(error.text(), "readInstances: begin is out of range");
    EXPECT_EQ(Suite().readInstances(boxes, 3, 2, nullptr, nullptr, error.out()), 0);
    EXPECT_EQ(error.text(), "readInstances: begin is out of range");
    EXPECT_EQ(Suite().readInstances(boxes, 0, 7, nullptr, nullptr, error.out()), 0);
    EXPECT_EQ(error.text(), "readInstances: end is out of range");
    EXPECT_EQ(Suite().readInstances(nullptr, 0, 0, nullptr, nullptr, error.out()), 0);
    EXPECT_EQ(error.text(), "readInstances: instances is null");
    for (const std::int64_t index : {-1, 6}) {
        EXPECT_EQ(Suite().getInstance(boxes, index, error.out()), nullptr);
        EXPECT_TRUE(error.isNull());
        EXPECT_EQ(Suite().getPrototype(boxes, index, error.out()), nullptr);
        EXPECT_TRUE(error.isNull());
    }
    EXPECT_EQ(Suite().getNumberOfInstances(nullptr), 0);
    EXPECT_EQ(Suite().getNumberOfPrototypes(nullptr), 0);
    Suite().releaseInstances(boxes);
}

} // namespace
