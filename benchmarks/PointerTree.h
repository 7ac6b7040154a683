#ifndef TELLAR_BENCH_POINTERTREE_H
#define TELLAR_BENCH_POINTERTREE_H

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <variant>
#include <vector>

#include "Scene.h"

namespace TellarBench {

// The yardstick: the same scene as a tree of plain structs in memory. Nothing is computed, counted
// or shared in it, so no lazy scene can be walked faster than it.

using Value = std::variant<std::int32_t, float, std::string, std::vector<std::int32_t>,
                           std::vector<float>, std::vector<double>>;

struct NamedValue {
    std::string_view name; // a literal
    Value value;
};

struct Node {
    /// Null when there is none.
    const Value* find(std::string_view wanted) const;

    std::string name;
    std::string type;
    bool hasMatrix = false;
    Matrix matrix{};
    std::vector<NamedValue> values; // sorted by name
    const Node* parent = nullptr;
    std::vector<std::unique_ptr<Node>> children;

    /// Children by name; null unless IndexChildren made it.
    std::unique_ptr<std::unordered_map<std::string_view, const Node*>> index;
};

/// From the scene's formulas; the node of /root.
std::unique_ptr<Node> BuildTree(std::int64_t leaves);

/// The tree's bytes one after another, and back. Loading throws std::runtime_error naming a file
/// that is no such dump.
void SaveTree(const Node& root, const std::string& path);
std::unique_ptr<Node> LoadTree(const std::string& path);

/// Makes the index of every node with children.
void IndexChildren(Node& root);

std::int64_t CountNodes(const Node& root);

} // namespace TellarBench

#endif
