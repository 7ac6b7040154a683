#include "AncestorValues.h"

#include <cstddef>

#include <OxTellarSDK/AttributeDifference.h>
#include <OxTellarSDK/GlobalAttribute.h>

namespace TELLAR {

namespace {

using OxAttribute::Attribute;

/// Gives the attributes of the levels to the platform's lookup, but none of one of them.
class Provider final : public OxTellarServices::BaseGlobalAttributeProviderLegacy {
public:
    static constexpr int kNone = -1;

    Provider(const std::vector<PathLevel>& levels, int leftOut)
        : levels(levels), leftOut(leftOut) {}

    int provideAttribute(const std::string& name, int depth, Attribute& result) override {
        const auto levelsUp = static_cast<std::size_t>(depth);
        if (levelsUp >= levels.size()) return 2;
        const auto& attrs = levels[levels.size() - 1 - levelsUp].data.getAttrs();
        result = depth == leftOut ? Attribute() : attrs.getChildByName(name);
        return 0;
    }

private:
    const std::vector<PathLevel>& levels;
    const int leftOut;
};

/// The attribute as inherited, as if the level so far up had none.
Attribute ValueWithout(const std::vector<PathLevel>& levels, const std::string& attribute,
                       int leftOut) {
    Provider provider(levels, leftOut);
    return OxTellarCookInterfaceUtils::getGlobalAttrGeneric(provider, attribute,
                                                            levels.back().location, nullptr);
}

} // namespace

InheritedValue FindInherited(const std::vector<PathLevel>& levels, const std::string& attribute) {
    InheritedValue found;
    found.value = ValueWithout(levels, attribute, Provider::kNone);
    for (std::size_t up = 0; up < levels.size(); ++up) {
        const PathLevel& level = levels[levels.size() - 1 - up];
        const Attribute own = level.data.getAttrs().getChildByName(attribute);
        if (!own.isValid()) continue;
        // A value that makes no difference is hidden. That of the nearest one may be equal to the
        // next one's.
        const bool isSeen = found.ancestors.empty() ||
                            !OxAttribute::HaveEqualContent(
                                ValueWithout(levels, attribute, static_cast<int>(up)), found.value);
        found.ancestors.push_back({level.location, own, isSeen});
    }
    return found;
}

} // namespace TELLAR
