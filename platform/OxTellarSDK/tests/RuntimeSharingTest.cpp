#include <OxTellarSDK/TellarRuntime.h>

#include <cstdint>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "AttributePrinter.h"
#include "ReferenceCount.h"
#include "TestOps.h"

using namespace OxAttribute;
using namespace TestOps;
using testing::HasSubstr;

// Sharing

TEST(RuntimeSharing, ALocationIsCookedOnce) {
    Graph graph;
    const Client client = graph.commit(graph.op(kSource, {Counted("once")}));
    const LocationData first = client->cookLocation("/root");
    EXPECT_EQ(client->cookLocation("/root").getRecord(), first.getRecord());
    EXPECT_EQ(Counter::of("once"), 1);
    client->cookLocation("/root/a");
    EXPECT_EQ(Counter::take("once"), 2);
}

TEST(RuntimeSharing, EqualTreesInManyRuntimesCookEachLocationOnce) {
    std::vector<Client> clients;
    for (int i = 0; i < 5; ++i) {
        Graph graph;
        const Op source = graph.op(kSource, {Counted("shared source"), Value(2)}, {}, "any name");
        const Op unrelated = graph.op(kSource, {Value(i)});
        clients.push_back(graph.commit(graph.op(kSum, {Counted("shared sum")}, {source, source})));
    }
    const std::uint64_t before = TellarRuntime::getNumberOfCooks();
    for (const Client& client : clients)
        EXPECT_EQ(ValueAt(client, "/root"), 4);
    EXPECT_EQ(Counter::take("shared source"), 1);
    EXPECT_EQ(Counter::take("shared sum"), 1);
    EXPECT_EQ(TellarRuntime::getNumberOfCooks() - before, 2u);
    EXPECT_EQ(clients[0]->getOp()->getIdentity(), clients[4]->getOp()->getIdentity());
}

TEST(RuntimeSharing, NothingIsSharedBetweenDifferentOps) {
    Graph graph;
    const Op a = graph.op(kSource, {Value(1)}), b = graph.op(kSource, {Value(2)});
    const std::vector<Op> different = {
        a,
        b,
        graph.op(kSource),
        graph.op(kNothing, {Value(1)}),
        graph.op(kSource, {Value(1), {"more", IntAttribute(1)}}),
        graph.op(kSum, {}, {a}),
        graph.op(kSum, {}, {a, a}),
        graph.op(kSum, {}, {a, b}),
        graph.op(kSum, {}, {b, a}),
        graph.op(kSum, {}, {a, nullptr}),
        graph.op(kSum, {}, {nullptr, a}),
        graph.op(kSum, {}, {nullptr}),
        graph.op(kSum),
    };
    graph.commit();
    for (std::size_t i = 0; i < different.size(); ++i)
        for (std::size_t j = 0; j < i; ++j)
            EXPECT_NE(different[i]->getIdentity(), different[j]->getIdentity()) << i << ' ' << j;
}

TEST(RuntimeSharing, DefectiveOpsOfOneTypeDifferByTheirNamesAndDefects) {
    Graph graph;
    const Op a = graph.op("NoSuchType", {}, {}, "a"), b = graph.op("NoSuchType", {}, {}, "b");
    const Op alone = graph.op(kPass, {}, {}, "x"), x = graph.op(kPass, {}, {}, "x");
    const Op y = graph.op(kPass, {}, {x}, "y");
    graph.transaction->setOpInputs(alone, {alone}); // a circle of one
    graph.transaction->setOpInputs(x, {y});         // a cycle of two Ops
    graph.commit();
    EXPECT_NE(a->getIdentity(), b->getIdentity());
    EXPECT_NE(alone->getIdentity(), x->getIdentity());
    Graph again;
    const Op sameAsA = again.op("NoSuchType", {}, {}, "a");
    again.commit();
    EXPECT_EQ(a->getIdentity(), sameAsA->getIdentity());
}

TEST(RuntimeSharingDeathTest, NoCooksAreCountedInAFreshProcess) {
    GTEST_FLAG_SET(death_test_style, "threadsafe"); // runs this test alone, from the start
    EXPECT_EXIT(std::_Exit(TellarRuntime::getNumberOfCooks() == 0 ? 0 : 1),
                testing::ExitedWithCode(0), "");
}

TEST(RuntimeSharing, TheIdentityIsComputedAtCommit) {
    Graph graph;
    const Op op = graph.op(kSource);
    EXPECT_EQ(op->getIdentity(), Hash());
    graph.commit();
    EXPECT_NE(op->getIdentity(), Hash());
}

TEST(RuntimeSharing, TheVersionOfTheTypeIsPartOfTheIdentity) {
    // The same name cannot be registered twice, so one type changes its mind, as a new plug-in
    // between two runs would.
    class Changing : public OxOpType::OpType {
    public:
        Changing() { about.name = "TestChanging"; }
        const OxOpType::Description& description() const override { return about; }
        void cook(CookContext&) const override {}
        OxOpType::Description about;
    };
    static Changing* const type = [] {
        auto* const made = new Changing;
        RegisterOpType(made);
        return made;
    }();
    type->about.version = 1;
    Graph before;
    const Op first = before.op("TestChanging");
    before.commit();
    type->about.version = 2;
    Graph after;
    const Op second = after.op("TestChanging");
    after.commit();
    EXPECT_NE(first->getIdentity(), second->getIdentity());
}

TEST(RuntimeSharing, ResultsAreFreedWithTheLastRuntimeThatHoldsTheOp) {
    {
        Graph graph;
        graph.commit(graph.op(kSource, {Counted("gone")}))->cookLocation("/root");
    }
    Graph graph;
    graph.commit(graph.op(kSource, {Counted("gone")}))->cookLocation("/root");
    EXPECT_EQ(Counter::take("gone"), 2);
}

// Results that are taken from a client

TEST(TakenResults, AreCookedAgainByTheNextCook) {
    Graph graph;
    const Client client =
        graph.commit(graph.op(kPass, {}, {graph.op(kSource, {Value(3), Counted("taken")})}));
    const Attribute cooked = client->cookLocation("/root").getAttrs();
    client->takeResults();
    EXPECT_EQ(CountReferences(cooked), 1u);
    EXPECT_FALSE(client->getCachedLocation("/root").isValid());
    graph.runtime->evict("/root");
    graph.runtime->finalize();
    EXPECT_EQ(ValueAt(client, "/root"), 3);
    EXPECT_TRUE(client->getCachedLocation("/root").isValid());
    EXPECT_EQ(Counter::take("taken"), 2);
}

TEST(TakenResults, StayValidForTheCallerUntilTheNextCook) {
    Graph graph, equal;
    const Client client = graph.commit(graph.op(kSource, {Value(4), Counted("held")}));
    client->cookLocation("/root");
    const auto held = client->takeResults();
    EXPECT_EQ(ValueAt(equal.commit(equal.op(kSource, {Value(4), Counted("held")})), "/root"), 4);
    EXPECT_EQ(Counter::take("held"), 1);
}

TEST(TakenResults, StayWithOtherRuntimesThatUseThem) {
    Graph graph, equal;
    const Client client = graph.commit(graph.op(kSource, {Value(5), Counted("others'")}));
    const Client other = equal.commit(equal.op(kSource, {Value(5), Counted("others'")}));
    client->cookLocation("/root"), other->cookLocation("/root");
    client->takeResults();
    EXPECT_EQ(ValueAt(client, "/root"), 5);
    EXPECT_TRUE(other->getCachedLocation("/root").isValid());
    EXPECT_EQ(Counter::take("others'"), 1);
}

TEST(TakenResults, StayWithOtherClientsOfTheRuntime) {
    Graph graph;
    const Op source = graph.op(kSource, {Value(6), Counted("clients'")});
    const Client lower = graph.client(source);
    const Client upper = graph.commit(graph.op(kPass, {}, {source}));
    upper->cookLocation("/root"), lower->cookLocation("/root");
    upper->takeResults();
    EXPECT_TRUE(lower->getCachedLocation("/root").isValid());
    EXPECT_EQ(ValueAt(upper, "/root"), 6);
    upper->takeResults(), lower->takeResults();
    EXPECT_EQ(ValueAt(lower, "/root") + ValueAt(upper, "/root"), 12);
    EXPECT_EQ(Counter::take("clients'"), 2);
}

TEST(TakenResults, AreCookedAgainForOpsOfALaterTransaction) {
    Graph graph;
    const Op source = graph.op(kSource, {Value(7)});
    const Client client = graph.commit(source);
    client->cookLocation("/root");
    client->takeResults();
    Graph later(graph.runtime);
    EXPECT_EQ(ValueAt(later.commit(later.op(kPass, {}, {source})), "/root"), 7);
    EXPECT_EQ(ValueAt(client, "/root"), 7);
}

TEST(TakenResults, AreEmptyForAClientThatCannotCook) {
    Graph graph, defective;
    EXPECT_EQ(graph.client(nullptr)->takeResults(), nullptr);
    const Client client = defective.commit(defective.op("NoSuchType"));
    client->takeResults();
    EXPECT_THAT(CookError(client, "/root"), HasSubstr("there is no op type of this name"));
    client->takeResults();
    EXPECT_EQ(client->takeResults(), nullptr);
}

// The locations that one runtime has cooked

TEST(CachedLocation, ExistsOnlyAfterThisRuntimeHasCookedIt) {
    Graph first, second;
    const Client a = first.commit(first.op(kSource, {Value(11)}));
    const Client b = second.commit(second.op(kSource, {Value(11)}));
    EXPECT_FALSE(a->getCachedLocation("/root").isValid());
    const LocationData cooked = a->cookLocation("/root");
    EXPECT_EQ(a->getCachedLocation("/root").getRecord(), cooked.getRecord());
    EXPECT_FALSE(b->getCachedLocation("/root").isValid());
    EXPECT_FALSE(a->getCachedLocation("/root/a").isValid());
    EXPECT_EQ(b->cookLocation("/root").getRecord(), cooked.getRecord());
    EXPECT_EQ(b->getCachedLocation("/root").getRecord(), cooked.getRecord());
}

TEST(CachedLocation, DistinguishesCookedFromEvictedLocations) {
    constexpr int kCount = 70000;
    Graph graph;
    const Client client = graph.commit(graph.op(kSource));
    const auto path = [](int i) { return "/root/leaf" + std::to_string(i); };
    for (int i = 0; i < kCount; ++i)
        client->cookLocation(path(i));
    for (int i = 0; i < kCount; i += 7)
        graph.runtime->evict(path(i));
    int wrong = 0;
    for (int i = 0; i < kCount; ++i)
        wrong += client->getCachedLocation(path(i)).isValid() != (i % 7 != 0);
    EXPECT_EQ(wrong, 0);
}

TEST(CachedLocation, DoesNotCookAnything) {
    Graph graph;
    const Client client = graph.commit(graph.op(kSource, {Counted("cached")}));
    client->getCachedLocation("/root");
    client->getCachedLocation("/root/a/b/c");
    EXPECT_EQ(Counter::take("cached"), 0);
}

TEST(CachedLocation, IncludesLocationsThatDoNotExist) {
    Graph graph;
    const Client client = graph.commit(graph.op(kNothing));
    client->cookLocation("/root");
    EXPECT_TRUE(client->getCachedLocation("/root").isValid());
    EXPECT_FALSE(client->getCachedLocation("/root").doesLocationExist());
}

TEST(CachedLocation, IsSharedByClientsOfOneRuntimeWithEqualOps) {
    Graph graph;
    const Op op = graph.op(kSource, {Value(1)});
    const Client a = graph.client(op), b = graph.client(op), other = graph.client(graph.op(kSum));
    graph.commit();
    a->cookLocation("/root");
    EXPECT_TRUE(b->getCachedLocation("/root").isValid());
    EXPECT_FALSE(other->getCachedLocation("/root").isValid());
}

TEST(CachedLocation, DoesNotIncludeFailedCooks) {
    Graph graph;
    const Client client = graph.commit(graph.op(kThrow, {Counted("failed")}));
    CookError(client, "/root");
    EXPECT_FALSE(client->getCachedLocation("/root").isValid());
    CookError(client, "/root");
    EXPECT_EQ(Counter::take("failed"), 2);
}
