#include "AnimationChoice.h"

#include <algorithm>
#include <cstddef>
#include <stdexcept>

#include "text/NumberText.h"

namespace TellarSceneImport {

namespace {

std::string ListOf(const std::vector<std::string>& names) {
    std::string list;
    for (std::size_t i = 0; i < names.size(); ++i) {
        list += (i > 0 ? ", " : "") + std::to_string(i);
        if (!names[i].empty()) list += " \"" + names[i] + "\"";
    }
    return list.empty() ? "it has no animations" : "its animations are " + list;
}

} // namespace

std::optional<std::size_t> ChooseAnimation(const std::vector<std::string>& names,
                                           const std::string& wanted) {
    if (wanted.empty()) return std::nullopt;
    const auto named = std::find(names.begin(), names.end(), wanted);
    if (named != names.end()) return static_cast<std::size_t>(named - names.begin());
    if (wanted == "none") return std::nullopt;
    if (wanted == kFirstAnimation) {
        if (names.empty()) return std::nullopt;
        return 0;
    }
    std::uint32_t index = 0;
    if (TellarInternal::ReadNumber(wanted, index) && index < names.size()) return index;
    throw std::runtime_error("there is no animation \"" + wanted + "\" in it; " + ListOf(names));
}

} // namespace TellarSceneImport
