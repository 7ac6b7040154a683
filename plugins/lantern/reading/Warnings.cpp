#include "reading/Warnings.h"

namespace lantern {

namespace {

constexpr std::int64_t kTold = 3;
constexpr std::size_t kToldFailures = 10;

} // namespace

void Warnings::warn(const std::string& where, const std::string& what) {
    {
        const std::lock_guard<std::mutex> guard(lock);
        if (++counts[what] > kTold) return;
    }
    report.warn(where + ": " + what);
}

void Warnings::warn(const RenderError& failure) {
    std::string text = failure.what();
    const auto add = [&text](const char* kind, const std::string& name) {
        if (!name.empty() && text.find(name) == std::string::npos)
            text += std::string(", ") + kind + " \"" + name + '"';
    };
    add("op", failure.op);
    add("attribute", failure.attribute);
    if (text.find(failure.location) == std::string::npos) return warn(failure.location, text);
    const std::lock_guard<std::mutex> guard(lock);
    if (failures.insert(text).second && failures.size() <= kToldFailures) report.warn(text);
}

void Warnings::tellTheRest() {
    const std::lock_guard<std::mutex> guard(lock);
    for (const auto& [what, count] : counts)
        if (count > kTold) report.warn("and " + std::to_string(count - kTold) + " more: " + what);
    counts.clear();
    if (failures.size() > kToldFailures)
        report.warn("and " + std::to_string(failures.size() - kToldFailures) +
                    " more locations cannot be cooked");
    failures.clear();
}

} // namespace lantern
