#include "XmlTags.h"

namespace TellarSceneImport {

namespace {

constexpr std::string_view kSpace = " \t\r\n";

} // namespace

std::string_view TrimmedXml(std::string_view text) {
    const std::size_t first = text.find_first_not_of(kSpace);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(kSpace) - first + 1);
}

std::string_view XmlTag::attribute(std::string_view name) const {
    std::string_view rest = attributes;
    for (;;) {
        const std::size_t equals = rest.find('=');
        if (equals == std::string_view::npos) return {};
        const std::string_view found = TrimmedXml(rest.substr(0, equals));
        rest = TrimmedXml(rest.substr(equals + 1));
        if (rest.empty() || (rest[0] != '"' && rest[0] != '\'')) return {};
        const std::size_t end = rest.find(rest[0], 1);
        if (end == std::string_view::npos) return {};
        if (found == name) return rest.substr(1, end - 1);
        rest.remove_prefix(end + 1);
    }
}

bool XmlTagReader::next(XmlTag& tag) {
    while (skipTo("<")) {
        if (!rest.empty() && (rest[0] == '!' || rest[0] == '?')) {
            skipMarkup();
            continue;
        }
        return readTag(tag);
    }
    return false;
}

bool XmlTagReader::isMarkupNext() const {
    const std::size_t afterBracket = text().size() + 1;
    return afterBracket < rest.size() && rest[afterBracket] == '!';
}

bool XmlTagReader::skipTo(std::string_view text) {
    const std::size_t found = rest.find(text);
    rest.remove_prefix(found == std::string_view::npos ? rest.size() : found + text.size());
    return found != std::string_view::npos;
}

void XmlTagReader::skipMarkup() {
    if (rest.substr(0, 3) == "!--")
        skipTo("-->");
    else if (rest.substr(0, 8) == "![CDATA[")
        skipTo("]]>");
    else
        skipTo(">");
}

bool XmlTagReader::readTag(XmlTag& tag) {
    char quote = 0;
    std::size_t end = 0;
    for (; end < rest.size() && (quote || rest[end] != '>'); ++end) {
        const char c = rest[end];
        if (quote)
            quote = c == quote ? 0 : quote;
        else if (c == '"' || c == '\'')
            quote = c;
    }
    if (end == rest.size()) return false;
    std::string_view inside = rest.substr(0, end);
    rest.remove_prefix(end + 1);
    tag.isEmpty = !inside.empty() && inside.back() == '/';
    if (tag.isEmpty) inside.remove_suffix(1);
    tag.name = inside.substr(0, inside.find_first_of(kSpace));
    tag.attributes = inside.substr(tag.name.size());
    return true;
}

} // namespace TellarSceneImport
