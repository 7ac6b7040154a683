#include "OpPlaces.h"

#include <cstdint>
#include <string_view>
#include <unordered_map>

namespace TellarTool {

namespace {

constexpr std::string_view kBeginning = "Op \"";

/// Returns the place of each op in its file, by the name of the op.
std::unordered_map<std::string, std::string>& GetPlaces() {
    static std::unordered_map<std::string, std::string> places;
    return places;
}

} // namespace

void RememberOps(const std::string& source, const OxAttribute::GroupAttribute& description,
                 const OxAttribute::DescriptionText& told) {
    for (std::int64_t i = 0; i < description.getNumberOfChildren(); ++i) {
        const std::string name = description.getChildName(i);
        const auto place = told.places.find(name);
        GetPlaces().emplace(name, place == told.places.end() ? source : place->second);
    }
}

std::string PlaceOfOp(const std::string& name) {
    const auto place = GetPlaces().find(name);
    return place == GetPlaces().end() ? std::string() : place->second;
}

std::string WithPlace(const std::string& error) {
    if (error.compare(0, kBeginning.size(), kBeginning) != 0) return error;
    // A name may hold quotation marks and parentheses itself.
    for (std::size_t end = error.find("\" ("); end != std::string::npos;
         end = error.find("\" (", end + 1)) {
        const std::string place =
            PlaceOfOp(error.substr(kBeginning.size(), end - kBeginning.size()));
        if (!place.empty()) return std::string(place).append(": ").append(error);
    }
    return error;
}

} // namespace TellarTool
