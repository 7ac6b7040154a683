#include "AttrEdits.h"

#include <OxTellarSDK/GroupBuilder.h>

namespace TellarOps {
namespace {

using Children = std::vector<GroupAttribute::Child>;

void Append(Children& children, const GroupAttribute& group) {
    for (std::int64_t index = 0; index < group.getNumberOfChildren(); ++index)
        children.emplace_back(group.getChildNameView(index), group.getChildByIndex(index));
}

std::string FreeName(const GroupAttribute& group, std::string_view prefix) {
    for (int number = 0;; ++number) {
        std::string name = std::string(prefix) + std::to_string(number);
        if (group.findChild(name) < 0) return name;
    }
}

} // namespace

GroupAttribute WithChild(const GroupAttribute& group, std::string_view name,
                         const Attribute& child) {
    Children children;
    children.reserve(static_cast<std::size_t>(group.getNumberOfChildren()) + 1);
    Append(children, group);
    children.emplace_back(name, child); // replaces one of the same name
    return GroupAttribute(children, group.getGroupInherit());
}

GroupAttribute WithMissing(const GroupAttribute& group, const GroupAttribute& more,
                           std::string_view except) {
    Children children;
    Append(children, group);
    for (std::int64_t index = 0; index < more.getNumberOfChildren(); ++index) {
        const std::string_view name = more.getChildNameView(index);
        if (name != except && group.findChild(name) < 0)
            children.emplace_back(name, more.getChildByIndex(index));
    }
    return GroupAttribute(children, (group.isValid() ? group : more).getGroupInherit());
}

GroupAttribute Merged(const GroupAttribute& base, const GroupAttribute& over) {
    OxAttribute::GroupBuilder builder;
    builder.setGroupInherit(base.getGroupInherit());
    builder.update(base);
    builder.deepUpdate(over);
    return builder.build();
}

GroupAttribute ReadXForm(const ArgReader& args, NumberForm form) {
    // An argument that is absent is invalid, and invalid children are left out.
    const GroupAttribute xform(Children{{"translate", args.numbers("translate", 3, form)},
                                        {"rotate", args.numbers("rotate", 4, form)},
                                        {"scale", args.numbers("scale", 3, form)},
                                        {"matrix", args.numbers("matrix", 16, form)}},
                               false);
    return xform.getNumberOfChildren() > 0 ? xform : GroupAttribute();
}

std::vector<OxOpType::Argument> XFormArguments() {
    return {{"translate", "double[3]", "Moves by x, y, z. Default: none."},
            {"rotate", "double[4]", "Turns by degrees about the axis x, y, z. Default: none."},
            {"scale", "double[3]", "Scales by x, y, z. Default: none."},
            {"matrix", "double[16]", "Row-major matrix for row vectors. Default: none."}};
}

GroupAttribute EditedXForm(const GroupAttribute& xform, const GroupAttribute& edit, XFormSide side,
                           std::string_view prefix) {
    const GroupAttribute::Child child(FreeName(xform, prefix), edit);
    Children children;
    children.reserve(static_cast<std::size_t>(xform.getNumberOfChildren()) + 1);
    if (side == XFormSide::Outermost) children.push_back(child);
    Append(children, xform);
    if (side == XFormSide::Innermost) children.push_back(child);
    // A transform is composed along the path, never inherited.
    return GroupAttribute(children, xform.isValid() && xform.getGroupInherit());
}

GroupAttribute WithXFormEdit(const GroupAttribute& attrs, const GroupAttribute& edit,
                             XFormSide side, std::string_view prefix) {
    const GroupAttribute xform(attrs.getChildByIndex(attrs.findChild("xform")));
    return WithChild(attrs, "xform", EditedXForm(xform, edit, side, prefix));
}

} // namespace TellarOps
