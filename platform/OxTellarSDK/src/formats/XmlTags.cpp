#include "XmlTags.h"

#include <algorithm>
#include <initializer_list>
#include <stdexcept>
#include <utility>

#include "text/HexText.h"
#include "text/MessageText.h"
#include "text/TextPlace.h"
#include "text/Utf8.h"

namespace OxAttribute {

namespace {

using namespace TellarInternal;

bool IsSpace(char c) {
    return c == ' ' || c == '\n' || c == '\r' || c == '\t';
}

bool IsTagNameCharacter(char c) {
    return c >= 'a' && c <= 'z';
}

} // namespace

std::optional<std::string_view> XmlTag::take(std::string_view fieldName) {
    for (Field& field : fields) {
        if (field.name != fieldName) continue;
        field.used = true;
        return field.value;
    }
    return std::nullopt;
}

void XmlTags::fail(std::size_t place, const std::string& what) const {
    throw std::runtime_error(TextPlace("XML", text, place) + what);
}

void XmlTags::skipSpace() {
    while (at < text.size() && IsSpace(text[at]))
        ++at;
}

void XmlTags::expect(std::string_view token) {
    if (!startsWith(token)) failHere("expected " + Quoted(token));
    at += token.size();
}

std::string_view XmlTags::readWord() {
    const std::size_t start = at;
    while (at < text.size() && !IsSpace(text[at]) && text[at] != '<')
        ++at;
    return text.substr(start, at - start);
}

std::string_view XmlTags::readText(const char* complaint) {
    const std::size_t end = text.find('<', at);
    if (end == std::string_view::npos) failHere(complaint);
    const std::string_view read = text.substr(at, end - at);
    at = end;
    return read;
}

std::string_view XmlTags::readName() {
    const std::size_t start = at;
    while (IsTagNameCharacter(peek()))
        ++at;
    return text.substr(start, at - start);
}

XmlTag XmlTags::readTag() {
    XmlTag tag;
    tag.place = at;
    expect("<");
    tag.name = readName();
    if (tag.name.empty()) failHere("expected the name of a tag");
    for (;;) {
        const bool spaced = IsSpace(peek());
        skipSpace();
        if (startsWith(">") || startsWith("/>")) break;
        if (!spaced) failHere("expected \">\"");
        readField(tag);
    }
    tag.isEmpty = peek() == '/';
    at += tag.isEmpty ? 2 : 1;
    return tag;
}

void XmlTags::readField(XmlTag& tag) {
    const std::size_t place = at;
    XmlTag::Field field;
    field.name = readName();
    if (field.name.empty()) fail(place, "expected \">\"");
    for (const XmlTag::Field& other : tag.fields)
        if (other.name == field.name) fail(place, Quoted(field.name) + " given twice");
    // Few names are known, which bounds the search above as well.
    const std::initializer_list<std::string_view> known = {"name", "tuple", "inherit", "time"};
    if (std::find(known.begin(), known.end(), field.name) == known.end())
        fail(place, "unknown name " + Quoted(field.name));
    expect("=\"");
    const std::size_t end = text.find_first_of("\"<", at);
    if (end == std::string_view::npos || text[end] == '<') failHere("expected a closing quote");
    field.value = text.substr(at, end - at);
    at = end + 1;
    tag.fields.push_back(field);
}

void XmlTags::checkFields(const XmlTag& tag) const {
    for (const XmlTag::Field& field : tag.fields)
        if (!field.used)
            fail(placeOf(field.name),
                 Quoted(field.name) + " does not belong to <" + std::string(tag.name) + '>');
}

std::string XmlTags::unescape(std::string_view raw) const {
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

std::size_t XmlTags::unescapeEntity(std::string_view raw, std::string& bytes) const {
    constexpr std::pair<std::string_view, char> kEntities[] = {
        {"&amp;", '&'}, {"&lt;", '<'}, {"&gt;", '>'}, {"&quot;", '"'}};
    for (const auto& [entity, character] : kEntities) {
        if (raw.substr(0, entity.size()) != entity) continue;
        bytes += character;
        return entity.size();
    }
    fail(placeOf(raw), "unknown entity");
}

std::size_t XmlTags::unescapeBackslash(std::string_view raw, std::string& bytes) const {
    constexpr std::pair<char, char> kEscapes[] = {
        {'\\', '\\'}, {'n', '\n'}, {'r', '\r'}, {'t', '\t'}};
    for (const auto& [letter, character] : kEscapes) {
        if (raw.size() < 2 || raw[1] != letter) continue;
        bytes += character;
        return 2;
    }
    const bool isHex = raw.size() >= 2 && raw[1] == 'x';
    const std::optional<char> byte = isHex ? ReadHexByte(raw.substr(2)) : std::nullopt;
    if (!byte) fail(placeOf(raw), "unknown escape");
    bytes += *byte;
    return 4;
}

std::size_t XmlTags::copyCharacter(std::string_view raw, std::string& bytes) const {
    const std::size_t length = Utf8CharacterBytes(raw);
    if (length == 0) fail(placeOf(raw), "bytes that are not UTF-8");
    if (length == 1 && static_cast<unsigned char>(raw[0]) < 0x20)
        fail(placeOf(raw), "a control character");
    bytes += raw.substr(0, length);
    return length;
}

} // namespace OxAttribute
