#ifndef TELLAROPS_CHILDNAMES_H
#define TELLAROPS_CHILDNAMES_H

#include <string>
#include <string_view>
#include <vector>

#include "BuiltinOp.h"

namespace TellarOps {

/// Potential children: all functions give an invalid attribute for no names at all, and
/// the very attribute that came in when nothing is changed.

StringAttribute MakeNames(const std::vector<std::string_view>& names);
StringAttribute WithName(const StringAttribute& names, std::string_view name);
StringAttribute WithoutName(const StringAttribute& names, std::string_view name);
/// Every name once, in order of its first mention.
StringAttribute UnionOfNames(const std::vector<StringAttribute>& lists);

/// The level that leads from `ancestor` down to `descendant`, which lies below it.
std::string_view NameTowards(std::string_view descendant, std::string_view ancestor);

/// The attributes of a location made only because others must hang below it.
const GroupAttribute& PlainGroupAttrs();

/// Presents `data` with other potential children; where it does not exist, a plain group.
void PassWithChildren(CookContext& context, const LocationData& data, const StringAttribute& names);

} // namespace TellarOps

#endif
