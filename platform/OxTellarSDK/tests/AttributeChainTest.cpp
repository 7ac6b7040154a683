#include <OxTellarSDK/AttributeChain.h>

#include <array>
#include <cstring>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include <OxTellarSDK/GlobalAttribute.h>
#include <OxTellarSDK/GroupBuilder.h>
#include <OxTellarSDK/XFormUtil.h>

#include "ContainerBytes.h"

// What a chain of groups gives, compared with what the general functions give for the same groups.

using namespace OxAttribute;
using OxTellarCookInterfaceUtils::getGlobalAttrGeneric;
using OxTellarCookInterfaceUtils::getGlobalAttrOfChain;

namespace {

using Groups = std::vector<GroupAttribute>; // the location's first

class Chain {
public:
    explicit Chain(const Groups& groups) {
        for (const GroupAttribute& group : groups)
            pointers.push_back(&group);
    }
    operator AttributeChain() const { return {pointers.data(), pointers.size()}; }

private:
    std::vector<const GroupAttribute*> pointers;
};

/// What the location inherits: made from the root down, as locations are.
class Inherited {
public:
    explicit Inherited(const Groups& groups) {
        for (std::size_t level = groups.size(); level-- > 1;)
            made.push_back(std::make_unique<OxXFormUtil::InheritedTransforms>(
                groups[level], made.empty() ? nullptr : made.back().get()));
    }
    /// Null for a root.
    const OxXFormUtil::InheritedTransforms* get() const {
        return made.empty() ? nullptr : made.back().get();
    }

private:
    std::vector<std::unique_ptr<OxXFormUtil::InheritedTransforms>> made;
};

/// Asks the groups level by level, as a producer of any kind does.
class Levels final : public OxTellarServices::BaseGlobalAttributeProviderLegacy {
public:
    explicit Levels(const Groups& groups) : groups(groups) {}
    int provideAttribute(const std::string& name, int depth, Attribute& result) override {
        if (static_cast<std::size_t>(depth) >= groups.size()) return 2;
        const GroupAttribute& group = groups[static_cast<std::size_t>(depth)];
        const char* const text = name.c_str();
        result = *text == '\0' ? Attribute(group) : group.getChildByName(text);
        return 0;
    }

private:
    const Groups& groups;
};

Attribute ByLevels(const Groups& groups, const std::string& name) {
    Levels levels(groups);
    return getGlobalAttrGeneric(levels, name, "/a/b/c/d", nullptr);
}

/// Groups of the names a, b and c, which inherit or not.
Attribute RandomValue(std::mt19937& random, int depth) {
    if (depth == 0 || random() % 3 == 0) return IntAttribute(static_cast<int>(random() % 4));
    std::vector<GroupAttribute::Child> children;
    for (const char* name : {"a", "b", "c", ""})
        if (random() % 2 == 0) children.emplace_back(name, RandomValue(random, depth - 1));
    return GroupAttribute(children, random() % 4 != 0);
}

Groups RandomGroups(std::mt19937& random) {
    Groups groups;
    for (int level = 0; level < 5; ++level)
        groups.emplace_back(random() % 8 == 0 ? Attribute() : RandomValue(random, 3));
    return groups;
}

const std::string kNames[] = {
    "a",    "b",    "a.b", "b.a.c", "c.c.c.c", "missing", "a.missing",
    "",     ".",    "a.",  ".a",    "a..b",    "..",      std::string("a\0b", 3),
    "a.b.", "b.b.b"};

DoubleAttribute Matrix(std::mt19937& random) {
    std::vector<double> values;
    for (int i = 0; i < 16; ++i)
        values.push_back(static_cast<double>(random()) / 1e9 - 2.0);
    return DoubleAttribute(values, 16);
}

Attribute Step(std::mt19937& random, const std::string& name) {
    if (name == "matrix") return Matrix(random);
    const std::map<float, std::vector<float>> samples = {{-0.5f, {1.5f, 2, 3, 4}},
                                                         {0.75f, {2, 3.25f, 4, 7}}};
    if (random() % 2 == 0) return FloatAttribute(samples, 1);
    return IntAttribute({3, 1, 4, 1}, 1);
}

/// The attributes of five locations of which some have transforms of any kind.
Groups RandomTransforms(std::mt19937& random) {
    Groups groups;
    for (int level = 0; level < 5; ++level) {
        std::vector<GroupAttribute::Child> steps;
        for (const char* name :
             {"origin", "translate", "rotateX", "matrix", "scale", "shear", "other"})
            if (random() % 4 == 0) steps.emplace_back(name, Step(random, name));
        Attribute xform = GroupAttribute(steps, true);
        if (random() % 5 == 0) xform = GroupAttribute({{"nested", xform}}, true);
        if (random() % 6 == 0) xform = IntAttribute(1);
        std::vector<GroupAttribute::Child> attrs = {{"type", StringAttribute("group")}};
        if (random() % 4 != 0) attrs.emplace_back("xform", xform);
        groups.emplace_back(attrs, true);
    }
    return groups;
}

GroupAttribute ByBuilder(const Groups& groups) {
    GroupBuilder builder(BuilderModeStrict);
    builder.setGroupInherit(false);
    for (std::size_t depth = 0; depth < groups.size(); ++depth)
        builder.set("i" + std::to_string(depth),
                    groups[groups.size() - 1 - depth].getChildByName("xform"));
    return builder.build();
}

} // namespace

TEST(AttributeChain, GivesTheGlobalAttributesThatLevelsGive) {
    std::mt19937 random(1);
    for (int scene = 0; scene < 400; ++scene) {
        const Groups groups = RandomGroups(random);
        for (const std::string& name : kNames)
            ASSERT_EQ(getGlobalAttrOfChain(Chain(groups), name), ByLevels(groups, name))
                << "scene " << scene << ", \"" << name << '"';
    }
}

TEST(AttributeChain, GivesTheSameForGroupsInFiles) {
    std::mt19937 random(2);
    for (int scene = 0; scene < 50; ++scene) {
        Groups groups = RandomGroups(random);
        for (GroupAttribute& group : groups)
            if (group.isValid()) group = ContainerBytes::Read(ContainerBytes::Write(group));
        for (const std::string& name : kNames)
            ASSERT_EQ(getGlobalAttrOfChain(Chain(groups), name), ByLevels(groups, name))
                << "scene " << scene << ", \"" << name << '"';
    }
}

TEST(AttributeChain, SharesAPlainValueInsteadOfCopyingIt) {
    const Groups groups = {GroupAttribute(true), GroupAttribute({{"a", IntAttribute(3)}}, true)};
    EXPECT_EQ(getGlobalAttrOfChain(Chain(groups), "a").getHandle(),
              groups[1].getChildByName("a").getHandle());
}

TEST(AttributeChain, OfNoLocationsHasNothing) {
    double matrix[16] = {7};
    EXPECT_FALSE(getGlobalAttrOfChain({nullptr, 0}, "a").isValid());
    EXPECT_FALSE(OxXFormUtil::CalcTransformMatrixOfChain({nullptr, 0}, 0, matrix));
    EXPECT_EQ(matrix[0], 7);
}

namespace {

GroupAttribute MakeGroupOf(const Groups& groups) {
    return OxXFormUtil::MakeTransformGroup(groups.front(), Inherited(groups).get());
}

void InFiles(Groups& groups) {
    for (GroupAttribute& group : groups)
        group = ContainerBytes::Read(ContainerBytes::Write(group));
}

bool IsSameMatrix(const double* a, const DoubleAttribute& b) {
    return std::memcmp(a, b.getNearestSample(0).data(), 16 * sizeof(double)) == 0;
}

/// Compares what goes along with the group, and the function without a group, with the product of
/// all transforms. Counts the scenes whose ancestors' product was known.
void CompareMatrices(const Groups& groups, int& known) {
    const Inherited inherited(groups);
    const GroupAttribute group = OxXFormUtil::MakeTransformGroup(groups.front(), inherited.get());
    ASSERT_EQ(group, ByBuilder(groups));
    for (const float time : {-1.0f, 0.0f, 0.25f}) {
        const auto [expected, isAny] =
            OxXFormUtil::CalcTransformMatrixAtTime(ByBuilder(groups), time);
        const auto [matrix, isAnyOfGroup] = OxXFormUtil::CalcTransformMatrixAtTime(group, time);
        ASSERT_EQ(isAnyOfGroup, isAny);
        ASSERT_EQ(matrix, expected);
        if (!inherited.get()->isKnown) continue;
        ++known;
        std::array<double, 16> below = {};
        ASSERT_EQ(OxXFormUtil::CalcTransformMatrixBelow(groups.front(), inherited.get(), time,
                                                        below.data()),
                  isAny);
        ASSERT_TRUE(!isAny || IsSameMatrix(below.data(), expected));
    }
    ASSERT_EQ(OxXFormUtil::CalcTransformMatrixAtExistingTimes(group),
              OxXFormUtil::CalcTransformMatrixAtExistingTimes(ByBuilder(groups)));
}

} // namespace

TEST(InheritedTransforms, GiveTheGroupAndTheMatricesThatABuilderGives) {
    std::mt19937 random(3);
    int known = 0;
    for (int scene = 0; scene < 400; ++scene)
        ASSERT_NO_FATAL_FAILURE(CompareMatrices(RandomTransforms(random), known)) << scene;
    EXPECT_GT(known, 100);
    EXPECT_LT(known, 1100);
}

TEST(InheritedTransforms, GiveTheSameForGroupsInFiles) {
    std::mt19937 random(6);
    int known = 0;
    for (int scene = 0; scene < 60; ++scene) {
        Groups groups = RandomTransforms(random);
        InFiles(groups);
        ASSERT_NO_FATAL_FAILURE(CompareMatrices(groups, known)) << scene;
    }
    EXPECT_GT(known, 15);
}

TEST(InheritedTransforms, OfARootAreNone) {
    const GroupAttribute xform({{"translate", DoubleAttribute({1, 2, 3}, 3)}}, true);
    EXPECT_EQ(OxXFormUtil::MakeTransformGroup({}, nullptr), GroupAttribute(false));
    EXPECT_EQ(OxXFormUtil::MakeTransformGroup(GroupAttribute({{"xform", xform}}, true), nullptr),
              GroupAttribute({{"i0", xform}}, false));
}

TEST(InheritedTransforms, StayBehindWhenAGroupIsEdited) {
    std::mt19937 random(7);
    Groups groups(
        3, GroupAttribute({{"xform", GroupAttribute({{"matrix", Matrix(random)}}, true)}}, true));
    GroupBuilder builder;
    builder.update(MakeGroupOf(groups));
    builder.set("i0", GroupAttribute({{"matrix", Matrix(random)}}, true));
    const GroupAttribute edited = builder.build();
    const GroupAttribute read = ContainerBytes::Read(ContainerBytes::Write(edited));
    EXPECT_EQ(OxXFormUtil::CalcTransformMatrixAtTime(edited, 0),
              OxXFormUtil::CalcTransformMatrixAtTime(read, 0));
    EXPECT_NE(OxXFormUtil::CalcTransformMatrixAtTime(edited, 0),
              OxXFormUtil::CalcTransformMatrixAtTime(MakeGroupOf(groups), 0));
}

TEST(InheritedTransforms, NameTransformsBelowManyLevelsByTheirDepth) {
    Groups groups(1000, GroupAttribute(true));
    groups.front() = GroupAttribute({{"xform", GroupAttribute(true)}}, true);
    groups.back() = groups.front();
    const GroupAttribute xforms = MakeGroupOf(groups);
    ASSERT_EQ(xforms.getNumberOfChildren(), 2);
    EXPECT_EQ(xforms.getChildName(0), "i0");
    EXPECT_EQ(xforms.getChildName(1), "i999");
}

TEST(InheritedTransforms, AreListedWhenThereAreMany) {
    std::mt19937 random(8);
    Groups groups(
        40, GroupAttribute({{"xform", GroupAttribute({{"matrix", Matrix(random)}}, true)}}, true));
    int known = 0;
    CompareMatrices(groups, known);
    EXPECT_EQ(known, 3);
    EXPECT_TRUE(MakeGroupOf(groups).getChildByName("i39").isValid());
}

TEST(AttributeChain, GivesTheMatrixOfTheTransformGroupBitByBit) {
    std::mt19937 random(4);
    int found = 0;
    for (int scene = 0; scene < 400; ++scene) {
        const Groups groups = RandomTransforms(random);
        const auto [expected, isAny] =
            OxXFormUtil::CalcTransformMatrixAtTime(ByBuilder(groups), 0.25f);
        std::array<double, 16> matrix;
        ASSERT_EQ(OxXFormUtil::CalcTransformMatrixOfChain(Chain(groups), 0.25f, matrix.data()),
                  isAny);
        if (!isAny) continue;
        ++found;
        ASSERT_EQ(std::memcmp(matrix.data(), expected.getNearestSample(0).data(), sizeof matrix), 0)
            << scene;
    }
    EXPECT_GT(found, 200);
}

TEST(AttributeChain, MultipliesMatricesInTheOrderOfTheFormula) {
    std::mt19937 random(5);
    const DoubleAttribute parent = Matrix(random);
    const DoubleAttribute own = Matrix(random);
    const Groups groups = {
        GroupAttribute({{"xform", GroupAttribute({{"matrix", own}}, true)}}, true),
        GroupAttribute({{"xform", GroupAttribute({{"matrix", parent}}, true)}}, true)};
    std::array<double, 16> matrix;
    ASSERT_TRUE(OxXFormUtil::CalcTransformMatrixOfChain(Chain(groups), 0, matrix.data()));
    const auto a = own.getNearestSample(0);
    const auto b = parent.getNearestSample(0);
    for (std::size_t row = 0; row < 4; ++row)
        for (std::size_t column = 0; column < 4; ++column) {
            double sum = 0;
            for (std::size_t i = 0; i < 4; ++i)
                sum += a[4 * row + i] * b[4 * i + column];
            EXPECT_DOUBLE_EQ(matrix[4 * row + column], sum);
        }
}
