#include <memory>
#include <string>
#include <vector>

#include "InstancingOp.h"
#include "ListedPlacement.h"
#include "OpTypes.h"

namespace TellarOps {
namespace {

std::vector<OxOpType::Argument> Arguments() {
    std::vector<OxOpType::Argument> arguments{
        {"sources", "string[]",
         "The paths of the locations to be repeated, each with all below it. Required."},
        {"target", "string",
         "The location under which the instances appear; made with its ancestors where missing. "
         "Required."},
        {"indices", "int[]", "The source of each instance, from 0. Default: 0 for all."}};
    for (const OxOpType::Argument& argument : ListedArguments())
        arguments.push_back(argument);
    arguments.push_back(
        {"hidden", "int[]", "The indices of instances that are left out. Default: none."});
    return arguments;
}

bool IsOfPlaces(const std::string& argument) {
    return argument == "matrices" || argument == "translates" || argument == "rotates" ||
           argument == "scales";
}

class InstancesOp final : public InstancingOp {
public:
    InstancesOp()
        : InstancingOp("Instances",
                       "Repeats locations and all below them at given places. Instances are "
                       "computed one by one as they are asked for, so each costs no more than its "
                       "numbers in the arguments.",
                       Arguments()) {}

protected:
    std::shared_ptr<const State> parse(const ArgReader& args) const override {
        auto state = std::make_shared<InstancingState>();
        state->sources = PathTable(args.locations("sources"));
        state->target = args.location("target", "");
        state->placement = ReadListed(args);
        state->choice = std::make_shared<const InstanceChoice>(args, state->placement->count(),
                                                               state->sources.size());
        readCommonArguments(args, "sources", *state);
        return state;
    }

    LocationSet touchedByEdit(const Edit& edit) const override {
        bool areMovedOnly = edit.old.placement->count() == edit.now.placement->count();
        for (const std::string& name : edit.names)
            areMovedOnly = areMovedOnly && IsOfPlaces(name);
        return areMovedOnly ? instancesOf(edit.now) : LocationSet::subtrees({edit.now.target});
    }
};

} // namespace

const OxOpType::OpType* InstancesOpType() {
    static const auto* type = new InstancesOp;
    return type;
}

} // namespace TellarOps
