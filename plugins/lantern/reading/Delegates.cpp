#include "reading/Delegates.h"

namespace lantern {

namespace {

constexpr const char* kRenderer = "lantern";

} // namespace

Delegates::Delegate::Delegate(const Suites& suites,
                              const OxScenegraphLocationDelegatePluginSuite_v1& plugin)
    : suites(suites), plugin(plugin), instance(plugin.create ? plugin.create() : nullptr) {}

Delegates::Delegate::~Delegate() {
    if (plugin.destroy) plugin.destroy(instance);
}

Attribute Delegates::Delegate::replacementOf(const Location& location) const {
    if (!plugin.getReplacement) return {};
    Attribute replacement =
        Attribute::owning(suites.attributes(), plugin.getReplacement(instance, location.get()));
    return replacement.isGroup() ? replacement : Attribute();
}

Delegates::Delegates(const Suites& suites) {
    addFor(suites, kRenderer);
    addFor(suites, nullptr); // does not replace those found for this renderer
}

const Delegates::Delegate* Delegates::find(const std::string& locationType) const {
    const auto found = byType.find(locationType);
    return found == byType.end() ? nullptr : found->second;
}

void Delegates::addFor(const Suites& suites, const char* renderer) {
    const Attribute types = Attribute::owning(
        suites.attributes(), suites.utils().getLocationTypesWithDelegates(renderer, nullptr));
    for (std::int64_t i = 0; i < types.count(); ++i) {
        const char* const type = types.textAt(i);
        const auto* const plugin =
            type ? suites.utils().getLocationDelegate(type, renderer, nullptr) : nullptr;
        if (plugin && !find(type)) byType.emplace(type, &instanceOf(suites, *plugin));
    }
}

const Delegates::Delegate&
Delegates::instanceOf(const Suites& suites,
                      const OxScenegraphLocationDelegatePluginSuite_v1& plugin) {
    for (const Delegate& delegate : delegates)
        if (delegate.isOf(plugin)) return delegate;
    return delegates.emplace_back(suites, plugin);
}

} // namespace lantern
