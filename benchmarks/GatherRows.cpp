// World matrices, types and bounds of all leaves gathered into arrays, in the order of the tree, by
// one thread and by two. benchmarks/python_bench.py compares Scene.table with it.

#include <algorithm>
#include <array>
#include <ctime>
#include <iterator>
#include <limits>
#include <string>
#include <thread>
#include <vector>

#include <Imath/ImathMatrix.h>
#include <OxTellarSDK/Attribute.h>

#include "Measure.h"
#include "Rows.h"
#include "Scene.h"
#include "Walk.h"

using namespace OxAttribute;
using Imath::M44d;

namespace TellarBench {

namespace {

constexpr int kPasses = 5;

struct Leaves {
    std::vector<M44d> worlds;
    std::vector<std::string> types;
    std::vector<std::array<double, 6>> bounds;

    void append(Leaves other) {
        worlds.insert(worlds.end(), other.worlds.begin(), other.worlds.end());
        types.insert(types.end(), std::make_move_iterator(other.types.begin()),
                     std::make_move_iterator(other.types.end()));
        bounds.insert(bounds.end(), other.bounds.begin(), other.bounds.end());
    }
};

M44d ToMatrix(const double* values) {
    M44d matrix(Imath::UNINITIALIZED);
    std::copy_n(values, 16, matrix.getValue());
    return matrix;
}

void AddBound(const double* values, std::size_t count, Leaves& leaves) {
    leaves.bounds.emplace_back();
    std::copy_n(values, std::min<std::size_t>(count, 6), leaves.bounds.back().begin());
}

// The values that are read of one location.

M44d WorldOf(GeometryProducer* location, const M44d& parentWorld) {
    const DoubleAttribute matrix = location->getAttribute("xform.matrix");
    const auto sample = matrix.getNearestSample(0.0f);
    return sample.size() == 16 ? ToMatrix(sample.data()) * parentWorld : parentWorld;
}

M44d WorldOf(const Node* node, const M44d& parentWorld) {
    return node->hasMatrix ? ToMatrix(node->matrix.data()) * parentWorld : parentWorld;
}

std::string TypeOf(GeometryProducer* location) {
    return location->getType();
}

std::string TypeOf(const Node* node) {
    return node->type;
}

void AddBoundOf(GeometryProducer* location, Leaves& leaves) {
    const DoubleAttribute bound = location->getAttribute("bound");
    const auto sample = bound.getNearestSample(0.0f);
    AddBound(sample.data(), sample.size(), leaves);
}

void AddBoundOf(const Node* node, Leaves& leaves) {
    const auto bound = FindValue<std::vector<double>>(node, "bound");
    AddBound(bound.data(), bound.size(), leaves);
}

template <typename Visit>
void ForEachChild(GeometryProducer* location, const Visit& visit) {
    for (Producer child = location->getFirstChild(false); child;
         child = child->getNextSibling(false))
        visit(child.get());
}

template <typename Visit>
void ForEachChild(const Node* node, const Visit& visit) {
    for (const auto& child : node->children)
        visit(static_cast<const Node*>(child.get()));
}

template <typename Location>
void Gather(Location location, const M44d& parentWorld, Leaves& leaves) {
    const M44d world = WorldOf(location, parentWorld);
    std::string type = TypeOf(location);
    if (type == kLeafType) {
        leaves.worlds.push_back(world);
        leaves.types.push_back(std::move(type));
        AddBoundOf(location, leaves);
    }
    ForEachChild(location, [&](Location child) { Gather(child, world, leaves); });
}

/// Gathers from the groups with these numbers.
template <typename Location>
Leaves GatherShare(Location world, std::int64_t first, std::int64_t last) {
    Leaves leaves;
    std::int64_t group = 0;
    ForEachChild(world, [&](Location child) {
        if (group >= first && group < last) Gather(child, M44d(), leaves);
        ++group;
    });
    return leaves;
}

template <typename Location>
Leaves GatherByOne(Location world) {
    return GatherShare(world, 0, std::numeric_limits<std::int64_t>::max());
}

/// The calling thread gathers the first half of the groups and another one the rest.
template <typename Location>
Leaves GatherByTwo(Location world) {
    std::int64_t groups = 0;
    ForEachChild(world, [&](Location) { ++groups; });
    Leaves rest;
    std::thread other([&] { rest = GatherShare(world, groups / 2, groups); });
    Leaves leaves = GatherShare(world, 0, groups / 2);
    other.join();
    leaves.append(std::move(rest));
    return leaves;
}

Checksum SumOf(const Leaves& leaves) {
    Checksum total;
    for (std::size_t i = 0; i < leaves.worlds.size(); ++i) {
        LocationSum sum;
        sum.addText(leaves.types[i]);
        sum.addAll(leaves.worlds[i].getValue(), 16);
        sum.addAll(leaves.bounds[i].data(), 6);
        total.add(sum);
    }
    return total;
}

struct Gathered {
    double seconds = std::numeric_limits<double>::max(); // of the fastest pass
    double processorSeconds = seconds;                   // of all threads, the least of all passes
    Checksum sum;

    template <typename Gather>
    void pass(const Gather& gather) {
        const Stopwatch watch;
        const std::clock_t begin = std::clock();
        const Leaves leaves = gather();
        const std::clock_t end = std::clock();
        seconds = std::min(seconds, watch.seconds());
        processorSeconds =
            std::min(processorSeconds, static_cast<double>(end - begin) / CLOCKS_PER_SEC);
        sum = SumOf(leaves);
    }
};

void CompareGathering(const Route& route, Row& row) {
    const Producer root = route.openFile(GetScenePath(GetOptions().leaves));
    const Producer world = root->getChildByName("world");
    const auto tree = BuildTree(GetOptions().leaves);
    const Node* const treeWorld = tree->children.front().get();
    const auto milliseconds = [](const Gathered& gathered) { return 1e3 * gathered.seconds; };
    Gathered one, two, treeOne, treeTwo;
    GatherByOne(world.get()); // everything is cooked
    for (int pass = 0; pass < kPasses; ++pass) {
        one.pass([&] { return GatherByOne(world.get()); });
        two.pass([&] { return GatherByTwo(world.get()); });
        treeOne.pass([&] { return GatherByOne(treeWorld); });
        treeTwo.pass([&] { return GatherByTwo(treeWorld); });
    }
    for (const Gathered* gathered : {&one, &two, &treeTwo})
        row.verify(gathered->sum, treeOne.sum);
    row.report("one_ms", milliseconds(one), milliseconds(treeOne));
    row.report("two_ms", milliseconds(two), milliseconds(treeTwo));
    row.report("one_processor_ms", 1e3 * one.processorSeconds);
    row.report("two_processor_ms", 1e3 * two.processorSeconds);
    row.finish(one.seconds);
}

} // namespace

void AddGatherRows(const Route& route) {
    AddRow(std::string("gather/") + route.name, 1,
           [&route](Row& row) { CompareGathering(route, row); });
}

} // namespace TellarBench
