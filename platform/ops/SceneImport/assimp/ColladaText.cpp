#include "ColladaText.h"

#include <algorithm>
#include <string_view>
#include <utility>

#include "FileText.h"

namespace TellarSceneImport {

namespace {

constexpr std::string_view kBlanks = " \t\r\n";

std::string_view Trimmed(std::string_view text) {
    const std::size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

/// Takes the text up to the end of the first `end` from the front of `text`; all of it when there
/// is no such end.
std::string_view TakeThrough(std::string_view& text, std::string_view end) {
    const std::size_t at = text.find(end);
    const std::size_t length = at == std::string_view::npos ? text.size() : at + end.size();
    const std::string_view taken = text.substr(0, length);
    text.remove_prefix(length);
    return taken;
}

bool StartsWith(std::string_view text, std::string_view start) {
    return text.substr(0, start.size()) == start;
}

/// Takes a tag from the front of `text` and appends it with trimmed values.
void CopyTag(std::string_view& text, std::string& plain) {
    while (!text.empty()) {
        const char c = text.front();
        text.remove_prefix(1);
        plain += c;
        if (c == '>') return;
        if (c != '"' && c != '\'') continue;
        const std::size_t length = std::min(text.find(c), text.size());
        plain += Trimmed(text.substr(0, length));
        text.remove_prefix(length);
        if (text.empty()) return;
        text.remove_prefix(1);
        plain += c;
    }
}

/// Takes everything from "<" up to the text that follows.
void CopyMarkup(std::string_view& text, std::string& plain) {
    if (StartsWith(text, "<!--"))
        plain += TakeThrough(text, "-->");
    else if (StartsWith(text, "<![CDATA["))
        plain += TakeThrough(text, "]]>");
    else if (StartsWith(text, "<?"))
        plain += TakeThrough(text, "?>");
    else
        CopyTag(text, plain);
}

} // namespace

std::string PlainCollada(std::string content) {
    content = ToUtf8(std::move(content));
    std::string plain;
    plain.reserve(content.size());
    for (std::string_view text = content; !text.empty();) {
        const std::size_t length = std::min(text.find('<'), text.size());
        const std::string_view words = text.substr(0, length);
        const std::string_view trimmed = Trimmed(words);
        // The lines between tags are kept, so that messages have the right numbers.
        plain += trimmed.empty() ? words : trimmed;
        text.remove_prefix(length);
        if (!text.empty()) CopyMarkup(text, plain);
    }
    return plain;
}

} // namespace TellarSceneImport
