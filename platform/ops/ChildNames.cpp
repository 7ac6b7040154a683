#include "ChildNames.h"

#include <algorithm>

namespace TellarOps {
namespace {

std::vector<std::string_view> Views(const OxAttribute::ConstStringSample& sample) {
    std::vector<std::string_view> views;
    views.reserve(sample.size() + 1);
    for (const std::string_view name : sample)
        views.push_back(name);
    return views;
}

} // namespace

StringAttribute MakeNames(const std::vector<std::string_view>& names) {
    if (names.empty()) return StringAttribute();
    return StringAttribute(names.data(), static_cast<std::int64_t>(names.size()), 1);
}

StringAttribute WithName(const StringAttribute& names, std::string_view name) {
    const auto sample = names.getNearestSample(0.0f);
    std::vector<std::string_view> views = Views(sample);
    if (std::find(views.begin(), views.end(), name) != views.end()) return names;
    views.push_back(name);
    return MakeNames(views);
}

StringAttribute WithoutNames(const StringAttribute& names,
                             const std::unordered_set<std::string_view>& unwanted) {
    const auto sample = names.getNearestSample(0.0f);
    std::vector<std::string_view> wanted;
    wanted.reserve(sample.size());
    for (const std::string_view name : sample)
        if (unwanted.count(name) == 0) wanted.push_back(name);
    return wanted.size() == sample.size() ? names : MakeNames(wanted);
}

StringAttribute UnionOfNames(const std::vector<StringAttribute>& lists) {
    std::vector<std::string_view> names;
    std::unordered_set<std::string_view> seen;
    const StringAttribute* onlyOne = nullptr; // the list of all names so far
    for (const StringAttribute& list : lists) {
        // The sample need not retain the attribute, because `lists` outlives the names.
        const std::size_t before = names.size();
        for (const std::string_view name : list.getNearestSample(0.0f))
            if (seen.insert(name).second) names.push_back(name);
        if (names.size() > before) onlyOne = before == 0 ? &list : nullptr;
    }
    return onlyOne ? *onlyOne : MakeNames(names);
}

std::string_view NameTowards(std::string_view descendant, std::string_view ancestor) {
    descendant.remove_prefix(ancestor.size() + 1);
    return descendant.substr(0, descendant.find('/'));
}

const GroupAttribute& PlainGroupAttrs() {
    static const auto* attrs = new GroupAttribute(
        std::vector<GroupAttribute::Child>{{"type", StringAttribute("group")}}, true);
    return *attrs;
}

SubtreeFacts FactsOfPlainGroup() {
    SubtreeFacts facts = OxOpType::DescribeLocation(PlainGroupAttrs(), StringAttribute());
    facts.types = facts.ownTypes;
    facts.locations = 1;
    facts.bound = facts.ownBound;
    return facts;
}

void PassWithChildren(CookContext& context, const LocationData& data,
                      const StringAttribute& names) {
    const bool exists = data.doesLocationExist();
    if (exists && names.getHandle() == data.getPotentialChildren().getHandle()) {
        context.pass(data);
        return;
    }
    context.setAttrs(exists ? data.getAttrs() : PlainGroupAttrs());
    context.setPotentialChildren(names);
}

} // namespace TellarOps
