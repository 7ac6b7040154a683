#include "EditOp.h"

#include <utility>

#include "LocationSearch.h"

namespace TellarOps {
namespace {

std::vector<OxOpType::Argument> WithPaths(std::vector<OxOpType::Argument> arguments) {
    arguments.insert(arguments.begin(), {"paths", "string[]",
                                         "Globs of the locations to change: \"*\" and \"?\" within "
                                         "a level, \"**\" across levels. Required."});
    return arguments;
}

} // namespace

EditOp::EditOp(std::string name, std::string summary, std::vector<OxOpType::Argument> arguments)
    : BuiltinOp({std::move(name), 1, std::move(summary), WithPaths(std::move(arguments)), "one"},
                Inputs::AtMostOne) {}

void EditOp::cook(CookContext& context) const {
    const LocationData data = InputAt(context, context.path());
    if (!data.doesLocationExist()) return;
    if (!StateOf<EditState>(context).paths.matches(context.path())) {
        context.pass(data);
        return;
    }
    const GroupAttribute& attrs = data.getAttrs();
    const GroupAttribute edited = edit(context, attrs);
    if (edited.getHandle() == attrs.getHandle()) {
        context.pass(data);
        return;
    }
    context.setAttrs(edited);
    context.setPotentialChildren(data.getPotentialChildren());
}

void EditOp::check(CheckContext& context) const {
    WarnOfUnmatchedGlobs(context, "paths");
}

} // namespace TellarOps
