#include <OxTellarSDK/Attribute.h>

#include <algorithm>
#include <initializer_list>
#include <numeric>
#include <optional>
#include <stdexcept>

#include "SampleValues.h"
#include "text/NumberText.h"
#include "text/TextPlace.h"
#include "text/Utf8.h"

namespace OxAttribute {

namespace {

using namespace TellarInternal;

constexpr std::string_view kHexDigits = "0123456789abcdef";
/// Deeper levels are indented like this one, so that the text of a deep tree stays in
/// proportion to the tree.
constexpr std::size_t kDeepestIndent = 32;
/// Values up to this count stay on the line of their tag; more are wrapped.
constexpr std::size_t kInlineValues = 16;

const char* TagOf(AttributeType type) {
    switch (type) {
    case kAttributeTypeNull:
        return "null";
    case kAttributeTypeInt:
        return "int";
    case kAttributeTypeFloat:
        return "float";
    case kAttributeTypeDouble:
        return "double";
    case kAttributeTypeString:
        return "string";
    case kAttributeTypeGroup:
        return "group";
    default:
        return "";
    }
}

/// C1 controls and U+FFFE, U+FFFF: characters that XML tools may change or refuse.
bool IsAwkward(std::string_view character) {
    if (character.size() == 2) return character[0] == '\xC2' && (character[1] & 0xE0) == 0x80;
    return character == "\xEF\xBF\xBE" || character == "\xEF\xBF\xBF";
}

void AppendHexEscape(std::string& out, unsigned char byte) {
    out += "\\x";
    out += kHexDigits[byte >> 4];
    out += kHexDigits[byte & 15];
}

void AppendAsciiEscaped(std::string& out, char c) {
    switch (c) {
    case '&':
        out += "&amp;";
        return;
    case '<':
        out += "&lt;";
        return;
    case '>':
        out += "&gt;";
        return;
    case '"':
        out += "&quot;";
        return;
    case '\\':
        out += "\\\\";
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
    if (c >= 0x20 && c != 0x7F)
        out += c;
    else
        AppendHexEscape(out, static_cast<unsigned char>(c));
}

void AppendEscaped(std::string& out, std::string_view bytes) {
    while (!bytes.empty()) {
        const std::size_t length = Utf8CharacterBytes(bytes);
        const std::string_view character = bytes.substr(0, std::max<std::size_t>(length, 1));
        if (length == 1)
            AppendAsciiEscaped(out, character[0]);
        else if (length > 1 && !IsAwkward(character))
            out += character;
        else
            for (const char c : character)
                AppendHexEscape(out, static_cast<unsigned char>(c));
        bytes.remove_prefix(character.size());
    }
}

/// Writes one attribute. Open groups are kept on a stack of its own, not on the thread's:
/// the nesting of a scene must not decide whether its text can be made.
class XmlWriter {
public:
    std::string write(const Attribute& root) {
        writeElement(nullptr, root);
        while (!open.empty()) {
            const std::int64_t next = open.back().next++;
            if (next == open.back().group.getNumberOfChildren()) {
                open.pop_back();
                startLine();
                out += "</group>\n";
                continue;
            }
            const GroupAttribute group = open.back().group;
            const std::string name = group.getChildName(next);
            writeElement(&name, group.getChildByIndex(next));
        }
        return std::move(out);
    }

private:
    struct Level {
        GroupAttribute group;
        std::int64_t next;
    };

    std::string out;
    std::vector<Level> open;

    void startLine(std::size_t further = 0) {
        out.append(2 * std::min(open.size() + further, kDeepestIndent), ' ');
    }

    void writeElement(const std::string* name, const Attribute& attribute) {
        startLine();
        const char* tag = TagOf(attribute.getType());
        out += '<';
        out += tag;
        if (name) {
            out += " name=\"";
            AppendEscaped(out, *name);
            out += '"';
        }
        switch (attribute.getType()) {
        case kAttributeTypeInt:
            writeNumbers(IntAttribute(attribute), tag);
            return;
        case kAttributeTypeFloat:
            writeNumbers(FloatAttribute(attribute), tag);
            return;
        case kAttributeTypeDouble:
            writeNumbers(DoubleAttribute(attribute), tag);
            return;
        case kAttributeTypeString:
            writeStrings(StringAttribute(attribute));
            return;
        case kAttributeTypeGroup:
            openGroup(GroupAttribute(attribute));
            return;
        default:
            out += "/>\n";
            return;
        }
    }

    void openGroup(const GroupAttribute& group) {
        if (!group.getGroupInherit()) out += " inherit=\"false\"";
        if (group.getNumberOfChildren() == 0) {
            out += "/>\n";
            return;
        }
        out += ">\n";
        open.push_back({group, 0});
    }

    void writeTupleSize(const DataAttribute& attribute) {
        if (attribute.getTupleSize() == 1) return;
        out += " tuple=\"";
        AppendNumber(out, attribute.getTupleSize());
        out += '"';
    }

    /// `writeValues(sample index, levels of indentation)` ends with the closing tag's "/>"
    /// or with everything that stands before the closing tag, and returns which.
    template <typename WriteValues>
    void writeSamples(const DataAttribute& attribute, const char* tag, WriteValues writeValues) {
        writeTupleSize(attribute);
        if (IsTimeless(attribute)) {
            closeElement(writeValues(0, 0), tag);
            return;
        }
        out += ">\n";
        for (std::int64_t i = 0; i < attribute.getNumberOfTimeSamples(); ++i) {
            startLine(1);
            out += "<sample time=\"";
            AppendExactNumber(out, attribute.getSampleTime(i));
            out += '"';
            closeElement(writeValues(i, 1), "sample");
        }
        startLine();
        closeElement(true, tag);
    }

    void closeElement(bool hasContent, const char* tag) {
        if (!hasContent) {
            out += "/>\n";
            return;
        }
        out += "</";
        out += tag;
        out += ">\n";
    }

    template <typename T>
    void writeNumbers(const NumericAttribute<T>& attribute, const char* tag) {
        const auto tupleSize = static_cast<std::size_t>(attribute.getTupleSize());
        writeSamples(attribute, tag, [&](std::int64_t index, std::size_t level) {
            const ConstSample<T> values = SampleValues(attribute, index);
            if (values.empty()) return false;
            out += '>';
            writeValues(values, tupleSize, level);
            return true;
        });
    }

    template <typename T>
    void writeValues(const ConstSample<T>& values, std::size_t tupleSize, std::size_t level) {
        const bool wrap = values.size() > kInlineValues;
        std::size_t perLine = kInlineValues;
        if (tupleSize <= kInlineValues) perLine -= kInlineValues % tupleSize;
        for (std::size_t i = 0; i < values.size(); ++i) {
            if (wrap && i % perLine == 0) {
                out += '\n';
                startLine(level + 1);
            } else if (i != 0) {
                // A second space sets the tuples of a line apart.
                out += tupleSize > 1 && i % tupleSize == 0 ? "  " : " ";
            }
            AppendExactNumber(out, values[i]);
        }
        if (!wrap) return;
        out += '\n';
        startLine(level);
    }

    void writeStrings(const StringAttribute& attribute) {
        writeSamples(attribute, "string", [&](std::int64_t index, std::size_t level) {
            const ConstStringSample values = attribute.getSample(index);
            if (values.empty()) return false;
            out += '>';
            const bool wrap = values.size() > 1;
            for (const std::string_view value : values) {
                if (wrap) {
                    out += '\n';
                    startLine(level + 1);
                }
                out += "<v>";
                AppendEscaped(out, value);
                out += "</v>";
            }
            if (wrap) {
                out += '\n';
                startLine(level);
            }
            return true;
        });
    }
};

/// A start tag: its name and its fields, as they stand in the text.
struct Tag {
    struct Field {
        std::string_view name;
        std::string_view value; // still escaped
        bool used = false;
    };
    std::string_view name;
    std::size_t place = 0;
    std::vector<Field> fields;
    bool isEmpty = false; // "<.../>"
};

bool IsSpace(char c) {
    return c == ' ' || c == '\n' || c == '\r' || c == '\t';
}
bool IsNameCharacter(char c) {
    return c >= 'a' && c <= 'z';
}

/// Reads what XmlWriter writes. White space between tags and numbers is free; everything
/// else has one form. Memory grows with the text alone.
class XmlReader {
public:
    explicit XmlReader(std::string_view text) : text(text) {}

    Attribute read() {
        for (;;) {
            skipSpace();
            Attribute attribute;
            std::string name;
            std::size_t namePlace = at;
            if (startsWith("</")) {
                attribute = closeGroup(name, namePlace);
            } else {
                Tag tag = readTag();
                namePlace = tag.place;
                name = takeChildName(tag);
                if (tag.name == "group" && !tag.isEmpty) {
                    openGroup(tag, std::move(name));
                    continue;
                }
                attribute = readElement(tag);
            }
            if (open.empty()) return finish(attribute);
            open.back().children.emplace_back(std::move(name), std::move(attribute));
            open.back().places.push_back(namePlace);
        }
    }

private:
    struct Level {
        std::string name;
        std::size_t place;
        bool inherit;
        std::vector<GroupAttribute::Child> children;
        std::vector<std::size_t> places; // of the children's tags
    };

    std::string_view text;
    std::size_t at = 0;
    std::vector<Level> open;

    [[noreturn]] void fail(std::size_t place, const std::string& what) const {
        throw std::runtime_error(TextPlace("XML", text, place) + what);
    }

    char peek() const { return at < text.size() ? text[at] : '\0'; }
    bool startsWith(std::string_view token) const { return text.substr(at, token.size()) == token; }
    void skipSpace() {
        while (at < text.size() && IsSpace(text[at]))
            ++at;
    }
    void expect(std::string_view token) {
        if (!startsWith(token)) fail(at, "expected \"" + std::string(token) + '"');
        at += token.size();
    }

    Attribute finish(const Attribute& attribute) {
        skipSpace();
        if (at != text.size()) fail(at, "text after the end of the attribute");
        return attribute;
    }

    // ---- tags ----

    std::string_view readName() {
        const std::size_t start = at;
        while (IsNameCharacter(peek()))
            ++at;
        return text.substr(start, at - start);
    }

    Tag readTag() {
        Tag tag;
        tag.place = at;
        expect("<");
        tag.name = readName();
        if (tag.name.empty()) fail(at, "expected the name of a tag");
        for (;;) {
            const bool spaced = IsSpace(peek());
            skipSpace();
            if (startsWith(">") || startsWith("/>")) break;
            if (!spaced) fail(at, "expected \">\"");
            readField(tag);
        }
        tag.isEmpty = peek() == '/';
        at += tag.isEmpty ? 2 : 1;
        return tag;
    }

    void readField(Tag& tag) {
        const std::size_t place = at;
        Tag::Field field;
        field.name = readName();
        if (field.name.empty()) fail(place, "expected \">\"");
        for (const Tag::Field& other : tag.fields)
            if (other.name == field.name) fail(place, quoted(field.name) + " given twice");
        // Few names are known, so this bounds the search above as well.
        const std::initializer_list<std::string_view> known = {"name", "tuple", "inherit", "time"};
        if (std::find(known.begin(), known.end(), field.name) == known.end())
            fail(place, "unknown name " + quoted(field.name));
        expect("=\"");
        const std::size_t end = text.find_first_of("\"<", at);
        if (end == std::string_view::npos || text[end] == '<') fail(at, "expected a closing quote");
        field.value = text.substr(at, end - at);
        at = end + 1;
        tag.fields.push_back(field);
    }

    static std::string quoted(std::string_view name) { return '"' + std::string(name) + '"'; }

    std::size_t placeOf(std::string_view part) const {
        return static_cast<std::size_t>(part.data() - text.data());
    }

    static std::optional<std::string_view> takeField(Tag& tag, std::string_view name) {
        for (Tag::Field& field : tag.fields) {
            if (field.name != name) continue;
            field.used = true;
            return field.value;
        }
        return std::nullopt;
    }

    /// Every field must have been asked for.
    void checkFields(const Tag& tag) const {
        for (const Tag::Field& field : tag.fields)
            if (!field.used)
                fail(placeOf(field.name),
                     quoted(field.name) + " does not belong to <" + std::string(tag.name) + '>');
    }

    /// Children of groups have names; the outermost element has none.
    std::string takeChildName(Tag& tag) {
        if (open.empty()) return {};
        const auto name = takeField(tag, "name");
        if (!name) fail(tag.place, "a child of a group needs a name");
        return unescape(*name);
    }

    std::int64_t takeTupleSize(Tag& tag) {
        const auto field = takeField(tag, "tuple");
        if (!field) return 1;
        std::int64_t size = 0;
        if (!ReadNumber(*field, size) || size < 1)
            fail(placeOf(*field), "a tuple size must be 1 or more");
        return size;
    }

    bool takeInherit(Tag& tag) {
        const auto field = takeField(tag, "inherit");
        if (!field || *field == "true") return true;
        if (*field != "false") fail(placeOf(*field), "inherit must be \"true\" or \"false\"");
        return false;
    }

    // ---- escapes ----

    std::string unescape(std::string_view raw) const {
        std::string bytes;
        while (!raw.empty()) {
            std::size_t length = 0;
            if (raw[0] == '&')
                length = unescapeEntity(raw, bytes);
            else if (raw[0] == '\\')
                length = unescapeBackslash(raw, bytes);
            else
                length = copyCharacter(raw, bytes);
            raw.remove_prefix(length);
        }
        return bytes;
    }

    std::size_t unescapeEntity(std::string_view raw, std::string& bytes) const {
        constexpr std::pair<std::string_view, char> kEntities[] = {
            {"&amp;", '&'}, {"&lt;", '<'}, {"&gt;", '>'}, {"&quot;", '"'}};
        for (const auto& [entity, character] : kEntities) {
            if (raw.substr(0, entity.size()) != entity) continue;
            bytes += character;
            return entity.size();
        }
        fail(placeOf(raw), "unknown entity");
    }

    std::size_t unescapeBackslash(std::string_view raw, std::string& bytes) const {
        constexpr std::pair<char, char> kEscapes[] = {
            {'\\', '\\'}, {'n', '\n'}, {'r', '\r'}, {'t', '\t'}};
        for (const auto& [letter, character] : kEscapes) {
            if (raw.size() < 2 || raw[1] != letter) continue;
            bytes += character;
            return 2;
        }
        unsigned byte = 0;
        const char* const end = raw.data() + std::min<std::size_t>(raw.size(), 4);
        const bool isHex = raw.size() >= 4 && raw[1] == 'x' &&
                           std::from_chars(raw.data() + 2, end, byte, 16).ptr == end;
        if (!isHex) fail(placeOf(raw), "unknown escape");
        bytes += static_cast<char>(byte);
        return 4;
    }

    std::size_t copyCharacter(std::string_view raw, std::string& bytes) const {
        const std::size_t length = Utf8CharacterBytes(raw);
        if (length == 0) fail(placeOf(raw), "bytes that are not UTF-8");
        if (length == 1 && static_cast<unsigned char>(raw[0]) < 0x20)
            fail(placeOf(raw), "a control character");
        bytes += raw.substr(0, length);
        return length;
    }

    // ---- groups ----

    void checkDepth(const Tag& tag) const {
        if (open.size() >= static_cast<std::size_t>(kMaxGroupDepth))
            fail(tag.place,
                 "groups are nested deeper than " + std::to_string(kMaxGroupDepth) + " levels");
    }

    void openGroup(Tag& tag, std::string name) {
        checkDepth(tag);
        const bool inherit = takeInherit(tag);
        checkFields(tag);
        open.push_back({std::move(name), tag.place, inherit, {}, {}});
    }

    Attribute closeGroup(std::string& name, std::size_t& namePlace) {
        if (open.empty()) fail(at, "expected an attribute");
        expect("</group>");
        Level level = std::move(open.back());
        open.pop_back();
        name = std::move(level.name);
        namePlace = level.place;
        GroupAttribute group(level.children, level.inherit);
        if (static_cast<std::size_t>(group.getNumberOfChildren()) != level.children.size())
            failForRepeatedName(level);
        return group;
    }

    [[noreturn]] void failForRepeatedName(const Level& level) const {
        std::vector<std::size_t> order(level.children.size());
        std::iota(order.begin(), order.end(), 0);
        const auto nameOf = [&](std::size_t i) {
            return std::string_view(level.children[i].first);
        };
        std::stable_sort(order.begin(), order.end(),
                         [&](std::size_t a, std::size_t b) { return nameOf(a) < nameOf(b); });
        const auto first =
            std::adjacent_find(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
                return nameOf(a) == nameOf(b);
            });
        const std::size_t repeated = *std::next(first);
        fail(level.places[repeated], "a second child named " + quoted(nameOf(repeated)));
    }

    // ---- values ----

    Attribute readElement(Tag& tag) {
        if (tag.name == "int") return readData<IntAttribute>(tag);
        if (tag.name == "float") return readData<FloatAttribute>(tag);
        if (tag.name == "double") return readData<DoubleAttribute>(tag);
        if (tag.name == "string") return readData<StringAttribute>(tag);
        if (tag.name == "group") {
            checkDepth(tag);
            const bool inherit = takeInherit(tag);
            checkFields(tag);
            return GroupAttribute(inherit);
        }
        if (tag.name != "null") fail(tag.place, "unknown tag <" + std::string(tag.name) + '>');
        if (!tag.isEmpty) fail(tag.place, "<null> must be empty");
        checkFields(tag);
        return NullAttribute();
    }

    /// Values of one attribute, sample after sample.
    template <typename T>
    struct Samples {
        std::vector<float> times;
        std::vector<T> values;
        std::size_t count = 0; // values a sample
    };

    template <typename AttributeT>
    Attribute readData(Tag& tag) {
        const std::int64_t tupleSize = takeTupleSize(tag);
        checkFields(tag);
        Samples<typename AttributeT::value_type> samples;
        readSamples(tag, samples);
        try {
            return make<AttributeT>(samples, tupleSize);
        } catch (const std::exception& error) {
            fail(tag.place, error.what());
        }
    }

    template <typename AttributeT, typename T>
    static Attribute make(const Samples<T>& samples, std::int64_t tupleSize) {
        if constexpr (std::is_same_v<T, std::string>) {
            std::map<float, std::vector<std::string>> byTime;
            for (std::size_t i = 0; i < samples.times.size(); ++i) {
                const auto first = samples.values.begin() + i * samples.count;
                byTime.emplace(samples.times[i],
                               std::vector<std::string>(first, first + samples.count));
            }
            return AttributeT(byTime, tupleSize);
        } else {
            return AttributeT(samples.times.data(), static_cast<std::int64_t>(samples.times.size()),
                              samples.values.data(), static_cast<std::int64_t>(samples.count),
                              tupleSize);
        }
    }

    template <typename T>
    void readSamples(const Tag& tag, Samples<T>& samples) {
        const std::string closing = "</" + std::string(tag.name) + '>';
        if (!tag.isEmpty) {
            skipSpace();
            if (startsWith("<sample")) {
                while (!startsWith("</"))
                    readSample(samples);
                expect(closing);
                return;
            }
            readValues(samples.values);
            expect(closing);
        }
        samples.times = {0.0f};
        samples.count = samples.values.size();
    }

    template <typename T>
    void readSample(Samples<T>& samples) {
        Tag tag = readTag();
        if (tag.name != "sample") fail(tag.place, "expected <sample>");
        const auto timeText = takeField(tag, "time");
        if (!timeText) fail(tag.place, "a sample needs a time");
        checkFields(tag);
        float time = 0.0f;
        if (!ReadExactNumber(*timeText, time))
            fail(placeOf(*timeText), quoted(*timeText) + " is not a time");
        if (!samples.times.empty() && !(samples.times.back() < time))
            fail(placeOf(*timeText), "times must ascend");

        const std::size_t before = samples.values.size();
        if (!tag.isEmpty) {
            readValues(samples.values);
            expect("</sample>");
        }
        const std::size_t count = samples.values.size() - before;
        if (samples.times.empty()) samples.count = count;
        if (count != samples.count)
            fail(tag.place, "a sample of " + std::to_string(count) + " values after one of " +
                                std::to_string(samples.count));
        samples.times.push_back(time);
        skipSpace();
    }

    template <typename T>
    void readValues(std::vector<T>& values) {
        for (;;) {
            skipSpace();
            const std::size_t start = at;
            while (at < text.size() && !IsSpace(text[at]) && text[at] != '<')
                ++at;
            if (at == start) return;
            const std::string_view token = text.substr(start, at - start);
            T value{};
            if (!ReadExactNumber(token, value)) fail(start, notANumber<T>(token));
            values.push_back(value);
        }
    }

    template <typename T>
    static std::string notANumber(std::string_view token) {
        constexpr std::size_t kShown = 40;
        const char* kind = std::is_integral_v<T> ? "an int"
                           : sizeof(T) == 4      ? "a float"
                                                 : "a double";
        const bool shorten = token.size() > kShown;
        return quoted(std::string(token.substr(0, kShown)) + (shorten ? "..." : "")) + " is not " +
               kind;
    }

    void readValues(std::vector<std::string>& values) {
        for (;;) {
            skipSpace();
            if (startsWith("</") || at == text.size()) return;
            expect("<v>");
            const std::size_t end = text.find('<', at);
            if (end == std::string_view::npos) fail(at, "expected \"</v>\"");
            values.push_back(unescape(text.substr(at, end - at)));
            at = end;
            expect("</v>");
        }
    }
};

} // namespace

std::string Attribute::getXML() const {
    return isValid() ? XmlWriter().write(*this) : "";
}

Attribute ParseAttributeXml(std::string_view text) {
    return XmlReader(text).read();
}

} // namespace OxAttribute
