// Registers location delegates that return any attributes. The input is the XML of a group with one
// child per delegate: a group of its answers "types" and "renderer", and of "holes", a bit mask of
// the table entries that are null.

#include <algorithm>
#include <array>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <OxTellarSDK/Attribute.h>

#include "Check.h"
#include "DescriptionText.h"
#include "LocationDelegates.h"

using namespace OxAttribute;
using TELLAR::LocationDelegates;

namespace {

using Suite = LocationDelegates::Suite;

constexpr std::size_t kMaxDelegates = 6;

std::array<GroupAttribute, kMaxDelegates> delegates;

// create() has no argument, so each delegate has its own function, by index.
template <std::size_t Index>
OxLocationDelegateInstance Create() {
    return &delegates[Index];
}

OxAttributeStruct* Answer(OxLocationDelegateInstance instance, const char* name) {
    return static_cast<GroupAttribute*>(instance)->getChildByName(name).detach();
}

OxAttributeStruct* GetTypes(OxLocationDelegateInstance instance) {
    return Answer(instance, "types");
}

OxAttributeStruct* GetRenderer(OxLocationDelegateInstance instance) {
    return Answer(instance, "renderer");
}

template <std::size_t... Indices>
std::array<Suite, kMaxDelegates> MakeSuites(std::index_sequence<Indices...>) {
    return {Suite{Create<Indices>, nullptr, nullptr, GetRenderer, GetTypes}...};
}

/// The expected delegates by renderer and location type.
using Table = std::map<std::pair<std::string, std::string>, Suite*>;

void Use(const GroupAttribute& input) {
    auto suites = MakeSuites(std::make_index_sequence<kMaxDelegates>());
    LocationDelegates found;
    Table expected;
    std::map<std::string, std::vector<std::string>> types;
    const auto count = std::min<std::int64_t>(input.getNumberOfChildren(), kMaxDelegates);
    for (std::size_t i = 0; i < static_cast<std::size_t>(count); ++i) {
        delegates[i] = input.getChildByIndex(static_cast<std::int64_t>(i));
        const std::int32_t holes =
            IntAttribute(delegates[i].getChildByName("holes")).getValue(0, false);
        if (holes & 1) suites[i].create = nullptr;
        if (holes & 2) suites[i].getSupportedRenderer = nullptr;
        if (holes & 4) suites[i].getSupportedLocationTypes = nullptr;
        found.add(&suites[i]);
        if (holes & 7) continue;
        const std::string renderer =
            StringAttribute(delegates[i].getChildByName("renderer")).getValue("", false);
        const StringAttribute own(delegates[i].getChildByName("types"));
        for (const std::string_view type : own.getNearestSample(0.0f))
            if (expected.emplace(std::make_pair(renderer, std::string(type)), &suites[i]).second)
                types[renderer].emplace_back(type);
    }
    for (const auto& [key, suite] : expected)
        Check(found.find(key.second, key.first) == suite, "the first that serves a type does");
    for (auto& [renderer, own] : types) {
        std::sort(own.begin(), own.end());
        Check(found.types(renderer) == own, "types are listed once, in order");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const GroupAttribute input = ReadDescriptionText({reinterpret_cast<const char*>(data), size});
    LocationDelegates().add(nullptr);
    if (input.isValid()) Use(input);
    delegates = {};
    return 0;
}
