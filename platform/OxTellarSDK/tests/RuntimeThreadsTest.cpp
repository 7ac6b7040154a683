#include <OxTellarSDK/TellarRuntime.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <gmock/gmock.h>

#include "AttributePrinter.h"
#include "RunTogether.h"
#include "TestOps.h"

using namespace OxAttribute;
using namespace TestOps;
using testing::HasSubstr;

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

/// Clients that the type TestNeeds looks through, by name. Filled while nobody cooks.
std::map<std::string, Client>& NeededClients() {
    static auto* const clients = new std::map<std::string, Client>;
    return *clients;
}

/// Holds threads back until as many as it was set to have come; open from then on.
class Meeting {
public:
    void expect(int count) {
        const std::lock_guard<std::mutex> guard(lock);
        missing = count;
    }
    void come() {
        std::unique_lock<std::mutex> guard(lock);
        --missing;
        changed.notify_all();
        changed.wait(guard, [this] { return missing <= 0; });
    }

private:
    std::mutex lock;
    std::condition_variable changed;
    int missing = 0;
};

Meeting& TheMeeting() {
    static auto* const meeting = new Meeting;
    return *meeting;
}

/// The sum of the attribute "value" of /root in the named clients, plus one, after the meeting.
int SumOfNeeded(const GroupAttribute& args) {
    TheMeeting().come();
    int sum = 1;
    for (const std::string& name : StringsOf(StringAttribute(args.getChildByName("needs"))))
        sum += ValueAt(NeededClients().at(name), "/root");
    return sum;
}

const std::string kNeeds = Register("TestNeeds", [](CookContext& context) {
    context.setAttrs(GroupAttribute({Value(SumOfNeeded(context.args()))}, true));
});

/// Needs other locations as TestNeeds does, but while its arguments are prepared.
class PreparedNeeds : public OxOpType::OpType {
public:
    struct Sum : OxOpType::State {
        int value = 0;
    };
    PreparedNeeds() { about.name = "TestPreparedNeeds"; }
    const OxOpType::Description& description() const override { return about; }
    std::shared_ptr<const OxOpType::State> prepare(const GroupAttribute& args,
                                                   std::size_t) const override {
        const auto sum = std::make_shared<Sum>();
        sum->value = SumOfNeeded(args);
        return sum;
    }
    void cook(CookContext& context) const override {
        const int value = static_cast<const Sum*>(context.state())->value;
        context.setAttrs(GroupAttribute({Value(value)}, true));
    }

private:
    OxOpType::Description about;
};
const std::string kPreparedNeeds = [] {
    OxOpType::RegisterOpType(new PreparedNeeds);
    return "TestPreparedNeeds";
}();

/// Makes a client of that name, on a runtime of its own, whose Op has the name as well.
Client AddNeeding(const std::string& type, const std::string& name,
                  const std::vector<std::string>& needs) {
    Graph graph;
    const Op op = graph.op(type, {{"needs", StringAttribute(needs, 1)}}, {}, name);
    return NeededClients()[name] = graph.commit(op);
}

/// Cooks a ring of clients, each of which needs the next one, with a thread for each client.
/// Returns the errors of the threads. All of them have begun to cook before any needs another.
std::vector<std::string> ErrorsOfRing(const std::string& type, int count) {
    for (int i = 0; i < count; ++i)
        AddNeeding(type, "ring" + std::to_string(i), {"ring" + std::to_string((i + 1) % count)});
    TheMeeting().expect(count);
    std::vector<std::string> errors(static_cast<std::size_t>(count));
    RunTogether(count, [&](int number) {
        errors[static_cast<std::size_t>(number)] =
            CookError(NeededClients().at("ring" + std::to_string(number)), "/root");
    });
    NeededClients().clear();
    return errors;
}

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

TEST(RuntimeThreads, TwoThatWantOneLocationWaitForOneCook) {
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

TEST(RuntimeThreads, EveryOneThatWaitsForAFailingCookGetsAnError) {
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

class RingOfThreads : public testing::TestWithParam<int> {};

TEST_P(RingOfThreads, IsToldThatItsLocationsNeedThemselves) {
    EXPECT_THAT(ErrorsOfRing(kNeeds, GetParam()),
                testing::Each(testing::MatchesRegex(
                    "Op \"ring[0-9]\" .TestNeeds. at \"/root\": the location needs itself")));
}

TEST_P(RingOfThreads, IsToldThatItsPreparationsNeedThemselves) {
    EXPECT_THAT(ErrorsOfRing(kPreparedNeeds, GetParam()),
                testing::Each(
                    testing::MatchesRegex("Op \"ring[0-9]\" .TestPreparedNeeds. at \"/root\": the "
                                          "(location|preparation of its arguments) needs itself")));
}

INSTANTIATE_TEST_SUITE_P(RuntimeThreads, RingOfThreads, testing::Values(1, 2, 3, 8));

TEST(RuntimeThreads, ALocationOutsideARingThatNeedsItIsToldSoToo) {
    for (const char* type : {kNeeds.c_str(), kPreparedNeeds.c_str()}) {
        SCOPED_TRACE(type);
        AddNeeding(type, "a", {"b"});
        AddNeeding(type, "b", {"a"});
        const Client outside = AddNeeding(type, "outside", {"a", "b"});
        TheMeeting().expect(3);
        std::vector<std::string> errors(3);
        RunTogether(3, [&](int number) {
            const char* const names[] = {"a", "b", "outside"};
            errors[static_cast<std::size_t>(number)] =
                CookError(NeededClients().at(names[number]), "/root");
        });
        EXPECT_THAT(errors, testing::Each(HasSubstr("needs itself")));
        NeededClients().clear();
    }
}

TEST(RuntimeThreads, ThreadsThatNeedEachOthersWorkAreToldOfRingsAloneUnderContention) {
    // Numbers 0 to 19 need two smaller ones each and are sound; 20 to 29 are a ring, each with a
    // sound one; 30 to 39 need one of the ring.
    constexpr int kCount = 40;
    std::mt19937 random(7);
    std::vector<int> expected(kCount, 0); // 0 stands for an error
    TheMeeting().expect(0);
    for (int i = 0; i < kCount; ++i) {
        std::vector<int> needs;
        if (i > 0 && i < 20) needs = {static_cast<int>(random() % static_cast<unsigned>(i)), i - 1};
        if (i >= 20 && i < 30) needs = {i - 20, i == 29 ? 20 : i + 1};
        if (i >= 30) needs = {i - 30, i - 10};
        std::vector<std::string> names;
        if (i < 20) expected[static_cast<std::size_t>(i)] = 1;
        for (const int need : needs) {
            names.push_back(std::to_string(need));
            if (i < 20)
                expected[static_cast<std::size_t>(i)] += expected[static_cast<std::size_t>(need)];
        }
        AddNeeding(i % 2 == 0 ? kNeeds : kPreparedNeeds, std::to_string(i), names);
    }
    std::atomic<int> wrong{0};
    RunTogether(8, [&](int number) {
        std::mt19937 order(static_cast<unsigned>(number));
        for (int i = 0; i < 200; ++i) {
            const int which = static_cast<int>(order() % kCount);
            const Client& client = NeededClients().at(std::to_string(which));
            const std::string error = CookError(client, "/root");
            if (expected[static_cast<std::size_t>(which)] == 0)
                wrong += error.find("needs itself") == std::string::npos;
            else
                wrong += error != "no error" ||
                         ValueAt(client, "/root") != expected[static_cast<std::size_t>(which)];
            if (order() % 4 == 0) client->getRuntime()->evict("/root");
        }
    });
    EXPECT_EQ(wrong, 0);
    NeededClients().clear();
}

TEST(RuntimeThreads, AnEvictionDuringACookMakesTheNextOneCookAnew) {
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

TEST(RuntimeThreads, WhileAnEvictedLocationIsCookedAnewNobodyGetsTheOldResult) {
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

TEST(RuntimeThreads, NoEvictionIsLostWhileAnotherThreadEndsItsCook) {
    Graph graph;
    const Client client = graph.commit(graph.op(kGated));
    std::atomic<int> wrong{0};
    std::atomic<bool> done{false};
    std::thread other([&] {
        while (!done)
            client->cookLocation("/root");
    });
    for (int i = 1; i < 200000; ++i) {
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

TEST(RuntimeThreads, EachThreadsOwnRuntimeSharesTheResultsOfEqualTrees) {
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

TEST(RuntimeThreads, RandomCooksEvictionsAndLookUpsGoTogether) {
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

TEST(RuntimeThreads, OneLocationMayBeCookedEvictedAndReadByAllAtOnce) {
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
                wrong += ValueAt(client, "/root") != i; // what was evicted never comes back
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

TEST(RuntimeThreads, RuntimesOfEqualTreesComeAndGoWhileOthersCook) {
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

TEST(RuntimeThreads, RecordsMayBeHeldAndDroppedOnOtherThreadsAfterTheRuntimeIsGone) {
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

TEST(RuntimeThreads, ThreadsThatComeAndGoLeaveAWorkingStore) {
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

TEST(RuntimeThreads, ManyChildrenOfOneParentMayBeAddedByAllAtOnce) {
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

TEST(RuntimeThreads, TransactionsOfOneRuntimeMayBeBuiltByManyThreads) {
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
