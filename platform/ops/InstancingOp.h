#ifndef TELLAROPS_INSTANCINGOP_H
#define TELLAROPS_INSTANCINGOP_H

#include <memory>
#include <string>
#include <vector>

#include "BuiltinOp.h"
#include "InstancingState.h"

namespace TellarOps {

/// An op type that repeats locations of its input below a target. Derived types read their
/// arguments into an InstancingState.
class InstancingOp : public BuiltinOp {
public:
    void cook(CookContext& context) const final;
    /// Warns of sources that do not exist.
    void check(CheckContext& context) const final;
    SubtreeFacts describeSubtree(SubtreeContext& context) const final;
    std::shared_ptr<const Instances> describeInstances(InstanceContext& context) const final;
    LocationSet touchedBy(const GroupAttribute& before, const GroupAttribute& after) const final;
    LocationSet touchedThrough(const GroupAttribute& args, std::size_t input,
                               const LocationSet& changed) const final;

protected:
    /// Adds "groupSize" and "keepSource" to the arguments.
    InstancingOp(std::string name, std::string summary, std::vector<OxOpType::Argument> arguments);

    /// Reads the arguments that were added into a state of which sources, target and placement are
    /// there, and checks that these fit. `argument` is the one that names the sources.
    static void readCommonArguments(const ArgReader& args, std::string_view argument,
                                    InstancingState& state);

    /// The arguments that differ between two Ops, whose states have equal sources and targets.
    struct Edit {
        const std::vector<std::string>& names;
        const GroupAttribute& before;
        const GroupAttribute& after;
        const InstancingState& old;
        const InstancingState& now;
    };
    /// The locations that differ because of arguments other than "keepSource".
    virtual LocationSet touchedByEdit(const Edit& edit) const = 0;

    /// The instances themselves, without what is below them.
    static LocationSet instancesOf(const InstancingState& state);

private:
    /// Null for an Op that is not there. There is none without arguments.
    std::shared_ptr<const InstancingState> stateOf(const GroupAttribute& args) const;
};

} // namespace TellarOps

#endif
