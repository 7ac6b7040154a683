#include "LocationDifferences.h"

#include <string_view>
#include <unordered_set>

#include <OxTellarSDK/AttributeDifference.h>

#include "ValueComparison.h"

namespace TELLAR {

namespace {

using OxAttribute::Attribute;
using OxAttribute::GroupAttribute;
using OxAttribute::StringAttribute;
using OxOpType::CookRead;
using Names = std::vector<std::string_view>;
using NameSet = std::unordered_set<std::string_view>;

Attribute ChildOf(const GroupAttribute& group, const std::string& name) {
    return group.getChildByIndex(group.findChild(name));
}

/// What differs between two values of which one may be invalid.
ValueDifference Describe(const std::string& name, const Attribute& before, const Attribute& after) {
    ValueDifference difference{name, ValueDifference::Added, before, after};
    if (!before.isValid()) return difference;
    difference.kind = ValueDifference::Removed;
    if (!after.isValid()) return difference;
    difference.kind = ValueDifference::Values;
    const auto alone = [](const Attribute& value) {
        return GroupAttribute(std::vector<GroupAttribute::Child>{{"value", value}}, false);
    };
    const auto found = ValueComparison(0, {}).compare(alone(before), alone(after));
    // The values in two groups are no single difference.
    if (found.size() != 1 || found.front().attribute != "value") return difference;
    difference = found.front();
    difference.attribute = name;
    return difference;
}

Names NamesAtTime0(const StringAttribute& names) {
    Names views;
    const std::int64_t count = names.getNumberOfValues();
    views.reserve(static_cast<std::size_t>(count));
    for (std::int64_t i = 0; i < count; ++i)
        views.push_back(names.getValueView(i)); // lives as long as the attribute
    return views;
}

/// The names that are, or are not, in the set.
Names Chosen(const Names& names, const NameSet& set, bool isIn) {
    Names chosen;
    for (const std::string_view name : names)
        if ((set.count(name) != 0) == isIn) chosen.push_back(name);
    return chosen;
}

StringAttribute AttributeOf(const Names& names) {
    if (names.empty()) return {};
    return {names.data(), static_cast<std::int64_t>(names.size()), 1};
}

} // namespace

bool HasValue(const CookRead& read, const std::string& name, const Attribute& value,
              bool isSameLocation) {
    const Attribute there = read.data.getAttrs().getChildByName(name);
    if (!there.isValid()) return false;
    if (there.getHandle() == value.getHandle()) return true;
    return isSameLocation && OxAttribute::HaveEqualContent(there, value);
}

std::vector<HistoryChange> DifferenceFinder::compare(const std::string& name,
                                                     const Attribute& before,
                                                     const Attribute& after) const {
    std::vector<HistoryChange> changes;
    if (!OxAttribute::HaveEqualContent(before, after)) add(name, before, after, changes);
    return changes;
}

std::vector<HistoryChange> DifferenceFinder::compareAll(const GroupAttribute& before,
                                                        const GroupAttribute& after) const {
    std::vector<HistoryChange> changes;
    addChildren({}, before, after, changes);
    return changes;
}

/// Groups are nested at most kMaxGroupDepth levels deep, so this and addChildren may call each
/// other.
void DifferenceFinder::add(const std::string& name, const Attribute& before, const Attribute& after,
                           std::vector<HistoryChange>& changes) const {
    const CookRead* const source = after.isValid() ? findSource(name, after) : nullptr;
    const GroupAttribute groupBefore(before);
    const GroupAttribute groupAfter(after);
    if (!source && groupBefore.isValid() && groupAfter.isValid()) {
        const std::size_t count = changes.size();
        addChildren(name + '.', groupBefore, groupAfter, changes);
        if (changes.size() > count) return;
        // The groups differ in the order of their children, or in inheritance.
    }
    HistoryChange change{Describe(name, before, after), {}, 0};
    if (source) {
        change.copiedFrom = source->location;
        change.copiedInput = source->input;
    }
    changes.push_back(std::move(change));
}

void DifferenceFinder::addChildren(const std::string& prefix, const GroupAttribute& before,
                                   const GroupAttribute& after,
                                   std::vector<HistoryChange>& changes) const {
    for (const std::string& child : OxAttribute::DifferingChildren(before, after))
        add(prefix + child, ChildOf(before, child), ChildOf(after, child), changes);
}

/// Later inputs come first, because they usually win.
const CookRead* DifferenceFinder::findSource(const std::string& name,
                                             const Attribute& after) const {
    for (auto read = sources.rbegin(); read != sources.rend(); ++read)
        if (HasValue(**read, name, after, (*read)->location == location)) return *read;
    return nullptr;
}

void CompareChildren(const StringAttribute& before, const StringAttribute& after,
                     HistoryStep& step) {
    if (before.getHandle() == after.getHandle()) return;
    if (!before.isValid()) {
        step.addedChildren = after;
        return;
    }
    const Names old = NamesAtTime0(before);
    const Names now = NamesAtTime0(after);
    const NameSet inOld(old.begin(), old.end());
    const NameSet inNow(now.begin(), now.end());
    step.addedChildren = AttributeOf(Chosen(now, inOld, false));
    step.removedChildren = AttributeOf(Chosen(old, inNow, false));
    step.areChildrenReordered = Chosen(now, inOld, true) != Chosen(old, inNow, true);
}

} // namespace TELLAR
