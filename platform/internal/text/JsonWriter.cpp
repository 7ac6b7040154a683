#include "text/JsonWriter.h"

#include "text/Characters.h"
#include "text/HexText.h"
#include "text/Indent.h"

namespace TellarInternal {

namespace {

/// A list is broken in front of an item that would reach beyond this column.
constexpr std::size_t kLineWidth = 96;

/// The letter of the escape for a character, such as 'n' for a line break; 0 if it has none.
char EscapeLetter(char c) {
    switch (c) {
    case '"':
    case '\\':
        return c;
    case '\b':
        return 'b';
    case '\f':
        return 'f';
    case '\n':
        return 'n';
    case '\r':
        return 'r';
    case '\t':
        return 't';
    default:
        return 0;
    }
}

} // namespace

void AppendJsonString(std::string& out, std::string_view bytes) {
    out += '"';
    for (const char c : bytes) {
        if (const char letter = EscapeLetter(c)) {
            out += '\\';
            out += letter;
        } else if (IsControlCharacter(c)) {
            out += "\\u00";
            AppendHexByte(out, c);
        } else {
            out += c;
        }
    }
    out += '"';
}

void JsonWriter::hexString(std::string_view bytes) {
    out += '"';
    for (const char c : bytes)
        AppendHexByte(out, c);
    out += '"';
}

void JsonWriter::open(char bracket) {
    out += bracket;
    ++depth;
    isFirst = true;
}

void JsonWriter::nextItem() {
    if (!isFirst) out += indent < 0 ? comma() : ",";
    isFirst = false;
    newLine();
}

void JsonWriter::nextMember(std::string_view key) {
    nextItem();
    string(key);
    out += indent == kDense ? ":" : ": ";
}

void JsonWriter::close(char bracket) {
    --depth;
    if (!isFirst) newLine();
    isFirst = false;
    out += bracket;
}

void JsonWriter::newLine() {
    if (indent < 0) return;
    out += '\n';
    lineStart = out.size();
    AppendIndent(out, depth, static_cast<std::size_t>(indent));
}

void JsonWriter::wrapBefore(std::size_t start) {
    if (indent < 0 || out.size() - lineStart < kLineWidth) return;
    const std::string item = out.substr(start);
    out.resize(start - 1); // drops the space behind the comma
    ++depth;
    newLine();
    --depth;
    out += item;
}

} // namespace TellarInternal
