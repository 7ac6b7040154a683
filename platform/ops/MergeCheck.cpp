#include "MergeCheck.h"

#include <algorithm>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace TellarOps {
namespace {

/// The inputs, without null ones and without the second of two inputs that are the same Op.
std::vector<std::size_t> DifferentInputs(const CheckContext& context) {
    std::vector<std::size_t> inputs;
    for (std::size_t index = 0; index < context.numberOfInputs(); ++index) {
        const TellarRuntime::Op* const op = context.inputOp(index);
        const auto isSame = [&](std::size_t earlier) { return context.inputOp(earlier) == op; };
        if (op && std::none_of(inputs.begin(), inputs.end(), isSame)) inputs.push_back(index);
    }
    return inputs;
}

void WarnOfEqualInputs(CheckContext& context) {
    std::vector<const TellarRuntime::Op*> seen;
    for (const std::size_t index : DifferentInputs(context)) {
        const TellarRuntime::Op* const op = context.inputOp(index);
        const auto equal = std::find_if(seen.begin(), seen.end(), [op](const auto* earlier) {
            return earlier->getIdentity() == op->getIdentity();
        });
        if (equal != seen.end())
            context.warnOf(OxOpType::WarningKind::HiddenInput,
                           "its inputs \"" + (*equal)->getName() + "\" and \"" + op->getName() +
                               "\" are the same scene at the same place, which is there once");
        else
            seen.push_back(op);
    }
}

/// The type of a location; empty for groups and for locations without a type.
std::string TypeOf(const LocationData& location) {
    const GroupAttribute& attrs = location.getAttrs();
    const StringAttribute type(attrs.getChildByIndex(attrs.findChild("type")));
    std::string text = type.getValue("", false);
    return text == "group" ? std::string() : text;
}

/// Collects locations to which several inputs of a Merge give a type and different attributes.
class HiddenLocations {
public:
    explicit HiddenLocations(CheckContext& context) : context(context) { find(); }

    void warn() const {
        if (count == 0) return;
        const std::string others = count == 1 ? ""
                                   : count == 2
                                       ? " and one other location"
                                       : " and " + std::to_string(count - 1) + " other locations";
        context.warnOf(OxOpType::WarningKind::HiddenInput,
                       "its inputs \"" + firstNames.first + "\" and \"" + firstNames.second +
                           "\" both have \"" + firstPath + '"' + others +
                           "; what they have is mixed there");
    }

private:
    /// A path and the inputs that have it.
    struct Shared {
        std::string path;
        std::vector<std::size_t> inputs;
    };

    void find() {
        std::vector<Shared> open{{"/root", DifferentInputs(context)}};
        while (!open.empty()) {
            const Shared shared = std::move(open.back());
            open.pop_back();
            visit(shared, open);
        }
    }

    void visit(const Shared& shared, std::vector<Shared>& open) {
        Shared existing{shared.path, {}};
        std::vector<LocationData> locations;
        for (const std::size_t input : shared.inputs) {
            LocationData location = context.input(input, shared.path);
            const auto isKnown = [&location](const LocationData& other) {
                return other.getRecord() == location.getRecord();
            };
            if (!location.doesLocationExist() ||
                std::any_of(locations.begin(), locations.end(), isKnown))
                continue;
            existing.inputs.push_back(input);
            locations.push_back(std::move(location));
        }
        if (locations.size() < 2) return;
        compare(existing, locations);
        addChildren(existing, locations, open);
    }

    void compare(const Shared& shared, const std::vector<LocationData>& locations) {
        std::vector<std::size_t> typed;
        for (std::size_t i = 0; i < locations.size(); ++i)
            if (!TypeOf(locations[i]).empty()) typed.push_back(i);
        for (std::size_t i = 1; i < typed.size(); ++i) {
            if (locations[typed[i]].getHash() == locations[typed[0]].getHash()) continue;
            if (count++ > 0) return;
            firstPath = shared.path;
            firstNames = {context.inputOp(shared.inputs[typed[0]])->getName(),
                          context.inputOp(shared.inputs[typed[i]])->getName()};
            return;
        }
    }

    /// Children that only one input has cannot hide anything.
    static void addChildren(const Shared& parent, const std::vector<LocationData>& locations,
                            std::vector<Shared>& open) {
        std::map<std::string_view, std::vector<std::size_t>> owners;
        std::vector<std::string_view> names; // ordered by first occurrence
        for (std::size_t i = 0; i < locations.size(); ++i)
            for (const std::string_view name :
                 locations[i].getPotentialChildren().getNearestSample(0.0f)) {
                std::vector<std::size_t>& inputs = owners[name];
                if (inputs.empty()) names.push_back(name);
                inputs.push_back(parent.inputs[i]);
            }
        for (auto name = names.rbegin(); name != names.rend(); ++name)
            if (owners[*name].size() > 1)
                open.push_back({parent.path + '/' + std::string(*name), owners[*name]});
    }

    CheckContext& context;
    std::size_t count = 0;
    std::string firstPath;
    std::pair<std::string, std::string> firstNames; // names of the two inputs
};

} // namespace

void CheckMerge(CheckContext& context) {
    WarnOfEqualInputs(context);
    HiddenLocations(context).warn();
}

} // namespace TellarOps
