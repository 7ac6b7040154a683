#include <OxTellarProducers/VisitLocations.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

#include "ErrorOf.h"
#include "ProducerHelpers.h"
#include "ProducerVariants.h"
#include "VisitScenes.h"

// The locations that visits find, their order, and the threads of the calls.

namespace {

using namespace TellarTest;
using OxAttribute::GroupAttribute;
using TELLAR::GeometryProducer;
using TELLAR::VisitedLocation;
using TELLAR::VisitEnd;
using TELLAR::VisitLocations;
using TELLAR::VisitOptions;
using TELLAR::VisitWish;
using testing::ElementsAre;
using testing::IsEmpty;

using Ptr = GeometryProducer::Ptr;

Lines Visited(const Ptr& start, const VisitOptions& options) {
    SharedLines lines;
    const VisitEnd end = VisitLocations(start, options, [&](VisitedLocation& visited) {
        lines.add(LineOf(visited));
        return VisitWish::GoOn;
    });
    EXPECT_EQ(end, VisitEnd::Done);
    return lines.get();
}

/// The texts "0", "1" and so on.
Lines Numbers(std::size_t count) {
    Lines numbers(count);
    for (std::size_t i = 0; i < count; ++i)
        numbers[i] = std::to_string(i);
    return numbers;
}

INSTANTIATE_TEST_SUITE_P(Modes, AnyVisit, testing::ValuesIn(kVisitModes), NameOfMode);

TEST_P(AnyVisit, FindsWhatAWalkByPathsFindsInRandomTrees) {
    for (int seed = 1; seed <= 30; ++seed) {
        SCOPED_TRACE(seed);
        const RandomTree tree{seed, 2 + seed % 6, 1 + seed % 7};
        expectLines(Visited(Open(OpsOf(tree)), options()), LinesOf(tree));
    }
}

TEST_P(AnyVisit, FindsEveryLocationOfAWideTree) {
    const RandomTree tree{7, 3, 60};
    EXPECT_GT(LinesOf(tree).size(), 5000u);
    expectLines(Visited(Open(OpsOf(tree)), options()), LinesOf(tree));
}

TEST_P(AnyVisit, ShowsParentsBeforeTheirChildren) {
    const Lines lines = Visited(Open(OpsOf({11, 6, 6})), options());
    EXPECT_GT(lines.size(), 100u);
    std::set<std::string> seen{""};
    for (const std::string& line : lines) {
        EXPECT_EQ(seen.count(line.substr(0, line.rfind('/'))), 1u) << line;
        seen.insert(line);
    }
}

TEST_P(AnyVisit, TellsThePlaceOfEachLocationInTheOrderOfTheTree) {
    const RandomTree tree{11, 6, 6};
    std::mutex lock;
    std::vector<std::pair<std::vector<std::int64_t>, std::string>> places;
    VisitLocations(Open(OpsOf(tree)), options(), [&](VisitedLocation& visited) {
        const std::lock_guard<std::mutex> guard(lock);
        EXPECT_EQ(visited.getDepth(), visited.place.size());
        places.emplace_back(visited.place, LineOf(visited));
        return VisitWish::GoOn;
    });
    std::sort(places.begin(), places.end());
    Lines lines;
    for (const auto& place : places)
        lines.push_back(place.second);
    EXPECT_TRUE(lines == LinesOf(tree));
}

TEST_P(AnyVisit, ShowsALocationThatCannotBeCookedWithItsErrorAndTheSiblingsBehindIt) {
    const Ptr root = Open(
        SceneUnder("fault", "TestThrow", Group({{"at", Text("/root/b")}}),
                   Location({}, {{"a", Location({})}, {"b", Location({})}, {"c", Location({})}})));
    SharedLines lines;
    VisitLocations(root, options(), [&](VisitedLocation& visited) {
        lines.add(LineOf(visited));
        if (visited.getName() != "b") {
            EXPECT_TRUE(visited.location);
            EXPECT_FALSE(visited.error);
            return VisitWish::GoOn;
        }
        EXPECT_FALSE(visited.location);
        EXPECT_EQ(NameOf(visited.parent), "/root");
        EXPECT_EQ(ErrorOf([&] { std::rethrow_exception(visited.error); }),
                  "Op \"fault\" (TestThrow) at \"/root/b\": It fails on purpose.");
        return VisitWish::GoOn;
    });
    expectLines(lines.get(), {"/root", "/root/a", "/root/b fails", "/root/c"});
}

TEST_P(AnyVisit, LeavesOutWhatDoesNotExist) {
    const GroupAttribute ops =
        TestTree(Texts({"gone", "a", "lost", "b"}), {"/root/gone", "/root/lost"});
    expectLines(Visited(Open(ops), options()), {"/root", "/root/a", "/root/b"});
}

TEST_P(AnyVisit, MayStartAtAnyLocation) {
    const Ptr root = Open(
        SceneTree(Location({}, {{"a", Location({}, {{"x", Location({})}, {"y", Location({})}})},
                                {"b", Location({})}})));
    expectLines(Visited(root->getChildByName("a"), options()),
                {"/root/a", "/root/a/x", "/root/a/y"});
    expectLines(Visited(root->getChildByName("b"), options()), {"/root/b"});
}

TEST_P(AnyVisit, HasNothingToVisitWithoutALocation) {
    EXPECT_THAT(Visited(nullptr, options()), IsEmpty());
}

TEST_P(AnyVisit, GoesAsDeepAsTheScene) {
    constexpr int kDepth = 4000;
    const Ptr root =
        Open(Group({{"chain", OpEntry("TestChain", Group({{"depth", Int(kDepth)}}))}}));
    std::atomic<int> count{0};
    std::atomic<std::size_t> deepest{0};
    VisitLocations(root, options(), [&](VisitedLocation& visited) {
        ++count;
        deepest = std::max<std::size_t>(deepest, visited.getDepth());
        return VisitWish::GoOn;
    });
    EXPECT_EQ(count, kDepth + 1);
    EXPECT_EQ(deepest, static_cast<std::size_t>(kDepth));
}

// Threads -----------------------------------------------------------------------------------------

TEST_P(AnyVisit, NeverGivesTwoCallsAtOnceTheNumberOfOneThread) {
    std::vector<std::atomic<int>> calls(static_cast<std::size_t>(GetParam().threads));
    std::atomic<int> clashes{0};
    VisitLocations(Open(OpsOf({7, 3, 30})), options(), [&](VisitedLocation& visited) {
        std::atomic<int>& mine = calls.at(static_cast<std::size_t>(visited.thread));
        if (++mine != 1) ++clashes;
        std::this_thread::yield();
        --mine;
        return VisitWish::GoOn;
    });
    EXPECT_EQ(clashes, 0);
}

TEST_P(AnyVisit, CallsOnTheCallingThreadAloneWhenItIsInOrder) {
    if (!GetParam().keepsOrder()) return;
    const std::thread::id caller = std::this_thread::get_id();
    VisitLocations(Open(OpsOf({7, 3, 30})), options(), [&](VisitedLocation& visited) {
        EXPECT_EQ(std::this_thread::get_id(), caller);
        EXPECT_EQ(visited.thread, 0);
        return VisitWish::GoOn;
    });
}

TEST(VisitInAnyOrder, CallsOnAllThreadsAtTheSameTime) {
    const Ptr root = Open(SceneTree(Location(
        {}, {{"a", Location({})}, {"b", Location({})}, {"c", Location({})}, {"d", Location({})}})));
    std::atomic<int> inside{0};
    VisitLocations(root, {4, false, nullptr}, [&](VisitedLocation& visited) {
        if (visited.getDepth() == 0) return VisitWish::GoOn;
        ++inside;
        while (inside < 4) // each child waits for the others
            std::this_thread::yield();
        return VisitWish::GoOn;
    });
    EXPECT_EQ(inside, 4);
}

TEST(VisitInOrder, LetsOtherThreadsCookABoundedNumberOfLocationsAhead) {
    const Ptr root = Open(TestTree(Texts(Numbers(20000))));
    const std::uint64_t before = TellarRuntime::getNumberOfCooks();
    const auto countAhead = [&] { return TellarRuntime::getNumberOfCooks() - before; };
    std::uint64_t ahead = 0;
    VisitLocations(root, {8, true, nullptr}, [&](VisitedLocation& visited) {
        if (visited.getDepth() == 0) return VisitWish::GoOn;
        while (countAhead() < 200)
            std::this_thread::yield();
        // They come to a stop on their own.
        for (int quiet = 0; quiet < 20; quiet = countAhead() == ahead ? quiet + 1 : 0) {
            ahead = countAhead();
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        }
        return VisitWish::Stop;
    });
    EXPECT_LT(ahead, 3000u);
}

TEST(VisitInOrder, CooksNothingBelowAPrunedLocationOnOneThread) {
    const Ptr root = Open(OpsOf({7, 3, 30}));
    const std::uint64_t before = TellarRuntime::getNumberOfCooks();
    VisitLocations(root, {1, true, nullptr}, [&](VisitedLocation& visited) {
        return visited.getDepth() == 0 ? VisitWish::GoOn : VisitWish::Prune;
    });
    const std::int64_t children = root->getPotentialChildren().getNumberOfValues();
    EXPECT_EQ(TellarRuntime::getNumberOfCooks() - before, static_cast<std::uint64_t>(children));
}

TEST_P(AnyVisit, CooksEveryLocationOnce) {
    constexpr int kChildren = 3000;
    const Ptr root = Open(TestTree(Texts(Numbers(kChildren))));
    const std::uint64_t before = TellarRuntime::getNumberOfCooks();
    EXPECT_EQ(Visited(root, options()).size(), 1u + kChildren);
    EXPECT_EQ(TellarRuntime::getNumberOfCooks() - before, static_cast<std::uint64_t>(kChildren));
}

TEST(VisitLocations, TakesOneThreadForEachProcessorOrAtLeastOne) {
    const GroupAttribute ops = OpsOf({11, 6, 6});
    EXPECT_TRUE(Visited(Open(ops), {0, true, nullptr}) == LinesOf(ops));
    EXPECT_TRUE(Visited(Open(ops), {-3, true, nullptr}) == LinesOf(ops));
}

TEST(VisitLocations, MayBeCalledByAVisitor) {
    const GroupAttribute ops = OpsOf({5, 3, 5});
    const Lines lines = LinesOf(ops);
    std::size_t expected = 0;
    for (const std::string& line : lines)
        expected += 1 + static_cast<std::size_t>(std::count_if(
                            lines.begin(), lines.end(),
                            [&](const std::string& other) { return IsBelow(other, line); }));
    std::atomic<std::size_t> count{0};
    VisitLocations(Open(ops), {4, false, nullptr}, [&](VisitedLocation& visited) {
        if (!visited.location) ++count;
        VisitLocations(visited.location, {3, true, nullptr}, [&](VisitedLocation&) {
            ++count;
            return VisitWish::GoOn;
        });
        return VisitWish::GoOn;
    });
    EXPECT_EQ(count, expected);
}

// Values passed down ------------------------------------------------------------------------------

TEST_P(AnyVisit, PassesDownWhatTheVisitorSetsAtTheParent) {
    std::atomic<int> wrong{0};
    VisitLocations(Open(OpsOf({11, 6, 6})), options(), [&](VisitedLocation& visited) {
        const auto* const inherited = static_cast<const std::string*>(visited.inherited.get());
        const bool isStart = visited.parent == nullptr;
        if (isStart != (inherited == nullptr)) ++wrong;
        if (inherited && *inherited != visited.parent->getFullName()) ++wrong;
        visited.passedDown = std::make_shared<const std::string>(visited.getPath());
        return VisitWish::GoOn;
    });
    EXPECT_EQ(wrong, 0);
}

TEST_P(AnyVisit, PassesDownNothingWhereTheVisitorSetsNothing) {
    std::atomic<int> inherited{0};
    VisitLocations(Open(OpsOf({11, 6, 6})), options(), [&](VisitedLocation& visited) {
        if (visited.inherited) ++inherited;
        if (visited.getDepth() % 2 == 1) visited.passedDown = std::make_shared<const int>(1);
        if (visited.inherited && visited.getDepth() % 2 == 1) inherited = 1000000;
        return VisitWish::GoOn;
    });
    EXPECT_GT(inherited, 0);
    EXPECT_LT(inherited, 1000000);
}

TEST_P(AnyVisit, DropsWhatWasPassedDown) {
    std::atomic<int> alive{0};
    std::atomic<int> most{0};
    const auto drop = [&](const int* value) {
        --alive;
        delete value;
    };
    VisitLocations(Open(OpsOf({7, 3, 30})), options(), [&](VisitedLocation& visited) {
        visited.passedDown = std::shared_ptr<const int>(new int(1), drop);
        most = std::max<int>(most, ++alive);
        return VisitWish::GoOn;
    });
    EXPECT_EQ(alive, 0);
    EXPECT_LE(most, 100) << "they live no longer than the locations below need them";
}

// Kinds of producers ------------------------------------------------------------------------------

const GroupAttribute& SmallScene() {
    static const GroupAttribute scene = Location(
        {},
        {{"a", Location({}, {{"x", Location({})}})}, {"b.c", Location({})}, {"d", Location({})}});
    return scene;
}

TEST_P(AnyVisit, VisitsEveryKindOfProducer) {
    const Lines expected{"/root", "/root/a", "/root/a/x", "/root/b.c", "/root/d"};
    for (const auto open : {OpenSync, OpenAsync, OpenThreadAware})
        expectLines(Visited(open(SceneTree(SmallScene()), "/root"), options()), expected);
    expectLines(Visited(StaticRoot(SmallScene()), options()), expected);
}

/// A producer of a caller's own, with the children 0 and 1 down to three levels.
class CountingProducer : public GeometryProducer {
public:
    CountingProducer(std::string path, Ptr parent)
        : GeometryProducer(std::move(parent)), path(std::move(path)) {}

    void getAttributeNames(std::set<std::string>*) override {}
    OxAttribute::StringAttribute getPotentialChildren() override {
        return path.size() < 8 ? Texts({"0", "1"}) : OxAttribute::StringAttribute();
    }
    OxAttribute::Attribute getAttribute(const char*) override { return {}; }
    std::string getName() override { return path.substr(path.rfind('/') + 1); }
    std::string getFullName() override { return path; }
    std::string getHash() override { return {}; }
    Ptr getChildByName(const char* name, bool) override {
        return new CountingProducer(path + "/" + name, this);
    }
    Ptr getFirstChild(bool) override { return nullptr; }
    Ptr getNextSibling(bool) override { return nullptr; }

private:
    const std::string path;
};

TEST_P(AnyVisit, VisitsProducersOfACallersOwnByTheNamesOfTheirChildren) {
    expectLines(
        Visited(new CountingProducer("/root", nullptr), options()),
        {"/root", "/root/0", "/root/0/0", "/root/0/1", "/root/1", "/root/1/0", "/root/1/1"});
}

} // namespace
