#include "LocationDelegates.h"

#include <string_view>

#include <OxTellarSDK/Attribute.h>

using namespace OxAttribute;

namespace TELLAR {

namespace {

/// Whether the table has all entries that are called here.
bool IsUsable(const LocationDelegates::Suite* suite) {
    return suite && suite->create && suite->getSupportedRenderer &&
           suite->getSupportedLocationTypes;
}

StringAttribute Taken(OxAttributeStruct* attribute) {
    return Attribute::CreateAndSteal(attribute);
}

} // namespace

void LocationDelegates::add(Suite* suite) {
    if (!IsUsable(suite)) return;
    const OxLocationDelegateInstance instance = suite->create();
    const StringAttribute types = Taken(suite->getSupportedLocationTypes(instance));
    const std::string renderer = Taken(suite->getSupportedRenderer(instance)).getValue("", false);
    SuitesByType& suites = byRenderer[renderer];
    for (const std::string_view type : types.getNearestSample(0.0f))
        suites.emplace(type, suite);
}

LocationDelegates::Suite* LocationDelegates::find(const std::string& locationType,
                                                  const std::string& rendererName) const {
    const auto suites = byRenderer.find(rendererName);
    if (suites == byRenderer.end()) return nullptr;
    const auto found = suites->second.find(locationType);
    return found == suites->second.end() ? nullptr : found->second;
}

std::vector<std::string> LocationDelegates::types(const std::string& rendererName) const {
    std::vector<std::string> types;
    const auto suites = byRenderer.find(rendererName);
    if (suites == byRenderer.end()) return types;
    for (const auto& entry : suites->second)
        types.push_back(entry.first);
    return types;
}

} // namespace TELLAR
