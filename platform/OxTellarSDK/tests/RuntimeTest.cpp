#include <OxTellarSDK/TellarRuntime.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "AllocatedBytes.h"
#include "AttributePrinter.h"
#include "TestOps.h"

using namespace OxAttribute;
using namespace TestOps;
using testing::ElementsAre;
using testing::HasSubstr;

// One graph, one client

TEST(Runtime, CooksWhatTheOpMakesOfALocation) {
    Graph graph;
    const Client client =
        graph.commit(graph.op(kSource, {Value(7), {"children", StringAttribute({"a", "b"}, 1)}}));
    const LocationData data = client->cookLocation("/root/world");
    EXPECT_TRUE(data.isValid());
    EXPECT_TRUE(data.doesLocationExist());
    EXPECT_EQ(data.getAttrs(),
              GroupAttribute({{"path", StringAttribute("/root/world")}, Value(7)}, true));
    EXPECT_THAT(StringsOf(data.getPotentialChildren()), ElementsAre("a", "b"));
}

TEST(Runtime, ALocationThatTheOpDoesNotMakeIsValidDataThatDoesNotExist) {
    Graph graph;
    const Client client = graph.commit(graph.op(kNothing));
    const LocationData data = client->cookLocation("/root");
    EXPECT_TRUE(data.isValid());
    EXPECT_FALSE(data.doesLocationExist());
    EXPECT_FALSE(data.getAttrs().isValid());
    EXPECT_FALSE(data.getPotentialChildren().isValid());
}

TEST(Runtime, NothingExistsForAClientWithoutAnOp) {
    Graph graph;
    const Client client = graph.commit(nullptr);
    EXPECT_TRUE(client->cookLocation("/root").isValid());
    EXPECT_FALSE(Exists(client, "/root"));
    EXPECT_FALSE(client->getCachedLocation("/root").isValid());
    EXPECT_EQ(client->getOp(), nullptr);
    EXPECT_EQ(client->getRuntime(), graph.runtime);
}

TEST(Runtime, NothingExistsForAClientBeforeItsTransactionIsCommitted) {
    Graph graph;
    const Client client = graph.client(graph.op(kSource));
    EXPECT_FALSE(Exists(client, "/root"));
    EXPECT_FALSE(client->getCachedLocation("/root").isValid());
    graph.commit();
    EXPECT_TRUE(Exists(client, "/root"));
}

TEST(Runtime, NothingExistsForAnUncommittedClientOfACommittedOp) {
    Graph first;
    const Op op = first.op(kSource);
    first.commit();
    Graph second(first.runtime);
    const Client client = second.client(op);
    EXPECT_FALSE(Exists(client, "/root"));
    EXPECT_FALSE(client->getCachedLocation("/root").isValid());
    second.commit();
    EXPECT_TRUE(Exists(client, "/root"));
}

TEST(Runtime, AClientMayBePointedElsewhereUntilItIsCommitted) {
    Graph graph;
    const Op one = graph.op(kSource, {Value(1)}), two = graph.op(kSource, {Value(2)});
    const Client client = graph.client(one);
    graph.transaction->setClientOp(client, two);
    graph.commit();
    EXPECT_EQ(ValueAt(client, "/root"), 2);
    EXPECT_EQ(client->getOp(), two);
}

TEST(Runtime, LaterTransactionsBuildOnCommittedOps) {
    Graph first;
    const Op source = first.op(kSource, {Value(4)});
    first.commit();
    Graph second(first.runtime);
    const Client client = second.commit(second.op(kSum, {}, {source, source}));
    EXPECT_EQ(ValueAt(client, "/root"), 8);
}

TEST(Runtime, PassesARecordThroughUncopied) {
    Graph graph;
    const Op source = graph.op(kSource, {Value(1)});
    const Client below = graph.client(source);
    const Client above = graph.commit(graph.chain(source, 3));
    EXPECT_EQ(above->cookLocation("/root").getRecord(), below->cookLocation("/root").getRecord());
}

TEST(Runtime, ANullInputPresentsNoLocation) {
    Graph graph;
    const Op source = graph.op(kSource, {Value(3)});
    const Client client = graph.commit(graph.op(kSum, {}, {nullptr, source, nullptr}));
    EXPECT_EQ(ValueAt(client, "/root"), 3);
    EXPECT_EQ(client->getOp()->getInputs(), (std::vector<Op>{nullptr, source, nullptr}));
    Graph other;
    EXPECT_FALSE(Exists(other.commit(other.op(kPass, {}, {nullptr})), "/root"));
}

TEST(Runtime, AnOpMayLookAtAnyLocationOfItsInputs) {
    static const std::string kFromRoot = Register("TestFromRoot", [](CookContext& context) {
        const std::string above = Text(context.input(0, "/root").getAttrs(), "path");
        const bool beyond = context.input(0, "no path").doesLocationExist() ||
                            context.input(5).doesLocationExist() ||
                            context.input(5, "/root").isValid() == false;
        context.setAttrs(GroupAttribute(
            {{"above", StringAttribute(above)}, {"beyond", IntAttribute(beyond)}}, true));
    });
    Graph graph;
    const Client client = graph.commit(graph.op(kFromRoot, {}, {graph.op(kSource)}));
    const GroupAttribute attrs = client->cookLocation("/root/world/geo").getAttrs();
    EXPECT_EQ(Text(attrs, "above"), "/root");
    EXPECT_EQ(Number(attrs, "beyond"), 0);
}

TEST(Runtime, AnOpWithManyInputsSeesThemAll) {
    Graph graph;
    std::vector<Op> inputs;
    for (int i = 0; i < 10000; ++i)
        inputs.push_back(graph.op(kSource, {Value(i)}));
    EXPECT_EQ(ValueAt(graph.commit(graph.op(kSum, {}, inputs)), "/root"), 49995000);
}

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
    graph.transaction->setOpInputs(x, {y});         // of two
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

TEST(RuntimeSharing, TheIdentityIsMadeAtCommit) {
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

TEST(RuntimeSharing, ResultsGoWithTheLastRuntimeThatHoldsTheOp) {
    {
        Graph graph;
        graph.commit(graph.op(kSource, {Counted("gone")}))->cookLocation("/root");
    }
    Graph graph;
    graph.commit(graph.op(kSource, {Counted("gone")}))->cookLocation("/root");
    EXPECT_EQ(Counter::take("gone"), 2);
}

// Results that are taken from a client

TEST(TakenResults, AreCookedAnewByTheNextCook) {
    Graph graph;
    const Client client =
        graph.commit(graph.op(kPass, {}, {graph.op(kSource, {Value(3), Counted("taken")})}));
    const Attribute cooked = client->cookLocation("/root").getAttrs();
    client->takeResults();
    EXPECT_EQ(*reinterpret_cast<const std::uint32_t*>(cooked.getHandle()), 1u);
    EXPECT_FALSE(client->getCachedLocation("/root").isValid());
    graph.runtime->evict("/root");
    graph.runtime->finalize();
    EXPECT_EQ(ValueAt(client, "/root"), 3);
    EXPECT_TRUE(client->getCachedLocation("/root").isValid());
    EXPECT_EQ(Counter::take("taken"), 2);
}

TEST(TakenResults, AreKeptByWhoTookThemUntilThen) {
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

TEST(TakenResults, OfOpsOnWhichALaterTransactionBuildsAreCookedAnew) {
    Graph graph;
    const Op source = graph.op(kSource, {Value(7)});
    const Client client = graph.commit(source);
    client->cookLocation("/root");
    client->takeResults();
    Graph later(graph.runtime);
    EXPECT_EQ(ValueAt(later.commit(later.op(kPass, {}, {source})), "/root"), 7);
    EXPECT_EQ(ValueAt(client, "/root"), 7);
}

TEST(TakenResults, OfAClientThatCannotCookAreNone) {
    Graph graph, defective;
    EXPECT_EQ(graph.client(nullptr)->takeResults(), nullptr);
    const Client client = defective.commit(defective.op("NoSuchType"));
    client->takeResults();
    EXPECT_THAT(CookError(client, "/root"), HasSubstr("there is no op type of this name"));
    client->takeResults();
    EXPECT_EQ(client->takeResults(), nullptr);
}

// What this runtime has cooked

TEST(CachedLocation, IsThereOnlyAfterThisRuntimeCookedIt) {
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

TEST(CachedLocation, TellsCookedFromEvictedLocationsHoweverManyThereAre) {
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

TEST(CachedLocation, AsksForNothingToBeCooked) {
    Graph graph;
    const Client client = graph.commit(graph.op(kSource, {Counted("cached")}));
    client->getCachedLocation("/root");
    client->getCachedLocation("/root/a/b/c");
    EXPECT_EQ(Counter::take("cached"), 0);
}

TEST(CachedLocation, KnowsLocationsThatWereFoundNotToExist) {
    Graph graph;
    const Client client = graph.commit(graph.op(kNothing));
    client->cookLocation("/root");
    EXPECT_TRUE(client->getCachedLocation("/root").isValid());
    EXPECT_FALSE(client->getCachedLocation("/root").doesLocationExist());
}

TEST(CachedLocation, IsSharedByTheClientsOfOneRuntimeThatLookAtEqualOps) {
    Graph graph;
    const Op op = graph.op(kSource, {Value(1)});
    const Client a = graph.client(op), b = graph.client(op), other = graph.client(graph.op(kSum));
    graph.commit();
    a->cookLocation("/root");
    EXPECT_TRUE(b->getCachedLocation("/root").isValid());
    EXPECT_FALSE(other->getCachedLocation("/root").isValid());
}

TEST(CachedLocation, ForgetsWhatFailed) {
    Graph graph;
    const Client client = graph.commit(graph.op(kThrow, {Counted("failed")}));
    CookError(client, "/root");
    EXPECT_FALSE(client->getCachedLocation("/root").isValid());
    CookError(client, "/root");
    EXPECT_EQ(Counter::take("failed"), 2);
}

// Eviction

namespace {

std::atomic<int> outsideWorld{0};
std::atomic<bool> outsideFails{false};

/// Reads something that nobody tells the runtime about, as a file would be.
const std::string kOutside = Register("TestOutside", [](CookContext& context) {
    if (outsideFails) throw std::runtime_error("the world is gone");
    context.setAttrs(GroupAttribute(
        {{"value", IntAttribute(outsideWorld.load())}, {"fresh", IntAttribute(context.isFresh())}},
        true));
});

/// Whether each location was evicted before; with the children "children".
const std::string kFreshChildren = Register("TestFreshChildren", [](CookContext& context) {
    context.setAttrs(GroupAttribute({{"fresh", IntAttribute(context.isFresh())}}, true));
    context.setPotentialChildren(StringAttribute(context.args().getChildByName("children")));
});

} // namespace

TEST(Evict, MakesTheNextCookComputeAnewThroughAllOps) {
    Graph graph;
    const Client client = graph.commit(graph.chain(graph.op(kOutside, {Counted("anew")}), 3));
    outsideWorld = 1;
    EXPECT_EQ(ValueAt(client, "/root"), 1);
    outsideWorld = 2;
    EXPECT_EQ(ValueAt(client, "/root"), 1);
    graph.runtime->evict("/root");
    EXPECT_FALSE(client->getCachedLocation("/root").isValid());
    EXPECT_EQ(ValueAt(client, "/root"), 2);
    EXPECT_TRUE(client->getCachedLocation("/root").isValid());
    EXPECT_EQ(ValueAt(client, "/root"), 2);
    EXPECT_EQ(Counter::take("anew"), 2);
}

TEST(Evict, TellsOpsThatTheyMustLookAgain) {
    Graph graph;
    const Client client = graph.commit(graph.op(kOutside, {Counted("fresh")}));
    EXPECT_EQ(Number(client->cookLocation("/root").getAttrs(), "fresh"), 0);
    graph.runtime->evict("/root");
    EXPECT_EQ(Number(client->cookLocation("/root").getAttrs(), "fresh"), 1);
    EXPECT_EQ(Number(client->cookLocation("/root/a").getAttrs(), "fresh"), 0);
}

TEST(Evict, TouchesNoOtherLocation) {
    Graph graph;
    const Client client = graph.commit(graph.op(kSource, {Counted("others")}));
    for (const char* path : {"/root", "/root/a", "/root/b", "/root/a/b"})
        client->cookLocation(path);
    graph.runtime->evict("/root/a");
    for (const char* path : {"/root", "/root/b", "/root/a/b"}) {
        EXPECT_TRUE(client->getCachedLocation(path).isValid());
        client->cookLocation(path);
    }
    EXPECT_EQ(Counter::of("others"), 4);
    client->cookLocation("/root/a");
    EXPECT_EQ(Counter::take("others"), 5);
}

TEST(Evict, OfAPathNeverCookedDoesNothing) {
    Graph graph;
    const Client client = graph.commit(graph.op(kSource, {Counted("never")}));
    for (const char* path : {"/root", "/x/y/z", "", "/", "//", "no path"})
        graph.runtime->evict(path);
    client->cookLocation("/root");
    client->cookLocation("/root");
    EXPECT_EQ(Counter::take("never"), 1);
    TellarRuntime::create()->evict("/root");
}

TEST(Evict, OfASiblingOfWhatWasCookedDoesNothing) {
    Graph graph;
    const Client client =
        graph.commit(graph.op(kFreshChildren, {{"children", StringAttribute({"a", "b", "c"}, 1)}}));
    client->cookLocation("/root");
    client->cookLocation("/root/a");
    graph.runtime->evict("/root/b");
    EXPECT_EQ(Number(client->cookLocation("/root/b").getAttrs(), "fresh"), 0);
    graph.runtime->evict("/root/b");
    EXPECT_EQ(Number(client->cookLocation("/root/b").getAttrs(), "fresh"), 1);
    EXPECT_EQ(Number(client->cookLocation("/root/c").getAttrs(), "fresh"), 0);
}

TEST(Evict, OfWhatCouldNotBeCookedLooksAnew) {
    Graph graph;
    const Client client = graph.commit(graph.op(kOutside, {Counted("failed and evicted")}));
    outsideFails = true;
    CookError(client, "/root");
    outsideFails = false;
    graph.runtime->evict("/root");
    EXPECT_EQ(Number(client->cookLocation("/root").getAttrs(), "fresh"), 1);
    EXPECT_EQ(Counter::take("failed and evicted"), 2);
}

// What an op type keeps

namespace {

/// Keeps a client with each Op, as a type might that looks at another tree.
class ClientKeeper : public OxOpType::OpType {
public:
    struct Kept : OxOpType::State {
        Client client;
    };
    ClientKeeper() { about.name = "TestClientKeeper"; }
    const OxOpType::Description& description() const override { return about; }
    std::shared_ptr<const OxOpType::State> prepare(const GroupAttribute&,
                                                   std::size_t) const override {
        auto state = std::make_shared<Kept>();
        state->client = std::exchange(next, nullptr);
        return state;
    }
    void cook(CookContext& context) const override {
        context.setAttrs(GroupAttribute({{"value", IntAttribute(3)}}, true));
    }
    static Client next;

private:
    OxOpType::Description about;
};

Client ClientKeeper::next;

} // namespace

TEST(Lifetime, AnOpMayKeepAClientOfTheRuntimeThatForgetsIt) {
    static const bool isRegistered = [] {
        RegisterOpType(new ClientKeeper);
        return true;
    }();
    ASSERT_TRUE(isRegistered);
    const auto runtime = TellarRuntime::create();
    {
        Graph kept(runtime), keeping(runtime);
        ClientKeeper::next = kept.commit(kept.op(kSource, {Value(1)}));
        EXPECT_EQ(ValueAt(keeping.commit(keeping.op("TestClientKeeper")), "/root"), 3);
        EXPECT_EQ(ClientKeeper::next, nullptr);
    }
    Graph another(runtime); // to build it lets go of what is unused
    EXPECT_EQ(ValueAt(another.commit(another.op(kSource, {Value(2)})), "/root"), 2);
    runtime->finalize();
}

// Children that a walk asks for in order

namespace {

StringAttribute NumberedNames(int count) {
    std::vector<std::string> names;
    for (int i = 0; i < count; ++i)
        names.push_back("child" + std::to_string(i));
    return StringAttribute(names, 1);
}

/// Cooks the paths twice; every time the location must be the one that was asked for.
int CountWrong(const Client& client, const std::vector<std::string>& paths) {
    int wrong = 0;
    for (int pass = 0; pass < 2; ++pass)
        for (const std::string& path : paths)
            wrong += Text(client->cookLocation(path).getAttrs(), "path") != path;
    return wrong;
}

} // namespace

TEST(Children, AreCookedOnceInWhateverOrderTheyAreAskedFor) {
    constexpr int kCount = 1000; // more than are made at once
    Graph graph;
    const Client client = graph.commit(
        graph.op(kSource, {Counted("children in order"), {"children", NumberedNames(kCount)}}));
    client->cookLocation("/root");
    std::vector<std::string> forwards, mixed;
    for (int i = 0; i < kCount; ++i) {
        forwards.push_back("/root/child" + std::to_string(i));
        mixed.push_back("/root/child" + std::to_string(i * 7 % kCount));
        mixed.push_back("/root/another" + std::to_string(i % 10));
    }
    EXPECT_EQ(CountWrong(client, {forwards.begin(), forwards.begin() + 300}), 0);
    EXPECT_EQ(CountWrong(client, mixed), 0);
    EXPECT_EQ(CountWrong(client, forwards), 0);
    EXPECT_EQ(Counter::take("children in order"), 1 + kCount + 10);
}

TEST(Children, MayHaveNamesThatRepeatOrAreNone) {
    Graph graph;
    const StringAttribute names({"a", "a", "", "b/c", "d", "a", "a longer name than fits inline",
                                 "e", "f", "g", "h", "i", "a longer name than fits inline"},
                                1);
    const Client client =
        graph.commit(graph.op(kSource, {Counted("odd names"), {"children", names}}));
    EXPECT_EQ(CountWrong(client, {"/root", "/root/a", "/root/a", "/root/b/c", "/root/b", "/root/d",
                                  "/root/a longer name than fits inline", "/root/e", "/root/f",
                                  "/root/g", "/root/h", "/root/i"}),
              0);
    EXPECT_EQ(Counter::take("odd names"), 11);
}

TEST(Children, WithASlashInTheirNameAreNoLocationsOfTheirOwn) {
    Graph graph;
    const StringAttribute names({"x", "b/c", "d"}, 1);
    const Client client =
        graph.commit(graph.op(kSource, {Counted("names with a slash"), {"children", names}}));
    EXPECT_EQ(CountWrong(client, {"/root", "/root/x", "/root/b/c", "/root/d", "/root/b",
                                  "/root/b/x", "/root/b/b/c", "/root/b/c"}),
              0);
    EXPECT_EQ(Counter::take("names with a slash"), 7);
}

TEST(Children, WithoutANameDoNotExist) {
    Graph graph;
    const StringAttribute names({"x", "", "d"}, 1);
    const Client client = graph.commit(graph.op(kSource, {{"children", names}}));
    EXPECT_TRUE(Exists(client, "/root"));
    EXPECT_TRUE(Exists(client, "/root/x"));
    EXPECT_FALSE(Exists(client, "/root/"));
    EXPECT_TRUE(Exists(client, "/root/d"));
}

TEST(Evict, ReplacesTheResultThatOthersShare) {
    Graph first, second;
    const Client a = first.commit(first.op(kOutside, {Counted("replaced")}));
    const Client b = second.commit(second.op(kOutside, {Counted("replaced")}));
    outsideWorld = 1;
    const LocationData old = a->cookLocation("/root");
    EXPECT_EQ(b->cookLocation("/root").getRecord(), old.getRecord());
    outsideWorld = 2;
    first.runtime->evict("/root");
    EXPECT_TRUE(b->getCachedLocation("/root").isValid()); // the other runtime forgot nothing
    EXPECT_EQ(ValueAt(a, "/root"), 2);
    EXPECT_EQ(ValueAt(b, "/root"), 2);
    EXPECT_EQ(Number(b->getCachedLocation("/root").getAttrs(), "value"), 2);
    EXPECT_EQ(Number(old.getAttrs(), "value"), 1); // what was handed out never changes
    EXPECT_EQ(Counter::take("replaced"), 2);
}

TEST(Evict, InTwoRuntimesCooksAnewOnceOrTwiceAndNeverLess) {
    Graph first, second;
    const Client a = first.commit(first.op(kOutside, {Counted("both")}));
    const Client b = second.commit(second.op(kOutside, {Counted("both")}));
    a->cookLocation("/root");
    b->cookLocation("/root");
    first.runtime->evict("/root");
    second.runtime->evict("/root");
    outsideWorld = 5;
    EXPECT_EQ(ValueAt(a, "/root"), 5);
    EXPECT_EQ(ValueAt(b, "/root"), 5);
    const int cooks = Counter::take("both");
    EXPECT_TRUE(cooks == 2 || cooks == 3) << cooks;
}

TEST(Evict, TwiceCooksAnewOnce) {
    Graph graph;
    const Client client = graph.commit(graph.op(kOutside, {Counted("twice")}));
    client->cookLocation("/root");
    graph.runtime->evict("/root");
    graph.runtime->evict("/root");
    client->cookLocation("/root");
    client->cookLocation("/root");
    EXPECT_EQ(Counter::take("twice"), 2);
}

TEST(Evict, AFailingCookIsTriedAnewAndTheOldResultNeverComesBack) {
    Graph graph;
    const Client client =
        graph.commit(graph.chain(graph.op(kOutside, {Counted("world")}, {}, "world"), 2));
    outsideWorld = 1;
    client->cookLocation("/root");
    graph.runtime->evict("/root");
    outsideFails = true;
    EXPECT_EQ(CookError(client, "/root"),
              "Op \"world\" (TestOutside) at \"/root\": the world is gone");
    EXPECT_EQ(CookError(client, "/root"),
              "Op \"world\" (TestOutside) at \"/root\": the world is gone");
    EXPECT_FALSE(client->getCachedLocation("/root").isValid());
    outsideFails = false;
    outsideWorld = 2;
    EXPECT_EQ(ValueAt(client, "/root"), 2);
    EXPECT_EQ(Counter::take("world"), 4);
}

namespace {

/// Each level looks twice at the level below: 2^levels ways to the bottom.
Client Ladder(Graph& graph, int levels, const std::string& counter) {
    Op left = graph.op(kOutside, {Counted(counter)});
    Op right = left;
    for (int i = 0; i < levels; ++i) {
        const Op newLeft = graph.op(kSum, {Counted(counter), Value(1)}, {left, right});
        const Op newRight = graph.op(kSum, {Counted(counter), Value(2)}, {left, right});
        left = newLeft;
        right = newRight;
    }
    return graph.commit(left);
}

} // namespace

TEST(Evict, CooksEachOpOfALadderOfDiamondsExactlyOnce) {
    Graph graph;
    const Client client = Ladder(graph, 30, "ladder");
    outsideWorld = 1;
    EXPECT_EQ(ValueAt(client, "/root"), 1 << 30);
    EXPECT_EQ(Counter::take("ladder"), 60); // two a level, one at the top, one at the bottom
    for (int i = 0; i < 3; ++i) {
        outsideWorld = 0;
        graph.runtime->evict("/root");
        EXPECT_EQ(ValueAt(client, "/root"), 0);
        EXPECT_EQ(Counter::take("ladder"), 60);
    }
}

TEST(Evict, CooksEachOpOfALadderOnceAfterAFailureToo) {
    Graph graph;
    const Client client = Ladder(graph, 30, "failing ladder");
    outsideFails = true;
    EXPECT_THAT(CookError(client, "/root"), HasSubstr("the world is gone"));
    outsideFails = false;
    client->cookLocation("/root");
    graph.runtime->evict("/root");
    outsideFails = true;
    EXPECT_THAT(CookError(client, "/root"), HasSubstr("the world is gone"));
    outsideFails = false;
    Counter::take("failing ladder");
    client->cookLocation("/root");
    EXPECT_EQ(Counter::take("failing ladder"), 60);
}

TEST(Finalize, ForgetsWhatWasCookedAndLeavesTheRuntimeUsable) {
    Graph graph;
    const Client client = graph.commit(graph.op(kSource, {Counted("finalize"), Value(3)}));
    const LocationData data = client->cookLocation("/root");
    graph.runtime->finalize();
    EXPECT_FALSE(client->getCachedLocation("/root").isValid());
    EXPECT_EQ(Number(data.getAttrs(), "value"), 3);
    EXPECT_EQ(ValueAt(client, "/root"), 3);
    EXPECT_TRUE(client->getCachedLocation("/root").isValid());
    EXPECT_EQ(Counter::take("finalize"), 1);
    graph.runtime->finalize();
    TellarRuntime::create()->finalize();
}

// Lifetime

TEST(Lifetime, AClientKeepsItsRuntimeAndOps) {
    Client client;
    {
        Graph graph;
        client = graph.commit(graph.chain(graph.op(kSource, {Value(8)}), 2));
    }
    EXPECT_EQ(ValueAt(client, "/root"), 8);
    EXPECT_NE(client->getRuntime(), nullptr);
}

TEST(Lifetime, EverythingIsLetGoWithTheRuntime) {
    const StringAttribute argument("an argument that is counted");
    std::weak_ptr<TellarRuntime> runtime;
    std::weak_ptr<TellarRuntime::Op> op;
    std::weak_ptr<TellarRuntime::Client> client;
    Attribute cooked;
    {
        Graph graph;
        const Op source = graph.op(kSource, {{"children", argument}});
        const Client made = graph.commit(graph.chain(source, 3));
        cooked = made->cookLocation("/root").getAttrs();
        made->cookLocation("/root/a/b");
        runtime = graph.runtime, op = source, client = made;
    }
    EXPECT_TRUE(runtime.expired());
    EXPECT_TRUE(op.expired());
    EXPECT_TRUE(client.expired());
    // The count is the first word of a value.
    EXPECT_EQ(*reinterpret_cast<const std::uint32_t*>(argument.getHandle()), 1u);
    EXPECT_EQ(*reinterpret_cast<const std::uint32_t*>(cooked.getHandle()), 1u);
}

TEST(Lifetime, ASmallSceneTakesLittleMemory) {
    constexpr std::size_t kScenes = 100;
    std::vector<Client> clients;
    const auto open = [&clients](int value) {
        Graph graph;
        clients.push_back(graph.commit(graph.op(kPass, {}, {graph.op(kSource, {Value(value)})})));
        clients.back()->cookLocation("/root");
    };
    clients.reserve(2 * kScenes);
    for (int i = 0; i < 1000; ++i) // fills the pools of the process
        open(-i);
    clients.clear();
    const std::size_t before = AllocatedBytes();
    for (std::size_t i = 0; i < kScenes; ++i)
        open(static_cast<int>(i) + 1);
    EXPECT_LT(AllocatedBytes() - before, kScenes * 6000);
}

TEST(Lifetime, ARuntimeKeepsNoResultsAtWhichNobodyLooksAnyMore) {
    const auto runtime = TellarRuntime::create();
    const auto cookAndForget = [&](int value) {
        Graph graph(runtime);
        return graph.commit(graph.op(kSource, {Value(value)}))->cookLocation("/root").getAttrs();
    };
    const auto countOf = [](const Attribute& attribute) {
        return *reinterpret_cast<const std::uint32_t*>(attribute.getHandle());
    };
    const Attribute first = cookAndForget(1);
    const Attribute second = cookAndForget(2); // a commit lets the first go
    EXPECT_EQ(countOf(first), 1u);
    EXPECT_EQ(countOf(second), 2u);
    runtime->finalize();
    EXPECT_EQ(countOf(second), 1u);
}

TEST(Lifetime, ARuntimeKeepsResultsForTheNextRenderOfTheSameScene) {
    const auto runtime = TellarRuntime::create();
    for (int render = 0; render < 3; ++render) {
        Graph graph(runtime);
        const Client client = graph.commit(graph.op(kSource, {Counted("renders")}));
        client->cookLocation("/root");
        EXPECT_TRUE(client->getCachedLocation("/root").isValid());
    }
    EXPECT_EQ(Counter::take("renders"), 1);
}

TEST(Lifetime, EvictedResultsAreLetGo) {
    Graph graph;
    const Client client = graph.commit(graph.op(kOutside, {Counted("let go")}));
    const Attribute old = client->cookLocation("/root").getAttrs();
    graph.runtime->evict("/root");
    client->cookLocation("/root");
    EXPECT_EQ(*reinterpret_cast<const std::uint32_t*>(old.getHandle()), 1u);
}

TEST(Lifetime, AnUncommittedTransactionLetsEverythingGo) {
    std::weak_ptr<TellarRuntime> runtime;
    std::weak_ptr<TellarRuntime::Op> op;
    {
        Graph graph;
        const Op source = graph.op(kSource);
        graph.client(graph.chain(source, 3));
        runtime = graph.runtime, op = source;
    }
    EXPECT_TRUE(runtime.expired());
    EXPECT_TRUE(op.expired());
}
