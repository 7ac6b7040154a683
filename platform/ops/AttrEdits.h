#ifndef TELLAROPS_ATTREDITS_H
#define TELLAROPS_ATTREDITS_H

#include <string>
#include <string_view>

#include "BuiltinOp.h"

namespace TellarOps {

/// `group` with one child set. A child that exists keeps its place, a new one comes last.
GroupAttribute WithChild(const GroupAttribute& group, std::string_view name,
                         const Attribute& child);

/// `group` with those children of `more` whose names it lacks, apart from one name.
GroupAttribute WithMissing(const GroupAttribute& group, const GroupAttribute& more,
                           std::string_view except);

/// `base` with the children of `over` merged in at every level.
GroupAttribute Merged(const GroupAttribute& base, const GroupAttribute& over);

/// The arguments "translate", "rotate", "scale" and "matrix" in this order as the group
/// that an "xform" holds; invalid when none is given.
GroupAttribute ReadXForm(const ArgReader& args, NumberForm form);

/// The arguments that ReadXForm() reads, for descriptions.
std::vector<OxOpType::Argument> XFormArguments();

/// The side of a location's own transform on which an edit acts.
enum class XFormSide {
    Outermost, ///< the parent's space: the first child of "xform"
    Innermost  ///< the location's own space: the last child
};

/// `xform`, which may be invalid, with `edit` as a new child, named `prefix` followed by the first
/// unused number.
GroupAttribute EditedXForm(const GroupAttribute& xform, const GroupAttribute& edit, XFormSide side,
                           std::string_view prefix);

/// `attrs` with this edit of its "xform".
GroupAttribute WithXFormEdit(const GroupAttribute& attrs, const GroupAttribute& edit,
                             XFormSide side, std::string_view prefix);

} // namespace TellarOps

#endif
