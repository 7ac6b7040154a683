#ifndef TELLAROPS_EDITOP_H
#define TELLAROPS_EDITOP_H

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "BuiltinOp.h"

namespace TellarOps {

/// An op type that only changes attributes of the locations that its "paths" match.
class EditOp : public BuiltinOp {
public:
    void cook(CookContext& context) const final;
    /// Warns of globs that match no location.
    void check(CheckContext& context) const override;
    SubtreeFacts describeSubtree(SubtreeContext& context) const final;
    std::shared_ptr<const Instances> describeInstances(InstanceContext& context) const final;
    /// The locations that "paths" matches, or only those of the globs that differ when all other
    /// arguments are equal.
    LocationSet touchedBy(const GroupAttribute& before, const GroupAttribute& after) const final;
    /// A location is made from the same location of the input. A type whose edit() reads others
    /// overrides this function.
    LocationSet touchedThrough(const GroupAttribute& args, std::size_t input,
                               const LocationSet& changed) const override;

protected:
    /// The attributes of matched locations that edits can change.
    struct EditedParts {
        bool type = false;
        bool shape = false; ///< points, radii and bounds
        bool xform = false;
        bool others = false; ///< attributes that no facts are about
    };

    struct EditState : State {
        explicit EditState(const ArgReader& args) : paths(args.globs("paths")) {}
        OxLocationPath::Patterns paths;
    };

    /// Adds the arguments to "paths".
    EditOp(std::string name, std::string summary, std::vector<OxOpType::Argument> arguments);

    /// The locations that the arguments say to change.
    LocationSet matchesOf(const GroupAttribute& args) const;

    /// The attributes that replace `attrs` at a matched location. Returns `attrs` to leave it
    /// unchanged.
    virtual GroupAttribute edit(CookContext& context, const GroupAttribute& attrs) const = 0;

    virtual EditedParts editedParts(const EditState& state) const = 0;
    /// The type bits of matched locations when edits change the type; nothing if not known.
    virtual std::optional<std::uint32_t> editedTypes(const EditState&) const { return {}; }
    /// The "xform" of a matched location when edits change it; nothing if not known.
    virtual std::optional<GroupAttribute> editedXForm(const EditState&,
                                                      const GroupAttribute&) const {
        return {};
    }

private:
    void editOwnFacts(const EditState& state, SubtreeFacts& facts) const;
    std::vector<std::string> globsOf(const GroupAttribute& args) const;
};

} // namespace TellarOps

#endif
