#ifndef OXTELLARSDK_ATTRIBUTEDIFFERENCE_H
#define OXTELLARSDK_ATTRIBUTEDIFFERENCE_H

#include <string>
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

} // namespace OxAttribute

#endif
