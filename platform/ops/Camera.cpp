#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "AttrEdits.h"
#include "ChildNames.h"
#include "OpTypes.h"

namespace TellarOps {
namespace {

struct CameraNumber {
    const char* name;
    double absent;
    const char* summary;
};

constexpr CameraNumber kNumbers[] = {
    {"fov", 45, "Field of view of a screen window from -1 to 1, in degrees. Default: 45."},
    {"near", 0.1, "Distance of the near clipping plane. Default: 0.1."},
    {"far", 100000, "Distance of the far clipping plane. Default: 100000."},
    {"left", -1, "Left edge of the screen window. Default: -1."},
    {"right", 1, "Right edge of the screen window. Default: 1."},
    {"top", 1, "Top edge of the screen window. Default: 1."},
    {"bottom", -1, "Bottom edge of the screen window. Default: -1."},
};

struct CameraState : State {
    std::string path;
    std::vector<GroupAttribute::Child> attrs; // replace attributes of the location
    GroupAttribute xform;                     // invalid: the location keeps its own
};

std::vector<OxOpType::Argument> Arguments() {
    std::vector<OxOpType::Argument> arguments = {
        {"path", "string",
         "The camera's location; ancestors that are missing are made. Default: "
         "\"/root/world/cam/camera\"."},
        {"projection", "string", "\"perspective\" or \"orthographic\". Default: \"perspective\"."}};
    for (const CameraNumber& number : kNumbers)
        arguments.push_back({number.name, "double", number.summary});
    arguments.push_back({"orthographicWidth", "double",
                         "Width of what an orthographic camera sees. Default: none."});
    for (OxOpType::Argument& argument : XFormArguments())
        arguments.push_back(std::move(argument));
    return arguments;
}

GroupAttribute ReadGeometry(const ArgReader& args) {
    std::vector<GroupAttribute::Child> geometry;
    const std::string projection = args.choice("projection", {"perspective", "orthographic"});
    geometry.emplace_back("projection", StringAttribute(projection));
    for (const CameraNumber& number : kNumbers) {
        Attribute value = args.numbers(number.name, 1, NumberForm::Double);
        if (!value.isValid()) value = DoubleAttribute(number.absent);
        geometry.emplace_back(number.name, value);
    }
    geometry.emplace_back("orthographicWidth",
                          args.numbers("orthographicWidth", 1, NumberForm::Double));
    return GroupAttribute(geometry, true);
}

class Camera final : public BuiltinOp {
public:
    Camera()
        : BuiltinOp({"Camera", 1, "Adds a camera, or makes one of the location that is there.",
                     Arguments(), "one"},
                    Inputs::AtMostOne) {}

    void cook(CookContext& context) const override {
        const CameraState& state = StateOf<CameraState>(context);
        const std::string& path = context.path();
        if (!OxLocationPath::IsSelfOrBelow(state.path, path)) {
            PassInput(context);
            return;
        }
        const LocationData data = InputAt(context, path);
        const StringAttribute& children = data.getPotentialChildren();
        if (path != state.path) {
            PassWithChildren(context, data, WithName(children, NameTowards(state.path, path)));
            return;
        }
        GroupAttribute attrs = data.getAttrs();
        for (const auto& [name, value] : state.attrs)
            attrs = WithChild(attrs, name, value);
        context.setAttrs(attrs);
        context.setPotentialChildren(children);
    }

    SubtreeFacts describeSubtree(SubtreeContext& context) const override {
        const CameraState& state = StateOf<CameraState>(context);
        SubtreeFacts facts = context.input(0);
        if (!OxLocationPath::IsSelfOrBelow(state.path, context.path())) return facts;
        if (!facts.exists) return {};
        if (!*facts.exists) facts = FactsOfPlainGroup();
        facts.identity = {};
        // Ancestors of the camera that are missing become groups.
        constexpr std::uint32_t kAdded = OxOpType::kTypeCamera | OxOpType::kTypeGroup;
        if (facts.types) facts.types = *facts.types | kAdded;
        if (context.path() == state.path) {
            describeCamera(state, facts);
        } else {
            const std::string_view name = NameTowards(state.path, context.path());
            if (facts.children) facts.children = WithName(*facts.children, name);
            facts.locations.reset();
            facts.bound.reset();
        }
        AddChildren(context, facts);
        return facts;
    }

    std::shared_ptr<const Instances> describeInstances(InstanceContext& context) const override {
        const std::string& camera = StateOf<CameraState>(context).path;
        const std::string& path = context.path();
        const bool isAboveCamera = path != camera && OxLocationPath::IsSelfOrBelow(camera, path);
        return isAboveCamera ? nullptr : context.instances(0, path);
    }

    LocationSet touchedBy(const GroupAttribute& before,
                          const GroupAttribute& after) const override {
        const std::string pathBefore = pathOf(ArgReader(description(), before));
        const std::string path = pathOf(ArgReader(description(), after));
        LocationSet cameras = LocationSet::exactly({pathBefore, path});
        // An Op without arguments has a camera, but there may be no Op at all.
        if (before.isValid() && after.isValid() && pathBefore == path) return cameras;
        return LocationSet::unionOf(
            {cameras, LocationSet::ancestorsOf(pathBefore), LocationSet::ancestorsOf(path)});
    }
    LocationSet touchedThrough(const GroupAttribute&, std::size_t,
                               const LocationSet& changed) const override {
        return changed;
    }

protected:
    std::shared_ptr<const State> parse(const ArgReader& args) const override {
        auto state = std::make_shared<CameraState>();
        state->path = pathOf(args);
        state->attrs = {{"type", StringAttribute("camera")}, {"geometry", ReadGeometry(args)}};
        const GroupAttribute xform = ReadXForm(args, NumberForm::Double);
        if (xform.isValid()) state->attrs.emplace_back("xform", xform);
        state->xform = xform;
        return state;
    }

private:
    /// Changes the facts of the location that becomes a camera.
    static void describeCamera(const CameraState& state, SubtreeFacts& facts) {
        facts.ownTypes = OxOpType::kTypeCamera;
        if (state.xform.isValid()) facts.xform = state.xform;
        // A camera has no points, but shows an attribute "bound" that it had before.
        if (!facts.isPlain) facts.ownBound.reset();
        facts.isPlain = false;
        if (!facts.ownBound) facts.bound.reset();
    }

    static std::string pathOf(const ArgReader& args) {
        return args.location("path", "/root/world/cam/camera");
    }
};

} // namespace

const OxOpType::OpType* CameraOpType() {
    static const auto* type = new Camera;
    return type;
}

} // namespace TellarOps
