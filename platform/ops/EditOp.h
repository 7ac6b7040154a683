#ifndef TELLAROPS_EDITOP_H
#define TELLAROPS_EDITOP_H

#include "BuiltinOp.h"

namespace TellarOps {

/// An op type that only changes attributes of the locations that its "paths" match.
class EditOp : public BuiltinOp {
public:
    void cook(CookContext& context) const final;
    /// Warns of globs that match no location.
    void check(CheckContext& context) const override;

protected:
    struct EditState : State {
        explicit EditState(const ArgReader& args) : paths(args.globs("paths")) {}
        OxLocationPath::Patterns paths;
    };

    /// Adds the arguments to "paths".
    EditOp(std::string name, std::string summary, std::vector<OxOpType::Argument> arguments);

    /// The attributes that replace `attrs` at a matched location. Returns `attrs` to leave it
    /// unchanged.
    virtual GroupAttribute edit(CookContext& context, const GroupAttribute& attrs) const = 0;
};

} // namespace TellarOps

#endif
