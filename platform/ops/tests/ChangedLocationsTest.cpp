#include <OxTellarSDK/ChangedLocations.h>

#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "OpTypeScenes.h"

namespace {

using namespace OpTypeScenes;
using OxLocationPath::LocationSet;
using OxOpType::ChangedLocations;
using testing::ElementsAre;
using testing::IsEmpty;

/// An op type whose sets are those of the base class.
class SilentType : public OxOpType::OpType {
public:
    SilentType() { about.name = "ChangedLocationsTest.Silent"; }
    const OxOpType::Description& description() const override { return about; }
    void cook(OxOpType::CookContext& context) const override { context.pass(context.input(0)); }

private:
    OxOpType::Description about;
};

/// An op type that cannot answer.
class ThrowingType : public OxOpType::OpType {
public:
    ThrowingType() { about.name = "ChangedLocationsTest.Throwing"; }
    const OxOpType::Description& description() const override { return about; }
    void cook(OxOpType::CookContext& context) const override { context.pass(context.input(0)); }
    LocationSet touchedBy(const GroupAttribute&, const GroupAttribute&) const override { throw 1; }
    LocationSet touchedThrough(const GroupAttribute&, std::size_t,
                               const LocationSet&) const override {
        throw 1;
    }

private:
    OxOpType::Description about;
};

const bool typesAreRegistered = [] {
    OxOpType::RegisterOpType(new SilentType);
    OxOpType::RegisterOpType(new ThrowingType);
    return true;
}();

class ChangedLocationsTest : public testing::Test {
protected:
    Op scene(int number = 0) {
        return make("StaticScene", Location({}, {{"a", Location({{"n", Int(number)}})},
                                                 {"b", Location({}, {{"c", Location({})}})}}));
    }
    /// A scene at another place.
    Op part(const char* location, int number = 0) {
        return make("StaticScene",
                    Group({{"location", Text(location)}, {"a", Group({{"n", Int(number)}})}}));
    }
    Op add(const char* type, const Children& args, const std::vector<Op>& inputs) {
        return make(type, Group(args), inputs);
    }
    Op transform(const char* glob, double x, const Op& input) {
        return add("Transform", {{"paths", Text(glob)}, {"translate", Doubles({x, 0, 0})}},
                   {input});
    }
    Op array(double spacing, int count, const Op& input) {
        const int counts[] = {count, 1, 1};
        return add("Array",
                   {{"source", Text("/root/b")},
                    {"target", Text("/root/t/*")},
                    {"counts", IntAttribute(counts, 3, 3)},
                    {"spacing", Doubles({spacing, 1, 1})},
                    {"groupSize", Int(10)}},
                   {input});
    }
    Names changed(const Op& before, const Op& after) {
        const Names names = ChangedLocations(before, after).describe();
        EXPECT_EQ(ChangedLocations(after, before).describe(), names);
        return names;
    }

    /// A committed Op.
    Op make(const char* type, const GroupAttribute& args, const std::vector<Op>& inputs = {}) {
        const auto transaction = runtime->createTransaction();
        Op op = transaction->createOp();
        transaction->setOpArgs(op, type, args);
        transaction->setOpInputs(op, inputs);
        runtime->commit(transaction);
        return op;
    }

    const std::shared_ptr<TellarRuntime> runtime = TellarRuntime::create();
};

const char* const kAll = "/**";

} // namespace

TEST_F(ChangedLocationsTest, AreNoneBetweenEqualOps) {
    EXPECT_THAT(changed(scene(), scene()), IsEmpty());
    EXPECT_THAT(changed(transform("/root/a", 1, scene()), transform("/root/a", 1, scene())),
                IsEmpty());
    EXPECT_THAT(changed(nullptr, nullptr), IsEmpty());
}

TEST_F(ChangedLocationsTest, AreThoseOfAnEditWhoseArgumentsDiffer) {
    EXPECT_THAT(changed(transform("/root/*", 1, scene()), transform("/root/*", 2, scene())),
                ElementsAre("/root/*"));
    EXPECT_THAT(changed(transform("/root/a", 1, scene()), transform("/root/b", 1, scene())),
                ElementsAre("/root/a", "/root/b"));
}

TEST_F(ChangedLocationsTest, AreThoseOfTheGlobsThatDifferWhenNothingElseDoes) {
    const auto edit = [this](std::initializer_list<std::string_view> globs, int n) {
        return add("AttributeEdit", {{"paths", Texts(globs)}, {"set", Group({{"n", Int(n)}})}},
                   {scene()});
    };
    EXPECT_THAT(changed(edit({"/root/a", "/root/b"}, 1), edit({"/root/c", "/root/a"}, 1)),
                ElementsAre("/root/b", "/root/c"));
    EXPECT_THAT(changed(edit({"/root/a", "/root/b"}, 1), edit({"/root/c", "/root/a"}, 2)),
                ElementsAre("/root/a", "/root/b", "/root/c"));
}

TEST_F(ChangedLocationsTest, AreThoseOfAnEditThatIsNewOrGone) {
    const Op bottom = scene();
    const Op one = transform("/root/a", 1, bottom);
    const Op two = transform("/root/b", 1, one);
    EXPECT_THAT(changed(bottom, one), ElementsAre("/root/a"));
    EXPECT_THAT(changed(bottom, two), ElementsAre("/root/a", "/root/b"));
    EXPECT_THAT(changed(two, transform("/root/b", 1, bottom)), ElementsAre("/root/a"));
    const Op settings = add("RenderSettings", {{"settings", Group({})}}, {bottom});
    EXPECT_THAT(changed(two, settings), ElementsAre("/root", "/root/a", "/root/b"));
}

TEST_F(ChangedLocationsTest, AreThoseThatAStaticSceneDescribesDifferently) {
    const auto description = [this](const Children& children) {
        return make("StaticScene", Location({}, children));
    };
    const GroupAttribute leaf = Location({{"n", Int(1)}});
    const GroupAttribute tree = Location({}, {{"x", leaf}, {"y", leaf}});
    EXPECT_THAT(changed(scene(1), scene(2)), ElementsAre("/root/a"));
    EXPECT_THAT(changed(description({{"a", tree}, {"b", leaf}}),
                        description({{"a", Location({}, {{"x", leaf}})}, {"b", leaf}})),
                ElementsAre("/root/a", "/root/a/y/**"));
    EXPECT_THAT(changed(description({{"a%2Eb", leaf}}), description({})),
                ElementsAre("/root", "/root/a.b/**"));
    EXPECT_THAT(
        changed(description({{"a", leaf}, {"b", leaf}}), description({{"b", leaf}, {"a", leaf}})),
        ElementsAre("/root"));
    EXPECT_THAT(changed(part("/root/x"), part("/root/y/z")),
                ElementsAre("/root", "/root/x/**", "/root/y", "/root/y/z/**"));
}

TEST_F(ChangedLocationsTest, OfAPruneAreWholeTreesAndTheirParents) {
    const auto prune = [this](const char* glob) {
        return add("Prune", {{"paths", Text(glob)}}, {scene()});
    };
    EXPECT_THAT(changed(prune("/root/a"), prune("/root/b/*")),
                ElementsAre("/root", "/root/a/**", "/root/b", "/root/b/*/**"));
}

TEST_F(ChangedLocationsTest, OfACameraAreItsLocationAndNewAncestors) {
    const auto camera = [this](const char* path, double fov) {
        return add("Camera", {{"path", Text(path)}, {"fov", Doubles({fov})}}, {scene()});
    };
    EXPECT_THAT(changed(camera("/root/b/c", 1), camera("/root/b/c", 2)), ElementsAre("/root/b/c"));
    EXPECT_THAT(changed(camera("/root/b/c", 1), camera("/root/d", 1)),
                ElementsAre("/root", "/root/b", "/root/b/c", "/root/d"));
}

TEST_F(ChangedLocationsTest, OfAnAssignmentFollowItsMaterial) {
    const auto assign = [this](int red) {
        const Op edit =
            add("AttributeEdit", {{"paths", Text("/root/a")}, {"set", Group({{"n", Int(red)}})}},
                {scene()});
        return add("MaterialAssign", {{"paths", Text("/root/b/*")}, {"material", Text("/root/a")}},
                   {edit});
    };
    EXPECT_THAT(changed(assign(1), assign(2)), ElementsAre("/root/a", "/root/b/*"));
}

TEST_F(ChangedLocationsTest, OfAnArrayAreItsInstances) {
    const Op below = scene();
    EXPECT_THAT(changed(array(1, 50, below), array(2, 50, below)),
                ElementsAre("/root/t/[*]/g_*/i_*"));
    EXPECT_THAT(changed(array(1, 50, below), array(1, 50, transform("/root/b/c", 1, below))),
                ElementsAre("/root/b/c", "/root/t/[*]/g_*/i_*/c"));
}

TEST_F(ChangedLocationsTest, OfALongerArrayAreItsNewInstances) {
    const Op below = scene();
    const auto grid = [&](int x, int z) {
        const int counts[] = {x, 1, z};
        return add("Array",
                   {{"source", Text("/root/b")},
                    {"target", Text("/root/t")},
                    {"counts", IntAttribute(counts, 3, 3)},
                    {"groupSize", Int(10)}},
                   {below});
    };
    EXPECT_THAT(changed(grid(1, 35), grid(1, 37)),
                ElementsAre("/root/t/g_3", "/root/t/g_3/i_35/**", "/root/t/g_3/i_36/**"));
    EXPECT_THAT(changed(grid(1, 39), grid(1, 55)),
                ElementsAre("/root/t", "/root/t/g_3", "/root/t/g_3/i_39/**", "/root/t/g_4/**",
                            "/root/t/g_5/**"));
    EXPECT_THAT(changed(grid(1, 40), grid(1, 101)), ElementsAre("/root/t/**"));
    EXPECT_THAT(changed(grid(2, 20), grid(4, 10)), ElementsAre("/root/t/**"));
}

TEST_F(ChangedLocationsTest, OfAnArrayIncludeNewAncestorsOfItsTarget) {
    const Op below = scene();
    EXPECT_THAT(changed(below, array(1, 50, below)),
                ElementsAre("/root", "/root/b/**", "/root/t", "/root/t/*/**"));
}

TEST_F(ChangedLocationsTest, OfAMergeAreThoseOfTheInputsThatDiffer) {
    const Op shared = scene();
    const auto merge = [&](const std::vector<Op>& inputs) { return add("Merge", {}, inputs); };
    EXPECT_THAT(changed(merge({shared, part("/root/x", 1)}), merge({shared, part("/root/x", 2)})),
                ElementsAre("/root/x"));
    EXPECT_THAT(changed(merge({shared}), merge({shared, part("/root/x/y")})),
                ElementsAre("/root", "/root/x", "/root/x/y/**"));
    EXPECT_THAT(changed(shared, merge({shared, nullptr, part("/root/x/y")})),
                ElementsAre("/root", "/root/x", "/root/x/y/**"));
    EXPECT_THAT(changed(merge({part("/root/x"), shared}), merge({shared})).front(), "/root");
}

TEST_F(ChangedLocationsTest, AreTheLocationsOfOpsWithNothingInCommon) {
    EXPECT_THAT(changed(nullptr, part("/root/x")), ElementsAre("/root", "/root/x/**"));
    EXPECT_THAT(changed(transform("/root/x", 1, part("/root/x")), part("/root/y")),
                ElementsAre("/root", "/root/x", "/root/x/**", "/root/y/**"));
}

TEST_F(ChangedLocationsTest, AreAllWhereATypeDoesNotTell) {
    const auto silent = [this](int n, const Op& input) {
        return add("ChangedLocationsTest.Silent", {{"n", Int(n)}}, {input});
    };
    const auto throwing = [this](int n, const Op& input) {
        return add("ChangedLocationsTest.Throwing", {{"n", Int(n)}}, {input});
    };
    EXPECT_THAT(changed(silent(1, scene()), silent(2, scene())), ElementsAre(kAll));
    EXPECT_THAT(changed(silent(1, scene(1)), silent(1, scene(2))), ElementsAre(kAll));
    EXPECT_THAT(changed(throwing(1, scene()), throwing(2, scene())), ElementsAre(kAll));
    EXPECT_THAT(changed(throwing(1, scene(1)), throwing(1, scene(2))), ElementsAre(kAll));
    // Below an edit that differs, an equal Op of such a type costs nothing.
    const Op bottom = silent(1, scene());
    EXPECT_THAT(changed(transform("/root/a", 1, bottom), transform("/root/a", 2, bottom)),
                ElementsAre("/root/a"));
}

TEST_F(ChangedLocationsTest, AreAllForOpsThatCannotBeCooked) {
    EXPECT_THAT(changed(scene(), add("NoSuchType", {}, {})), ElementsAre(kAll));
    EXPECT_THAT(changed(transform("/root/a", 1, scene()), transform("root/a", 1, scene())),
                ElementsAre(kAll));
    const auto transaction = runtime->createTransaction();
    const Op uncommitted = transaction->createOp();
    const Op other = transaction->createOp();
    EXPECT_TRUE(ChangedLocations(uncommitted, other).isEverything());
    EXPECT_TRUE(ChangedLocations(uncommitted, nullptr).isEverything());
}

TEST_F(ChangedLocationsTest, StayFastInGraphsWithManyWaysToAnOp) {
    const auto ladder = [this](int number) {
        Op rung = part("/root/x", number);
        for (int i = 0; i < 200; ++i) {
            const Op left = transform("/root/y", i, rung);
            rung = add("Merge", {}, {left, rung, left});
        }
        return rung;
    };
    EXPECT_THAT(changed(ladder(1), ladder(2)), ElementsAre("/root/x"));
}

TEST_F(ChangedLocationsTest, StayFastInWideGraphs) {
    std::vector<Op> before;
    std::vector<Op> after;
    for (int i = 0; i < 5000; ++i) {
        const std::string location = "/root/n" + std::to_string(i);
        before.push_back(part(location.c_str(), 1));
        after.push_back(i % 100 == 0 ? part(location.c_str(), 2) : before.back());
    }
    const Names names = changed(add("Merge", {}, before), add("Merge", {}, after));
    EXPECT_EQ(names.size(), 50u);
    EXPECT_EQ(names.front(), "/root/n0");
}

TEST_F(ChangedLocationsTest, AreAllInChainsThatAreTooLong) {
    const auto chain = [this](int number) {
        Op last = scene(number);
        for (int i = 0; i < 1000; ++i)
            last = transform("/root/b", i, last);
        return last;
    };
    EXPECT_THAT(changed(chain(1), chain(2)), ElementsAre(kAll));
}
