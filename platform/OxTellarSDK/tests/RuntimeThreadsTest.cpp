#include <OxTellarSDK/TellarRuntime.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <random>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>

#include "AttributePrinter.h"
#include "RunTogether.h"
#include "Sanitized.h"
#include "TestOps.h"

using namespace OxAttribute;
using namespace TestOps;

namespace {

/// Cooks stop here while it is closed.
class Gate {
public:
    void close() {
        const std::lock_guard<std::mutex> guard(lock);
        isOpen = false;
        waiting = 0;
    }
    void open() {
        const std::lock_guard<std::mutex> guard(lock);
        isOpen = true;
        changed.notify_all();
    }
    void pass() {
        std::unique_lock<std::mutex> guard(lock);
        ++waiting;
        changed.notify_all();
        changed.wait(guard, [this] { return isOpen; });
    }
    /// Returns when a cook stands at the gate.
    void awaitOne() {
        std::unique_lock<std::mutex> guard(lock);
        changed.wait(guard, [this] { return waiting > 0; });
    }

private:
    std::mutex lock;
    std::condition_variable changed;
    bool isOpen = true;
    int waiting = 0;
};

Gate& TheGate() {
    static auto* const gate = new Gate;
    return *gate;
}

std::atomic<int> outsideWorld{0};

/// Reads the outside world, then waits at the gate if "/root/slow" is asked for.
const std::string kGated = Register("TestGated", [](CookContext& context) {
    const int seen = outsideWorld;
    if (context.path() == "/root/slow") TheGate().pass();
    if (Number(context.args(), "fail") != 0) throw std::runtime_error("as it was told");
    context.setAttrs(GroupAttribute({{"value", IntAttribute(seen)}}, true));
});

/// Gives the others time to arrive where they shall wait. Nothing depends on their arriving.
void LetOthersRun() {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
}

/// Each level looks twice at the level below.
Op Ladder(Graph& graph, Op bottom, int levels, const std::string& counter) {
    Op left = bottom, right = bottom;
    for (int i = 0; i < levels; ++i) {
        const Op newLeft = graph.op(kSum, {Counted(counter), Value(1)}, {left, right});
        right = graph.op(kSum, {Counted(counter), Value(2)}, {left, right});
        left = newLeft;
    }
    return left;
}

std::string RandomPath(std::mt19937& random) {
    std::string path;
    for (unsigned levels = 1 + random() % 4; levels > 0; --levels)
        path += "/n" + std::to_string(random() % 12);
    return path;
}

} // namespace

TEST(RuntimeThreads, TwoThreadsShareTheCookOfOneLocation) {
    Graph graph;
    const Client client = graph.commit(graph.op(kGated, {Counted("one cook")}));
    TheGate().close();
    std::vector<const void*> records(8);
    std::vector<std::thread> threads;
    threads.emplace_back([&] { records[0] = client->cookLocation("/root/slow").getRecord(); });
    TheGate().awaitOne();
    for (std::size_t i = 1; i < records.size(); ++i)
        threads.emplace_back(
            [&, i] { records[i] = client->cookLocation("/root/slow").getRecord(); });
    LetOthersRun();
    EXPECT_FALSE(client->getCachedLocation("/root/slow").isValid());
    EXPECT_TRUE(client->cookLocation("/root/quick").doesLocationExist()); // waits for nobody
    TheGate().open();
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_THAT(records, testing::Each(records[0]));
    EXPECT_EQ(Counter::take("one cook"), 2); // slow and quick
}

TEST(RuntimeThreads, AllThreadsThatWaitForAFailingCookGetAnError) {
    Graph graph;
    const Op gated = graph.op(kGated, {Counted("fails"), {"fail", IntAttribute(1)}}, {}, "gated");
    const Client client = graph.commit(graph.chain(gated, 2));
    TheGate().close();
    std::vector<std::string> errors(8);
    std::vector<std::thread> threads;
    for (std::string& error : errors)
        threads.emplace_back([&] { error = CookError(client, "/root/slow"); });
    TheGate().awaitOne();
    LetOthersRun();
    TheGate().open();
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_THAT(errors,
                testing::Each("Op \"gated\" (TestGated) at \"/root/slow\": as it was told"));
    EXPECT_FALSE(client->getCachedLocation("/root/slow").isValid());
}

TEST(RuntimeThreads, AnEvictionDuringACookMakesTheNextRequestCookAgain) {
    Graph graph;
    const Client client = graph.commit(graph.op(kGated, {Counted("evicted meanwhile")}));
    outsideWorld = 1;
    client->cookLocation("/root/slow");
    graph.runtime->evict("/root/slow");
    TheGate().close();
    std::thread cook([&] { client->cookLocation("/root/slow"); });
    TheGate().awaitOne();
    outsideWorld = 2;
    graph.runtime->evict("/root/slow");
    TheGate().open();
    cook.join();
    EXPECT_EQ(ValueAt(client, "/root/slow"), 2);
    EXPECT_EQ(Counter::take("evicted meanwhile"), 3);
}

TEST(RuntimeThreads, TheOldResultIsNotReturnedWhileAnEvictedLocationCooks) {
    Graph graph;
    const Client client = graph.commit(graph.chain(graph.op(kGated), 1));
    outsideWorld = 1;
    client->cookLocation("/root/slow");
    graph.runtime->evict("/root/slow");
    outsideWorld = 2;
    TheGate().close();
    std::thread cook([&] { client->cookLocation("/root/slow"); });
    TheGate().awaitOne();
    int seen = 0;
    std::thread other([&] { seen = ValueAt(client, "/root/slow"); });
    LetOthersRun();
    TheGate().open();
    cook.join();
    other.join();
    EXPECT_EQ(seen, 2);
}

TEST(RuntimeThreads, NoEvictionIsLostWhileAnotherThreadFinishesItsCook) {
    constexpr int kEvictions = TellarTest::kSanitized ? 20000 : 200000;
    Graph graph;
    const Client client = graph.commit(graph.op(kGated));
    std::atomic<int> wrong{0};
    std::atomic<bool> done{false};
    std::thread other([&] {
        while (!done)
            client->cookLocation("/root");
    });
    for (int i = 1; i < kEvictions; ++i) {
        outsideWorld = i;
        graph.runtime->evict("/root");
        wrong += ValueAt(client, "/root") != i;
    }
    done = true;
    other.join();
    EXPECT_EQ(wrong, 0);
}

TEST(RuntimeThreads, OneClientServesManyThreadsAndCooksEachLocationOnce) {
    Graph graph;
    const Op source = graph.op(kSource, {Counted("many threads"), Value(1)});
    const Client client = graph.commit(Ladder(graph, source, 5, "many threads"));
    std::atomic<int> wrong{0};
    RunTogether(8, [&](int number) {
        std::mt19937 random(static_cast<unsigned>(number % 2)); // two threads on every path
        for (int i = 0; i < 1500; ++i)
            wrong += ValueAt(client, RandomPath(random)) != 32;
    });
    EXPECT_EQ(wrong, 0);
    std::set<std::string> paths;
    for (unsigned seed = 0; seed < 2; ++seed) {
        std::mt19937 random(seed);
        for (int i = 0; i < 1500; ++i)
            paths.insert(RandomPath(random));
    }
    EXPECT_EQ(Counter::take("many threads"), static_cast<int>(paths.size()) * 10);
}

TEST(RuntimeThreads, RuntimesOfDifferentThreadsShareTheResultsOfEqualTrees) {
    std::vector<Client> clients(8); // kept until all have cooked
    RunTogether(8, [&](int number) {
        Graph graph;
        const Op source = graph.op(kSource, {Counted("own runtimes"), Value(1)});
        const Client client = graph.commit(Ladder(graph, source, 3, "own runtimes"));
        for (int i = 0; i < 500; ++i)
            client->cookLocation("/root/n" + std::to_string(i));
        clients[static_cast<std::size_t>(number)] = client;
    });
    for (const Client& client : clients)
        EXPECT_EQ(ValueAt(client, "/root/n499"), 8);
    EXPECT_EQ(Counter::take("own runtimes"), 500 * 6);
}

TEST(RuntimeThreads, RandomCooksEvictionsAndLookupsAreSafe) {
    Graph graph;
    const Op source = graph.op(kSource, {Value(1)});
    const Client client = graph.commit(Ladder(graph, source, 4, "random"));
    std::atomic<int> wrong{0};
    RunTogether(8, [&](int number) {
        std::mt19937 random(static_cast<unsigned>(number));
        LocationData held;
        for (int i = 0; i < 2000; ++i) {
            const std::string path = RandomPath(random);
            switch (random() % 4) {
            case 0:
                graph.runtime->evict(path);
                break;
            case 1: {
                const LocationData cached = client->getCachedLocation(path);
                wrong += cached.isValid() && Number(cached.getAttrs(), "value") != 16;
                break;
            }
            default:
                held = client->cookLocation(path);
                wrong += Number(held.getAttrs(), "value") != 16;
            }
        }
    });
    EXPECT_EQ(wrong, 0);
}

TEST(RuntimeThreads, OneLocationCanBeCookedEvictedAndReadAtOnce) {
    Graph graph;
    const Client client = graph.commit(graph.chain(graph.op(kGated), 2));
    outsideWorld = 0;
    std::atomic<int> wrong{0};
    RunTogether(8, [&](int number) {
        int last = 0;
        for (int i = 1; i < 1500; ++i) {
            if (number == 0) {
                outsideWorld = i;
                graph.runtime->evict("/root");
                wrong += ValueAt(client, "/root") != i; // evicted values never come back
                continue;
            }
            const LocationData data =
                i % 3 == 0 ? client->getCachedLocation("/root") : client->cookLocation("/root");
            if (!data.isValid()) continue;
            const int value = Number(data.getAttrs(), "value");
            wrong += value < last; // time does not run backwards
            last = value;
            wrong += data.getHash() == Hash();
        }
    });
    EXPECT_EQ(wrong, 0);
}

TEST(RuntimeThreads, FinalizingWhileOthersCookLosesNothing) {
    Graph graph;
    const Client client = graph.commit(graph.op(kSource, {Value(3), Counted("finalizing")}));
    std::atomic<int> wrong{0};
    RunTogether(6, [&](int number) {
        std::mt19937 random(static_cast<unsigned>(number));
        for (int i = 0; i < 1000; ++i) {
            if (number == 0)
                graph.runtime->finalize();
            else
                wrong += ValueAt(client, RandomPath(random)) != 3;
        }
    });
    EXPECT_EQ(wrong, 0);
}

TEST(RuntimeThreads, RuntimesOfEqualTreesCanBeMadeAndFreedWhileOthersCook) {
    std::atomic<int> wrong{0};
    RunTogether(8, [&](int number) {
        for (int i = 0; i < 100; ++i) {
            Graph graph;
            const Op source = graph.op(kSource, {Value(2), {"tree", IntAttribute(i % 3)}});
            const Client client = graph.commit(graph.op(kSum, {}, {source, source}));
            for (int child = 0; child < 10; ++child)
                wrong +=
                    ValueAt(client, "/root/c" + std::to_string((child * 7 + number) % 10)) != 4;
        }
    });
    EXPECT_EQ(wrong, 0);
}

TEST(RuntimeThreads, RecordsCanOutliveTheRuntimeOnOtherThreads) {
    std::vector<LocationData> records(400);
    {
        Graph graph;
        const Client client = graph.commit(graph.op(kSource, {Value(6)}));
        RunTogether(4, [&](int number) {
            for (int i = 0; i < 100; ++i)
                records[static_cast<std::size_t>(number * 100 + i)] =
                    client->cookLocation("/root/n" + std::to_string(i));
        });
    }
    std::atomic<int> wrong{0};
    RunTogether(4, [&](int number) {
        for (int i = 0; i < 100; ++i) {
            LocationData& record = records[static_cast<std::size_t>((3 - number) * 100 + i)];
            wrong += Number(record.getAttrs(), "value") != 6;
            record = LocationData();
        }
    });
    EXPECT_EQ(wrong, 0);
}

TEST(RuntimeThreads, ShortLivedThreadsLeaveAWorkingStore) {
    Graph graph;
    const Client client = graph.commit(graph.op(kSource, {Counted("come and go"), Value(1)}));
    std::atomic<int> wrong{0};
    for (int round = 0; round < 5; ++round)
        RunTogether(40, [&](int number) {
            for (int i = 0; i < 20; ++i)
                wrong += ValueAt(client, "/root/n" + std::to_string((number + i) % 25)) != 1;
        });
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(Counter::take("come and go"), 25);
}

TEST(RuntimeThreads, ManyChildrenOfOneParentCanBeAddedAtOnce) {
    Graph graph;
    const Client client = graph.commit(graph.op(kSource, {Counted("children of one")}));
    std::atomic<int> wrong{0};
    RunTogether(8, [&](int number) {
        std::mt19937 random(static_cast<unsigned>(number));
        for (int i = 0; i < 5000; ++i) {
            const std::string path = "/root/child" + std::to_string(random() % 3000);
            wrong += Text(client->cookLocation(path).getAttrs(), "path") != path;
        }
        for (int i = number; i < 3000; i += 8)
            client->cookLocation("/root/child" + std::to_string(i));
    });
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(Counter::take("children of one"), 3000);
}

TEST(RuntimeThreads, TransactionsOfOneRuntimeCanBeBuiltByManyThreads) {
    const auto runtime = TellarRuntime::create();
    std::vector<std::vector<std::int32_t>> ids(8);
    std::atomic<int> wrong{0};
    RunTogether(8, [&](int number) {
        for (int i = 0; i < 50; ++i) {
            Graph graph(runtime);
            const Op op = graph.op(kSource, {Value(number)});
            ids[static_cast<std::size_t>(number)].push_back(op->getId());
            wrong += ValueAt(graph.commit(op), "/root") != number;
        }
    });
    EXPECT_EQ(wrong, 0);
    std::set<std::int32_t> different;
    for (const auto& some : ids)
        different.insert(some.begin(), some.end());
    EXPECT_EQ(different.size(), 400u);
}

TEST(RuntimeThreads, OpsPreparedByManyThreadsArePreparedOnce) {
    class Preparing : public OxOpType::OpType {
    public:
        Preparing() { about.name = "TestPreparingInThreads"; }
        const OxOpType::Description& description() const override { return about; }
        std::shared_ptr<const OxOpType::State> prepare(const GroupAttribute&,
                                                       std::size_t) const override {
            ++Counter::of("prepared in threads");
            LetOthersRun();
            return std::make_shared<OxOpType::State>();
        }
        void cook(CookContext& context) const override {
            if (context.state()) context.setAttrs(GroupAttribute({Value(1)}, true));
        }
        OxOpType::Description about;
    };
    static const bool isRegistered = [] {
        RegisterOpType(new Preparing);
        return true;
    }();
    ASSERT_TRUE(isRegistered);
    Graph graph;
    const Client client = graph.commit(graph.op("TestPreparingInThreads"));
    std::atomic<int> wrong{0};
    RunTogether(
        8, [&](int number) { wrong += ValueAt(client, "/root/n" + std::to_string(number)) != 1; });
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(Counter::take("prepared in threads"), 1);
}

TEST(RuntimeThreads, TheNumberOfCooksAddsUpOverThreads) {
    Graph graph;
    const Client client = graph.commit(graph.op(kSource, {Counted("added up")}));
    const std::uint64_t before = TellarRuntime::getNumberOfCooks();
    RunTogether(40, [&](int number) {
        for (int i = 0; i < 50; ++i)
            client->cookLocation("/root/n" + std::to_string(number) + "_" + std::to_string(i));
    });
    EXPECT_EQ(TellarRuntime::getNumberOfCooks() - before, 2000u);
}
