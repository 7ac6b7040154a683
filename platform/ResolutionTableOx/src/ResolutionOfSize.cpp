#include "ResolutionOfSize.h"

#include <map>
#include <mutex>
#include <optional>
#include <string_view>

#include "text/Characters.h"
#include "text/NumberText.h"

namespace {

struct Size {
    int width;
    int height;
};

/// Decimal digits without zeros in front, so that a size has one name. "0" is such a number.
std::optional<int> NumberOf(std::string_view digits) {
    int number = 0;
    if (digits.empty() || !TellarInternal::IsDigit(digits[0])) return std::nullopt;
    if (digits[0] == '0' && digits.size() > 1) return std::nullopt;
    if (!TellarInternal::ReadNumber(digits, number)) return std::nullopt;
    return number;
}

std::optional<Size> SizeOf(std::string_view name) {
    const std::size_t x = name.find('x');
    if (x == std::string_view::npos) return std::nullopt;
    const std::optional<int> width = NumberOf(name.substr(0, x));
    const std::optional<int> height = NumberOf(name.substr(x + 1));
    if (!width || !height) return std::nullopt;
    return Size{*width, *height};
}

} // namespace

const ResolutionTableEntry* FindResolutionOfSize(const std::string& name) {
    const std::optional<Size> size = SizeOf(name);
    if (!size) return nullptr;
    // Never destroyed, because entries are returned by reference.
    static auto* const lock = new std::mutex;
    static auto* const entries = new std::map<std::string, ResolutionTableEntry>;
    const std::lock_guard<std::mutex> guard(*lock);
    const auto found = entries->find(name);
    if (found != entries->end()) return &found->second;
    ResolutionTableEntry entry(name, size->width, size->height, 1);
    return &entries->emplace(name, std::move(entry)).first->second;
}
