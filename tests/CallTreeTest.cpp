#include "CallTree.h"

#include <cstdint>
#include <string>

#include <gtest/gtest.h>

#include "CostliestLocations.h"
#include "LongestEvents.h"

// What bounds the memory of profiles: full trees of calls, forgotten locations and events.

namespace {

using namespace TELLAR;
using OxOpType::ObservedCook;

const std::string kName = "op";
const std::string kType = "Type";
const std::string kLocation = "/root";

OxAttribute::Hash Identity(std::uint64_t number) {
    return {{number, ~number}};
}

CallTree::NodeIndex Enter(CallTree& tree, CallTree::NodeIndex parent, std::uint64_t number) {
    const OxAttribute::Hash identity = Identity(number);
    return tree.enter(parent, ObservedCook{kName, kType, identity, kLocation});
}

CookSums Costing(std::int64_t own) {
    CookSums sums;
    sums.cooks = 1;
    sums.own = own;
    return sums;
}

TEST(CallTree, AChainOfOpsIsOneNode) {
    CallTree tree;
    const auto above = Enter(tree, CallTree::kRoot, 1);
    const auto below = Enter(tree, above, 2);
    EXPECT_NE(above, below);
    EXPECT_EQ(Enter(tree, CallTree::kRoot, 1), above);
    EXPECT_NE(Enter(tree, CallTree::kRoot, 2), below);
    EXPECT_EQ(Enter(tree, above, 2), below);
    EXPECT_EQ(tree.getNodes().size(), 4u);
    EXPECT_EQ(tree.getNodes()[below].parent, above);
    EXPECT_EQ(tree.getOps().size(), 2u);
}

TEST(CallTree, AFullTreeCountsFurtherChainsAtKnownOnes) {
    CallTree tree;
    CallTree::NodeIndex node = Enter(tree, CallTree::kRoot, 1);
    const auto first = node;
    for (int i = 0; i < 100000; ++i)
        node = Enter(tree, node, 1 + i % 2);
    EXPECT_EQ(tree.getNodes().size(), std::size_t(1) << 15);
    EXPECT_GT(tree.getNumberOfMerged(), 0u);
    EXPECT_EQ(Enter(tree, tree.getNodes().size() - 1, 1), first);
}

TEST(CallTree, AFullTreeTakesNewOps) {
    CallTree tree;
    CallTree::NodeIndex node = CallTree::kRoot;
    for (int i = 0; i < 40000; ++i)
        node = Enter(tree, node, 1);
    const auto known = Enter(tree, CallTree::kRoot, 2);
    EXPECT_EQ(tree.getNodes()[known].identity, Identity(2));
    EXPECT_EQ(tree.getOps().size(), 2u);
}

TEST(CostliestLocations, RefusesWhatIsCheaperThanWhatItForgot) {
    CostliestLocations locations(10);
    for (int i = 1; i <= 20000; ++i) {
        const LocationCost cost{"/" + std::to_string(i), Costing(i)};
        locations.add(&cost, 1);
    }
    EXPECT_FALSE(locations.matters(Costing(100)));
    EXPECT_TRUE(locations.matters(Costing(15000)));
    const auto costliest = locations.getCostliest();
    ASSERT_EQ(costliest.size(), 10u);
    EXPECT_EQ(costliest[0].path, "/20000");
    EXPECT_EQ(costliest[9].path, "/19991");
}

TEST(CostliestLocations, AddsUpTheCooksOfALocation) {
    CostliestLocations locations(10);
    const LocationCost costs[] = {{"/a", Costing(3)}, {"/b", Costing(4)}, {"/a", Costing(2)}};
    locations.add(costs, 3);
    const auto costliest = locations.getCostliest();
    ASSERT_EQ(costliest.size(), 2u);
    EXPECT_EQ(costliest[0].path, "/a");
    EXPECT_EQ(costliest[0].sums.own, 5);
    EXPECT_EQ(costliest[0].sums.cooks, 2u);
}

TEST(CostliestLocations, EquallyCheapOnesAreForgottenTogether) {
    CostliestLocations locations(10);
    for (int i = 0; i < 40000; ++i) {
        const LocationCost cost{"/" + std::to_string(i), Costing(7)};
        if (locations.matters(cost.sums)) locations.add(&cost, 1);
    }
    const LocationCost costly{"/costly", Costing(8)};
    ASSERT_TRUE(locations.matters(costly.sums));
    locations.add(&costly, 1);
    EXPECT_EQ(locations.getCostliest().front().path, "/costly");
}

TEST(CostliestLocations, AWaitKeepsACheapLocation) {
    CostliestLocations locations(20000);
    CookSums awaited = Costing(1);
    awaited.waited = 30000;
    const LocationCost early{"/awaited", awaited};
    locations.add(&early, 1);
    for (int i = 0; i < 90000; ++i) {
        const LocationCost cost{"/" + std::to_string(i), Costing(10 + i % 20000)};
        if (locations.matters(cost.sums)) locations.add(&cost, 1);
    }
    EXPECT_FALSE(locations.matters(Costing(1)));
    EXPECT_TRUE(locations.matters(awaited));
}

TEST(LongestEvents, KeepsTheLongestInTheOrderOfTheirStarts) {
    LongestEvents events(3);
    for (int i = 0; i < 1000; ++i) {
        CookEvent event;
        event.start = i;
        event.duration = (i * 7) % 1000; // each once
        if (events.matters(event.duration)) events.add(&event, 1);
    }
    const auto longest = events.getLongest();
    ASSERT_EQ(longest.size(), 3u);
    EXPECT_EQ(longest[0].start, 571);
    EXPECT_EQ(longest[0].duration + longest[1].duration + longest[2].duration, 999 + 998 + 997);
    EXPECT_LT(longest[0].start, longest[1].start);
    EXPECT_LT(longest[1].start, longest[2].start);
    EXPECT_FALSE(events.matters(900));
}

TEST(LongestEvents, TakesNothingIfNothingIsWanted) {
    EXPECT_FALSE(LongestEvents(0).matters(1000000));
}

} // namespace
