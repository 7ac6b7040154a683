#include "CookErrors.h"

#include <functional>
#include <new>

namespace TellarTool {

/// An error of an input fails the cooks of all ops above it as well, up to that of the scene.
void CookErrors::cookFails(const OxOpType::ObservedCook& cook, const ErrorFacts& error) noexcept {
    if (cook.opIdentity != scene) return;
    try {
        const std::size_t hash = std::hash<std::string>()(cook.location);
        const std::lock_guard<std::mutex> guard(lock);
        if (!first) first = error.text;
        failed.insert(hash);
    } catch (const std::bad_alloc&) { // the render itself ends for the lack of memory
    }
}

std::size_t CookErrors::getCount() const {
    const std::lock_guard<std::mutex> guard(lock);
    return failed.size();
}

std::optional<std::string> CookErrors::getFirst() const {
    const std::lock_guard<std::mutex> guard(lock);
    return first;
}

std::string CountText(std::size_t failedLocations) {
    return failedLocations == 1
               ? "one location could not be cooked"
               : std::to_string(failedLocations) + " locations could not be cooked";
}

} // namespace TellarTool
