#ifndef TELLAROPS_STATICDESCRIPTION_H
#define TELLAROPS_STATICDESCRIPTION_H

#include <cstdint>
#include <string_view>

#include "BuiltinOp.h"

namespace TellarOps {

// Scenes as groups: a location is described by a group with the attributes "a" and the child
// locations "c", whose names are in delimiter encoding. Functions return invalid groups for what
// is missing or not a group.

GroupAttribute AttrsOf(const GroupAttribute& description);
GroupAttribute ChildrenOf(const GroupAttribute& description);

/// The index of the child whose decoded name is `name`, or -1. Looks at index `hint` first.
std::int64_t FindEncoded(const GroupAttribute& children, std::string_view name, std::int64_t hint);
GroupAttribute ChildDescription(const GroupAttribute& children, std::string_view name,
                                std::int64_t hint);
/// The description of `path`, which lies below `location`, found from that of `location`.
GroupAttribute Descend(GroupAttribute description, std::string_view path,
                       std::string_view location);

StringAttribute DecodedNames(const GroupAttribute& children);

} // namespace TellarOps

#endif
