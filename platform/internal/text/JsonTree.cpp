#include "text/JsonTree.h"

#include <stdexcept>
#include <utility>

#include <rapidjson/error/en.h>
#include <rapidjson/memorystream.h>
#include <rapidjson/reader.h>

#include "text/TextPlace.h"

namespace TellarInternal {

namespace {

/// Some editors write this in front of UTF-8.
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

/// The offset of the first byte at or after `at` that does not belong to white space, a comma, a
/// colon or a comment. The text up to there is known to be JSON.
std::size_t SkipBetweenValues(std::string_view text, std::size_t at) {
    for (;;) {
        at = text.find_first_not_of(" \t\r\n,:", at);
        if (at == std::string_view::npos) return text.size();
        if (text[at] != '/') return at;
        const bool toEndOfLine = text.substr(at, 2) == "//";
        const std::size_t end = toEndOfLine ? text.find('\n', at) : text.find("*/", at + 2);
        if (end == std::string_view::npos) return text.size();
        at = end + (toEndOfLine ? 1 : 2);
    }
}

std::string WithoutFullStop(std::string text) {
    if (!text.empty() && text.back() == '.') text.pop_back();
    return text;
}

} // namespace

/// Receives the reader's events. The reader tells where a string or number ends, but not where it
/// begins. SkipBetweenValues finds that: it skips everything that can stand between the end of one
/// value and the beginning of the next.
class JsonTree::Builder {
public:
    Builder(JsonTree& tree, const rapidjson::MemoryStream& stream, std::size_t depthLimit)
        : tree(tree), stream(stream), depthLimit(depthLimit), lastEnd(stream.Tell()) {}

    bool Null() { return addWord(JsonKind::Null); }
    bool Bool(bool value) { return addWord(value ? JsonKind::True : JsonKind::False); }
    bool RawNumber(const char*, rapidjson::SizeType, bool) {
        Node& node = add(JsonKind::Number, stream.Tell());
        node.textBegin = node.place;
        node.textSize = stream.Tell() - node.place;
        return true;
    }
    bool String(const char* bytes, rapidjson::SizeType size, bool) {
        Node& node = add(JsonKind::String, stream.Tell());
        node.textBegin = tree.strings.size();
        node.textSize = size;
        tree.strings.append(bytes, size);
        return true;
    }
    bool Key(const char* bytes, rapidjson::SizeType size, bool copy) {
        return String(bytes, size, copy);
    }
    // Brackets are announced before they are taken from the stream.
    bool StartObject() { return open(JsonKind::Object); }
    bool StartArray() { return open(JsonKind::Array); }
    bool EndObject(rapidjson::SizeType) { return close(); }
    bool EndArray(rapidjson::SizeType) { return close(); }

    // Numbers come as text; these are never called.
    bool Int(int) { return false; }
    bool Uint(unsigned) { return false; }
    bool Int64(std::int64_t) { return false; }
    bool Uint64(std::uint64_t) { return false; }
    bool Double(double) { return false; }

    bool isTooDeep() const { return opened.size() > depthLimit; }

private:
    JsonTree& tree;
    const rapidjson::MemoryStream& stream;
    const std::size_t depthLimit;
    std::vector<std::size_t> opened; // arrays and objects not yet closed
    std::size_t lastEnd;             // the end of the last value or bracket

    Node& add(JsonKind kind, std::size_t end) {
        const std::size_t place = SkipBetweenValues(tree.text, lastEnd);
        lastEnd = end;
        tree.nodes.push_back({kind, place, 0, 0, tree.nodes.size() + 1});
        return tree.nodes.back();
    }
    bool addWord(JsonKind kind) {
        add(kind, stream.Tell());
        return true;
    }
    bool open(JsonKind kind) {
        opened.push_back(tree.nodes.size());
        add(kind, stream.Tell() + 1);
        return !isTooDeep();
    }
    bool close() {
        tree.nodes[opened.back()].next = tree.nodes.size();
        opened.pop_back();
        lastEnd = stream.Tell() + 1;
        return true;
    }
};

JsonTree::JsonTree(std::string_view text, std::string source, std::size_t depthLimit)
    : text(text), source(std::move(source)) {
    rapidjson::MemoryStream stream(text.data(), text.size());
    if (text.substr(0, kByteOrderMark.size()) == kByteOrderMark)
        for (std::size_t i = 0; i < kByteOrderMark.size(); ++i)
            stream.Take();
    Builder builder(*this, stream, depthLimit);
    rapidjson::Reader reader;
    constexpr unsigned kFlags = rapidjson::kParseIterativeFlag | rapidjson::kParseCommentsFlag |
                                rapidjson::kParseNumbersAsStringsFlag |
                                rapidjson::kParseValidateEncodingFlag;
    const rapidjson::ParseResult result = reader.Parse<kFlags>(stream, builder);
    if (builder.isTooDeep()) {
        const JsonValue deepest(this, nodes.size() - 1);
        deepest.fail("nested deeper than " + std::to_string(depthLimit) + " levels");
    }
    if (!result) {
        const std::string reason = rapidjson::GetParseError_En(result.Code());
        throw std::runtime_error(TextPlace(this->source, text, result.Offset()) +
                                 "not JSON: " + WithoutFullStop(reason));
    }
    // The reader takes a NUL byte for the end of the text.
    if (stream.Tell() != text.size())
        throw std::runtime_error(TextPlace(this->source, text, stream.Tell()) +
                                 "not JSON: a NUL byte");
}

JsonValue JsonTree::root() const {
    return JsonValue(this, 0);
}

std::string_view JsonValue::text() const {
    const JsonTree::Node& value = node();
    const std::string_view all = value.kind == JsonKind::String ? tree->strings : tree->text;
    return all.substr(value.textBegin, value.textSize);
}

std::vector<JsonValue> JsonValue::inside() const {
    std::vector<JsonValue> values;
    for (std::size_t i = index + 1; i < node().next; i = tree->nodes[i].next)
        values.push_back(JsonValue(tree, i));
    return values;
}

std::vector<JsonValue::Member> JsonValue::members() const {
    const std::vector<JsonValue> values = inside();
    std::vector<Member> result;
    for (std::size_t i = 0; i + 1 < values.size(); i += 2)
        result.push_back({values[i], values[i + 1]});
    return result;
}

void JsonValue::fail(const std::string& what) const {
    throw std::runtime_error(TextPlace(tree->source, tree->text, node().place) + what);
}

} // namespace TellarInternal
