#include "reading/Warnings.h"

namespace lantern {

namespace {

constexpr std::int64_t kTold = 3;

} // namespace

void Warnings::warn(const std::string& where, const std::string& what) {
    {
        const std::lock_guard<std::mutex> guard(lock);
        if (++counts[what] > kTold) return;
    }
    report.warn(where + ": " + what);
}

void Warnings::tellTheRest() {
    const std::lock_guard<std::mutex> guard(lock);
    for (const auto& [what, count] : counts)
        if (count > kTold) report.warn("and " + std::to_string(count - kTold) + " more: " + what);
    counts.clear();
}

} // namespace lantern
