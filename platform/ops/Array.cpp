#include <memory>
#include <string>
#include <vector>

#include "InstancingOp.h"
#include "OpTypes.h"

namespace TellarOps {
namespace {

std::vector<OxOpType::Argument> Arguments() {
    return {
        {"source", "string", "The location to be repeated with all below it. Required."},
        {"target", "string",
         "The location under which the instances appear; made with its ancestors where missing. "
         "Required."},
        {"mode", "string", "\"grid\" or \"scatter\". Default: \"grid\"."},
        {"counts", "int[3]", "Grid: instances along x, y, z. Required there."},
        {"spacing", "double[3]", "Grid: distance along x, y, z. Default: 1, 1, 1."},
        {"count", "int", "Scatter: how many instances. Required there."},
        {"seed", "int", "Scatter: another seed, another arrangement. Default: 0."},
        {"extent", "double[6]",
         "Scatter: x min, x max, y min, y max, z min, z max; instances are spread evenly within. "
         "Required there."},
        {"spin", "int", "Scatter: 1 turns each instance about y at random. Default: 0."},
    };
}

bool IsOfPlacesOnly(const std::string& argument) {
    return argument == "spacing" || argument == "extent" || argument == "seed" ||
           argument == "spin";
}

/// True when only the number of instances differs, and those that both arrays have are equal: the
/// count of a scatter, or that of a grid along the last axis.
bool IsLongerOnly(const std::vector<std::string>& names, const GroupAttribute& before,
                  const GroupAttribute& after) {
    if (names.size() != 1) return false;
    if (names[0] != "counts") return names[0] == "count";
    const auto old = IntAttribute(before.getChildByName("counts")).getNearestSample(0);
    const auto now = IntAttribute(after.getChildByName("counts")).getNearestSample(0);
    return old.size() == 3 && now.size() == 3 && old[0] == now[0] && old[1] == now[1];
}

class Array final : public InstancingOp {
public:
    Array()
        : InstancingOp("Array",
                       "Repeats a location and all below it many times, as a grid or scattered. "
                       "Instances are computed one by one as they are asked for, so their number "
                       "costs nothing.",
                       Arguments()) {}

protected:
    std::shared_ptr<const State> parse(const ArgReader& args) const override {
        auto state = std::make_shared<InstancingState>();
        state->sources = PathTable(StringAttribute(args.location("source", "")));
        state->target = args.location("target", "");
        const bool isGrid = args.choice("mode", {"grid", "scatter"}) == "grid";
        state->placement = isGrid ? ReadGrid(args) : ReadScatter(args);
        readCommonArguments(args, "source", *state);
        return state;
    }

    LocationSet touchedByEdit(const Edit& edit) const override {
        if (IsLongerOnly(edit.names, edit.before, edit.after))
            return edit.old.tree.differenceTo(edit.now.tree, edit.now.target);
        for (const std::string& name : edit.names)
            if (!IsOfPlacesOnly(name)) return LocationSet::subtrees({edit.now.target});
        return instancesOf(edit.now);
    }
};

} // namespace

const OxOpType::OpType* ArrayOpType() {
    static const auto* type = new Array;
    return type;
}

} // namespace TellarOps
