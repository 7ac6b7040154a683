#ifndef TELLARINTERNAL_NUMBERTEXT_H
#define TELLARINTERNAL_NUMBERTEXT_H

#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <string_view>
#include <system_error>
#include <type_traits>

/// Numbers as text and back, whatever the locale.

namespace TellarInternal {

/// The shortest decimal text that reads back as the same number; "inf", "-inf" and "nan" for
/// the values that are not finite.
template <typename T>
void AppendNumber(std::string& out, T value) {
    char text[32];
    out.append(text, std::to_chars(text, text + sizeof(text), value).ptr);
}

/// Assigns `value` and returns true if the whole text is one finite number that T can hold.
template <typename T>
bool ReadNumber(std::string_view text, T& value) {
    const char* const last = text.data() + text.size();
    const auto [end, error] = std::from_chars(text.data(), last, value);
    if (error != std::errc() || end != last) return false;
    if constexpr (std::is_floating_point_v<T>) return std::isfinite(value);
    return true;
}

/// A frame number with zeros between its sign and its digits, at least `width` characters long
/// with its sign.
inline std::string PaddedFrame(int frame, std::size_t width) {
    std::string text = std::to_string(frame);
    if (text.size() < width) text.insert(frame < 0 ? 1 : 0, width - text.size(), '0');
    return text;
}

// The exact form keeps every value of a type: it has "nan:" with all bits of a NaN in lower-case
// hexadecimal.

template <typename T>
using BitsOf = std::conditional_t<sizeof(T) == 4, std::uint32_t, std::uint64_t>;

constexpr std::string_view kNanPrefix = "nan:";

template <typename T>
void AppendExactNumber(std::string& out, T value) {
    if constexpr (std::is_floating_point_v<T>) {
        if (std::isnan(value)) {
            BitsOf<T> bits;
            std::memcpy(&bits, &value, sizeof(bits));
            out += kNanPrefix;
            // A NaN's first hexadecimal digit is 7 or f, so there are no leading zeros to keep.
            char text[16];
            out.append(text, std::to_chars(text, text + sizeof(text), bits, 16).ptr);
            return;
        }
    }
    AppendNumber(out, value);
}

/// Assigns `value` and returns true if the whole text is one number that AppendExactNumber could
/// have written, or another decimal form of such a number.
template <typename T>
bool ReadExactNumber(std::string_view text, T& value) {
    if constexpr (std::is_floating_point_v<T>) {
        if (text == "inf" || text == "-inf") {
            const T infinity = std::numeric_limits<T>::infinity();
            value = text.front() == '-' ? -infinity : infinity;
            return true;
        }
        if (text.substr(0, kNanPrefix.size()) == kNanPrefix) {
            text.remove_prefix(kNanPrefix.size());
            BitsOf<T> bits = 0;
            if (text.size() != 2 * sizeof(T)) return false;
            const char* const last = text.data() + text.size();
            const auto [end, error] = std::from_chars(text.data(), last, bits, 16);
            if (error != std::errc() || end != last) return false;
            std::memcpy(&value, &bits, sizeof(value));
            return std::isnan(value);
        }
    }
    return ReadNumber(text, value);
}

} // namespace TellarInternal

#endif
