#include <OxTellarSDK/AttributeChain.h>

#include <array>
#include <cstring>
#include <map>
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
    EXPECT_EQ(OxXFormUtil::MakeTransformGroup({nullptr, 0}), GroupAttribute(false));
    EXPECT_FALSE(OxXFormUtil::CalcTransformMatrixOfChain({nullptr, 0}, 0, matrix));
    EXPECT_EQ(matrix[0], 7);
}

TEST(AttributeChain, GivesTheTransformGroupThatABuilderGives) {
    std::mt19937 random(3);
    for (int scene = 0; scene < 200; ++scene) {
        const Groups groups = RandomTransforms(random);
        ASSERT_EQ(OxXFormUtil::MakeTransformGroup(Chain(groups)), ByBuilder(groups)) << scene;
    }
}

TEST(AttributeChain, NamesTransformsBelowManyLevelsByTheirDepth) {
    Groups groups(1000, GroupAttribute(true));
    groups.front() = GroupAttribute({{"xform", GroupAttribute(true)}}, true);
    groups.back() = groups.front();
    const GroupAttribute xforms = OxXFormUtil::MakeTransformGroup(Chain(groups));
    ASSERT_EQ(xforms.getNumberOfChildren(), 2);
    EXPECT_EQ(xforms.getChildName(0), "i0");
    EXPECT_EQ(xforms.getChildName(1), "i999");
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
