#include "MemoryLimit.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <string_view>
#include <system_error>

#include <OxConfiguration/Configuration.h>
#include <OxTellarSDK/MemoryBudget.h>

#include "MachineMemory.h"
#include "NamedLogger.h"

namespace OxTellarMemory {

std::atomic<std::uint64_t> memoryLimit{0};

namespace {

const NamedLogger kLogger("MemoryBudget");
constexpr const char* kLimitKey = "MEMORY_LIMIT";

/// "GiB" and "gb" are both "g".
std::string UnitOf(std::string_view text) {
    std::string unit;
    for (const char c : text)
        if (c != ' ') unit.push_back(c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c);
    if (unit.size() == 3 && unit.compare(1, 2, "ib") == 0) unit.resize(1);
    if (unit.size() == 2 && unit[0] != 'b' && unit[1] == 'b') unit.resize(1);
    return unit;
}

/// Nothing for an unknown unit.
std::optional<double> FactorOf(const std::string& unit) {
    if (unit.empty() || unit == "b") return 1;
    constexpr std::string_view kUnits = "kmgt";
    const std::size_t place = unit.size() == 1 ? kUnits.find(unit[0]) : std::string_view::npos;
    if (place == std::string_view::npos) return std::nullopt;
    return std::ldexp(1.0, 10 * (static_cast<int>(place) + 1));
}

std::uint64_t ConfiguredLimit(std::string& problem) {
    const std::string setting = Config()->get(kLimitKey);
    if (setting.empty()) return GetDefaultMemoryLimit();
    if (const auto bytes = ParseMemorySize(setting, &problem)) return *bytes;
    return GetDefaultMemoryLimit();
}

} // namespace

std::optional<std::uint64_t> ParseMemorySize(const std::string& text, std::string* error) {
    if (text == "unlimited") return kUnlimitedMemory;
    const char* const end = text.data() + text.size();
    double number = 0;
    const auto [rest, problem] =
        std::from_chars(text.data(), end, number, std::chars_format::fixed);
    const auto factor = FactorOf(UnitOf({rest, static_cast<std::size_t>(end - rest)}));
    if (problem == std::errc() && factor && std::isfinite(number) && !std::signbit(number)) {
        const double bytes = std::floor(number * *factor);
        return bytes < 0x1p64 ? static_cast<std::uint64_t>(bytes) : kUnlimitedMemory;
    }
    if (error)
        *error = '"' + text + "\" is no size; write for example 512M, 2G, 1.5GiB or unlimited";
    return std::nullopt;
}

std::uint64_t GetDefaultMemoryLimit() {
    const std::uint64_t memory = FindMachineMemory("");
    return memory == kUnlimitedMemory ? memory : std::max(memory / 2, kSmallestMemoryLimit);
}

std::uint64_t GetMemoryLimit() {
    std::uint64_t known = memoryLimit.load(std::memory_order_relaxed);
    if (known != 0) return known;
    std::string problem;
    const std::uint64_t limit = std::max(ConfiguredLimit(problem), kSmallestMemoryLimit);
    // No lock: whoever listens to the log may ask for the limit as well.
    if (!memoryLimit.compare_exchange_strong(known, limit, std::memory_order_relaxed)) return known;
    if (!problem.empty())
        kLogger.error("{}: {}. The default is used: {} MiB.", kLimitKey, problem, limit >> 20);
    return limit;
}

} // namespace OxTellarMemory
