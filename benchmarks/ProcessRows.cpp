// Measurements that need a fresh process: opening, memory, and the array scene.

#include <algorithm>
#include <thread>

#include <malloc.h>

#include <OxTellarSDK/Attribute.h>

#include "Measure.h"
#include "PointerTree.h"
#include "Rows.h"
#include "Scene.h"
#include "Walk.h"

using namespace OxAttribute;

namespace TellarBench {

namespace {

/// The time until a scene's root exists, and until the children of /root/world are listed.
struct Opening {
    double rootSeconds;
    double childrenSeconds;
    Checksum sum;
};

Opening OpenLibrary(const Route& route) {
    Opening opening{};
    const Stopwatch watch;
    const Producer root = route.openFile(GetScenePath(GetOptions().leaves));
    opening.sum.add(ReadNames(root.get()));
    opening.rootSeconds = watch.seconds();
    const Producer world = root->getChildByName("world");
    for (Producer child = world->getFirstChild(); child; child = child->getNextSibling())
        opening.sum.add(ReadNames(child.get()));
    opening.childrenSeconds = watch.seconds();
    return opening;
}

Opening OpenTree() {
    Opening opening{};
    const Stopwatch watch;
    const std::unique_ptr<Node> root = LoadTree(GetDumpPath(GetOptions().leaves));
    opening.sum.add(ReadNames(root.get()));
    opening.rootSeconds = watch.seconds();
    for (const auto& child : root->children.front()->children)
        opening.sum.add(ReadNames(child.get()));
    opening.childrenSeconds = watch.seconds();
    return opening;
}

void CompareOpening(const Route& route, Row& row) {
    const Opening library = OpenLibrary(route);
    const Opening tree = OpenTree();
    row.verify(library.sum, tree.sum);
    row.report("root_ms", library.rootSeconds * 1e3, tree.rootSeconds * 1e3);
    row.report("children_ms", library.childrenSeconds * 1e3, tree.childrenSeconds * 1e3);
    row.finish(library.childrenSeconds);
}

/// The growth of the process's memory since this object was constructed, in bytes.
class Growth {
public:
    double bytes() const { return GetAnonymousBytes() - before; }

private:
    const double before = GetAnonymousBytes();
};

void MeasureMemory(const Route& route, bool withThread, Row& row) {
    const Stopwatch watch;
    const std::int64_t leaves = GetOptions().leaves;
    const double perLocation = 1.0 / static_cast<double>(CountLocations(leaves));
    // In separate processes, so that neither reuses memory that the other has freed.
    const std::vector<double> tree = MeasureInChild([&] {
        const Growth growth;
        const auto root = BuildTree(leaves);
        return std::vector<double>{growth.bytes() * perLocation};
    });

    const Growth growth;
    Producer root = route.openFile(GetScenePath(leaves));
    const double opened = growth.bytes();
    const Checksum sum = WalkNames(root.get());
    const double walked = growth.bytes();
    root.reset();
    const double dropped = growth.bytes();
    row.report("open_bytes", opened * perLocation);
    row.report("walked_bytes", walked * perLocation, tree.at(0));
    row.report("dropped_bytes", dropped * perLocation);

    Checksum threadSum = sum;
    if (withThread) {
        std::thread([&] {
            const Producer own = route.openFile(GetScenePath(leaves));
            threadSum = WalkNames(own.get());
            row.report("thread_bytes", (growth.bytes() - dropped) * perLocation);
        }).join();
    }
    const auto built = BuildTree(leaves);
    const Checksum treeSum = WalkNames(static_cast<const Node*>(built.get()));
    row.verify(sum, treeSum);
    row.verify(threadSum, treeSum);
    row.finish(watch.seconds());
}

/// Opens a scene, walks it and lets go of it, then another one that shares nothing with it.
void MeasureTwoScenes(const Route& route, Row& row) {
    const Stopwatch watch;
    const std::int64_t leaves = GetOptions().leaves;
    const double perLocation = 1.0 / static_cast<double>(CountLocations(leaves));
    const Growth growth;
    const Checksum first = WalkNames(route.openFile(GetScenePath(leaves)).get());
    const double afterFirst = growth.bytes();
    const Producer root = route.openFile(GetEditedScenePath(leaves));
    const Checksum second = WalkNames(root.get());
    row.report("two_bytes", growth.bytes() * perLocation, afterFirst * perLocation);
    row.verify(second, first);
    row.finish(watch.seconds());
}

/// A pointer tree of the names and types below a location.
std::unique_ptr<Node> CopyNames(GeometryProducer* location) {
    auto node = std::make_unique<Node>();
    node->name = location->getName();
    node->type = location->getType();
    for (Producer child = location->getFirstChild(); child; child = child->getNextSibling()) {
        node->children.push_back(CopyNames(child.get()));
        node->children.back()->parent = node.get();
    }
    return node;
}

void CompareArray(const Route& route, Row& row) {
    const GroupAttribute description = DescribeForest(GetOptions().leaves);
    const Growth growth;
    const Producer root = route.openDescription(description);
    const Stopwatch watch;
    const Checksum sum = WalkNames(root.get());
    const double seconds = watch.seconds();
    const double bytes = growth.bytes();

    ::malloc_trim(0); // so that the tree does not reuse memory that the walk has freed
    const Growth treeGrowth;
    const std::unique_ptr<Node> tree = CopyNames(root.get());
    const double treeBytes = treeGrowth.bytes();
    const Stopwatch treeWatch;
    const Checksum treeSum = WalkNames(static_cast<const Node*>(tree.get()));
    const double treeSeconds = treeWatch.seconds();

    row.verify(sum, treeSum);
    const auto locations = static_cast<double>(sum.locations);
    row.report("ns", seconds * 1e9 / locations, treeSeconds * 1e9 / locations);
    row.report("bytes", bytes / locations, treeBytes / locations);
    row.finish(seconds);
}

} // namespace

void AddProcessRows(const Route& route) {
    AddRow(std::string("open/") + route.name, 1,
           [&route](Row& row) { CompareOpening(route, row); });
    AddRow(std::string("memory/") + route.name, 1, [&route](Row& row) {
        const bool withThread = &route == &kThreadAware;
        MeasureMemory(route, withThread, row);
    });
    AddRow(std::string("two_scenes/") + route.name, 1,
           [&route](Row& row) { MeasureTwoScenes(route, row); });
    AddRow(std::string("array/") + route.name, 1, [&route](Row& row) { CompareArray(route, row); });
}

} // namespace TellarBench
