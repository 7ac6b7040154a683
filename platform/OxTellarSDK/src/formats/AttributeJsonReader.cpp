#include "AttributeJsonReader.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>
#include <type_traits>
#include <unordered_set>
#include <utility>
#include <vector>

#include <OxTellarSDK/GroupBuilder.h>

#include "AttributeKinds.h"
#include "JsonFields.h"
#include "text/HexText.h"
#include "text/MessageText.h"
#include "text/NumberText.h"

namespace OxAttribute {

namespace {

using namespace TellarInternal;

/// Doubles hold every integer up to here, and no larger one is rounded to one of them.
constexpr double kLargestExactInteger = 9007199254740991.0; // 2^53 - 1

bool IsInteger(std::string_view number) {
    return number.find_first_of(".eE") == std::string_view::npos;
}

/// The values of one attribute as JSON, sample after sample.
struct Values {
    std::vector<JsonValue> values;
    std::size_t tupleSize = 0; // the length of the inner arrays; 0 if there are none
};

/// Turns JSON values into attributes.
class AttributeReader {
public:
    explicit AttributeReader(const std::string& where) : where(where) {}

    /// Open groups are kept on an explicit stack, because a text may nest groups deeper than the
    /// thread's stack allows.
    Attribute read(const JsonValue& value, int depth) {
        if (!isGroup(value)) return readLeaf(value);
        std::vector<OpenGroup> open;
        open.push_back(openGroup(value, depth));
        for (;;) {
            OpenGroup& top = open.back();
            if (top.next == top.children.size()) {
                Attribute group = top.builder.build();
                open.pop_back();
                if (open.empty()) return group;
                OpenGroup& parent = open.back();
                parent.builder.set(parent.children[parent.next++].path, group);
                continue;
            }
            const Child& child = top.children[top.next];
            if (isGroup(child.value)) {
                open.push_back(openGroup(child.value, child.depth));
                continue;
            }
            top.builder.set(child.path, readLeaf(child.value));
            ++top.next;
        }
    }

private:
    /// A child that has not been read yet.
    struct Child {
        std::string path; // the path in the builder's form
        JsonValue value;
        int depth; // the number of groups around it
    };

    struct OpenGroup {
        GroupBuilder builder;
        std::vector<Child> children;
        std::size_t next;
    };

    const std::string& where; // appended to every error

    [[noreturn]] void fail(const JsonValue& value, const std::string& what) const {
        value.fail(what + where);
    }

    // ---- plain values ----

    static std::optional<JsonValue> typeOf(const JsonValue& object) {
        for (const JsonValue::Member& member : object.members())
            if (member.key.text() == "$type") return member.value;
        return std::nullopt;
    }

    static bool isGroup(const JsonValue& value) {
        if (!value.isObject()) return false;
        const auto type = typeOf(value);
        return !type || (type->isString() && type->text() == "group");
    }

    Attribute readLeaf(const JsonValue& value) {
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
        default:
            return readTyped(value, *typeOf(value));
        }
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
        fail(value, (value.isNumber() ? std::string(value.text()) : "the value") + " is not " +
                        NumberKind<T>());
    }

    /// "inf", "-inf", "nan", or a NaN bit by bit.
    template <typename T>
    static bool readSpecial(std::string_view text, T& number) {
        if (text == "nan") {
            number = std::numeric_limits<T>::quiet_NaN();
            return true;
        }
        return ReadExactNumber(text, number) && !std::isfinite(number);
    }

    // ---- groups ----

    void checkDepth(const JsonValue& value, int depth) const {
        if (depth >= kMaxGroupDepth)
            fail(value,
                 "groups are nested deeper than " + std::to_string(kMaxGroupDepth) + " levels");
    }

    OpenGroup openGroup(const JsonValue& object, int depth) {
        checkDepth(object, depth);
        return typeOf(object) ? openTypedGroup(object, depth) : openPlainGroup(object, depth);
    }

    OpenGroup openPlainGroup(const JsonValue& object, int depth) {
        const std::vector<JsonValue::Member> members = object.members();
        CheckDottedKeys(members, where);
        OpenGroup group{GroupBuilder(BuilderModeNormal), {}, 0};
        for (const JsonValue::Member& member : members) {
            const std::string_view path = member.key.text();
            const auto dots = static_cast<int>(std::count(path.begin(), path.end(), '.'));
            checkDepth(member.key, depth + dots);
            group.children.push_back({std::string(path), member.value, depth + dots + 1});
        }
        return group;
    }

    OpenGroup openTypedGroup(const JsonValue& object, int depth) {
        const JsonFields fields(object, {"$type", "inherit", "children"}, where);
        OpenGroup group{GroupBuilder(BuilderModeStrict), {}, 0};
        group.builder.setGroupInherit(readInherit(fields));
        if (const auto children = fields.find("children"))
            group.children = readChildren(*children, depth + 1);
        return group;
    }

    std::vector<Child> readChildren(const JsonValue& children, int depth) const {
        std::vector<Child> result;
        std::unordered_set<std::string> names;
        const auto add = [&](const JsonValue& place, std::string name, const JsonValue& value) {
            if (!names.insert(name).second) fail(place, "a second child named " + Quoted(name));
            result.push_back({std::move(name), value, depth});
        };
        if (children.isObject())
            for (const JsonValue::Member& member : children.members())
                add(member.key, std::string(member.key.text()), member.value);
        else if (children.isArray())
            for (const JsonValue& entry : children.elements())
                readListedChild(entry, add);
        else
            fail(children, "\"children\" must be an object or an array");
        return result;
    }

    /// {"name": ..., "value": ...}, or "hexName" for a name that is not UTF-8.
    template <typename Add>
    void readListedChild(const JsonValue& entry, Add add) const {
        if (!entry.isObject()) fail(entry, "a child must be an object");
        const JsonFields fields(entry, {"name", "hexName", "value"}, where);
        const auto name = fields.find("name");
        const auto hexName = fields.find("hexName");
        const auto value = fields.find("value");
        if (name.has_value() == hexName.has_value() || !value)
            fail(entry, "a child needs \"value\" and either \"name\" or \"hexName\"");
        if (name && !name->isString()) fail(*name, "\"name\" must be a string");
        add(entry, name ? std::string(name->text()) : readHex(*hexName), *value);
    }

    bool readInherit(const JsonFields& fields) const {
        const auto inherit = fields.find("inherit");
        if (!inherit || inherit->kind() == JsonKind::True) return true;
        if (inherit->kind() != JsonKind::False) fail(*inherit, "\"inherit\" must be true or false");
        return false;
    }

    // ---- the typed form ----

    Attribute readTyped(const JsonValue& object, const JsonValue& type) {
        const std::string_view name = type.isString() ? type.text() : std::string_view();
        if (name == "int") return readTypedNumbers<std::int32_t>(object);
        if (name == "float") return readTypedNumbers<float>(object);
        if (name == "double") return readTypedNumbers<double>(object);
        if (name == "string") return readTypedStrings(object);
        if (name != "null")
            fail(type, "\"$type\" must be int, float, double, string, null or group");
        const JsonFields onlyType(object, {"$type"}, where);
        return NullAttribute();
    }

    template <typename T>
    Attribute readTypedNumbers(const JsonValue& object) {
        const JsonFields fields(object, {"$type", "tuple", "values", "times", "samples"}, where);
        Samples<T> samples;
        const Values values = readSamples(object, fields, "values", "samples", samples.times);
        for (const JsonValue& value : values.values)
            samples.values.push_back(readNumber<T>(value));
        return MakeAttribute(samples, readTupleSize(fields, values));
    }

    Attribute readTypedStrings(const JsonValue& object) {
        const JsonFields fields(
            object, {"$type", "tuple", "values", "times", "samples", "hex", "hexSamples"}, where);
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
        Samples<std::string> samples{times, {}};
        for (const JsonValue& value : values.values) {
            if (!value.isString()) fail(value, "a string attribute must hold strings");
            samples.values.push_back(isHex ? readHex(value) : std::string(value.text()));
        }
        return MakeAttribute(samples, tupleSize);
    }

    /// "values" alone, or "times" with as many "samples" of equal length.
    Values readSamples(const JsonValue& object, const JsonFields& fields, const char* valuesKey,
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
        return readSampleArrays(perTime);
    }

    /// The values of all samples, which must have equal numbers of values.
    Values readSampleArrays(const std::vector<JsonValue>& perTime) {
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

    std::int64_t readTupleSize(const JsonFields& fields, const Values& values) const {
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
        std::string_view digits = value.isString() ? value.text() : std::string_view("?");
        std::string bytes;
        while (!digits.empty()) {
            const std::optional<char> byte = ReadHexByte(digits);
            if (!byte)
                fail(value, "bytes must be given as a string of two hexadecimal digits each");
            bytes += *byte;
            digits.remove_prefix(2);
        }
        return bytes;
    }
};

} // namespace

Attribute ReadAttributeJson(const JsonValue& value, int depth, const std::string& where) {
    return AttributeReader(where).read(value, depth);
}

} // namespace OxAttribute
