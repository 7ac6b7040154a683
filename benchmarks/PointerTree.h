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

// The lower bound to compare with: the same scene as a tree of plain structs in memory. It
// computes, counts and shares nothing, so a lazy scene cannot be walked faster.

using Value = std::variant<std::int32_t, float, std::string, std::vector<std::int32_t>,
                           std::vector<float>, std::vector<double>>;

struct NamedValue {
    std::string_view name; // refers to a string literal
    Value value;
};

struct Node {
    /// Null if there is no such value.
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

/// Makes the tree from the scene's formulas and returns the node of /root.
std::unique_ptr<Node> BuildTree(std::int64_t leaves);

/// Writes and reads a tree as one block of bytes. Loading throws a std::runtime_error that names a
/// file which is not such a dump.
void SaveTree(const Node& root, const std::string& path);
std::unique_ptr<Node> LoadTree(const std::string& path);

/// Makes the index by name of every node with children.
void IndexChildren(Node& root);

std::int64_t CountNodes(const Node& root);

} // namespace TellarBench

#endif
