// Single lookups at many locations of a cooked scene: locations by path, one attribute of a leaf,
// and an inherited attribute.

#include <algorithm>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include <OxTellarSDK/Attribute.h>

#include "Measure.h"
#include "PointerTree.h"
#include "Rows.h"
#include "Scene.h"
#include "Walk.h"

using namespace OxAttribute;

namespace TellarBench {

namespace {

constexpr int kPasses = 5;
constexpr std::int64_t kJumps = 100000;
constexpr std::int64_t kHeldLeaves = 1000;
constexpr int kRounds = 100; // over the held leaves per pass
constexpr std::int64_t kWideChildren = 100000;
constexpr std::int64_t kFewChildren = 1000;

/// A scene that was walked completely once, its pointer tree with an index of names, and held
/// leaves all over both.
struct IndexedScene {
    explicit IndexedScene(const Route& route)
        : root(route.openFile(GetScenePath(GetOptions().leaves))),
          tree(BuildTree(GetOptions().leaves)) {
        WalkNames(root.get());
        IndexChildren(*tree);
    }

    Producer root;
    std::unique_ptr<Node> tree;
};

const Node* FindNode(const Node* root, std::string_view path) {
    const Node* node = root;
    std::size_t begin = path.find('/', 1);
    while (node && begin != std::string_view::npos) {
        const std::size_t end = path.find('/', ++begin);
        if (!node->index) return nullptr;
        const auto found = node->index->find(path.substr(begin, end - begin));
        node = found == node->index->end() ? nullptr : found->second;
        begin = end;
    }
    return node;
}

std::vector<std::string> MakeRandomPaths() {
    std::mt19937_64 random(1);
    const auto leaves = static_cast<std::uint64_t>(GetOptions().leaves);
    std::vector<std::string> paths;
    paths.reserve(kJumps);
    for (std::int64_t i = 0; i < kJumps; ++i)
        paths.push_back(GetLeafPath(static_cast<std::int64_t>(random() % leaves)));
    return paths;
}

LocationSum ReadName(GeometryProducer* location) {
    LocationSum sum;
    if (location) sum.addText(location->getName());
    return sum;
}

LocationSum ReadName(const Node* node) {
    LocationSum sum;
    if (node) sum.addText(node->name);
    return sum;
}

LocationSum ReadFirstPoint(GeometryProducer* leaf) {
    LocationSum sum;
    sum.add(FloatAttribute(leaf->getAttribute("geometry.point.P")).getValue(0.0f, false));
    return sum;
}

LocationSum ReadFirstPoint(const Node* leaf) {
    LocationSum sum;
    const Value* points = leaf->find("geometry.point.P");
    sum.add(points ? std::get<std::vector<float>>(*points)[0] : 0.0f);
    return sum;
}

LocationSum ReadInherited(GeometryProducer* leaf) {
    LocationSum sum;
    sum.add(IntAttribute(leaf->getGlobalAttribute("info")).getValue(0, false));
    return sum;
}

LocationSum ReadInherited(const Node* leaf) {
    LocationSum sum;
    const Value* info = nullptr;
    for (const Node* node = leaf; node && !info; node = node->parent)
        info = node->find("info");
    sum.add(info ? std::get<std::int32_t>(*info) : 0);
    return sum;
}

void CompareJumps(const Route& route, Row& row) {
    const IndexedScene scene(route);
    const std::vector<std::string> paths = MakeRandomPaths();
    row.compare(
        "ns", 1e9 / static_cast<double>(kJumps),
        [&] {
            Checksum total;
            for (const std::string& path : paths)
                total.add(ReadName(scene.root->getProducerByPath(path).get()));
            return total;
        },
        [&] {
            Checksum total;
            for (const std::string& path : paths)
                total.add(ReadName(FindNode(scene.tree.get(), path)));
            return total;
        });
}

/// A location with `count` children, as producers and as plain nodes.
struct WideScene {
    WideScene(const Route& route, std::int64_t count) {
        std::vector<GroupAttribute::Child> children;
        for (std::int64_t i = 0; i < count; ++i) {
            names.push_back("child_" + std::to_string(i));
            children.emplace_back(names.back(), GroupAttribute(true));
        }
        const GroupAttribute scene({{"c", GroupAttribute(children, true)}}, true);
        root = route.openDescription(GroupAttribute(
            {{"scene", GroupAttribute(
                           {{"opType", StringAttribute("StaticScene")}, {"opArgs", scene}}, true)}},
            true));
        tree.name = "root";
        for (const std::string& name : names) {
            tree.children.push_back(std::make_unique<Node>());
            tree.children.back()->name = name;
            tree.children.back()->parent = &tree;
        }
        IndexChildren(tree);
        std::shuffle(names.begin(), names.end(), std::mt19937_64(1));
    }

    std::vector<std::string> names;
    Producer root;
    Node tree;
};

Row::Seconds TimeChildren(const Route& route, Row& row, std::int64_t count) {
    const WideScene scene(route, count);
    const auto rounds = std::max<std::int64_t>(1, kWideChildren / count);
    const auto sumAll = [&](const auto& find) {
        Checksum total;
        for (std::int64_t round = 0; round < rounds; ++round)
            for (const std::string& name : scene.names)
                total.add(find(name));
        return total;
    };
    const auto library = [&] {
        return sumAll([&](const std::string& name) {
            return ReadName(scene.root->getChildByName(name.c_str()).get());
        });
    };
    const auto tree = [&] {
        return sumAll([&](const std::string& name) {
            return ReadName(scene.tree.index->find(name)->second);
        });
    };
    row.verify(library(), tree()); // cooks everything
    return row.time(library, tree);
}

/// Finds each child of one location by name, of many and of few.
void CompareChildren(const Route& route, Row& row) {
    const Row::Seconds many = TimeChildren(route, row, kWideChildren);
    const double perCall = 1e9 / static_cast<double>(kWideChildren);
    row.report("many_ns", many.library * perCall, many.tree * perCall);
}

void CompareFewChildren(const Route& route, Row& row) {
    const Row::Seconds few = TimeChildren(route, row, kFewChildren);
    const auto calls = static_cast<double>(kWideChildren / kFewChildren * kFewChildren);
    row.report("few_ns", few.library * 1e9 / calls, few.tree * 1e9 / calls);
}

/// Throws std::logic_error if the scene differs from its formulas.
template <typename Held, typename Find>
std::vector<Held> HoldLeaves(const Find& find) {
    const std::int64_t leaves = GetOptions().leaves;
    std::vector<Held> held;
    for (std::int64_t i = 0; i < kHeldLeaves; ++i) {
        const std::string path = GetLeafPath(i * leaves / kHeldLeaves);
        held.push_back(find(path));
        if (!held.back()) throw std::logic_error(path + ": is not in the scene");
    }
    return held;
}

template <typename Read>
void CompareReads(const Route& route, Row& row, const Read& read) {
    const IndexedScene scene(route);
    const auto producers = HoldLeaves<Producer>(
        [&](const std::string& path) { return scene.root->getProducerByPath(path); });
    const auto nodes = HoldLeaves<const Node*>(
        [&](const std::string& path) { return FindNode(scene.tree.get(), path); });
    row.compare(
        "ns", 1e9 / static_cast<double>(kHeldLeaves * kRounds),
        [&] {
            Checksum total;
            for (int round = 0; round < kRounds; ++round)
                for (const Producer& leaf : producers)
                    total.add(read(leaf.get()));
            return total;
        },
        [&] {
            Checksum total;
            for (int round = 0; round < kRounds; ++round)
                for (const Node* leaf : nodes)
                    total.add(read(leaf));
            return total;
        });
}

} // namespace

void AddLookupRows(const Route& route) {
    AddRow(std::string("jump/") + route.name, kPasses,
           [&route](Row& row) { CompareJumps(route, row); });
    AddRow(std::string("child_by_name/") + route.name, kPasses,
           [&route](Row& row) { CompareChildren(route, row); });
    AddRow(std::string("child_of_few/") + route.name, kPasses,
           [&route](Row& row) { CompareFewChildren(route, row); });
    AddRow(std::string("dotted_attribute/") + route.name, kPasses, [&route](Row& row) {
        CompareReads(route, row, [](auto leaf) { return ReadFirstPoint(leaf); });
    });
    AddRow(std::string("global_attribute/") + route.name, kPasses, [&route](Row& row) {
        CompareReads(route, row, [](auto leaf) { return ReadInherited(leaf); });
    });
}

} // namespace TellarBench
