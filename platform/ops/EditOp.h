#ifndef TELLAROPS_EDITOP_H
#define TELLAROPS_EDITOP_H

#include "BuiltinOp.h"

namespace TellarOps {

/// An op type that changes attributes of the locations its "paths" match, and nothing else.
class EditOp : public BuiltinOp {
public:
    void cook(CookContext& context) const final;

protected:
    struct EditState : State {
        explicit EditState(const ArgReader& args) : paths(args.globs("paths")) {}
        OxLocationPath::Patterns paths;
    };

    /// Adds the arguments to "paths".
    EditOp(std::string name, std::string summary, std::vector<OxOpType::Argument> arguments);

    /// The attributes that a matched location gets instead of `attrs`; `attrs` itself leaves
    /// it alone.
    virtual GroupAttribute edit(CookContext& context, const GroupAttribute& attrs) const = 0;
};

} // namespace TellarOps

#endif
