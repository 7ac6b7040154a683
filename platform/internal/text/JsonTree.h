#ifndef TELLARINTERNAL_JSONTREE_H
#define TELLARINTERNAL_JSONTREE_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace TellarInternal {

enum class JsonKind : unsigned char { Null, False, True, Number, String, Array, Object };

class JsonValue;

/// A parsed JSON text whose values know their places in the text. Comments (// and slash-star) are
/// skipped. Numbers stay text, so that the reader of a number decides how exact it is. Immutable
/// after parsing; memory is in proportion to the text.
class JsonTree {
public:
    /// `text` is borrowed for as long as the tree lives. Throws std::runtime_error
    /// "<source>:<line>:<column>: ..." when it is not JSON or is nested deeper
    /// than `depthLimit` arrays and objects.
    JsonTree(std::string_view text, std::string source, std::size_t depthLimit);

    JsonValue root() const;

private:
    friend class JsonValue;
    class Builder;

    /// A value or a key. Nodes stand in the order of the text: the content of an array or object
    /// follows it, and the members of an object alternate between key and value.
    struct Node {
        JsonKind kind;
        std::size_t place;     // offset in the text
        std::size_t textBegin; // strings: in `strings`; numbers: in the text
        std::size_t textSize;
        std::size_t next; // the first node behind this value and its content
    };

    std::string_view text;
    std::string source;
    std::vector<Node> nodes;
    std::string strings; // decoded, one after the other
};

/// A value of a JsonTree; it borrows the tree. Copy it freely.
class JsonValue {
public:
    JsonKind kind() const { return node().kind; }
    bool isString() const { return kind() == JsonKind::String; }
    bool isNumber() const { return kind() == JsonKind::Number; }
    bool isArray() const { return kind() == JsonKind::Array; }
    bool isObject() const { return kind() == JsonKind::Object; }

    /// The decoded text of a string, or a number as it is written.
    std::string_view text() const;
    /// The elements of an array.
    std::vector<JsonValue> elements() const { return inside(); }
    /// True for an array or object that holds nothing.
    bool isEmpty() const { return node().next == index + 1; }

    struct Member;
    /// The members of an object in the order of the text, with repeated keys.
    std::vector<Member> members() const;

    /// The offset in the text at which the value begins.
    std::size_t place() const { return node().place; }

    /// Throws std::runtime_error with the place of this value in front.
    [[noreturn]] void fail(const std::string& what) const;

private:
    friend class JsonTree;
    JsonValue(const JsonTree* tree, std::size_t index) : tree(tree), index(index) {}
    const JsonTree::Node& node() const { return tree->nodes[index]; }
    std::vector<JsonValue> inside() const;

    const JsonTree* tree;
    std::size_t index;
};

struct JsonValue::Member {
    JsonValue key;
    JsonValue value;
};

} // namespace TellarInternal

#endif
