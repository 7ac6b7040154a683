#include "ResolutionRules.h"

#include <cmath>
#include <cstdint>
#include <limits>
#include <locale>
#include <sstream>
#include <stdexcept>

#include "text/Utf8.h"

namespace {

constexpr int kMaximumSize = 1048576;
constexpr const char* kSizeRule = "a whole number from 1 to 1048576";
constexpr const char* kPixelAspectRule = "a finite number above 0";

constexpr std::size_t kMaximumQuotedSize = 64; // bytes

// The size in bytes of the control character that the text begins with; 0 when it begins with none.
std::size_t ControlCharacterSize(std::string_view text) {
    const auto first = static_cast<unsigned char>(text[0]);
    if (first < 0x20 || first == 0x7F) return 1;
    if (first != 0xC2 || text.size() < 2) return 0;
    const auto second = static_cast<unsigned char>(text[1]);
    return second >= 0x80 && second <= 0x9F ? 2 : 0;
}

void AppendEscaped(std::string& out, std::string_view bytes) {
    constexpr const char* kDigits = "0123456789ABCDEF";
    for (const char byte : bytes) {
        const auto value = static_cast<unsigned char>(byte);
        out += {'\\', 'x', kDigits[value >> 4], kDigits[value & 15]};
    }
}

bool HasControlCharacter(std::string_view text) {
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (ControlCharacterSize(text.substr(at)) != 0) return true;
    }
    return false;
}

std::string NumberText(double number) {
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text.exceptions(std::ios::badbit); // throws when memory runs out
    text << number;
    return text.str();
}

[[noreturn]] void RefuseValue(std::string_view name, std::string_view what, std::string_view value,
                              std::string_view rule) {
    std::string text = QuotedForMessage(name) + ": ";
    text.append(what).append(" is ").append(value).append("; it must be ").append(rule);
    throw std::runtime_error(text);
}

} // namespace

void CheckFormatName(std::string_view name) {
    if (name.empty()) throw std::runtime_error("a name is empty");
    if (!HasControlCharacter(name)) return;
    throw std::runtime_error("the name " + QuotedForMessage(name) + " holds a control character");
}

void CheckFormatSize(std::string_view name, std::string_view what, int size) {
    if (size >= 1 && size <= kMaximumSize) return;
    RefuseValue(name, what, std::to_string(size), kSizeRule);
}

void CheckPixelAspect(std::string_view name, double pixelAspect) {
    if (std::isfinite(pixelAspect) && pixelAspect > 0) return;
    RefuseValue(name, "pixelAspect", NumberText(pixelAspect), kPixelAspectRule);
}

void CheckPixelCount(std::string_view name, int width, int height) {
    const std::int64_t count = std::int64_t{width} * height;
    if (count <= std::numeric_limits<int>::max()) return;
    RefuseValue(name, "width times height", std::to_string(count), "at most 2147483647");
}

void RefuseFormatMember(std::string_view name, std::string_view member, std::string_view value) {
    RefuseValue(name, member, value, member == "pixelAspect" ? kPixelAspectRule : kSizeRule);
}

std::string QuotedForMessage(std::string_view text) {
    std::string quoted = "\"";
    const std::string_view shown = TellarInternal::Utf8Beginning(text, kMaximumQuotedSize);
    for (std::size_t at = 0; at < shown.size();) {
        const std::size_t controlSize = ControlCharacterSize(shown.substr(at));
        AppendEscaped(quoted, shown.substr(at, controlSize));
        if (controlSize == 0) quoted += shown[at];
        at += controlSize == 0 ? 1 : controlSize;
    }
    if (shown.size() < text.size()) quoted += "...";
    return quoted + '"';
}
