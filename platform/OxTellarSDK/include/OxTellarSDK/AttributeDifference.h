#ifndef OXTELLARSDK_ATTRIBUTEDIFFERENCE_H
#define OXTELLARSDK_ATTRIBUTEDIFFERENCE_H

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/Export.h>

namespace OxAttribute {

/// The same answer as operator==, without hashing. Shared values and values with known hashes are
/// compared at once, others by their content. So this is for values that are compared once, such as
/// large arrays in files, of which no hash is kept.
OXTELLARSDK_API bool HaveEqualContent(const Attribute& a, const Attribute& b);

/// The names of the children that only one of the groups has, or whose contents differ: those of
/// `after` in their order, then those that it lacks. The order of children and the inheritance of
/// the groups themselves are not compared. An invalid group has no children.
OXTELLARSDK_API std::vector<std::string> DifferingChildren(const GroupAttribute& before,
                                                           const GroupAttribute& after);

/// Calls `tell` for each place at which two groups differ, with the names that lead there from the
/// groups down. Such a place is a value, or a group whose children have other names or another
/// order in the other group, or which inherits differently; what is inside of it is not compared.
/// No names stand for the groups themselves. The names are valid during the call.
///
/// Values in two files are compared in place, so this is the fastest way to compare large groups.
/// Reading a damaged file throws std::runtime_error.
OXTELLARSDK_API void
ForEachDifference(const GroupAttribute& before, const GroupAttribute& after,
                  const std::function<void(const std::vector<std::string_view>& names)>& tell);

} // namespace OxAttribute

#endif
