#include "PointerTree.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <iterator>
#include <stdexcept>
#include <type_traits>
#include <utility>

#include "PlainFile.h"

namespace TellarBench {

namespace {

// The sorted names of all attributes except types and matrices. Dumps hold indices into them.
constexpr std::string_view kNames[] = {"bound",
                                       "geometry.point.P",
                                       "geometry.poly.startIndex",
                                       "geometry.poly.vertexList",
                                       "info",
                                       "user.c",
                                       "user.f0",
                                       "user.f1",
                                       "user.f2",
                                       "user.i",
                                       "user.s"};

template <typename Array>
auto ToVector(const Array& values) {
    return std::vector<typename Array::value_type>(values.begin(), values.end());
}

std::unique_ptr<Node> MakeNode(std::string name, const char* type, const Matrix* matrix) {
    auto node = std::make_unique<Node>();
    node->name = std::move(name);
    node->type = type;
    node->hasMatrix = matrix != nullptr;
    if (matrix) node->matrix = *matrix;
    return node;
}

Node& AddChild(Node& parent, std::unique_ptr<Node> child) {
    child->parent = &parent;
    parent.children.push_back(std::move(child));
    return *parent.children.back();
}

std::unique_ptr<Node> MakeLeaf(std::int64_t k) {
    const Leaf leaf(k);
    auto node = MakeNode(leaf.name, kLeafType, &leaf.matrix);
    node->values.reserve(10);
    node->values.push_back({"bound", ToVector(leaf.bound)});
    node->values.push_back({"geometry.point.P", ToVector(leaf.points)});
    node->values.push_back({"geometry.poly.startIndex", ToVector(leaf.startIndex)});
    node->values.push_back({"geometry.poly.vertexList", ToVector(leaf.vertexList)});
    node->values.push_back({"user.c", ToVector(leaf.colour)});
    node->values.push_back({"user.f0", leaf.floats[0]});
    node->values.push_back({"user.f1", leaf.floats[1]});
    node->values.push_back({"user.f2", leaf.floats[2]});
    node->values.push_back({"user.i", leaf.integer});
    node->values.push_back({"user.s", leaf.text});
    return node;
}

void AddInnerGroup(Node& outer, std::int64_t j, std::int64_t leaves) {
    const Matrix matrix = GetInnerGroupMatrix(j);
    Node& inner = AddChild(outer, MakeNode(GetInnerGroupName(j), kGroupType, &matrix));
    const std::int64_t end = std::min((j + 1) * kWidth, leaves);
    inner.children.reserve(static_cast<std::size_t>(end - j * kWidth));
    for (std::int64_t k = j * kWidth; k < end; ++k)
        AddChild(inner, MakeLeaf(k));
}

constexpr std::string_view kMagic = "tellar_bench tree 1\n";

class Dump {
public:
    template <typename T>
    void put(const T& value) {
        static_assert(std::is_arithmetic_v<T>);
        putBytes(&value, sizeof(T));
    }
    template <typename T>
    void putAll(const T& values) {
        put(static_cast<std::uint32_t>(values.size()));
        putBytes(values.data(), values.size() * sizeof(*values.data()));
    }
    void putBytes(const void* data, std::size_t count) {
        bytes.append(static_cast<const char*>(data), count);
    }
    const std::string& get() const { return bytes; }

private:
    std::string bytes;
};

class DumpReader {
public:
    explicit DumpReader(const std::string& path) : name(path), bytes(ReadWhole(path)) {}

    template <typename T>
    T get() {
        T value;
        getBytes(&value, sizeof(T));
        return value;
    }
    /// Reads a string or a vector.
    template <typename T>
    T getAll() {
        const std::size_t count = get<std::uint32_t>();
        if (count > bytes.size()) fail();
        T values;
        values.resize(count);
        getBytes(values.data(), count * sizeof(*values.data()));
        return values;
    }
    void getBytes(void* data, std::size_t count) {
        if (bytes.size() - place < count) fail();
        if (count > 0) std::memcpy(data, bytes.data() + place, count);
        place += count;
    }
    bool isAtEnd() const { return place == bytes.size(); }
    [[noreturn]] void fail() const {
        throw std::runtime_error(name + ": is no whole dump of a pointer tree");
    }

private:
    const std::string name;
    const std::string bytes;
    std::size_t place = 0;
};

void SaveValue(const NamedValue& named, Dump& dump) {
    const auto* const name = std::lower_bound(std::begin(kNames), std::end(kNames), named.name);
    dump.put(static_cast<std::uint8_t>(name - std::begin(kNames)));
    dump.put(static_cast<std::uint8_t>(named.value.index()));
    std::visit(
        [&](const auto& value) {
            if constexpr (std::is_arithmetic_v<std::decay_t<decltype(value)>>)
                dump.put(value);
            else
                dump.putAll(value);
        },
        named.value);
}

template <std::size_t Type = 0>
Value LoadTyped(std::size_t type, DumpReader& dump) {
    if constexpr (Type == std::variant_size_v<Value>) {
        dump.fail();
    } else {
        using T = std::variant_alternative_t<Type, Value>;
        if (type != Type) return LoadTyped<Type + 1>(type, dump);
        if constexpr (std::is_arithmetic_v<T>)
            return dump.get<T>();
        else
            return dump.getAll<T>();
    }
}

NamedValue LoadValue(DumpReader& dump) {
    const std::size_t name = dump.get<std::uint8_t>();
    if (name >= std::size(kNames)) dump.fail();
    const std::size_t type = dump.get<std::uint8_t>();
    return {kNames[name], LoadTyped(type, dump)};
}

void SaveNode(const Node& node, Dump& dump) {
    dump.putAll(node.name);
    dump.putAll(node.type);
    dump.put(static_cast<std::uint8_t>(node.hasMatrix));
    if (node.hasMatrix) dump.putBytes(node.matrix.data(), sizeof(node.matrix));
    dump.put(static_cast<std::uint32_t>(node.values.size()));
    for (const NamedValue& value : node.values)
        SaveValue(value, dump);
    dump.put(static_cast<std::uint32_t>(node.children.size()));
    for (const auto& child : node.children)
        SaveNode(*child, dump);
}

std::unique_ptr<Node> LoadNode(DumpReader& dump, int depth) {
    if (depth > 10) dump.fail(); // deeper than any scene of the benchmarks
    auto node = std::make_unique<Node>();
    node->name = dump.getAll<std::string>();
    node->type = dump.getAll<std::string>();
    node->hasMatrix = dump.get<std::uint8_t>() != 0;
    if (node->hasMatrix) dump.getBytes(node->matrix.data(), sizeof(node->matrix));
    const std::size_t values = dump.get<std::uint32_t>();
    if (values > std::size(kNames)) dump.fail();
    node->values.reserve(values);
    for (std::size_t i = 0; i < values; ++i)
        node->values.push_back(LoadValue(dump));
    const std::size_t children = dump.get<std::uint32_t>();
    for (std::size_t i = 0; i < children; ++i)
        AddChild(*node, LoadNode(dump, depth + 1));
    return node;
}

} // namespace

const Value* Node::find(std::string_view wanted) const {
    const auto found =
        std::lower_bound(values.begin(), values.end(), wanted,
                         [](const NamedValue& a, std::string_view b) { return a.name < b; });
    return found != values.end() && found->name == wanted ? &found->value : nullptr;
}

std::unique_ptr<Node> BuildTree(std::int64_t leaves) {
    auto root = MakeNode("root", kGroupType, nullptr);
    root->values.push_back({"info", kInfo});
    Node& world = AddChild(*root, MakeNode("world", kGroupType, nullptr));
    for (std::int64_t i = 0; i * kWidth * kWidth < leaves; ++i) {
        const Matrix matrix = GetOuterGroupMatrix(i);
        Node& outer = AddChild(world, MakeNode(GetOuterGroupName(i), kGroupType, &matrix));
        for (std::int64_t j = i * kWidth; j < (i + 1) * kWidth && j * kWidth < leaves; ++j)
            AddInnerGroup(outer, j, leaves);
    }
    return root;
}

void SaveTree(const Node& root, const std::string& path) {
    Dump dump;
    dump.putBytes(kMagic.data(), kMagic.size());
    SaveNode(root, dump);
    const std::string unfinished = path + ".part";
    WriteWhole(unfinished, dump.get());
    std::filesystem::rename(unfinished, path);
}

std::unique_ptr<Node> LoadTree(const std::string& path) {
    DumpReader dump(path);
    std::string magic(kMagic.size(), '\0');
    dump.getBytes(magic.data(), magic.size());
    if (magic != kMagic) dump.fail();
    auto root = LoadNode(dump, 0);
    if (!dump.isAtEnd()) dump.fail();
    return root;
}

void IndexChildren(Node& root) {
    if (root.children.empty()) return;
    root.index = std::make_unique<std::unordered_map<std::string_view, const Node*>>();
    root.index->reserve(root.children.size());
    for (const auto& child : root.children) {
        root.index->emplace(child->name, child.get());
        IndexChildren(*child);
    }
}

std::int64_t CountNodes(const Node& root) {
    std::int64_t count = 1;
    for (const auto& child : root.children)
        count += CountNodes(*child);
    return count;
}

} // namespace TellarBench
