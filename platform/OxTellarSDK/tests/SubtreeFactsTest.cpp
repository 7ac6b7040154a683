#include <OxTellarSDK/SubtreeFacts.h>

#include <cmath>
#include <functional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

#include "RunTogether.h"
#include "TestOps.h"

namespace {

using namespace OxAttribute;
using namespace OxOpType;
using namespace TestOps;
using testing::ElementsAre;

/// Op types that count how often they are asked, under the argument "counter".
class DescribedType : public FunctionType {
public:
    using Describe = std::function<SubtreeFacts(SubtreeContext&)>;
    DescribedType(const std::string& name, Describe describe)
        : FunctionType(
              name, [](CookContext& context) { context.pass(context.input(0)); }, 1),
          describe(std::move(describe)) {}

    SubtreeFacts describeSubtree(SubtreeContext& context) const override {
        ++Counter::of(TestOps::Text(context.args(), "counter"));
        return describe(context);
    }

private:
    Describe describe;
};

std::string RegisterDescribed(const std::string& name, DescribedType::Describe describe) {
    RegisterOpType(new DescribedType(name, std::move(describe)));
    return name;
}

const std::string kDescribedPass =
    RegisterDescribed("DescribedPass", [](SubtreeContext& context) { return context.input(0); });

/// A tree of locations with two children each, down to a depth of three.
const std::string kDescribedTree = RegisterDescribed("DescribedTree", [](SubtreeContext& context) {
    SubtreeFacts facts = SubtreeFacts::Missing();
    if (context.path().size() > 6) return facts;
    const GroupAttribute xform({{"translate", DoubleAttribute({1, 0, 0}, 3)}}, true);
    facts = DescribeLocation(
        GroupAttribute({{"type", StringAttribute("sphere")}, {"xform", xform}}, true),
        StringAttribute({"a", "b"}, 1));
    AddChildren(context, facts);
    return facts;
});

const std::string kDescribedJoin = RegisterDescribed("DescribedJoin", [](SubtreeContext& context) {
    SubtreeFacts facts = context.input(0);
    *facts.locations += *context.input(1).locations;
    facts.identity = Hash();
    return facts;
});

const std::string kDescribedRing = RegisterDescribed(
    "DescribedRing", [](SubtreeContext& context) { return context.here(context.path()); });

const std::string kDescribedPit = RegisterDescribed(
    "DescribedPit", [](SubtreeContext& context) { return context.here(context.path() + "/a"); });

const std::string kDescribedError = RegisterDescribed(
    "DescribedError", [](SubtreeContext&) -> SubtreeFacts { throw std::runtime_error("broken"); });

TEST(TypeBit, KnowsTheTypesOfRenderers) {
    EXPECT_EQ(TypeBit(""), kTypeGroup);
    EXPECT_EQ(TypeBit("group"), kTypeGroup);
    EXPECT_EQ(TypeBit("polymesh"), kTypePolyMesh);
    EXPECT_EQ(TypeBit("light"), kTypeLight);
    EXPECT_EQ(TypeBit("material"), kTypeOther);
}

TEST(DescribeLocation, EnclosesThePointsOfAllSamples) {
    const FloatAttribute points({{0.0f, {1, 2, 3, -1, 0, 0}}, {1.0f, {0, 9, 0, 0, 0, -4}}}, 3);
    const GroupAttribute geometry({{"point", GroupAttribute({{"P", points}}, true)}}, true);
    const GroupAttribute attrs({{"type", StringAttribute("polymesh")}, {"geometry", geometry}},
                               true);
    const SubtreeFacts facts = DescribeLocation(attrs, StringAttribute());
    EXPECT_THAT(facts.ownBound->values, ElementsAre(-1, 1, 0, 9, -4, 3));
    EXPECT_EQ(facts.ownTypes, kTypePolyMesh);
    EXPECT_FALSE(facts.isPlain);
    EXPECT_TRUE(DescribeLocation(attrs, StringAttribute(), 4).ownBound);
    EXPECT_FALSE(DescribeLocation(attrs, StringAttribute(), 3).ownBound);
}

TEST(DescribeLocation, EnclosesASphereOfItsRadius) {
    const GroupAttribute geometry({{"radius", DoubleAttribute({{0.0f, {2}}, {1.0f, {3}}}, 1)}},
                                  true);
    const GroupAttribute attrs({{"type", StringAttribute("sphere")}, {"geometry", geometry}}, true);
    EXPECT_THAT(DescribeLocation(attrs, StringAttribute()).ownBound->values,
                ElementsAre(-3, 3, -3, 3, -3, 3));
    const GroupAttribute usual({{"type", StringAttribute("sphere")}}, true);
    EXPECT_THAT(DescribeLocation(usual, StringAttribute()).ownBound->values,
                ElementsAre(-1, 1, -1, 1, -1, 1));
}

TEST(DescribeLocation, TakesTheAttributeBoundOfALocationWithoutPoints) {
    const GroupAttribute attrs({{"bound", DoubleAttribute({0, 1, 2, 3, 4, 5}, 1)}}, true);
    EXPECT_THAT(DescribeLocation(attrs, StringAttribute()).ownBound->values,
                ElementsAre(0, 1, 2, 3, 4, 5));
    const GroupAttribute endless({{"bound", DoubleAttribute({0, INFINITY, 2, 3, 4, 5}, 1)}}, true);
    EXPECT_FALSE(DescribeLocation(endless, StringAttribute()).ownBound);
    const SubtreeFacts group = DescribeLocation(GroupAttribute(), StringAttribute());
    EXPECT_TRUE(group.ownBound->isEmpty());
    EXPECT_TRUE(group.isPlain);
}

TEST(DescribeSubtree, AddsUpTheFactsOfTheChildren) {
    Graph graph;
    const Client client = graph.commit(graph.op(kDescribedTree));
    const SubtreeFacts facts = DescribeSubtree(*client, "/r");
    EXPECT_EQ(facts.locations, 1 + 2 + 4);
    EXPECT_EQ(facts.types, kTypeSphere);
    EXPECT_THAT(facts.bound->values, ElementsAre(-1, 3, -1, 1, -1, 1));
    EXPECT_THAT(facts.boundInParent()->values, ElementsAre(0, 4, -1, 1, -1, 1));
    EXPECT_EQ(DescribeSubtree(*client, "/r/a/b/a").exists, false);
}

TEST(DescribeSubtree, KnowsNothingAboutTypesThatDoNotDescribe) {
    Graph graph;
    const Client client = graph.commit(graph.op(kPass, {}, {graph.op(kDescribedTree)}));
    const SubtreeFacts facts = DescribeSubtree(*client, "/r");
    EXPECT_FALSE(facts.exists || facts.types || facts.locations || facts.bound);
}

TEST(DescribeSubtree, KnowsNothingWhenATypeThrowsOrCannotBeCooked) {
    Graph graph;
    const Client throws = graph.client(graph.op(kDescribedError));
    const Client unknown = graph.client(graph.op("NoSuchType"));
    const Client nothing = graph.client(nullptr);
    EXPECT_FALSE(DescribeSubtree(*throws, "/r").exists); // not committed
    graph.commit();
    EXPECT_FALSE(DescribeSubtree(*throws, "/r").exists);
    EXPECT_FALSE(DescribeSubtree(*unknown, "/r").exists);
    EXPECT_FALSE(DescribeSubtree(*nothing, "/r").exists);
    EXPECT_EQ(DescribeInstances(*throws, "/r"), nullptr);
    EXPECT_EQ(DescribeInstances(*nothing, "/r"), nullptr);
}

TEST(DescribeSubtree, KnowsNothingAboutWhatIsNoPathOfALocation) {
    Graph graph;
    const Client client = graph.commit(graph.op(kDescribedTree));
    for (const char* path : {"", "/", "r", "/r/", "//r", "/r//a"})
        EXPECT_FALSE(DescribeSubtree(*client, path).exists) << path;
}

TEST(DescribeSubtree, EndsForAnOpThatAsksItself) {
    Graph graph;
    const Client ring = graph.client(graph.op(kDescribedRing));
    const Client pit = graph.client(graph.op(kDescribedPit));
    graph.commit();
    EXPECT_FALSE(DescribeSubtree(*ring, "/r").exists);
    EXPECT_FALSE(DescribeSubtree(*pit, "/r").exists);
}

TEST(DescribeSubtree, AsksEachOpOnceHoweverManyWaysLeadToIt) {
    Graph graph;
    Op last = graph.op(kDescribedTree);
    for (int i = 0; i < 60; ++i)
        last = graph.op(kDescribedJoin, {Counted("describedJoin")}, {last, last});
    const Client client = graph.commit(last);
    EXPECT_EQ(DescribeSubtree(*client, "/r/a/a").locations, std::int64_t(1) << 60);
    EXPECT_EQ(Counter::take("describedJoin"), 60);
}

TEST(DescribeSubtree, GoesThroughTheDeepestGraphs) {
    Graph graph;
    Op last = graph.op(kDescribedTree);
    for (int i = 0; i < 500; ++i)
        last = graph.op(kDescribedPass, {Value(i)}, {last});
    const Client client = graph.commit(last);
    EXPECT_EQ(DescribeSubtree(*client, "/r").locations, 7);
}

TEST(DescribeSubtree, PassesTheIdentityOfAnInputOn) {
    Graph graph;
    const Op tree = graph.op(kDescribedTree);
    const Client direct = graph.client(tree);
    const Client passed = graph.client(graph.op(kDescribedPass, {}, {tree}));
    const Client joined = graph.client(graph.op(kDescribedJoin, {}, {tree, tree}));
    graph.commit();
    const Hash identity = DescribeSubtree(*direct, "/r").identity;
    EXPECT_NE(identity, Hash());
    EXPECT_EQ(DescribeSubtree(*passed, "/r").identity, identity);
    EXPECT_NE(DescribeSubtree(*joined, "/r").identity, identity);
    EXPECT_NE(DescribeSubtree(*direct, "/r/a").identity, identity);
    EXPECT_NE(DescribeSubtree(*direct, "/r/a").identity, DescribeSubtree(*direct, "/r/b").identity);
}

TEST(DescribeSubtree, AnswersAfterResultsWereTaken) {
    Graph graph;
    const Client client =
        graph.commit(graph.op(kDescribedPass, {Value(7)}, {graph.op(kDescribedTree)}));
    client->takeResults();
    EXPECT_EQ(DescribeSubtree(*client, "/r").locations, 7);
}

TEST(DescribeSubtree, AnswersManyThreadsAtOnce) {
    Graph graph;
    const Client client = graph.commit(graph.op(kDescribedPass, {}, {graph.op(kDescribedTree)}));
    RunTogether(8, [&](std::size_t) {
        for (int i = 0; i < 20; ++i)
            EXPECT_EQ(DescribeSubtree(*client, "/r").locations, 7);
    });
}

class ThreeInstances final : public Instances {
public:
    std::int64_t count() const override { return 3; }
    const std::vector<std::string>& prototypes() const override { return names; }

protected:
    void readRange(std::int64_t begin, std::int64_t end, std::int64_t* prototypes,
                   double*) const override {
        for (std::int64_t i = begin; i < end; ++i)
            prototypes[i - begin] = i;
    }
    std::string pathOf(std::int64_t index) const override {
        return names[static_cast<std::size_t>(index)];
    }

private:
    std::vector<std::string> names{"a", "b", "c"};
};

TEST(Instances, AreReadByRangesWithinTheirNumber) {
    const ThreeInstances instances;
    std::int64_t prototypes[2] = {};
    instances.read(1, 3, prototypes, nullptr);
    EXPECT_THAT(prototypes, ElementsAre(1, 2));
    EXPECT_EQ(instances.path(2), "c");
    instances.read(3, 3, nullptr, nullptr);
    EXPECT_THROW(instances.read(2, 4, prototypes, nullptr), std::out_of_range);
    EXPECT_THROW(instances.read(-1, 1, prototypes, nullptr), std::out_of_range);
    EXPECT_THROW(instances.read(2, 1, prototypes, nullptr), std::out_of_range);
    EXPECT_THROW(instances.path(3), std::out_of_range);
    EXPECT_THROW(instances.path(-1), std::out_of_range);
}

} // namespace
