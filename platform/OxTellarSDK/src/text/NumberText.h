#ifndef OXTELLARSDK_NUMBERTEXT_H
#define OXTELLARSDK_NUMBERTEXT_H

#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <type_traits>

namespace OxAttribute {

/// Numbers as text, exactly: the shortest decimal text that reads back as the same number,
/// "inf" and "-inf", and "nan:" with all bits of a NaN in lower-case hexadecimal.
/// Independent of the locale.

template <typename T>
using BitsOf = std::conditional_t<sizeof(T) == 4, std::uint32_t, std::uint64_t>;

constexpr std::string_view kNanPrefix = "nan:";

template <typename T>
void AppendNumber(std::string& out, T value) {
    char text[32];
    char* end = text;
    if constexpr (std::is_floating_point_v<T>) {
        if (std::isnan(value)) {
            BitsOf<T> bits;
            std::memcpy(&bits, &value, sizeof(bits));
            out += kNanPrefix;
            // A NaN's first hexadecimal digit is 7 or f: there are no leading zeros to keep.
            end = std::to_chars(text, text + sizeof(text), bits, 16).ptr;
            out.append(text, end);
            return;
        }
    }
    end = std::to_chars(text, text + sizeof(text), value).ptr;
    out.append(text, end);
}

/// True when the whole text is one number of type T in a form that AppendNumber could have
/// written, or another decimal form of it; `value` is then assigned.
template <typename T>
bool ReadNumber(std::string_view text, T& value) {
    const char* first = text.data();
    const char* last = first + text.size();
    if constexpr (std::is_floating_point_v<T>) {
        if (text.substr(0, kNanPrefix.size()) == kNanPrefix) {
            BitsOf<T> bits = 0;
            first += kNanPrefix.size();
            if (last - first != 2 * sizeof(T)) return false;
            const auto [end, error] = std::from_chars(first, last, bits, 16);
            if (error != std::errc() || end != last) return false;
            std::memcpy(&value, &bits, sizeof(value));
            return std::isnan(value);
        }
        if (text != "inf" && text != "-inf") {
            // from_chars alone would take "infinity", "nan" and "nan(...)" too.
            const std::size_t digit = text.substr(0, 1) == "-" ? 1 : 0;
            if (digit >= text.size()) return false;
            if (text[digit] != '.' && (text[digit] < '0' || text[digit] > '9')) return false;
        }
    }
    const auto [end, error] = std::from_chars(first, last, value);
    return error == std::errc() && end == last;
}

} // namespace OxAttribute

#endif
