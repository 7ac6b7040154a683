#include <OxTellarSDK/Attribute.h>

#include <algorithm>
#include <string_view>

#include "AttributeKinds.h"
#include "SampleValues.h"
#include "text/Characters.h"
#include "text/HexText.h"
#include "text/Indent.h"
#include "text/NumberText.h"
#include "text/Utf8.h"

namespace OxAttribute {

namespace {

using namespace TellarInternal;

/// Values up to this count stay on the line of their tag; more are wrapped.
constexpr std::size_t kInlineValues = 16;

/// True for C1 controls, U+FFFE and U+FFFF, which XML tools may change or refuse.
bool IsAwkward(std::string_view character) {
    if (character.size() == 2) return character[0] == '\xC2' && (character[1] & 0xE0) == 0x80;
    return character == "\xEF\xBF\xBE" || character == "\xEF\xBF\xBF";
}

void AppendHexEscape(std::string& out, char byte) {
    out += "\\x";
    AppendHexByte(out, byte);
}

/// The escape of an ASCII character that cannot stand for itself and has a name; null for others.
const char* NamedEscape(char c) {
    switch (c) {
    case '&':
        return "&amp;";
    case '<':
        return "&lt;";
    case '>':
        return "&gt;";
    case '"':
        return "&quot;";
    case '\\':
        return "\\\\";
    case '\n':
        return "\\n";
    case '\r':
        return "\\r";
    case '\t':
        return "\\t";
    default:
        return nullptr;
    }
}

void AppendAsciiEscaped(std::string& out, char c) {
    if (const char* escape = NamedEscape(c))
        out += escape;
    else if (IsControlCharacter(c))
        AppendHexEscape(out, c);
    else
        out += c;
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
                AppendHexEscape(out, c);
        bytes.remove_prefix(character.size());
    }
}

/// Writes one attribute. Open groups are kept on an explicit stack, because groups may be nested
/// deeper than the thread's stack allows.
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

    void startLine(std::size_t further = 0) { AppendIndent(out, open.size() + further, 2); }

    void writeElement(const std::string* name, const Attribute& attribute) {
        startLine();
        out += '<';
        out += TypeWord(attribute.getType());
        if (name) {
            out += " name=\"";
            AppendEscaped(out, *name);
            out += '"';
        }
        VisitAttribute(attribute, [this](const auto& typed) { writeRest(typed); });
    }

    void writeRest(const NullAttribute&) { out += "/>\n"; }

    void writeRest(const GroupAttribute& group) {
        if (!group.getGroupInherit()) out += " inherit=\"false\"";
        if (group.getNumberOfChildren() == 0) {
            out += "/>\n";
            return;
        }
        out += ">\n";
        open.push_back({group, 0});
    }

    /// `AttributeT` is a class of numbers or StringAttribute.
    template <typename AttributeT>
    void writeRest(const AttributeT& attribute) {
        const char* const tag = TypeWord(attribute.getType());
        if (attribute.getTupleSize() != 1) {
            out += " tuple=\"";
            AppendNumber(out, attribute.getTupleSize());
            out += '"';
        }
        if (IsTimeless(attribute))
            writeSample(attribute, 0, tag, 0);
        else
            writeSamples(attribute, tag);
    }

    template <typename AttributeT>
    void writeSamples(const AttributeT& attribute, const char* tag) {
        out += ">\n";
        for (std::int64_t i = 0; i < attribute.getNumberOfTimeSamples(); ++i) {
            startLine(1);
            out += "<sample time=\"";
            AppendExactNumber(out, attribute.getSampleTime(i));
            out += '"';
            writeSample(attribute, i, "sample", 1);
        }
        startLine();
        writeClosingTag(tag);
    }

    /// Writes the values of a sample and the end of its element, whose opening tag still lacks
    /// its ">". `level` is the further indentation of that element.
    template <typename AttributeT>
    void writeSample(const AttributeT& attribute, std::int64_t index, const char* tag,
                     std::size_t level) {
        const auto values = SampleValues(attribute, index);
        if (values.empty()) {
            out += "/>\n";
            return;
        }
        out += '>';
        writeValues(values, static_cast<std::size_t>(attribute.getTupleSize()), level);
        writeClosingTag(tag);
    }

    void writeClosingTag(const char* tag) {
        out += "</";
        out += tag;
        out += ">\n";
    }

    void breakLine(std::size_t level) {
        out += '\n';
        startLine(level);
    }

    template <typename T>
    void writeValues(const ConstSample<T>& values, std::size_t tupleSize, std::size_t level) {
        const bool wrap = values.size() > kInlineValues;
        std::size_t perLine = kInlineValues;
        if (tupleSize <= kInlineValues) perLine -= kInlineValues % tupleSize;
        for (std::size_t i = 0; i < values.size(); ++i) {
            if (wrap && i % perLine == 0)
                breakLine(level + 1);
            else if (i != 0)
                // A second space sets the tuples of a line apart.
                out += tupleSize > 1 && i % tupleSize == 0 ? "  " : " ";
            AppendExactNumber(out, values[i]);
        }
        if (wrap) breakLine(level);
    }

    void writeValues(const ConstStringSample& values, std::size_t, std::size_t level) {
        const bool wrap = values.size() > 1;
        for (const std::string_view value : values) {
            if (wrap) breakLine(level + 1);
            out += "<v>";
            AppendEscaped(out, value);
            out += "</v>";
        }
        if (wrap) breakLine(level);
    }

    std::string out;
    std::vector<Level> open;
};

} // namespace

std::string Attribute::getXML() const {
    return isValid() ? XmlWriter().write(*this) : "";
}

} // namespace OxAttribute
