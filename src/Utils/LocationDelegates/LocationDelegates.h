#ifndef OXTELLARPRODUCERS_LOCATIONDELEGATES_H
#define OXTELLARPRODUCERS_LOCATIONDELEGATES_H

#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <OxTellarProducers/OxScenegraphLocationDelegatePluginSuite.h>
#include <OxTellarSDK/Attribute.h>

namespace TELLAR {

/// Location delegates by renderer and location type. One thread adds them; after that any number of
/// threads may look them up.
class LocationDelegates {
public:
    using Suite = OxScenegraphLocationDelegatePluginSuite_v1;

    /// Makes an instance of the delegate and asks what it serves. If two delegates serve the same
    /// type, the first one is used. A suite that is null or lacks an entry called here is ignored.
    /// Exceptions of the delegate pass through.
    void add(Suite* suite) {
        using namespace OxAttribute;
        if (!suite || !suite->create || !suite->getSupportedRenderer ||
            !suite->getSupportedLocationTypes)
            return;
        const OxLocationDelegateInstance instance = suite->create();
        const StringAttribute types =
            Attribute::CreateAndSteal(suite->getSupportedLocationTypes(instance));
        const StringAttribute renderer =
            Attribute::CreateAndSteal(suite->getSupportedRenderer(instance));
        for (const std::string_view type : types.getNearestSample(0.0f))
            suites.emplace(std::pair(renderer.getValueView(), type), suite);
    }

    /// Returns null if there is none. An empty renderer name finds delegates for every renderer.
    Suite* find(const std::string& locationType, const std::string& rendererName) const {
        const auto found = suites.find({rendererName, locationType});
        return found == suites.end() ? nullptr : found->second;
    }

    /// The location types with a delegate, in ascending order.
    std::vector<std::string> types(const std::string& rendererName) const {
        std::vector<std::string> types;
        for (auto entry = suites.lower_bound({rendererName, {}});
             entry != suites.end() && entry->first.first == rendererName; ++entry)
            types.push_back(entry->first.second);
        return types;
    }

private:
    // The keys are a renderer, or "" for all renderers, and a location type.
    std::map<std::pair<std::string, std::string>, Suite*> suites;
};

} // namespace TELLAR

#endif
