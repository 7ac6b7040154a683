#include "FactsCheck.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <OxTellarSDK/SubtreeFacts.h>

#include "Check.h"

using namespace OxAttribute;

namespace {

constexpr std::int64_t kMostLocations = 300;

struct Found {
    std::int64_t locations = 0;
    std::uint32_t types = 0;
};

/// Nothing for a scene with more locations or names than the limit.
std::optional<Found> Walk(TellarRuntime::Client& client) {
    Found found;
    std::int64_t named = 1;
    std::vector<std::string> open{"/root"};
    while (!open.empty()) {
        const std::string path = std::move(open.back());
        open.pop_back();
        const TellarRuntime::LocationData location = client.cookLocation(path);
        if (!location.doesLocationExist()) continue;
        const StringAttribute& names = location.getPotentialChildren();
        named += names.getNumberOfValues();
        if (named > kMostLocations) return std::nullopt;
        ++found.locations;
        const GroupAttribute& attrs = location.getAttrs();
        const StringAttribute type(attrs.getChildByIndex(attrs.findChild("type")));
        found.types |= OxOpType::TypeBit(type.getValueView());
        for (const std::string_view name : names.getNearestSample(0.0f))
            open.push_back(path + '/' + std::string(name));
    }
    return found;
}

} // namespace

void CheckFacts(const std::shared_ptr<TellarRuntime::Client>& client) {
    const OxOpType::SubtreeFacts facts = OxOpType::DescribeSubtree(*client, "/root");
    const auto instances = OxOpType::DescribeInstances(*client, "/root");
    const std::optional<Found> found = Walk(*client);
    if (!found) return;
    const bool exists = found->locations > 0;
    Check(facts.exists.value_or(exists) == exists, "a location exists if its facts say so");
    Check(facts.locations.value_or(found->locations) == found->locations,
          "a subtree has as many locations as its facts say");
    Check((found->types & ~facts.types.value_or(found->types)) == 0,
          "a subtree has no types but those of its facts");
    if (instances) Check(instances->count() < found->locations, "instances are locations");
}
