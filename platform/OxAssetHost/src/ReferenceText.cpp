#include "ReferenceText.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

#include <OxTellarSDK/StringUtil.h>

#include "text/Characters.h"
#include "text/MessageText.h"
#include "text/NumberText.h"
#include "text/Utf8.h"

namespace {

using namespace TellarInternal;

#if defined(_WIN32)
constexpr std::string_view kSeparators = "/\\";
#else
constexpr std::string_view kSeparators = "/";
#endif

// No system opens longer paths. The limit also bounds how much variables can add to a reference.
constexpr std::size_t kLongestText = 64 * 1024;
constexpr std::size_t kWidestFrame = 99;
constexpr std::size_t kLongestQuotation = 200;

// The number of characters at the beginning of the text that satisfy the condition.
template <typename Condition>
std::size_t RunLength(std::string_view text, Condition condition) {
    return static_cast<std::size_t>(std::find_if_not(text.begin(), text.end(), condition) -
                                    text.begin());
}

std::string TooLong() {
    return "it is longer than " + std::to_string(kLongestText) + " bytes";
}

// Reads a reference once from front to back. Replacements are appended to the result and not read
// again.
class Expander {
public:
    Expander(std::string_view text, std::optional<int> frame)
        : rest(text), frame(frame), isPath(HasPathSeparator(text)) {}

    /// False when something cannot be replaced.
    bool run() {
        for (bool isGood = replaceHome(); isGood; isGood = replaceNext()) {
            if (result.text.size() > kLongestText) {
                return fail(TooLong() + " with its variables replaced");
            }
            if (rest.empty()) return true;
        }
        return false;
    }

    ExpandedReference result;
    std::string why;

private:
    bool fail(std::string reason) {
        why = std::move(reason);
        return false;
    }

    void take(std::size_t length) {
        result.text += rest.substr(0, length);
        rest.remove_prefix(length);
    }

    void replace(std::size_t length, std::string_view value) {
        result.text += value;
        rest.remove_prefix(length);
    }

    bool replaceHome() {
        if (rest.empty() || rest.front() != '~') return true;
        const std::size_t end = std::min(rest.find_first_of(kSeparators), rest.size());
        const bool isAll = end == rest.size();
        // The separator that follows is replaced too: a home folder "/" must not give "//x" for
        // "~/x".
        const std::string head = std::string(rest.substr(0, end)) + (isAll ? "" : "/");
        const std::string home = OxStringUtil::expanduser(head);
        if (home == head) {
            return fail(end == 1 ? "the home folder is not known"
                                 : "there is no user " + QuotedForMessage(rest.substr(1, end - 1)));
        }
        replace(isAll ? end : end + 1, home);
        return true;
    }

    bool replaceNext() {
        switch (rest.front()) {
        case '$':
            return replaceVariable();
        case '#':
            return replaceHashes();
        case '%':
            return replacePercent();
        default:
            break;
        }
        take(std::min(rest.find_first_of("$#%"), rest.size()));
        return true;
    }

    bool replaceVariable() {
        const bool isBraced = rest.substr(0, 2) == "${";
        const std::size_t start = isBraced ? 2 : 1;
        const std::size_t end =
            isBraced ? rest.find('}') : 1 + RunLength(rest.substr(1), IsNameCharacter);
        if (end == std::string_view::npos || end == start) {
            take(1);
            return true;
        }
        const std::string name(rest.substr(start, end - start));
        const char* value = std::getenv(name.c_str());
        if (!value) {
            return fail("the environment variable " + QuotedForMessage(name) + " is not set");
        }
        replace(isBraced ? end + 1 : end, value);
        return true;
    }

    bool replaceHashes() {
        const std::size_t length = RunLength(rest, [](char c) { return c == '#'; });
        // Plain words may contain the character: "C#", "#ff8800".
        const bool isToken = isPath || rest.substr(length, 1) == ".";
        if (isToken) return replaceFrame(length, length);
        take(length);
        return true;
    }

    bool replacePercent() {
        if (rest.substr(1, 1) == "d") return replaceFrame(2, 1);
        const std::size_t digits = RunLength(rest.substr(1), IsDigit);
        const std::string_view number = rest.substr(1, digits);
        const bool isToken = digits >= 2 && number[0] == '0' && number[1] != '0' &&
                             rest.substr(1 + digits, 1) == "d";
        if (!isToken) {
            take(1);
            return true;
        }
        const std::string width(number.substr(1));
        // The first few digits of many are enough, and they fit into a number.
        return replaceFrame(digits + 2, std::stoul(width.substr(0, 4)));
    }

    bool replaceFrame(std::size_t length, std::size_t width) {
        if (!frame) {
            take(length);
            return true;
        }
        if (width > kWidestFrame) {
            return fail("its frame token " + QuotedForMessage(rest.substr(0, length)) +
                        " is too wide, " + std::to_string(kWidestFrame) + " digits are the most");
        }
        result.hasFrameToken = true;
        replace(length, PaddedFrame(*frame, width));
        return true;
    }

    std::string_view rest;
    std::optional<int> frame;
    bool isPath;
};

} // namespace

std::optional<ExpandedReference> ExpandReference(std::string_view text, std::optional<int> frame,
                                                 std::string& why) {
    if (text.size() > kLongestText) {
        why = TooLong();
        return std::nullopt;
    }
    if (text.find('\0') != std::string_view::npos) {
        why = "it contains a NUL byte";
        return std::nullopt;
    }
    Expander expander(text, frame);
    if (expander.run()) return std::move(expander.result);
    why = std::move(expander.why);
    return std::nullopt;
}

bool HasPathSeparator(std::string_view text) {
    return text.find_first_of(kSeparators) != std::string_view::npos;
}

std::string QuotedForMessage(std::string_view text) {
    const std::string_view shown = Utf8Beginning(text, kLongestQuotation);
    std::string quoted = "'";
    AppendOnOneLine(quoted, shown);
    return quoted += shown.size() < text.size() ? "...'" : "'";
}
