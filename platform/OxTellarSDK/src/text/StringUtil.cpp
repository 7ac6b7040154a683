#include <OxTellarSDK/StringUtil.h>

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <optional>

#include "files/HomeFolder.h"
#include "text/Characters.h"

namespace OxStringUtil {

namespace {

constexpr std::string_view kWhitespace = " \t\n\r\v\f";

std::string_view WithoutLeading(std::string_view text, std::string_view chars) {
    return text.substr(std::min(text.find_first_not_of(chars), text.size()));
}

std::string_view WithoutTrailing(std::string_view text, std::string_view chars) {
    // npos + 1 is 0: nothing remains of a text that is all `chars`.
    return text.substr(0, text.find_last_not_of(chars) + 1);
}

// The number of splits or replacements; a negative count means all.
std::size_t LimitOf(int count) {
    return count < 0 ? std::numeric_limits<std::size_t>::max() : static_cast<std::size_t>(count);
}

std::vector<std::string> SplitAtWhitespace(std::string_view text, std::size_t limit) {
    std::vector<std::string> parts;
    text = WithoutLeading(text, kWhitespace);
    for (; !text.empty() && limit != 0; --limit) {
        const std::size_t end = std::min(text.find_first_of(kWhitespace), text.size());
        parts.emplace_back(text.substr(0, end));
        text = WithoutLeading(text.substr(end), kWhitespace);
    }
    // Text is left only if the limit was reached; its end is kept as it is.
    if (!text.empty()) parts.emplace_back(text);
    return parts;
}

std::vector<std::string> SplitAtSeparator(std::string_view text, std::string_view separator,
                                          std::size_t limit) {
    std::vector<std::string> parts;
    for (; limit != 0; --limit) {
        const std::size_t end = text.find(separator);
        if (end == std::string_view::npos) break;
        parts.emplace_back(text.substr(0, end));
        text.remove_prefix(end + separator.size());
    }
    parts.emplace_back(text);
    return parts;
}

// Puts `to` before every byte and at the end, at most `limit` times.
std::string ReplaceNothing(std::string_view text, std::string_view to, std::size_t limit) {
    std::string result;
    for (; !text.empty() && limit != 0; --limit) {
        result += to;
        result += text.front();
        text.remove_prefix(1);
    }
    result += text;
    if (limit != 0) result += to;
    return result;
}

std::size_t AbsoluteIndex(std::string_view text, std::ptrdiff_t index) {
    const auto size = static_cast<std::ptrdiff_t>(text.size());
    if (index < 0) index += size;
    return static_cast<std::size_t>(std::clamp<std::ptrdiff_t>(index, 0, size));
}

// The reference at the start of a text that begins with '$': all of it, and the name in it. The
// name is empty if the '$' is only a character; no variable has an empty name.
struct VariableReference {
    std::string_view whole;
    std::string_view name;
};

VariableReference ParseReference(std::string_view text) {
    if (startswith(text, "${")) {
        const std::size_t close = text.find('}');
        if (close == std::string_view::npos) return {text.substr(0, 1), {}};
        return {text.substr(0, close + 1), text.substr(2, close - 2)};
    }
    const auto end =
        std::find_if_not(text.begin() + 1, text.end(), TellarInternal::IsNameCharacter);
    const auto length = static_cast<std::size_t>(end - text.begin());
    return {text.substr(0, length), text.substr(1, length - 1)};
}

std::optional<std::string> HomeFolder(const std::string& userName) {
    const char* home = userName.empty() ? std::getenv("HOME") : nullptr;
    return home ? std::string(home) : TellarInternal::HomeFolderOf(userName);
}

} // namespace

std::vector<std::string> split(std::string_view text, std::string_view separator, int maxSplits) {
    return separator.empty() ? SplitAtWhitespace(text, LimitOf(maxSplits))
                             : SplitAtSeparator(text, separator, LimitOf(maxSplits));
}

std::string strip(std::string_view text, std::string_view chars) {
    return std::string(WithoutTrailing(WithoutLeading(text, chars), chars));
}

std::string lstrip(std::string_view text, std::string_view chars) {
    return std::string(WithoutLeading(text, chars));
}

std::string rstrip(std::string_view text, std::string_view chars) {
    return std::string(WithoutTrailing(text, chars));
}

std::ptrdiff_t rfind(std::string_view text, std::string_view what) {
    const std::size_t found = text.rfind(what);
    return found == std::string_view::npos ? -1 : static_cast<std::ptrdiff_t>(found);
}

std::string slice(std::string_view text, std::ptrdiff_t begin, std::ptrdiff_t end) {
    const std::size_t first = AbsoluteIndex(text, begin);
    const std::size_t last = AbsoluteIndex(text, end);
    return first < last ? std::string(text.substr(first, last - first)) : std::string();
}

std::string replace(std::string_view text, std::string_view from, std::string_view to, int count) {
    if (from.empty()) return ReplaceNothing(text, to, LimitOf(count));
    std::string result;
    for (std::size_t limit = LimitOf(count); limit != 0; --limit) {
        const std::size_t found = text.find(from);
        if (found == std::string_view::npos) break;
        result += text.substr(0, found);
        result += to;
        text.remove_prefix(found + from.size());
    }
    return result += text;
}

bool startswith(std::string_view text, std::string_view prefix) {
    return text.substr(0, prefix.size()) == prefix;
}

bool endswith(std::string_view text, std::string_view suffix) {
    return text.size() >= suffix.size() && text.substr(text.size() - suffix.size()) == suffix;
}

std::string expandvars(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        const std::size_t dollar = std::min(text.find('$'), text.size());
        result += text.substr(0, dollar);
        text.remove_prefix(dollar);
        if (text.empty()) break;

        const VariableReference reference = ParseReference(text);
        const char* value = std::getenv(std::string(reference.name).c_str());
        result += value ? std::string_view(value) : reference.whole;
        text.remove_prefix(reference.whole.size());
    }
    return result;
}

std::string expanduser(std::string_view path) {
    if (!startswith(path, "~")) return std::string(path);
    const std::size_t nameEnd = std::min(path.find('/'), path.size());
    const auto home = HomeFolder(std::string(path.substr(1, nameEnd - 1)));
    if (!home) return std::string(path);
    // "~/x" must not become "//x" for a home folder "/", nor "~" become nothing.
    const std::string expanded = rstrip(*home, "/").append(path.substr(nameEnd));
    return expanded.empty() ? "/" : expanded;
}

} // namespace OxStringUtil
