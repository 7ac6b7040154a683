// Two threads compared with one: the same walk, with the groups below /root/world split among them.

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <OxTellarSDK/TellarRuntime.h>

#include "Measure.h"
#include "PointerTree.h"
#include "Rows.h"
#include "Scene.h"
#include "Walk.h"

namespace TellarBench {

namespace {

constexpr int kPasses = 3;

using Clock = std::chrono::steady_clock;

/// A reusable barrier for a number of threads.
class Barrier {
public:
    explicit Barrier(int threadCount) : threads(threadCount) {}

    void wait() {
        std::unique_lock<std::mutex> guard(lock);
        const int round = rounds;
        if (++waiting == threads) {
            waiting = 0;
            ++rounds;
            everyone.notify_all();
            return;
        }
        everyone.wait(guard, [&] { return rounds != round; });
    }

private:
    const int threads;
    std::mutex lock;
    std::condition_variable everyone;
    int waiting = 0;
    int rounds = 0;
};

/// The part of a walk that one thread does.
struct Share {
    Clock::time_point start;
    Clock::time_point end;
    Checksum sum;
};

// Each thread iterates over the groups below /root/world and walks every `threads`th of them. The
// first thread also reads the locations above.

Checksum WalkShare(GeometryProducer* root, int thread, int threads) {
    Checksum sum;
    const Producer world = root->getChildByName("world");
    if (!world) throw std::runtime_error("there is no /root/world");
    if (thread == 0) {
        sum.add(ReadNames(root));
        sum.add(ReadNames(world.get()));
    }
    int group = 0;
    for (Producer child = world->getFirstChild(); child; child = child->getNextSibling())
        if (group++ % threads == thread) sum.add(WalkNames(child.get()));
    return sum;
}

Checksum WalkShare(const Node* root, int thread, int threads) {
    Checksum sum;
    const Node* world = root->children.front().get();
    if (thread == 0) {
        sum.add(ReadNames(root));
        sum.add(ReadNames(world));
    }
    int group = 0;
    for (const auto& child : world->children)
        if (group++ % threads == thread) sum.add(WalkNames(static_cast<const Node*>(child.get())));
    return sum;
}

struct WalkTimes {
    double first = 0;
    double second = 0;
    Checksum sum; // over both walks

    void add(const WalkTimes& other) {
        first += other.first;
        second += other.second;
    }
};

/// The seconds from the first start to the last end.
double GetSeconds(const std::vector<Share>& shares) {
    Clock::time_point start = shares[0].start;
    Clock::time_point end = shares[0].end;
    for (const Share& share : shares) {
        start = std::min(start, share.start);
        end = std::max(end, share.end);
    }
    return std::chrono::duration<double>(end - start).count();
}

/// Walks twice with new threads. The first walk includes what each thread sets up for itself.
template <typename Location>
WalkTimes WalkTwice(Location root, int threads) {
    Barrier barrier(threads);
    std::vector<Share> first(static_cast<std::size_t>(threads));
    std::vector<Share> second(first.size());
    std::vector<std::exception_ptr> errors(first.size());
    std::vector<std::thread> workers;
    for (int thread = 0; thread < threads; ++thread)
        workers.emplace_back([&, thread, place = static_cast<std::size_t>(thread)] {
            for (Share* share : {&first[place], &second[place]}) {
                barrier.wait();
                try {
                    share->start = Clock::now();
                    share->sum = WalkShare(root, thread, threads);
                    share->end = Clock::now();
                } catch (...) {
                    errors[place] = std::current_exception();
                }
            }
        });
    for (std::thread& worker : workers)
        worker.join();
    for (const std::exception_ptr& error : errors)
        if (error) std::rethrow_exception(error);

    WalkTimes times;
    times.first = GetSeconds(first);
    times.second = GetSeconds(second);
    for (const auto* shares : {&first, &second})
        for (const Share& share : *shares)
            times.sum.add(share.sum);
    return times;
}

struct LibraryTimes : WalkTimes {
    double cooks = 0;
};

/// Runs in a separate process, where nothing has been cooked yet.
LibraryTimes WalkLibraryCold(const Route& route, int threads) {
    const std::vector<double> figures = MeasureInChild([&]() -> std::vector<double> {
        const std::uint64_t cooksBefore = TellarRuntime::getNumberOfCooks();
        const Producer root = route.openFile(GetScenePath(GetOptions().leaves));
        const WalkTimes times = WalkTwice(root.get(), threads);
        const std::uint64_t cooks = TellarRuntime::getNumberOfCooks() - cooksBefore;
        // The checksum is passed in two halves, since 64 bits do not fit into a double.
        return {times.first,
                times.second,
                static_cast<double>(cooks),
                static_cast<double>(times.sum.value >> 32),
                static_cast<double>(times.sum.value & 0xFFFFFFFF),
                static_cast<double>(times.sum.locations)};
    });
    LibraryTimes times;
    times.first = figures.at(0);
    times.second = figures.at(1);
    times.cooks = figures.at(2);
    times.sum.value =
        static_cast<std::uint64_t>(figures.at(3)) << 32 | static_cast<std::uint64_t>(figures.at(4));
    times.sum.locations = static_cast<std::int64_t>(figures.at(5));
    return times;
}

void CheckCooks(const std::string& name, double cooks, double locations) {
    if (cooks == locations) return;
    throw std::runtime_error(name + ": " + std::to_string(static_cast<std::int64_t>(cooks)) +
                             " cooks for " + std::to_string(static_cast<std::int64_t>(locations)) +
                             " locations");
}

/// Alternates between one thread and two, so that other load on the machine affects both.
void CompareThreads(const Route& route, const std::string& name, Row& row) {
    const auto tree = BuildTree(GetOptions().leaves);
    const Node* const treeRoot = tree.get();
    const auto locations = static_cast<double>(CountNodes(*tree));
    WalkTimes one, two, treeOne, treeTwo; // sums
    for (int pass = 0; pass < kPasses; ++pass) {
        const LibraryTimes cold[] = {WalkLibraryCold(route, 1), WalkLibraryCold(route, 2)};
        const WalkTimes warm[] = {WalkTwice(treeRoot, 1), WalkTwice(treeRoot, 2)};
        for (int i = 0; i < 2; ++i) {
            row.verify(cold[i].sum, warm[i].sum);
            CheckCooks(name, cold[i].cooks, locations);
        }
        one.add(cold[0]);
        two.add(cold[1]);
        treeOne.add(warm[0]);
        treeTwo.add(warm[1]);
    }
    row.report("first_times", one.first / two.first, treeOne.first / treeTwo.first);
    row.report("second_times", one.second / two.second, treeOne.second / treeTwo.second);
    row.report("cooks", locations, locations);
    row.finish(two.first + two.second);
}

} // namespace

void AddThreadRows(const Route& route) {
    const std::string name = std::string("two_threads/") + route.name;
    AddRow(name, 1, [&route, name](Row& row) { CompareThreads(route, name, row); });
}

} // namespace TellarBench
