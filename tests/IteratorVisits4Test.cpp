// Visits of trees through version 4 of the suite for iterators.

#include <OxTellarProducers/OxScenegraphIteratorHostSuite4.h>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include <gmock/gmock.h>

#include "IteratorScenes.h"
#include "IteratorScenes4.h"

namespace {

using namespace TellarTest;
using testing::ElementsAre;
using testing::HasSubstr;

using Body = std::function<std::int32_t(OxVisit&)>;

std::int32_t CallBody(OxVisit* visit, void* user) {
    return (*static_cast<const Body*>(user))(*visit);
}

/// Calls `body` for every location.
std::int32_t Visit(const At& start, const OxVisitOptions* options, const Body& body,
                   CallError& error) {
    return Scenes4().visit(start.get(), options, CallBody, const_cast<Body*>(&body), error.out());
}

OxVisitOptions Options(int threads, bool isOrdered) {
    return {threads, isOrdered ? 1 : 0, nullptr, nullptr};
}

/// The full name; with the kind of its error if it has one.
std::string LineOf(const OxVisit& visit) {
    const std::string name = FullNameOf(visit.location);
    return visit.error ? name + " fails" : name;
}

TEST(Visits4, ComeInTheOrderOfTheTreeWithEveryError) {
    const At root = RootOf(FailingTree({"a", "b", "c", "d"}, {"/root/b", "/root/d"}, {"/root/c"}));
    for (const bool isOrdered : {false, true})
        for (const int threads : {1, 4}) {
            if (!isOrdered && threads > 1) continue;
            SCOPED_TRACE(threads);
            std::vector<std::string> lines;
            CallError error;
            const OxVisitOptions options = Options(threads, isOrdered);
            EXPECT_EQ(Visit(
                          root, &options,
                          [&](OxVisit& visit) {
                              lines.push_back(LineOf(visit));
                              EXPECT_EQ(visit.depth, lines.size() == 1 ? 0 : 1);
                              return kOxVisitGoOn;
                          },
                          error),
                      kOxVisitDone);
            EXPECT_TRUE(error.isNull());
            EXPECT_THAT(lines, ElementsAre("/root", "/root/a", "/root/b fails", "/root/d fails"));
        }
}

TEST(Visits4, TellThePlaceOfEachLocationInTheOrderOfTheTree) {
    const At root = RootOf(FailingTree({"a", "b", "c", "d"}, {"/root/b", "/root/d"}, {"/root/c"}));
    std::mutex lock;
    std::map<std::vector<std::int64_t>, std::string> lines;
    CallError error;
    const OxVisitOptions options = Options(4, false);
    EXPECT_EQ(Visit(
                  root, &options,
                  [&](OxVisit& visit) {
                      const std::lock_guard<std::mutex> guard(lock);
                      lines[{visit.place, visit.place + visit.depth}] = LineOf(visit);
                      return kOxVisitGoOn;
                  },
                  error),
              kOxVisitDone);
    std::vector<std::string> inOrder;
    for (const auto& line : lines)
        inOrder.push_back(line.second);
    EXPECT_THAT(inOrder, ElementsAre("/root", "/root/a", "/root/b fails", "/root/d fails"));
}

TEST(Visits4, GiveHandlesThatMayBeKept) {
    const At root = RootOf(FailingTree({"a", "b", "c"}, {"/root/b"}));
    std::vector<At> kept;
    CallError error;
    Visit(
        root, nullptr,
        [&](OxVisit& visit) {
            Scenes4().retainIterator(visit.location);
            kept.emplace_back(visit.location);
            return kOxVisitGoOn;
        },
        error);
    ASSERT_EQ(kept.size(), 4u);
    EXPECT_EQ(kept[0].get(), root.get());
    EXPECT_EQ(FullNameOf(kept[2]), "/root/b");
    OxErrorStruct* const why = Scenes4().getLocationError(kept[2].get());
    EXPECT_THAT(OxHandleToErrorFacts(why).text, HasSubstr("It fails on purpose."));
    OxReleaseError(why);
    EXPECT_EQ(FullNameOf(At(Scenes4().getNextSibling(kept[2].get(), nullptr))), "/root/c");
}

TEST(Visits4, TellTheErrorOfTheLocationWhereTheyStart) {
    const At root = RootOf(FailingTree({"a"}, {"/root/a"}));
    const At a = Scenes4().getFirstChild(root.get(), nullptr);
    std::vector<std::string> lines;
    CallError error;
    EXPECT_EQ(Visit(
                  a, nullptr,
                  [&](OxVisit& visit) {
                      lines.push_back(LineOf(visit));
                      return kOxVisitGoOn;
                  },
                  error),
              kOxVisitDone);
    EXPECT_THAT(lines, ElementsAre("/root/a fails"));
}

TEST(Visits4, LeaveOutAndEndWhatTheVisitorWants) {
    const At root = RootOf(WideScene(UniqueTag()));
    CallError error;
    std::vector<std::string> lines;
    EXPECT_EQ(Visit(
                  root, nullptr,
                  [&](OxVisit& visit) {
                      lines.push_back(FullNameOf(visit.location));
                      if (lines.back() == "/root/world/group2") return kOxVisitStop;
                      return visit.depth == 2 ? kOxVisitPrune : kOxVisitGoOn;
                  },
                  error),
              kOxVisitStopped);
    EXPECT_THAT(lines, ElementsAre("/root", "/root/world", "/root/world/group0",
                                   "/root/world/group1", "/root/world/group2"));
    EXPECT_TRUE(error.isNull());
}

TEST(Visits4, AreCancelled) {
    const At root = RootOf(WideScene(UniqueTag()));
    static std::atomic<bool> isCancelled{false};
    isCancelled = false;
    OxVisitOptions options = Options(1, false);
    options.isCancelled = [](void*) { return isCancelled ? 1 : 0; };
    int count = 0;
    CallError error;
    EXPECT_EQ(Visit(
                  root, &options,
                  [&](OxVisit&) {
                      isCancelled = ++count == 3;
                      return kOxVisitGoOn;
                  },
                  error),
              kOxVisitCancelled);
    EXPECT_EQ(count, 3);
}

/// What is passed down: counted, so that a test finds what is not dropped or dropped twice.
struct Passed {
    explicit Passed(std::string path) : path(std::move(path)) { ++live; }
    ~Passed() { --live; }
    static inline std::atomic<int> live{0};
    std::string path;
};

TEST(Visits4, PassDownWhatTheVisitorWantsAndDropItOnce) {
    const At root = RootOf(WideScene(UniqueTag()));
    for (const int threads : {1, 8})
        for (const bool isOrdered : {false, true}) {
            OxVisitOptions options = Options(threads, isOrdered);
            options.releasePassedDown = [](void* passed, void* user) {
                EXPECT_NE(user, nullptr);
                delete static_cast<Passed*>(passed);
            };
            std::atomic<long> count{0};
            CallError error;
            EXPECT_EQ(Visit(
                          root, &options,
                          [&](OxVisit& visit) {
                              ++count;
                              const std::string path = FullNameOf(visit.location);
                              const auto* above = static_cast<const Passed*>(visit.inherited);
                              EXPECT_EQ(above ? above->path : "",
                                        path == "/root" ? "" : path.substr(0, path.rfind('/')));
                              visit.passedDown = new Passed(path);
                              return kOxVisitGoOn;
                          },
                          error),
                      kOxVisitDone);
            EXPECT_EQ(count, kWideSceneLocations);
            EXPECT_EQ(Passed::live, 0);
        }
}

TEST(Visits4, DropWhatWasPassedDownBeforeAStop) {
    const At root = RootOf(WideScene(UniqueTag()));
    OxVisitOptions options = Options(4, false);
    options.releasePassedDown = [](void* passed, void*) { delete static_cast<Passed*>(passed); };
    CallError error;
    EXPECT_EQ(Visit(
                  root, &options,
                  [&](OxVisit& visit) {
                      visit.passedDown = new Passed("");
                      return visit.depth == 3 ? kOxVisitStop : kOxVisitGoOn;
                  },
                  error),
              kOxVisitStopped);
    EXPECT_EQ(Passed::live, 0);
}

TEST(Visits4, RunInSeveralThreadsWithANumberEach) {
    const At root = RootOf(WideScene(UniqueTag()));
    std::mutex lock;
    std::vector<std::string> names;
    std::atomic<int> inside[8] = {};
    CallError error;
    const OxVisitOptions options = Options(8, false);
    EXPECT_EQ(Visit(
                  root, &options,
                  [&](OxVisit& visit) {
                      EXPECT_EQ(inside[visit.thread]++, 0) << "no two calls have one number";
                      {
                          const std::lock_guard<std::mutex> guard(lock);
                          names.push_back(FullNameOf(visit.location));
                      }
                      --inside[visit.thread];
                      return kOxVisitGoOn;
                  },
                  error),
              kOxVisitDone);
    EXPECT_EQ(names.size(), static_cast<std::size_t>(kWideSceneLocations));
    std::sort(names.begin(), names.end());
    EXPECT_EQ(std::unique(names.begin(), names.end()), names.end());
}

TEST(Visits4, TakeOneThreadForEachProcessor) {
    const At root = RootOf(WideScene(UniqueTag()));
    std::atomic<long> count{0};
    CallError error;
    const OxVisitOptions options = Options(0, false);
    const Body countIt = [&](OxVisit&) {
        ++count;
        return kOxVisitGoOn;
    };
    EXPECT_EQ(Visit(root, &options, countIt, error), kOxVisitDone);
    EXPECT_EQ(count, kWideSceneLocations);
}

TEST(Visits4, RefuseWrongCalls) {
    const At root = RootOf(WideScene(UniqueTag()));
    CallError error;
    EXPECT_EQ(Visit(
                  nullptr, nullptr, [](OxVisit&) { return 0; }, error),
              kOxVisitFailed);
    EXPECT_EQ(error.text(), "visit: location is null");
    EXPECT_EQ(Scenes4().visit(root.get(), nullptr, nullptr, nullptr, error.out()), kOxVisitFailed);
    EXPECT_EQ(error.text(), "visit: visitor is null");
    const OxVisitOptions wrong = Options(-1, false);
    EXPECT_EQ(Visit(
                  root, &wrong, [](OxVisit&) { return 0; }, error),
              kOxVisitFailed);
    EXPECT_EQ(error.text(), "visit: threads is negative");
    EXPECT_EQ(Visit(
                  root, nullptr, [](OxVisit&) { return 7; }, error),
              kOxVisitFailed);
    EXPECT_EQ(error.text(), "visit: visitor returned no OxVisitWish");
    EXPECT_EQ(error.code(), kOxErrorBadCall);
    EXPECT_EQ(Scenes4().visit(nullptr, nullptr, nullptr, nullptr, nullptr), kOxVisitFailed);
}

} // namespace
