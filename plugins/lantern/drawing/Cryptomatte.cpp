#include "drawing/Cryptomatte.h"

#include <array>
#include <cstdio>
#include <cstring>

namespace lantern {
namespace {

std::uint32_t Rotated(std::uint32_t value, int bits) {
    return value << bits | value >> (32 - bits);
}

std::uint32_t Scrambled(std::uint32_t block) {
    return Rotated(block * 0xcc9e2d51u, 15) * 0x1b873593u;
}

std::uint32_t Finished(std::uint32_t hash) {
    hash = (hash ^ hash >> 16) * 0x85ebca6bu;
    hash = (hash ^ hash >> 13) * 0xc2b2ae35u;
    return hash ^ hash >> 16;
}

std::string Hexadecimal(std::uint32_t value) {
    std::array<char, 9> text{};
    std::snprintf(text.data(), text.size(), "%08x", value);
    return text.data();
}

std::string Quoted(const std::string& text) {
    std::string quoted = "\"";
    for (const char letter : text) {
        if (letter == '"' || letter == '\\') quoted += '\\';
        if (static_cast<unsigned char>(letter) >= 0x20) {
            quoted += letter;
        } else {
            std::array<char, 7> code{};
            std::snprintf(code.data(), code.size(), "\\u%04x", static_cast<unsigned>(letter));
            quoted += code.data();
        }
    }
    return quoted + '"';
}

std::optional<std::uint32_t> NumberOf(std::string_view digits) {
    if (digits.empty() || digits.size() > 8) return std::nullopt;
    std::uint32_t number = 0;
    for (const char digit : digits) {
        const char* const all = "0123456789abcdef";
        const char* const at = digit ? std::strchr(all, digit) : nullptr;
        if (!at) return std::nullopt;
        number = number << 4 | static_cast<std::uint32_t>(at - all);
    }
    return number;
}

/// Reads the texts and signs of a manifest from front to back.
class ManifestReader {
public:
    explicit ManifestReader(std::string_view text) : rest(text) {}

    bool skip(char sign) {
        if (rest.empty() || rest.front() != sign) return false;
        rest.remove_prefix(1);
        return true;
    }
    bool isAtEnd() const { return rest.empty(); }

    std::optional<std::string> quoted() {
        if (!skip('"')) return std::nullopt;
        std::string text;
        while (!rest.empty() && rest.front() != '"')
            if (!takeLetter(text)) return std::nullopt;
        if (!skip('"')) return std::nullopt;
        return text;
    }

private:
    bool takeLetter(std::string& text) {
        const bool isEscaped = skip('\\');
        if (rest.empty()) return false;
        const char letter = rest.front();
        rest.remove_prefix(1);
        if (!isEscaped || letter == '"' || letter == '\\') {
            text += letter;
            return true;
        }
        const auto code = letter == 'u' ? NumberOf(rest.substr(0, 4)) : std::nullopt;
        if (!code || *code >= 0x20 || rest.size() < 4) return false;
        text += static_cast<char>(*code);
        rest.remove_prefix(4);
        return true;
    }

    std::string_view rest;
};

} // namespace

std::uint32_t MurmurHash(std::string_view text) {
    const auto byte = [&](std::size_t at) {
        return static_cast<std::uint32_t>(static_cast<unsigned char>(text[at]));
    };
    std::uint32_t hash = 0;
    std::size_t at = 0;
    for (; at + 4 <= text.size(); at += 4) {
        const std::uint32_t block =
            byte(at) | byte(at + 1) << 8 | byte(at + 2) << 16 | byte(at + 3) << 24;
        hash = Rotated(hash ^ Scrambled(block), 13) * 5 + 0xe6546b64u;
    }
    std::uint32_t tail = 0;
    for (std::size_t i = text.size(); i > at; --i)
        tail = tail << 8 | byte(i - 1);
    hash ^= Scrambled(tail);
    return Finished(hash ^ static_cast<std::uint32_t>(text.size()));
}

std::uint32_t MatteId(std::string_view name) {
    const std::uint32_t hash = MurmurHash(name);
    const std::uint32_t exponent = hash >> 23 & 255;
    return exponent == 0 || exponent == 255 ? hash ^ 1u << 23 : hash;
}

std::string MatteKey(std::string_view matte) {
    return "cryptomatte/" + Hexadecimal(MurmurHash(matte)).substr(0, 7) + "/";
}

std::string ManifestText(const Manifest& manifest) {
    std::string text = "{";
    for (const auto& [name, id] : manifest)
        text += (text.size() > 1 ? "," : "") + Quoted(name) + ":\"" + Hexadecimal(id) + '"';
    return text + "}";
}

std::optional<Manifest> ManifestOf(std::string_view text) {
    ManifestReader reader(text);
    Manifest manifest;
    if (!reader.skip('{')) return std::nullopt;
    while (!reader.skip('}')) {
        if (!manifest.empty() && !reader.skip(',')) return std::nullopt;
        const std::optional<std::string> name = reader.quoted();
        if (!name || !reader.skip(':')) return std::nullopt;
        const std::optional<std::string> digits = reader.quoted();
        const auto id = digits ? NumberOf(*digits) : std::nullopt;
        if (!id || !manifest.emplace(*name, *id).second) return std::nullopt;
    }
    if (!reader.isAtEnd()) return std::nullopt;
    return manifest;
}

std::string_view AssetOf(std::string_view location) {
    std::size_t end = 0;
    for (int part = 0; part < 4 && end != std::string_view::npos; ++part)
        end = location.find('/', end + 1);
    return location.substr(0, end);
}

} // namespace lantern
