#include "AttrEdits.h"
#include "OpTypes.h"

namespace TellarOps {
namespace {

constexpr const char* kSettingsLocation = "/root";

struct RenderSettingsState : State {
    GroupAttribute attrs; // merged into those of the location
};

class RenderSettings final : public BuiltinOp {
public:
    RenderSettings()
        : BuiltinOp({"RenderSettings",
                     1,
                     "Merges settings into the \"renderSettings\" of /root, which it makes if "
                     "there is none.",
                     {{"settings", "group", "The settings. Required."}},
                     "one"},
                    Inputs::AtMostOne) {}

    void cook(CookContext& context) const override {
        if (context.path() != kSettingsLocation) {
            PassInput(context);
            return;
        }
        const LocationData data = InputAt(context, context.path());
        context.setAttrs(Merged(data.getAttrs(), StateOf<RenderSettingsState>(context).attrs));
        context.setPotentialChildren(data.getPotentialChildren());
    }

    SubtreeFacts describeSubtree(SubtreeContext& context) const override {
        SubtreeFacts facts = context.input(0);
        if (context.path() != kSettingsLocation) return facts;
        if (!facts.exists) return {};
        if (!*facts.exists) {
            facts = OxOpType::DescribeLocation(GroupAttribute(), StringAttribute());
            AddChildren(context, facts);
        }
        facts.identity = {};
        return facts;
    }

    std::shared_ptr<const Instances> describeInstances(InstanceContext& context) const override {
        return context.instances(0, context.path());
    }

    LocationSet touchedBy(const GroupAttribute&, const GroupAttribute&) const override {
        return LocationSet::exactly({kSettingsLocation});
    }
    LocationSet touchedThrough(const GroupAttribute&, std::size_t,
                               const LocationSet& changed) const override {
        return changed;
    }

protected:
    std::shared_ptr<const State> parse(const ArgReader& args) const override {
        auto state = std::make_shared<RenderSettingsState>();
        const GroupAttribute settings = args.requiredGroup("settings");
        using Children = std::vector<GroupAttribute::Child>;
        state->attrs = GroupAttribute(Children{{"renderSettings", settings}}, true);
        return state;
    }
};

} // namespace

const OxOpType::OpType* RenderSettingsOpType() {
    static const auto* type = new RenderSettings;
    return type;
}

} // namespace TellarOps
