#include <OxTellarSDK/TellarRuntime.h>

#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

#include "AttributePrinter.h"
#include "TestOps.h"

using namespace OxAttribute;
using namespace TestOps;
using testing::ElementsAre;

TEST(LocationData, ADefaultOneIsInvalid) {
    const LocationData data;
    EXPECT_FALSE(data.isValid());
    EXPECT_FALSE(data.doesLocationExist());
    EXPECT_FALSE(data.getAttrs().isValid());
    EXPECT_FALSE(data.getPotentialChildren().isValid());
    EXPECT_EQ(data.getHash(), Hash());
}

TEST(LocationData, IsMadeFromAGroup) {
    const GroupAttribute attrs({Value(1)}, true);
    const StringAttribute names({"a", "b"}, 1);
    const LocationData data(GroupAttribute({{"attrs", attrs}, {"pc", names}}, true));
    EXPECT_TRUE(data.isValid());
    EXPECT_TRUE(data.doesLocationExist());
    EXPECT_EQ(data.getAttrs(), attrs);
    EXPECT_EQ(data.getPotentialChildren(), names);
    const auto withExists = [](int value) {
        return LocationData(GroupAttribute({{"exists", IntAttribute(value)}}, true));
    };
    EXPECT_FALSE(withExists(0).doesLocationExist());
    EXPECT_TRUE(withExists(0).isValid());
    EXPECT_TRUE(withExists(1).doesLocationExist());
    EXPECT_FALSE(LocationData(GroupAttribute()).isValid());
    EXPECT_TRUE(LocationData(GroupAttribute(true)).doesLocationExist());
}

TEST(LocationData, TakesNothingOfAWrongTypeFromAGroup) {
    const LocationData data(GroupAttribute(
        {{"exists", StringAttribute("0")}, {"attrs", IntAttribute(1)}, {"pc", IntAttribute(2)}},
        true));
    EXPECT_TRUE(data.doesLocationExist());
    EXPECT_FALSE(data.getAttrs().isValid());
    EXPECT_FALSE(data.getPotentialChildren().isValid());
}

TEST(LocationData, HashesItsContent) {
    const auto make = [](const std::vector<GroupAttribute::Child>& parts) {
        return LocationData(GroupAttribute(parts, true));
    };
    const GroupAttribute::Child attrs = {"attrs", GroupAttribute({Value(1)}, true)};
    const GroupAttribute::Child children = {"pc", StringAttribute({"a"}, 1)};
    EXPECT_EQ(make({attrs, children}).getHash(), make({children, attrs}).getHash());
    EXPECT_EQ(make({attrs}).getHash(), make({attrs, {"exists", IntAttribute(1)}}).getHash());
    EXPECT_NE(make({attrs}).getHash(), make({attrs, children}).getHash());
    EXPECT_NE(make({attrs}).getHash(), make({}).getHash());
    EXPECT_NE(make({attrs}).getHash(), make({attrs, {"exists", IntAttribute(0)}}).getHash());
    EXPECT_NE(make({}).getHash(), Hash());
    const LocationData data = make({attrs});
    EXPECT_EQ(data.getHash(), data.getHash());
}

TEST(LocationData, IsCopiedMovedAndAssigned) {
    LocationData first(GroupAttribute({{"pc", StringAttribute({"a"}, 1)}}, true));
    LocationData second = first;
    EXPECT_EQ(second.getRecord(), first.getRecord());
    LocationData third = std::move(second);
    EXPECT_EQ(third.getRecord(), first.getRecord());
    LocationData& alias = third;
    third = alias;
    EXPECT_THAT(StringsOf(third.getPotentialChildren()), ElementsAre("a"));
    third = LocationData();
    EXPECT_FALSE(third.isValid());
    third = std::move(first);
    EXPECT_THAT(StringsOf(third.getPotentialChildren()), ElementsAre("a"));
}

TEST(LocationData, OutlivesClientAndRuntime) {
    LocationData data;
    {
        Graph graph;
        data = graph.commit(graph.op(kSource, {Value(8)}))->cookLocation("/root");
    }
    EXPECT_EQ(Number(data.getAttrs(), "value"), 8);
    EXPECT_NE(data.getHash(), Hash());
}
