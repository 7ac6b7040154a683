#include "OpPlaces.h"

namespace TellarTool {

namespace {

TELLAR::OpPlaces& GetPlaces() {
    static TELLAR::OpPlaces places;
    return places;
}

} // namespace

void RememberOps(const TELLAR::OpPlaces& places) {
    GetPlaces().insert(places.begin(), places.end());
}

std::string PlaceOfOp(const std::string& name) {
    const auto place = GetPlaces().find(name);
    return place == GetPlaces().end() ? std::string() : place->second;
}

} // namespace TellarTool
