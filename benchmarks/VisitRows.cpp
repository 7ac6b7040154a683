// Visits by the library's threads compared with walks written by hand, over a scene that was walked
// before.

#include <cstddef>
#include <string>
#include <thread>
#include <vector>

#include <OxTellarProducers/VisitLocations.h>

#include "Measure.h"
#include "Rows.h"
#include "Scene.h"
#include "Walk.h"

namespace TellarBench {

namespace {

constexpr int kPasses = 7;
constexpr int kThreads = 2;

/// The sum of one thread, in a cache line of its own.
struct alignas(64) ThreadSum {
    Checksum sum;
};

Checksum SumOf(const std::vector<ThreadSum>& sums) {
    Checksum total;
    for (const ThreadSum& one : sums)
        total.add(one.sum);
    return total;
}

Checksum Visit(const Producer& root, int threads, bool isOrdered) {
    std::vector<ThreadSum> sums(static_cast<std::size_t>(threads));
    TELLAR::VisitLocations(
        root, {threads, isOrdered, nullptr}, [&sums](TELLAR::VisitedLocation& visited) {
            sums[static_cast<std::size_t>(visited.thread)].sum.add(ReadNames(visited.location));
            return TELLAR::VisitWish::GoOn;
        });
    return SumOf(sums);
}

/// Each thread walks every second group below /root/world.
Checksum WalkByTwoThreads(const Producer& root) {
    std::vector<ThreadSum> sums(kThreads);
    const Producer world = root->getChildByName("world");
    const auto walkShare = [&](int thread) {
        Checksum& sum = sums[static_cast<std::size_t>(thread)].sum;
        int group = 0;
        for (Producer child = world->getFirstChild(); child; child = child->getNextSibling())
            if (group++ % kThreads == thread) sum.add(WalkNames(child.get()));
    };
    std::thread other(walkShare, 1);
    walkShare(0);
    other.join();
    Checksum total = SumOf(sums);
    total.add(ReadNames(root.get()));
    total.add(ReadNames(world.get()));
    return total;
}

template <typename Library, typename ByHand>
void AddVisitRow(const char* name, const Route& route, Library library, ByHand byHand) {
    AddRow(std::string(name) + "/" + route.name, kPasses, [&route, library, byHand](Row& row) {
        const Producer root = route.openFile(GetScenePath(GetOptions().leaves));
        const auto locations = static_cast<double>(WalkNames(root.get()).locations);
        row.compare(
            "ns", 1e9 / locations, [&] { return library(root); }, [&] { return byHand(root); });
    });
}

} // namespace

void AddVisitRows(const Route& route) {
    const auto walkAlone = [](const Producer& root) { return WalkNames(root.get()); };
    AddVisitRow(
        "visit_alone", route, [](const Producer& root) { return Visit(root, 1, false); },
        walkAlone);
    AddVisitRow(
        "visit_at_once", route, [](const Producer& root) { return Visit(root, kThreads, false); },
        WalkByTwoThreads);
    AddVisitRow(
        "visit_in_order", route, [](const Producer& root) { return Visit(root, kThreads, true); },
        walkAlone);
}

} // namespace TellarBench
