#ifndef TELLAROPS_CHILDNAMES_H
#define TELLAROPS_CHILDNAMES_H

#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "BuiltinOp.h"

namespace TellarOps {

// Potential children. All functions return an invalid attribute for an empty list, and the same
// attribute that they were given when they change nothing.

StringAttribute MakeNames(const std::vector<std::string_view>& names);
StringAttribute WithName(const StringAttribute& names, std::string_view name);
StringAttribute WithoutNames(const StringAttribute& names,
                             const std::unordered_set<std::string_view>& unwanted);
/// Every name once, in order of first occurrence.
StringAttribute UnionOfNames(const std::vector<StringAttribute>& lists);

/// The level that leads from `ancestor` down to `descendant`, which lies below it.
std::string_view NameTowards(std::string_view descendant, std::string_view ancestor);

/// The attributes of a group that exists only because it has children.
const GroupAttribute& PlainGroupAttrs();

/// The facts of such a location without children. The facts about a subtree have to be reset when
/// children are added.
SubtreeFacts FactsOfPlainGroup();

/// Presents `data` with other potential children, or a plain group if it does not exist.
void PassWithChildren(CookContext& context, const LocationData& data, const StringAttribute& names);

} // namespace TellarOps

#endif
