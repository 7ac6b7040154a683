#include <OxTellarSDK/DescriptionJson.h>

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <unordered_set>
#include <utility>
#include <vector>

#include <OxTellarSDK/DescriptionFolder.h>
#include <OxTellarSDK/FileStream.h>

#include "AttributeJsonReader.h"
#include "JsonFields.h"
#include "NamingFile.h"
#include "OpDirectory.h"
#include "text/JsonTree.h"
#include "text/MessageText.h"
#include "text/TextPlace.h"

namespace OxAttribute {

namespace {

using namespace TellarInternal;

/// A level of groups takes at most three levels of JSON (the typed form, its "children" as an
/// array, and a child there); the ops, samples and tuples around and in them take a few more.
constexpr std::size_t kJsonDepthLimit = 3 * kMaxGroupDepth + 16;

constexpr int kGroupsAroundArgs = 2; // the group of the op and the description

/// Turns a JSON tree into a description. Its errors name the op that it is in.
class DescriptionReader {
public:
    DescriptionReader(const JsonTree& tree, const std::string& directory)
        : tree(tree), directory(directory) {}

    /// The offsets at which the ops begin in the text, in their order.
    const std::vector<std::size_t>& getPlaces() const { return places; }
    /// The number of members called "comment".
    std::size_t getComments() const { return comments; }

    GroupAttribute read() {
        const JsonValue root = tree.root();
        if (!root.isObject()) fail(root, "a description must be an object with \"ops\"");
        const JsonFields fields(root, {"ops", "$schema", "comment"}, where);
        if (fields.find("comment")) ++comments;
        const auto ops = fields.find("ops");
        if (!ops) fail(root, "\"ops\" is missing");
        if (!ops->isArray()) fail(*ops, "\"ops\" must be an array");
        if (ops->isEmpty()) fail(*ops, "\"ops\" is empty: a description needs at least one op");
        std::size_t number = 0;
        for (const JsonValue& op : ops->elements())
            readOp(op, ++number);
        checkInputs();
        return GroupAttribute(children, true);
    }

private:
    /// An input by name, kept until all names are known.
    struct Wire {
        JsonValue input;
        std::string op; // the op that has the input
    };

    const JsonTree& tree;
    const std::string& directory;
    std::vector<GroupAttribute::Child> children;
    std::vector<std::size_t> places;
    std::size_t comments = 0;
    std::unordered_set<std::string> opNames;
    std::vector<Wire> wires;
    std::string where; // appended to errors: ", in op ..."

    [[noreturn]] void fail(const JsonValue& value, const std::string& what) const {
        value.fail(what + where);
    }

    /// Reads the name first: errors in members before it mention the name too.
    void nameInErrors(const JsonValue& op, std::size_t number) {
        where = ", in op " + std::to_string(number);
        if (!op.isObject()) fail(op, "an op must be an object");
        for (const JsonValue::Member& member : op.members())
            if (member.key.text() == "name" && member.value.isString())
                where = ", in op " + Quoted(member.value.text());
    }

    void readOp(const JsonValue& op, std::size_t number) {
        nameInErrors(op, number);
        const JsonFields fields(op, {"name", "type", "args", "inputs", "comment"}, where);
        std::string name = readText(op, fields, "name");
        const std::string type = readText(op, fields, "type");
        if (name.empty()) fail(*fields.find("name"), "\"name\" must not be empty");
        if (!opNames.insert(name).second)
            fail(*fields.find("name"), "a second op named " + Quoted(name));

        const GroupAttribute parts = readParts(op, name, type);
        if (fields.find("comment")) ++comments;
        places.push_back(op.place());
        children.emplace_back(std::move(name), parts);
        where.clear();
    }

    GroupAttribute readParts(const JsonValue& op, const std::string& name,
                             const std::string& type) {
        std::vector<GroupAttribute::Child> parts;
        for (const JsonValue::Member& member : op.members()) {
            const std::string_view key = member.key.text();
            if (key == "type") parts.emplace_back("opType", StringAttribute(type));
            if (key == "args") parts.emplace_back("opArgs", readArgs(member.value, type));
            if (key == "inputs") parts.emplace_back("opInputs", readInputs(member.value, name));
        }
        return GroupAttribute(parts, true);
    }

    std::string readText(const JsonValue& op, const JsonFields& fields, std::string_view key) {
        const auto value = fields.find(key);
        if (!value) fail(op, Quoted(key) + " is missing");
        if (!value->isString()) fail(*value, Quoted(key) + " must be a string");
        return std::string(value->text());
    }

    Attribute readInputs(const JsonValue& value, const std::string& op) {
        const char* what = "\"inputs\" must be an array of op names and null";
        if (!value.isArray() && !value.isString()) fail(value, what);
        std::vector<std::string> names;
        const auto inputs = value.isArray() ? value.elements() : std::vector<JsonValue>{value};
        for (const JsonValue& input : inputs) {
            if (!input.isString() && input.kind() != JsonKind::Null) fail(input, what);
            names.emplace_back(input.isString() ? input.text() : std::string_view());
            if (input.isString()) wires.push_back({input, op});
        }
        return StringAttribute(names, 1);
    }

    void checkInputs() {
        for (const Wire& wire : wires) {
            where = ", in op " + Quoted(wire.op);
            if (opNames.count(std::string(wire.input.text())) == 0)
                fail(wire.input, "input " + Quoted(wire.input.text()) + " names no op");
        }
    }

    Attribute readArgs(const JsonValue& value, const std::string& opType) {
        if (!value.isObject()) fail(value, "\"args\" must be an object");
        const GroupAttribute args(ReadAttributeJson(value, kGroupsAroundArgs, where));
        if (!args.isValid()) fail(value, "\"args\" must be a group");
        return WithDirectory(args, opType, directory);
    }
};

std::string ReadAll(FileStream& stream) {
    std::string text;
    std::string piece(1 << 16, '\0');
    for (;;) {
        const std::int64_t bytes =
            FileStream::read(&stream, piece.data(), static_cast<std::int64_t>(piece.size()));
        if (bytes < 0)
            throw TellarError::OfFile(stream.getPath(), stream.getPath() + ": cannot be read");
        if (bytes == 0) return text;
        text.append(piece, 0, static_cast<std::size_t>(bytes));
    }
}

/// The place after the comment that begins at `start`.
std::size_t EndOfComment(std::string_view text, std::size_t start) {
    const bool isLine = text.substr(start, 2) == "//";
    const std::size_t end = isLine ? text.find('\n', start) : text.find("*/", start + 2);
    if (end == std::string_view::npos) return text.size();
    return end + (isLine ? 1 : 2);
}

/// The place after the string that begins at `start`.
std::size_t EndOfString(std::string_view text, std::size_t start) {
    std::size_t at = start + 1;
    for (; at < text.size() && text[at] != '"'; ++at)
        if (text[at] == '\\') ++at;
    return at + 1;
}

/// Counts the comments between "//" or "/*" and their end. The text is valid JSON, so a slash
/// outside of a string begins a comment.
std::size_t CountSlashComments(std::string_view text) {
    std::size_t count = 0;
    std::size_t at = text.find_first_of("\"/");
    while (at < text.size()) {
        const bool isComment = text[at] == '/';
        if (isComment) ++count;
        at = text.find_first_of("\"/", isComment ? EndOfComment(text, at) : EndOfString(text, at));
    }
    return count;
}

DescriptionText TextOf(const DescriptionReader& reader, const GroupAttribute& description,
                       std::string_view text, const std::string& source) {
    DescriptionText told;
    AscendingPlaces places(source, text);
    std::int64_t index = 0;
    for (const std::size_t place : reader.getPlaces())
        told.places[description.getChildName(index++)] = places.at(place);
    told.comments = reader.getComments() + CountSlashComments(text);
    return told;
}

} // namespace

GroupAttribute ParseDescriptionJson(std::string_view text, const std::string& source,
                                    const std::string& directory, DescriptionText* told) {
    return NamingFile(source, [&] {
        const JsonTree tree(text, source, kJsonDepthLimit);
        DescriptionReader reader(tree, directory);
        GroupAttribute description = reader.read();
        if (told) *told = TextOf(reader, description, text, source);
        return description;
    });
}

GroupAttribute ReadDescriptionJsonFile(const std::string& path) {
    FileStream stream(path, true);
    return ReadDescriptionJsonFile(stream);
}

GroupAttribute ReadDescriptionJsonFile(FileStream& stream, DescriptionText* told) {
    const std::string text = ReadAll(stream);
    const std::string folder =
        NamingFile(stream.getPath(), [&] { return FolderOfFile(stream.getPath()); });
    return ParseDescriptionJson(text, stream.getPath(), folder, told);
}

} // namespace OxAttribute
