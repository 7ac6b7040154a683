#include <OxTellarSDK/CookObserver.h>

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>

#include "Sanitized.h"
#include "TestOps.h"

using namespace OxAttribute;
using namespace TestOps;
using OxOpType::CookObservation;
using OxOpType::CookObserver;
using OxOpType::ObservedCook;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

/// Writes a line for every call.
class Listener : public CookObserver {
public:
    void cookBegins(const ObservedCook& cook) noexcept override { add("begin " + nameOf(cook)); }
    void inputWasRead(const ObservedCook& cook, std::size_t input, const std::string& location,
                      const LocationData& data) noexcept override {
        add("read " + nameOf(cook) + " " + std::to_string(input) + " " + location +
            (data.doesLocationExist() ? "" : " missing"));
    }
    void cookEnds(const ObservedCook& cook, const LocationData& result) noexcept override {
        add("end " + nameOf(cook) + (result.doesLocationExist() ? "" : " missing"));
    }
    void cookFails(const ObservedCook& cook, const ErrorFacts& error) noexcept override {
        add("fail " + nameOf(cook) + " by " + error.op);
    }
    void waitBegins(const ObservedCook& cook) noexcept override {
        add("wait " + nameOf(cook));
        const std::lock_guard<std::mutex> guard(lock);
        isAwaited = true;
        awaited.notify_all();
    }
    void waitEnds(const ObservedCook& cook) noexcept override { add("waited " + nameOf(cook)); }

    std::vector<std::string> take() {
        const std::lock_guard<std::mutex> guard(lock);
        return std::move(lines);
    }
    void waitForWaiter() {
        std::unique_lock<std::mutex> guard(lock);
        awaited.wait(guard, [&] { return isAwaited; });
    }

private:
    static std::string nameOf(const ObservedCook& cook) { return cook.opName + cook.location; }
    void add(std::string line) {
        const std::lock_guard<std::mutex> guard(lock);
        lines.push_back(std::move(line));
    }

    std::mutex lock;
    std::condition_variable awaited;
    std::vector<std::string> lines;
    bool isAwaited = false;
};

/// Every test has results of its own, which no other test has cooked.
int NextValue() {
    static int last = 7000;
    return ++last;
}

Client SumOfTwo(Graph& graph) {
    const Op source = graph.op(kSource, {Value(NextValue())}, {}, "source");
    return graph.commit(graph.op(kSum, {}, {source, nullptr}, "sum"));
}

/// Holds the cook until somebody waits for it.
std::atomic<Listener*> heldBy{nullptr};
const std::string kHeld = Register("TestObservedHold", [](CookContext& context) {
    heldBy.load()->waitForWaiter();
    context.setAttrs(GroupAttribute());
});

} // namespace

TEST(CookObserver, IsToldOfCooksAndReadsInTheirOrder) {
    const auto listener = std::make_shared<Listener>();
    Graph graph;
    const Client client = SumOfTwo(graph);
    const CookObservation observation(listener);
    client->cookLocation("/root");
    EXPECT_THAT(listener->take(), ElementsAre("begin sum/root", "begin source/root",
                                              "end source/root", "read sum/root 0 /root",
                                              "read sum/root 1 /root missing", "end sum/root"));
}

TEST(CookObserver, IsNotToldOfResultsThatExist) {
    const auto listener = std::make_shared<Listener>();
    Graph graph;
    const Client client = SumOfTwo(graph);
    client->cookLocation("/root");
    const CookObservation observation(listener);
    client->cookLocation("/root");
    EXPECT_THAT(listener->take(), IsEmpty());
}

TEST(CookObserver, IsNotToldAnythingAfterTheObservation) {
    const auto listener = std::make_shared<Listener>();
    Graph graph;
    const Client client = SumOfTwo(graph);
    { const CookObservation observation(listener); }
    client->cookLocation("/root");
    EXPECT_THAT(listener->take(), IsEmpty());
    EXPECT_EQ(listener.use_count(), 1);
}

TEST(CookObserver, IsToldWhichOpFailed) {
    const auto listener = std::make_shared<Listener>();
    Graph graph;
    const Op broken = graph.op(kThrow, {{"message", StringAttribute("no")}}, {}, "broken");
    const Client client = graph.commit(graph.op(kPass, {}, {broken}, "pass"));
    const CookObservation observation(listener);
    CookError(client, "/root");
    EXPECT_THAT(listener->take(),
                ElementsAre("begin pass/root", "begin broken/root", "fail broken/root by broken",
                            "fail pass/root by broken"));
}

TEST(CookObserver, SeveralAreToldUntilTheirObservationsEndInAnyOrder) {
    const auto first = std::make_shared<Listener>();
    const auto second = std::make_shared<Listener>();
    const auto third = std::make_shared<Listener>();
    const auto source = [] {
        Graph graph;
        return graph.commit(graph.op(kSource, {Value(NextValue())}, {}, "s"));
    };
    auto one = std::make_unique<CookObservation>(first);
    auto two = std::make_unique<CookObservation>(second);
    source()->cookLocation("/root");
    one.reset();
    auto three = std::make_unique<CookObservation>(third);
    source()->cookLocation("/root/a");
    two.reset();
    source()->cookLocation("/root/b");
    three.reset();
    EXPECT_THAT(first->take(), ElementsAre("begin s/root", "end s/root"));
    EXPECT_THAT(second->take(),
                ElementsAre("begin s/root", "end s/root", "begin s/root/a", "end s/root/a"));
    EXPECT_THAT(third->take(),
                ElementsAre("begin s/root/a", "end s/root/a", "begin s/root/b", "end s/root/b"));
}

TEST(CookObserver, IsToldOfWaitsForAnotherThread) {
    const auto listener = std::make_shared<Listener>();
    heldBy = listener.get();
    Graph graph;
    const Client client = graph.commit(graph.op(kHeld, {Value(NextValue())}, {}, "held"));
    const CookObservation observation(listener);
    std::thread other([&] { client->cookLocation("/root"); });
    client->cookLocation("/root");
    other.join();
    EXPECT_THAT(listener->take(), ElementsAre("begin held/root", "wait held/root", "end held/root",
                                              "waited held/root"));
}

TEST(CookObserver, ThreadsCookWhileObservationsComeAndGo) {
    const int rounds = TellarTest::kSanitized ? 200 : 2000;
    std::atomic<bool> isOver{false};
    Graph graph;
    const Client client = SumOfTwo(graph);
    std::thread cooking([&] {
        for (int i = 0; i < rounds; ++i)
            client->cookLocation("/root/" + std::to_string(i));
        isOver = true;
    });
    const auto listener = std::make_shared<Listener>();
    while (!isOver) {
        const CookObservation one(listener);
        const CookObservation two(listener);
    }
    cooking.join();
    EXPECT_EQ(listener.use_count(), 1);
}
