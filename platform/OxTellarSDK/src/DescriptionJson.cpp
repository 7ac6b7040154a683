#include <OxTellarSDK/DescriptionJson.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <initializer_list>
#include <map>
#include <optional>
#include <stdexcept>
#include <unordered_set>
#include <utility>
#include <vector>

#include <OxTellarSDK/FileStream.h>
#include <OxTellarSDK/GroupBuilder.h>
#include <OxTellarSDK/OpType.h>

#include "JsonTree.h"
#include "NumberText.h"

namespace OxAttribute {

namespace {

/// A level of groups takes at most three levels of JSON (the typed form, its "children" as an
/// array, and a child there); the ops, samples and tuples around and in them take a few more.
constexpr std::size_t kJsonDepthLimit = 3 * kMaxGroupDepth + 16;

/// Doubles hold every integer up to here.
constexpr double kLargestExactInteger = 9007199254740992.0; // 2^53

std::string Quoted(std::string_view text) {
    return '"' + std::string(text) + '"';
}

bool IsInteger(std::string_view number) {
    return number.find_first_of(".eE") == std::string_view::npos;
}

/// Orders dotted paths so that what lies below a path follows it directly: the dot comes
/// before every other character.
bool ComesBefore(std::string_view a, std::string_view b) {
    const auto rank = [](char c) { return c == '.' ? -1 : static_cast<unsigned char>(c); };
    return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end(),
                                        [&](char x, char y) { return rank(x) < rank(y); });
}

bool IsBelow(std::string_view path, std::string_view ancestor) {
    return path.size() > ancestor.size() && path[ancestor.size()] == '.' &&
           path.substr(0, ancestor.size()) == ancestor;
}

bool HasEmptyPart(std::string_view path) {
    return path.empty() || path.front() == '.' || path.back() == '.' ||
           path.find("..") != std::string_view::npos;
}

/// Values of one attribute, still JSON, sample after sample.
struct Values {
    std::vector<JsonValue> values;
    std::size_t tupleSize = 0; // as the nesting of the arrays told it; 0 when it did not
};

/// The members of an object by key; all keys known, none given twice.
class Fields {
public:
    std::optional<JsonValue> find(std::string_view key) const {
        const auto found = byKey.find(key);
        if (found == byKey.end()) return std::nullopt;
        return found->second;
    }

private:
    friend class DescriptionReader;
    std::map<std::string_view, JsonValue> byKey;
};

/// Turns a JSON tree into a description. Remembers which op it is in, for its errors.
class DescriptionReader {
public:
    DescriptionReader(const JsonTree& tree, const std::string& directory)
        : tree(tree), directory(directory) {}

    GroupAttribute read() {
        const JsonValue root = tree.root();
        if (!root.isObject()) fail(root, "a description must be an object with \"ops\"");
        const Fields fields = readFields(root, {"ops", "$schema", "comment"});
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
        std::string op; // whose input it is
    };

    const JsonTree& tree;
    const std::string& directory;
    std::vector<GroupAttribute::Child> children;
    std::unordered_set<std::string> opNames;
    std::vector<Wire> wires;
    std::string where; // appended to errors: ", in op ..."

    [[noreturn]] void fail(const JsonValue& value, const std::string& what) const {
        value.fail(what + where);
    }

    Fields readFields(const JsonValue& object, std::initializer_list<std::string_view> known) {
        Fields fields;
        for (const JsonValue::Member& member : object.members()) {
            const std::string_view key = member.key.text();
            if (std::find(known.begin(), known.end(), key) == known.end())
                fail(member.key, "unknown key " + Quoted(key));
            if (!fields.byKey.emplace(key, member.value).second)
                fail(member.key, "key " + Quoted(key) + " given twice");
        }
        return fields;
    }

    // ---- ops ----

    void readOp(const JsonValue& op, std::size_t number) {
        where = ", in op " + std::to_string(number);
        if (!op.isObject()) fail(op, "an op must be an object");
        // The name is looked for first, for the sake of errors in what stands before it.
        for (const JsonValue::Member& member : op.members())
            if (member.key.text() == "name" && member.value.isString())
                where = ", in op " + Quoted(member.value.text());

        const Fields fields = readFields(op, {"name", "type", "args", "inputs", "comment"});
        std::string name = readText(op, fields, "name");
        const std::string type = readText(op, fields, "type");
        if (name.empty()) fail(*fields.find("name"), "\"name\" must not be empty");
        if (!opNames.insert(name).second)
            fail(*fields.find("name"), "a second op named " + Quoted(name));

        std::vector<GroupAttribute::Child> parts;
        for (const JsonValue::Member& member : op.members()) {
            const std::string_view key = member.key.text();
            if (key == "type") parts.emplace_back("opType", StringAttribute(type));
            if (key == "args") parts.emplace_back("opArgs", readArgs(member.value, type));
            if (key == "inputs") parts.emplace_back("opInputs", readInputs(member.value, name));
        }
        children.emplace_back(std::move(name), GroupAttribute(parts, true));
        where.clear();
    }

    std::string readText(const JsonValue& op, const Fields& fields, std::string_view key) {
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
        const GroupAttribute args(readValue(value, 2));
        if (!args.isValid()) fail(value, "\"args\" must be a group");
        return withDirectory(args, opType);
    }

    /// A relative "file" is meant relative to where the description lies. The op type has to
    /// be told where that is, if it asks for it.
    GroupAttribute withDirectory(const GroupAttribute& args, const std::string& opType) const {
        const StringAttribute file(args.getChildByName("file"));
        const bool isRelative = file.getNumberOfValues() > 0 && !file.getValueView().empty() &&
                                file.getValueView().front() != '/';
        if (directory.empty() || !isRelative || args.findChild("directory") >= 0) return args;
        if (!takesDirectory(opType)) return args;
        GroupBuilder builder(BuilderModeStrict);
        builder.setGroupInherit(args.getGroupInherit());
        builder.update(args);
        builder.set("directory", StringAttribute(directory));
        return builder.build();
    }

    static bool takesDirectory(const std::string& opType) {
        const OxOpType::OpType* type = OxOpType::FindOpType(opType);
        if (!type) return false;
        const auto& arguments = type->description().arguments;
        return std::any_of(
            arguments.begin(), arguments.end(),
            [](const OxOpType::Argument& argument) { return argument.name == "directory"; });
    }

    // ---- values ----

    /// `depth` is the number of groups around the value.
    Attribute readValue(const JsonValue& value, int depth) {
        switch (value.kind()) {
        case JsonKind::Null:
            return NullAttribute();
        case JsonKind::False:
            return IntAttribute(0);
        case JsonKind::True:
            return IntAttribute(1);
        case JsonKind::String:
            return StringAttribute(value.text());
        case JsonKind::Number:
            return readPlainNumbers({{value}, 1});
        case JsonKind::Array:
            return readPlainArray(value);
        case JsonKind::Object:
            break;
        }
        for (const JsonValue::Member& member : value.members())
            if (member.key.text() == "$type") return readTyped(value, member.value, depth);
        return readGroup(value, depth);
    }

    Attribute readPlainArray(const JsonValue& array) {
        if (array.isEmpty())
            fail(array, "an empty array has no type: write {\"$type\": \"int\", \"values\": []} "
                        "or another type");
        const Values values = readNested(array);
        const bool areStrings = values.values.front().isString();
        for (const JsonValue& value : values.values)
            if (value.isString() != areStrings)
                fail(value, "an array must hold either strings or numbers");
        if (areStrings) return makeStrings({0.0f}, values, sizeAsTuple(values));
        return readPlainNumbers(values);
    }

    /// The scalars of an array, or of an array of arrays of equal length, which are tuples.
    Values readNested(const JsonValue& array) {
        Values result;
        for (const JsonValue& element : array.elements()) {
            const std::vector<JsonValue> tuple =
                element.isArray() ? element.elements() : std::vector<JsonValue>{element};
            if (tuple.empty()) fail(element, "a tuple needs at least one value");
            const std::size_t tupleSize = element.isArray() ? tuple.size() : 0;
            if (result.values.empty()) result.tupleSize = tupleSize;
            if (tupleSize != result.tupleSize)
                fail(element, "tuples must all have as many values as the first one");
            for (const JsonValue& value : tuple) {
                checkScalar(value);
                result.values.push_back(value);
            }
        }
        return result;
    }

    void checkScalar(const JsonValue& value) const {
        const bool isFlag = value.kind() == JsonKind::True || value.kind() == JsonKind::False;
        if (!value.isString() && !value.isNumber() && !isFlag)
            fail(value, "an array must hold strings or numbers, or equally long arrays of them");
    }

    static std::size_t sizeAsTuple(const Values& values) {
        return std::max<std::size_t>(values.tupleSize, 1);
    }

    Attribute readPlainNumbers(const Values& values) {
        std::vector<std::int32_t> ints;
        for (const JsonValue& value : values.values) {
            std::int32_t number = value.kind() == JsonKind::True;
            const bool isInt =
                !value.isNumber() || (IsInteger(value.text()) && ReadNumber(value.text(), number));
            if (!isInt) return readPlainDoubles(values);
            ints.push_back(number);
        }
        return IntAttribute(ints, static_cast<std::int64_t>(sizeAsTuple(values)));
    }

    Attribute readPlainDoubles(const Values& values) {
        std::vector<double> doubles;
        for (const JsonValue& value : values.values) {
            if (!value.isNumber())
                fail(value, "an array must hold either numbers or true and false");
            const auto number = readNumber<double>(value);
            if (IsInteger(value.text()) && std::fabs(number) > kLargestExactInteger)
                fail(value, "the integer " + std::string(value.text()) +
                                " is too large to be exact: write " + std::string(value.text()) +
                                ".0 for the nearest double");
            doubles.push_back(number);
        }
        return DoubleAttribute(doubles, static_cast<std::int64_t>(sizeAsTuple(values)));
    }

    template <typename T>
    T readNumber(const JsonValue& value) const {
        T number{};
        const bool isSpecial = value.isString() && std::is_floating_point_v<T>;
        if (isSpecial && readSpecial(value.text(), number)) return number;
        if (value.isNumber() && ReadNumber(value.text(), number)) return number;
        const char* kind = std::is_integral_v<T> ? "an int"
                           : sizeof(T) == 4      ? "a float"
                                                 : "a double";
        fail(value,
             (value.isNumber() ? std::string(value.text()) : "the value") + " is not " + kind);
    }

    /// "inf", "-inf", "nan", or a NaN bit by bit.
    template <typename T>
    static bool readSpecial(std::string_view text, T& number) {
        if (text == "nan") {
            number = std::numeric_limits<T>::quiet_NaN();
            return true;
        }
        return ReadNumber(text, number) && !std::isfinite(number);
    }

    // ---- groups ----

    void checkDepth(const JsonValue& value, int depth) const {
        if (depth >= kMaxGroupDepth)
            fail(value,
                 "groups are nested deeper than " + std::to_string(kMaxGroupDepth) + " levels");
    }

    Attribute readGroup(const JsonValue& object, int depth) {
        checkDepth(object, depth);
        const std::vector<JsonValue::Member> members = object.members();
        checkPaths(members);
        GroupBuilder builder;
        for (const JsonValue::Member& member : members) {
            const std::string_view path = member.key.text();
            const auto dots = static_cast<int>(std::count(path.begin(), path.end(), '.'));
            checkDepth(member.key, depth + dots);
            builder.set(path, readValue(member.value, depth + dots + 1));
        }
        return builder.build();
    }

    /// One key must not undo another: no key twice, and none below another one.
    void checkPaths(const std::vector<JsonValue::Member>& members) const {
        std::vector<JsonValue> keys;
        for (const JsonValue::Member& member : members) {
            if (HasEmptyPart(member.key.text()))
                fail(member.key, "key " + Quoted(member.key.text()) + " has an empty part");
            keys.push_back(member.key);
        }
        std::stable_sort(keys.begin(), keys.end(), [](const JsonValue& a, const JsonValue& b) {
            return ComesBefore(a.text(), b.text());
        });
        for (std::size_t i = 1; i < keys.size(); ++i) {
            const std::string_view before = keys[i - 1].text();
            const std::string_view path = keys[i].text();
            if (before == path) fail(keys[i], "key " + Quoted(path) + " given twice");
            if (IsBelow(path, before))
                fail(keys[i], "key " + Quoted(path) + " lies in " + Quoted(before) +
                                  ", which is given by itself");
        }
    }

    Attribute readTypedGroup(const JsonValue& object, int depth) {
        checkDepth(object, depth);
        const Fields fields = readFields(object, {"$type", "inherit", "children"});
        std::vector<GroupAttribute::Child> named;
        std::unordered_set<std::string> names;
        const auto add = [&](const JsonValue& place, std::string name, const JsonValue& value) {
            if (!names.insert(name).second) fail(place, "a second child named " + Quoted(name));
            named.emplace_back(std::move(name), readValue(value, depth + 1));
        };
        if (const auto listed = fields.find("children")) {
            if (listed->isObject())
                for (const JsonValue::Member& member : listed->members())
                    add(member.key, std::string(member.key.text()), member.value);
            else if (listed->isArray())
                for (const JsonValue& entry : listed->elements())
                    readListedChild(entry, add);
            else
                fail(*listed, "\"children\" must be an object or an array");
        }
        return GroupAttribute(named, readInherit(fields));
    }

    /// {"name": ..., "value": ...}, or "hexName" for a name that is not UTF-8.
    template <typename Add>
    void readListedChild(const JsonValue& entry, Add add) {
        if (!entry.isObject()) fail(entry, "a child must be an object");
        const Fields fields = readFields(entry, {"name", "hexName", "value"});
        const auto name = fields.find("name");
        const auto hexName = fields.find("hexName");
        const auto value = fields.find("value");
        if (name.has_value() == hexName.has_value() || !value)
            fail(entry, "a child needs \"value\" and either \"name\" or \"hexName\"");
        if (name && !name->isString()) fail(*name, "\"name\" must be a string");
        add(entry, name ? std::string(name->text()) : readHex(*hexName), *value);
    }

    bool readInherit(const Fields& fields) const {
        const auto inherit = fields.find("inherit");
        if (!inherit || inherit->kind() == JsonKind::True) return true;
        if (inherit->kind() != JsonKind::False) fail(*inherit, "\"inherit\" must be true or false");
        return false;
    }

    // ---- the typed form ----

    Attribute readTyped(const JsonValue& object, const JsonValue& type, int depth) {
        const std::string_view name = type.isString() ? type.text() : std::string_view();
        if (name == "group") return readTypedGroup(object, depth);
        if (name == "int") return readTypedNumbers<std::int32_t>(object);
        if (name == "float") return readTypedNumbers<float>(object);
        if (name == "double") return readTypedNumbers<double>(object);
        if (name == "string") return readTypedStrings(object);
        if (name != "null")
            fail(type, "\"$type\" must be int, float, double, string, null or group");
        readFields(object, {"$type"});
        return NullAttribute();
    }

    template <typename T>
    Attribute readTypedNumbers(const JsonValue& object) {
        const Fields fields = readFields(object, {"$type", "tuple", "values", "times", "samples"});
        std::vector<float> times;
        const Values values = readSamples(object, fields, "values", "samples", times);
        std::vector<T> numbers;
        for (const JsonValue& value : values.values)
            numbers.push_back(readNumber<T>(value));
        return NumericAttribute<T>(times.data(), static_cast<std::int64_t>(times.size()),
                                   numbers.data(),
                                   static_cast<std::int64_t>(numbers.size() / times.size()),
                                   readTupleSize(fields, values));
    }

    Attribute readTypedStrings(const JsonValue& object) {
        const Fields fields = readFields(
            object, {"$type", "tuple", "values", "times", "samples", "hex", "hexSamples"});
        const bool isHex = fields.find("hex") || fields.find("hexSamples");
        if (isHex && (fields.find("values") || fields.find("samples")))
            fail(object, "strings must be given either plain or in hexadecimal");
        std::vector<float> times;
        const Values values = readSamples(object, fields, isHex ? "hex" : "values",
                                          isHex ? "hexSamples" : "samples", times);
        return makeStrings(times, values, readTupleSize(fields, values), isHex);
    }

    Attribute makeStrings(const std::vector<float>& times, const Values& values,
                          std::int64_t tupleSize, bool isHex = false) const {
        const std::size_t count = values.values.size() / times.size();
        std::map<float, std::vector<std::string>> samples;
        auto next = values.values.begin();
        for (const float time : times) {
            std::vector<std::string>& sample = samples[time];
            for (std::size_t i = 0; i < count; ++i, ++next) {
                if (!next->isString()) fail(*next, "a string attribute must hold strings");
                sample.push_back(isHex ? readHex(*next) : std::string(next->text()));
            }
        }
        return StringAttribute(samples, tupleSize);
    }

    /// "values" alone, or "times" with as many "samples" of equal length.
    Values readSamples(const JsonValue& object, const Fields& fields, const char* valuesKey,
                       const char* samplesKey, std::vector<float>& times) {
        const auto values = fields.find(valuesKey);
        const auto samples = fields.find(samplesKey);
        const auto timeValues = fields.find("times");
        if (values.has_value() == samples.has_value() ||
            samples.has_value() != timeValues.has_value())
            fail(object, "a typed value needs either " + Quoted(valuesKey) + ", or \"times\" and " +
                             Quoted(samplesKey));
        if (values) {
            times = {0.0f};
            return readArray(*values, valuesKey);
        }
        times = readTimes(*timeValues);
        if (!samples->isArray()) fail(*samples, Quoted(samplesKey) + " must be an array");
        const std::vector<JsonValue> perTime = samples->elements();
        if (perTime.size() != times.size())
            fail(*samples, std::to_string(perTime.size()) + " samples for " +
                               std::to_string(times.size()) + " times");
        Values all;
        for (std::size_t i = 0; i < perTime.size(); ++i) {
            const Values sample = readArray(perTime[i], "a sample");
            if (i == 0) all.tupleSize = sample.tupleSize;
            all.values.insert(all.values.end(), sample.values.begin(), sample.values.end());
            if (all.values.size() != (i + 1) * sample.values.size() ||
                sample.tupleSize != all.tupleSize)
                fail(perTime[i], "samples must all have as many values as the first one");
        }
        return all;
    }

    Values readArray(const JsonValue& value, const std::string& what) {
        if (!value.isArray()) fail(value, what + " must be an array");
        return readNested(value);
    }

    std::vector<float> readTimes(const JsonValue& value) {
        if (!value.isArray() || value.isEmpty())
            fail(value, "\"times\" must be an array of at least one number");
        std::vector<float> times;
        for (const JsonValue& element : value.elements()) {
            if (!element.isNumber()) fail(element, "a time must be a number");
            const auto time = readNumber<float>(element);
            if (!times.empty() && !(times.back() < time)) fail(element, "times must ascend");
            times.push_back(time);
        }
        return times;
    }

    std::int64_t readTupleSize(const Fields& fields, const Values& values) const {
        const auto tuple = fields.find("tuple");
        if (!tuple) return static_cast<std::int64_t>(sizeAsTuple(values));
        std::int32_t size = 0;
        if (!tuple->isNumber() || !ReadNumber(tuple->text(), size) || size < 1)
            fail(*tuple, "\"tuple\" must be an integer of 1 or more");
        if (values.tupleSize != 0 && values.tupleSize != static_cast<std::size_t>(size))
            fail(*tuple, "\"tuple\" must agree with the length of the inner arrays");
        return size;
    }

    std::string readHex(const JsonValue& value) const {
        const std::string_view digits = value.isString() ? value.text() : std::string_view("?");
        std::string bytes;
        for (std::size_t i = 0; i < digits.size(); i += 2) {
            unsigned byte = 0;
            const char* const end = digits.data() + i + 2;
            if (i + 2 > digits.size() || std::from_chars(end - 2, end, byte, 16).ptr != end)
                fail(value, "bytes must be given as a string of two hexadecimal digits each");
            bytes += static_cast<char>(byte);
        }
        return bytes;
    }
};

std::string ReadWholeFile(const std::string& path) {
    FileStream stream(path, true);
    std::string text;
    std::string piece(1 << 16, '\0');
    for (;;) {
        const std::int64_t bytes =
            FileStream::read(&stream, piece.data(), static_cast<std::int64_t>(piece.size()));
        if (bytes < 0) throw std::runtime_error(path + ": cannot be read");
        if (bytes == 0) return text;
        text.append(piece, 0, static_cast<std::size_t>(bytes));
    }
}

std::string FolderOf(const std::string& path) {
    std::filesystem::path folder = std::filesystem::path(path).parent_path();
    if (folder.empty()) folder = ".";
    return std::filesystem::canonical(folder).string();
}

} // namespace

GroupAttribute ParseDescriptionJson(std::string_view text, const std::string& source,
                                    const std::string& directory) {
    const JsonTree tree(text, source, kJsonDepthLimit);
    return DescriptionReader(tree, directory).read();
}

GroupAttribute ReadDescriptionJsonFile(const std::string& path) {
    const std::string text = ReadWholeFile(path);
    return ParseDescriptionJson(text, path, FolderOf(path));
}

} // namespace OxAttribute
