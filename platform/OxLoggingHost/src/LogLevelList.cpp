#include "LogLevelList.h"

#include <algorithm>
#include <array>
#include <optional>

namespace {

// In the order of OxLogLevel.
constexpr std::array<const char*, 5> kLevelNames = {"debug", "info", "warn", "error", "off"};

std::string_view WithoutBlanks(std::string_view text) {
    constexpr const char* kBlanks = " \t\r\n";
    const std::size_t begin = text.find_first_not_of(kBlanks);
    if (begin == std::string_view::npos) return {};
    return text.substr(begin, text.find_last_not_of(kBlanks) - begin + 1);
}

// ASCII only: the host's locale must not decide what a level is called.
std::string LowerCase(std::string_view text) {
    std::string lower(text);
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
    return lower;
}

std::optional<OxLogLevel> ParseLevel(std::string_view text) {
    const auto found = std::find(kLevelNames.begin(), kLevelNames.end(), LowerCase(text));
    if (found == kLevelNames.end()) return std::nullopt;
    return static_cast<OxLogLevel>(found - kLevelNames.begin());
}

void ParseEntry(std::string_view entry, LogLevelList& list) {
    const std::size_t equals = entry.find('=');
    const bool isDefault = equals == std::string_view::npos;
    const auto level = ParseLevel(WithoutBlanks(isDefault ? entry : entry.substr(equals + 1)));
    const auto logger = isDefault ? std::string_view() : WithoutBlanks(entry.substr(0, equals));
    if (!level || (!isDefault && logger.empty())) {
        list.malformedEntries.emplace_back(entry);
        return;
    }
    if (isDefault) {
        list.defaultLevel = *level;
    } else {
        list.loggerLevels[std::string(logger)] = *level;
    }
}

} // namespace

LogLevelList ParseLogLevelList(std::string_view text) {
    LogLevelList list;
    while (!text.empty()) {
        const std::size_t comma = std::min(text.find(','), text.size());
        const std::string_view entry = WithoutBlanks(text.substr(0, comma));
        if (!entry.empty()) ParseEntry(entry, list);
        text.remove_prefix(std::min(comma + 1, text.size()));
    }
    return list;
}

const char* LogLevelName(OxLogLevel level) {
    return kLevelNames.at(static_cast<std::size_t>(level));
}
