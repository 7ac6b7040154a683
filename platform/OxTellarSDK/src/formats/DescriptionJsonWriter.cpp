#include <OxTellarSDK/DescriptionJson.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <stdexcept>
#include <string_view>

#include "SampleValues.h"
#include "text/NumberText.h"
#include "text/Utf8.h"

namespace OxAttribute {

namespace {

using namespace TellarInternal;

constexpr std::string_view kHexDigits = "0123456789abcdef";
/// Lines are broken in front of an item that would reach beyond this column.
constexpr std::size_t kLineWidth = 96;
/// Tuples up to this size, a matrix for one, are kept on one line.
constexpr std::size_t kLongestWholeTuple = 16;
/// Deeper levels are indented like this one, so that the text of a deep tree stays in
/// proportion to the tree.
constexpr int kDeepestIndent = 32;

const char* TypeName(AttributeType type) {
    switch (type) {
    case kAttributeTypeInt:
        return "int";
    case kAttributeTypeFloat:
        return "float";
    case kAttributeTypeDouble:
        return "double";
    case kAttributeTypeString:
        return "string";
    default:
        return "null";
    }
}

/// JSON text under construction, laid out for people.
class JsonText {
public:
    /// `indent` spaces a level; -1 for one line.
    explicit JsonText(int indent) : indent(indent) {}

    std::string take() { return std::move(out); }

    void raw(std::string_view text) { out += text; }

    /// `bytes` must be UTF-8.
    void string(std::string_view bytes) {
        out += '"';
        for (const char c : bytes)
            character(c);
        out += '"';
    }

    void hexString(std::string_view bytes) {
        out += '"';
        for (const char c : bytes) {
            out += kHexDigits[static_cast<unsigned char>(c) >> 4];
            out += kHexDigits[c & 15];
        }
        out += '"';
    }

    // An object or array with every member on a line of its own. An empty one stays on its line.
    void open(char bracket) {
        out += bracket;
        ++depth;
        isFirst = true;
    }
    void nextItem() {
        if (!isFirst) out += indent < 0 ? ", " : ",";
        isFirst = false;
        newLine();
    }
    void nextMember(std::string_view key) {
        nextItem();
        string(key);
        out += ": ";
    }
    void close(char bracket) {
        --depth;
        if (!isFirst) newLine();
        isFirst = false;
        out += bracket;
    }

    /// An array whose items follow one another, on as many lines as they need if it `wraps`.
    template <typename WriteItem>
    void list(std::size_t count, WriteItem writeItem, bool wraps = true) {
        out += '[';
        for (std::size_t i = 0; i < count; ++i) {
            if (i > 0) out += ", ";
            const std::size_t start = out.size();
            writeItem(i);
            if (wraps && i > 0) wrapBefore(start);
        }
        out += ']';
    }

private:
    std::string out;
    const int indent;
    int depth = 0;
    bool isFirst = true; // in the object or array opened last
    std::size_t lineStart = 0;

    void newLine() {
        if (indent < 0) return;
        out += '\n';
        lineStart = out.size();
        const int spaces = indent * std::min(depth, kDeepestIndent);
        out.append(static_cast<std::size_t>(spaces), ' ');
    }

    /// Moves what begins at `start` to a new line when it is too long for this one.
    void wrapBefore(std::size_t start) {
        if (indent < 0 || out.size() - lineStart < kLineWidth) return;
        const std::string item = out.substr(start);
        out.resize(start - 1); // the space behind the comma
        ++depth;
        newLine();
        --depth;
        out += item;
    }

    void character(char c) {
        switch (c) {
        case '"':
            out += "\\\"";
            return;
        case '\\':
            out += "\\\\";
            return;
        case '\b':
            out += "\\b";
            return;
        case '\f':
            out += "\\f";
            return;
        case '\n':
            out += "\\n";
            return;
        case '\r':
            out += "\\r";
            return;
        case '\t':
            out += "\\t";
            return;
        default:
            break;
        }
        if (static_cast<unsigned char>(c) >= 0x20 && c != 0x7F) {
            out += c;
            return;
        }
        out += "\\u00";
        out += kHexDigits[c >> 4];
        out += kHexDigits[c & 15];
    }
};

template <typename T>
bool AllFinite(const NumericAttribute<T>& attribute) {
    if constexpr (std::is_floating_point_v<T>) {
        const ConstSample<T> values = SampleValues(attribute, 0);
        return std::all_of(values.begin(), values.end(), [](T v) { return std::isfinite(v); });
    }
    return true;
}

bool AllUtf8(const StringAttribute& attribute) {
    for (std::int64_t i = 0; i < attribute.getNumberOfTimeSamples(); ++i)
        for (const std::string_view value : attribute.getSample(i))
            if (!IsUtf8(value)) return false;
    return true;
}

/// Writes values in the forms that DescriptionReader knows. Open groups are kept on a stack of
/// its own, not on the thread's: they may be nested deep.
class ValueWriter {
public:
    explicit ValueWriter(JsonText& text) : text(text) {}

    void write(const Attribute& attribute) {
        begin(attribute);
        while (!open.empty()) {
            Level& level = open.back();
            // The entry of a listed child ends when its value does.
            if (level.form == Form::Listed && level.next > 0) text.close('}');
            if (level.next == level.group.getNumberOfChildren()) {
                end(level.form);
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

    JsonText& text;
    std::vector<Level> open;

    /// Writes a value, or the beginning of a group.
    void begin(const Attribute& attribute) {
        switch (attribute.getType()) {
        case kAttributeTypeInt:
            writeNumbers(IntAttribute(attribute));
            return;
        case kAttributeTypeFloat:
            writeNumbers(FloatAttribute(attribute));
            return;
        case kAttributeTypeDouble:
            writeNumbers(DoubleAttribute(attribute));
            return;
        case kAttributeTypeString:
            writeStrings(StringAttribute(attribute));
            return;
        case kAttributeTypeGroup:
            beginGroup(GroupAttribute(attribute));
            return;
        default:
            text.raw("null");
            return;
        }
    }

    // ---- groups ----

    static bool isPlainName(std::string_view name) {
        return !name.empty() && name != "$type" && name.find('.') == std::string_view::npos &&
               IsUtf8(name);
    }

    template <typename Predicate>
    static bool allNames(const GroupAttribute& group, Predicate predicate) {
        for (std::int64_t i = 0; i < group.getNumberOfChildren(); ++i)
            if (!predicate(group.getChildNameView(i))) return false;
        return true;
    }

    static Form formOf(const GroupAttribute& group) {
        if (!allNames(group, IsUtf8)) return Form::Listed;
        const bool isPlain = group.getGroupInherit() && allNames(group, isPlainName);
        return isPlain ? Form::Plain : Form::Typed;
    }

    void beginGroup(const GroupAttribute& group) {
        const Form form = formOf(group);
        text.open('{');
        if (form != Form::Plain) {
            text.nextMember("$type");
            text.string("group");
            if (!group.getGroupInherit()) {
                text.nextMember("inherit");
                text.raw("false");
            }
            text.nextMember("children");
            text.open(form == Form::Listed ? '[' : '{');
        }
        open.push_back({group, form, 0});
    }

    void beginChild(const Level& level, std::string_view name) {
        if (level.form != Form::Listed) {
            text.nextMember(name);
            return;
        }
        text.nextItem();
        text.open('{');
        text.nextMember(IsUtf8(name) ? "name" : "hexName");
        if (IsUtf8(name))
            text.string(name);
        else
            text.hexString(name);
        text.nextMember("value");
    }

    void end(Form form) {
        if (form == Form::Listed) text.close(']');
        if (form == Form::Typed) text.close('}');
        text.close('}');
    }

    // ---- values ----

    static bool hasWholeTuples(const DataAttribute& attribute) {
        return attribute.getNumberOfValues() > 0 &&
               attribute.getNumberOfValues() % attribute.getTupleSize() == 0;
    }

    /// What plain JSON can say: one timeless sample of at least one value, in whole tuples.
    static bool isPlain(const DataAttribute& attribute) {
        return IsTimeless(attribute) && hasWholeTuples(attribute);
    }

    template <typename T>
    void writeNumbers(const NumericAttribute<T>& attribute) {
        const auto writeSample = [&](std::int64_t index) {
            const ConstSample<T> values = SampleValues(attribute, index);
            writeTuples(attribute, values.size(), [&](std::size_t i) { number(values[i]); });
        };
        if (!std::is_same_v<T, float> && isPlain(attribute) && AllFinite(attribute))
            writePlain(attribute, writeSample, [&] { number(SampleValues(attribute, 0)[0]); });
        else
            writeTyped(attribute, "values", "samples", writeSample);
    }

    void writeStrings(const StringAttribute& attribute) {
        const bool isUtf8 = AllUtf8(attribute);
        const auto writeValue = [&](std::string_view value) {
            if (isUtf8)
                text.string(value);
            else
                text.hexString(value);
        };
        const auto writeSample = [&](std::int64_t index) {
            const ConstStringSample values = attribute.getSample(index);
            writeTuples(attribute, values.size(), [&](std::size_t i) { writeValue(values[i]); });
        };
        if (isUtf8 && isPlain(attribute))
            writePlain(attribute, writeSample, [&] { writeValue(attribute.getSample(0)[0]); });
        else
            writeTyped(attribute, isUtf8 ? "values" : "hex", isUtf8 ? "samples" : "hexSamples",
                       writeSample);
    }

    template <typename WriteSample, typename WriteFirst>
    void writePlain(const DataAttribute& attribute, WriteSample writeSample,
                    WriteFirst writeFirst) {
        if (attribute.getNumberOfValues() == 1)
            writeFirst();
        else
            writeSample(0);
    }

    template <typename WriteSample>
    void writeTyped(const DataAttribute& attribute, const char* valuesKey, const char* samplesKey,
                    WriteSample writeSample) {
        text.raw("{\"$type\": \"");
        text.raw(TypeName(attribute.getType()));
        text.raw("\", ");
        if (attribute.getTupleSize() != 1 && !hasWholeTuples(attribute)) {
            text.raw("\"tuple\": ");
            number(static_cast<std::int32_t>(attribute.getTupleSize()));
            text.raw(", ");
        }
        if (!IsTimeless(attribute)) {
            const auto count = static_cast<std::size_t>(attribute.getNumberOfTimeSamples());
            text.raw("\"times\": ");
            text.list(count, [&](std::size_t i) {
                number(attribute.getSampleTime(static_cast<std::int64_t>(i)));
            });
            text.raw(", \"");
            text.raw(samplesKey);
            text.raw("\": ");
            text.list(count, [&](std::size_t i) { writeSample(static_cast<std::int64_t>(i)); });
        } else {
            text.raw("\"");
            text.raw(valuesKey);
            text.raw("\": ");
            writeSample(0);
        }
        text.raw("}");
    }

    /// `count` values as one array, in arrays of a tuple each where all tuples are whole.
    template <typename WriteValue>
    void writeTuples(const DataAttribute& attribute, std::size_t count, WriteValue writeValue) {
        const auto tupleSize = static_cast<std::size_t>(attribute.getTupleSize());
        if (tupleSize == 1 || !hasWholeTuples(attribute)) {
            text.list(count, writeValue);
            return;
        }
        text.list(count / tupleSize, [&](std::size_t tuple) {
            text.list(
                tupleSize, [&](std::size_t i) { writeValue(tuple * tupleSize + i); },
                tupleSize > kLongestWholeTuple);
        });
    }

    template <typename T>
    void number(T value) {
        std::string digits;
        if constexpr (std::is_floating_point_v<T>) {
            if (!std::isfinite(value)) {
                special(value);
                return;
            }
        }
        AppendExactNumber(digits, value);
        // Without a point or an exponent it would read back as an integer.
        const bool looksWhole = digits.find_first_of(".e") == std::string::npos;
        if (std::is_same_v<T, double> && looksWhole) digits += ".0";
        text.raw(digits);
    }

    template <typename T>
    void special(T value) {
        std::string word;
        AppendExactNumber(word, value);
        std::string ordinaryNan;
        AppendExactNumber(ordinaryNan, std::numeric_limits<T>::quiet_NaN());
        text.raw("\"");
        text.raw(word == ordinaryNan ? "nan" : word);
        text.raw("\"");
    }
};

/// Writes an op-tree description, having checked that the text will read back equal.
class DescriptionWriter {
public:
    explicit DescriptionWriter(const GroupAttribute& description) : description(description) {}

    std::string write() {
        if (!description.isValid()) throw std::runtime_error("There is no description to write");
        if (description.getNumberOfChildren() == 0)
            throw std::runtime_error("The description holds no op");
        if (!description.getGroupInherit())
            throw std::runtime_error(
                "The description's group does not inherit, which cannot be written as JSON");
        text.open('{');
        text.nextMember("ops");
        text.open('[');
        for (std::int64_t i = 0; i < description.getNumberOfChildren(); ++i) {
            text.nextItem();
            name = description.getChildName(i);
            writeOp(description.getChildByIndex(i));
        }
        text.close(']');
        text.close('}');
        text.raw("\n");
        return text.take();
    }

private:
    const GroupAttribute& description;
    JsonText text{2};
    std::string name; // of the op being written

    [[noreturn]] void fail(const std::string& what) const {
        throw std::runtime_error("Op \"" + name + "\" cannot be written as JSON: " + what);
    }

    void writeOp(const GroupAttribute& op) {
        if (name.empty() || !IsUtf8(name)) fail("its name is empty or not UTF-8");
        if (!op.isValid()) fail("it is not a group");
        if (!op.getGroupInherit()) fail("its group does not inherit");
        if (op.findChild("opType") < 0) fail("it has no \"opType\"");
        text.open('{');
        text.nextMember("name");
        text.string(name);
        for (std::int64_t i = 0; i < op.getNumberOfChildren(); ++i)
            writePart(op.getChildNameView(i), op.getChildByIndex(i));
        text.close('}');
    }

    void writePart(std::string_view part, const Attribute& attribute) {
        if (part == "opType") {
            const StringAttribute type = checkedNames(part, attribute);
            if (type.getNumberOfValues() != 1) fail("\"opType\" is not one string");
            text.nextMember("type");
            text.string(type.getValueView());
        } else if (part == "opArgs") {
            if (attribute.getType() != kAttributeTypeGroup) fail("\"opArgs\" is not a group");
            text.nextMember("args");
            ValueWriter(text).write(attribute);
        } else if (part == "opInputs") {
            text.nextMember("inputs");
            writeInputs(checkedNames(part, attribute));
        } else {
            fail("\"" + std::string(part) + "\" is no part of an op");
        }
    }

    StringAttribute checkedNames(std::string_view part, const Attribute& attribute) const {
        StringAttribute names(attribute);
        const bool isPlain = names.isValid() && IsTimeless(names) && names.getTupleSize() == 1;
        if (!isPlain || !AllUtf8(names))
            fail("\"" + std::string(part) + "\" is not a list of UTF-8 strings without times");
        return names;
    }

    void writeInputs(const StringAttribute& inputs) {
        const ConstStringSample names = inputs.getSample(0);
        text.list(names.size(), [&](std::size_t i) {
            if (names[i].empty()) {
                text.raw("null");
                return;
            }
            if (description.findChild(names[i]) < 0)
                fail("its input \"" + std::string(names[i]) + "\" names no op");
            text.string(names[i]);
        });
    }
};

} // namespace

std::string WriteDescriptionJson(const GroupAttribute& description) {
    return DescriptionWriter(description).write();
}

std::string WriteAttributeJson(const Attribute& attribute, int indent) {
    if (!attribute.isValid()) return {};
    JsonText text(indent);
    ValueWriter(text).write(attribute);
    return text.take();
}

} // namespace OxAttribute
