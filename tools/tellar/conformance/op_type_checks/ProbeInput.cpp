#include "ProbeInput.h"

#include <stdexcept>
#include <utility>
#include <vector>

#include <OxTellarSDK/GroupBuilder.h>
#include <OxTellarSDK/LocationPath.h>
#include <OxTellarSDK/OpType.h>

namespace TellarTool {

namespace {

using namespace OxAttribute;
using OxLocationPath::IsSelfOrBelow;
using OxLocationPath::LocationSet;

thread_local std::set<std::string> askedFor;

std::string TextOf(const GroupAttribute& args, const char* name) {
    return StringAttribute(args.getChildByName(name)).getValue("", false);
}

StringAttribute WithName(const StringAttribute& names, const std::string& name) {
    std::vector<std::string> all;
    for (const std::string_view each : names.getNearestSample(0))
        all.emplace_back(each);
    all.push_back(name);
    return StringAttribute(all, 1);
}

class ProbeInput final : public OxOpType::OpType {
public:
    ProbeInput() { about.name = kProbeInput; }

    const OxOpType::Description& description() const override { return about; }

    void cook(OxOpType::CookContext& context) const override {
        const GroupAttribute& args = context.args();
        const std::string& path = context.path();
        askedFor.insert(path);
        if (path == TextOf(args, "fail")) throw std::runtime_error(kProbeError);
        const std::string hidden = TextOf(args, "hide");
        if (!hidden.empty() && IsSelfOrBelow(path, hidden)) return;
        const std::string parent = TextOf(args, "add");
        if (!parent.empty() && path == parent + "/probe") return addChild(context, parent);
        const TellarRuntime::LocationData data = context.input(0);
        context.pass(data);
        if (!data.doesLocationExist()) return;
        if (path == TextOf(args, "touch")) setAttribute(context, data.getAttrs());
        if (path == parent)
            context.setPotentialChildren(WithName(data.getPotentialChildren(), "probe"));
    }

    LocationSet touchedBy(const GroupAttribute& before,
                          const GroupAttribute& after) const override {
        LocationSet touched;
        for (const GroupAttribute& args : {before, after}) {
            for (const char* const name : {"fail", "touch", "add"})
                if (const std::string path = TextOf(args, name); !path.empty())
                    touched.add(LocationSet::exactly({path}));
            if (const std::string path = TextOf(args, "hide"); !path.empty())
                touched.add(LocationSet::subtrees({path}));
            if (const std::string path = TextOf(args, "add"); !path.empty())
                touched.add(LocationSet::subtrees({path + "/probe"}));
        }
        return touched;
    }

    LocationSet touchedThrough(const GroupAttribute&, std::size_t,
                               const LocationSet& changed) const override {
        return changed;
    }

private:
    static void setAttribute(OxOpType::CookContext& context, const GroupAttribute& attrs) {
        GroupBuilder attributes;
        attributes.update(attrs);
        attributes.set("probe", context.args().getChildByName("label"));
        context.setAttrs(attributes.build());
    }

    static void addChild(OxOpType::CookContext& context, const std::string& parent) {
        if (context.input(0, parent).doesLocationExist())
            context.setAttrs(GroupAttribute({{"type", StringAttribute("group")}}, true));
    }

    OxOpType::Description about;
};

} // namespace

void RegisterProbeInput() {
    if (!OxOpType::FindOpType(kProbeInput)) OxOpType::RegisterOpType(new ProbeInput);
}

std::set<std::string> TakeLocationsAskedFor() {
    return std::exchange(askedFor, {});
}

} // namespace TellarTool
