#include "Uri.h"

#include <array>
#include <cstdint>

namespace TellarSceneImport {

namespace {

constexpr std::string_view kScheme = "data:";

// -1 for a character that is not a hexadecimal digit.
int HexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

// The value of each character in base64; -1 for all others.
const std::array<int, 256>& Base64Values() {
    static const std::array<int, 256> values = [] {
        std::array<int, 256> table;
        table.fill(-1);
        constexpr std::string_view kDigits =
            "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
        for (std::size_t i = 0; i < kDigits.size(); ++i)
            table[static_cast<unsigned char>(kDigits[i])] = static_cast<int>(i);
        return table;
    }();
    return values;
}

std::optional<std::string> DecodeBase64(std::string_view text) {
    while (!text.empty() && text.back() == '=')
        text.remove_suffix(1);
    if (text.size() % 4 == 1) return std::nullopt;
    std::string bytes;
    bytes.reserve(text.size() / 4 * 3 + 2);
    std::uint32_t bits = 0;
    int count = 0;
    for (const char c : text) {
        const int value = Base64Values()[static_cast<unsigned char>(c)];
        if (value < 0) return std::nullopt;
        bits = bits << 6 | static_cast<std::uint32_t>(value);
        count += 6;
        if (count < 8) continue;
        count -= 8;
        bytes.push_back(static_cast<char>(bits >> count & 0xff));
    }
    return bytes;
}

} // namespace

bool IsDataUri(std::string_view uri) {
    return uri.substr(0, kScheme.size()) == kScheme;
}

std::optional<DataUri> DecodeDataUri(std::string_view uri) {
    const std::size_t comma = uri.find(',');
    if (!IsDataUri(uri) || comma == std::string_view::npos) return std::nullopt;
    const std::string_view header = uri.substr(kScheme.size(), comma - kScheme.size());
    const std::string_view data = uri.substr(comma + 1);
    DataUri result;
    result.mimeType = std::string(header.substr(0, header.find(';')));
    constexpr std::string_view kBase64 = ";base64";
    const bool isBase64 =
        header.size() >= kBase64.size() && header.substr(header.size() - kBase64.size()) == kBase64;
    if (!isBase64) {
        result.bytes = PercentDecoded(data);
        return result;
    }
    auto bytes = data.find('%') == std::string_view::npos ? DecodeBase64(data)
                                                          : DecodeBase64(PercentDecoded(data));
    if (!bytes) return std::nullopt;
    result.bytes = *std::move(bytes);
    return result;
}

std::string PercentDecoded(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool isEncoded = text[i] == '%' && i + 2 < text.size() &&
                               HexDigit(text[i + 1]) >= 0 && HexDigit(text[i + 2]) >= 0;
        result.push_back(isEncoded
                             ? static_cast<char>(HexDigit(text[i + 1]) * 16 + HexDigit(text[i + 2]))
                             : text[i]);
        if (isEncoded) i += 2;
    }
    return result;
}

} // namespace TellarSceneImport
