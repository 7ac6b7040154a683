#include "AttributeJsonWriter.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <string_view>
#include <type_traits>

#include <OxTellarSDK/DescriptionJson.h>

#include "AttributeKinds.h"
#include "SampleValues.h"
#include "text/Utf8.h"

namespace OxAttribute {

namespace {

using namespace TellarInternal;

/// Tuples up to this size, such as a matrix, are kept on one line.
constexpr std::size_t kLongestWholeTuple = 16;

template <typename T>
bool AllFinite(const NumericAttribute<T>& attribute) {
    if constexpr (std::is_floating_point_v<T>) {
        const ConstSample<T> values = SampleValues(attribute, 0);
        return std::all_of(values.begin(), values.end(), [](T v) { return std::isfinite(v); });
    }
    return true;
}

bool HasWholeTuples(const DataAttribute& attribute) {
    return attribute.getNumberOfValues() > 0 &&
           attribute.getNumberOfValues() % attribute.getTupleSize() == 0;
}

/// Whether plain JSON can express it: one timeless sample of at least one value, in whole tuples.
bool HasPlainShape(const DataAttribute& attribute) {
    return IsTimeless(attribute) && HasWholeTuples(attribute);
}

bool IsPlainName(std::string_view name) {
    return !name.empty() && name != "$type" && name.find('.') == std::string_view::npos &&
           IsUtf8(name);
}

template <typename Predicate>
bool AllNames(const GroupAttribute& group, Predicate predicate) {
    for (std::int64_t i = 0; i < group.getNumberOfChildren(); ++i)
        if (!predicate(group.getChildNameView(i))) return false;
    return true;
}

/// Writes values. Open groups are kept on an explicit stack, because groups may be nested deeper
/// than the thread's stack allows.
class ValueWriter {
public:
    explicit ValueWriter(JsonWriter& json) : json(json) {}

    void write(const Attribute& attribute) {
        begin(attribute);
        while (!open.empty()) {
            Level& level = open.back();
            // The entry of a listed child ends when its value does.
            if (level.form == Form::Listed && level.next > 0) json.close('}');
            if (level.next == level.group.getNumberOfChildren()) {
                endGroup(level.form);
                open.pop_back();
                continue;
            }
            const std::int64_t index = level.next++;
            beginChild(level, level.group.getChildNameView(index));
            begin(level.group.getChildByIndex(index)); // may move `level`
        }
    }

private:
    enum class Form {
        Plain, ///< {"name": value, ...}
        Typed, ///< {"$type": "group", "children": {"name": value, ...}}
        Listed ///< {"$type": "group", "children": [{"name": "...", "value": value}, ...]}
    };

    struct Level {
        GroupAttribute group;
        Form form;
        std::int64_t next;
    };

    /// The keys of values in the typed form.
    struct Keys {
        const char* values;
        const char* samples;
    };

    /// Writes a value, or the beginning of a group.
    void begin(const Attribute& attribute) {
        VisitAttribute(attribute, [this](const auto& typed) { beginTyped(typed); });
    }

    void beginTyped(const NullAttribute&) { json.raw("null"); }

    // ---- groups ----

    static Form formOf(const GroupAttribute& group) {
        if (!AllNames(group, IsUtf8)) return Form::Listed;
        const bool isPlain = group.getGroupInherit() && AllNames(group, IsPlainName);
        return isPlain ? Form::Plain : Form::Typed;
    }

    void beginTyped(const GroupAttribute& group) {
        const Form form = formOf(group);
        json.open('{');
        if (form != Form::Plain) {
            json.nextMember("$type");
            json.string("group");
            if (!group.getGroupInherit()) {
                json.nextMember("inherit");
                json.raw("false");
            }
            json.nextMember("children");
            json.open(form == Form::Listed ? '[' : '{');
        }
        open.push_back({group, form, 0});
    }

    void beginChild(const Level& level, std::string_view name) {
        if (level.form != Form::Listed) {
            json.nextMember(name);
            return;
        }
        json.nextItem();
        json.open('{');
        json.nextMember(IsUtf8(name) ? "name" : "hexName");
        writeString(name, !IsUtf8(name));
        json.nextMember("value");
    }

    void endGroup(Form form) {
        if (form == Form::Listed) json.close(']');
        if (form == Form::Typed) json.close('}');
        json.close('}');
    }

    // ---- values ----

    template <typename T>
    void beginTyped(const NumericAttribute<T>& attribute) {
        // Numbers that read back as floats have no plain form.
        const bool isPlain =
            !std::is_same_v<T, float> && HasPlainShape(attribute) && AllFinite(attribute);
        writeData(attribute, isPlain, {"values", "samples"}, [this](T value) { number(value); });
    }

    void beginTyped(const StringAttribute& attribute) {
        const bool isHex = !AllUtf8(attribute);
        const Keys keys = isHex ? Keys{"hex", "hexSamples"} : Keys{"values", "samples"};
        writeData(attribute, !isHex && HasPlainShape(attribute), keys,
                  [&](std::string_view value) { writeString(value, isHex); });
    }

    template <typename AttributeT, typename WriteValue>
    void writeData(const AttributeT& attribute, bool isPlain, const Keys& keys,
                   WriteValue writeValue) {
        const auto writeSample = [&](std::int64_t index) {
            const auto values = SampleValues(attribute, index);
            writeTuples(attribute, values.size(), [&](std::size_t i) { writeValue(values[i]); });
        };
        if (!isPlain)
            writeTyped(attribute, keys, writeSample);
        else if (attribute.getNumberOfValues() == 1)
            writeValue(SampleValues(attribute, 0)[0]);
        else
            writeSample(0);
    }

    template <typename WriteSample>
    void writeTyped(const DataAttribute& attribute, const Keys& keys, WriteSample writeSample) {
        json.raw("{\"$type\": \"");
        json.raw(TypeWord(attribute.getType()));
        json.raw("\", ");
        if (attribute.getTupleSize() != 1 && !HasWholeTuples(attribute)) {
            writeKey("tuple");
            json.number(static_cast<std::int32_t>(attribute.getTupleSize()));
            json.raw(", ");
        }
        if (IsTimeless(attribute)) {
            writeKey(keys.values);
            writeSample(0);
        } else {
            writeTimes(attribute);
            json.raw(", ");
            writeKey(keys.samples);
            json.list(static_cast<std::size_t>(attribute.getNumberOfTimeSamples()),
                      [&](std::size_t i) { writeSample(static_cast<std::int64_t>(i)); });
        }
        json.raw("}");
    }

    void writeTimes(const DataAttribute& attribute) {
        writeKey("times");
        json.list(static_cast<std::size_t>(attribute.getNumberOfTimeSamples()), [&](std::size_t i) {
            number(attribute.getSampleTime(static_cast<std::int64_t>(i)));
        });
    }

    void writeKey(std::string_view key) {
        json.string(key);
        json.raw(": ");
    }

    /// Writes `count` values as one array, or as an array of tuples if all tuples are whole.
    template <typename WriteValue>
    void writeTuples(const DataAttribute& attribute, std::size_t count, WriteValue writeValue) {
        const auto tupleSize = static_cast<std::size_t>(attribute.getTupleSize());
        if (tupleSize == 1 || !HasWholeTuples(attribute)) {
            json.list(count, writeValue);
            return;
        }
        json.list(count / tupleSize, [&](std::size_t tuple) {
            json.list(
                tupleSize, [&](std::size_t i) { writeValue(tuple * tupleSize + i); },
                tupleSize > kLongestWholeTuple);
        });
    }

    void writeString(std::string_view value, bool isHex) {
        if (isHex)
            json.hexString(value);
        else
            json.string(value);
    }

    /// Writes a number, or a string for the values that JSON has no numbers for.
    template <typename T>
    void number(T value) {
        if constexpr (std::is_floating_point_v<T>) {
            if (!std::isfinite(value)) {
                json.string(notFinite(value));
                return;
            }
        }
        json.number(value);
    }

    template <typename T>
    static std::string notFinite(T value) {
        std::string text;
        AppendExactNumber(text, value);
        std::string ordinaryNan;
        AppendExactNumber(ordinaryNan, std::numeric_limits<T>::quiet_NaN());
        return text == ordinaryNan ? "nan" : text;
    }

    JsonWriter& json;
    std::vector<Level> open;
};

} // namespace

bool AllUtf8(const StringAttribute& attribute) {
    for (std::int64_t i = 0; i < attribute.getNumberOfTimeSamples(); ++i)
        for (const std::string_view value : attribute.getSample(i))
            if (!IsUtf8(value)) return false;
    return true;
}

void WriteAttribute(JsonWriter& json, const Attribute& attribute) {
    ValueWriter(json).write(attribute);
}

std::string WriteAttributeJson(const Attribute& attribute, int indent) {
    if (!attribute.isValid()) return {};
    JsonWriter json(indent < 0 ? JsonWriter::kOneLine : indent);
    WriteAttribute(json, attribute);
    return json.take();
}

} // namespace OxAttribute
