/* An op type in C++, made to be copied: "Spiral" turns a location into a spiral of copies of
   itself. docs/writing-an-op-type.md explains it step by step.

       c++ -std=c++17 -shared -fPIC spiral.cpp -o spiral.so \
           $(pkg-config --cflags --libs OxTellarSDK)
       OX_PLUGIN_PATH=$PWD tellar ops Spiral */

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/GroupBuilder.h>
#include <OxTellarSDK/LocationPath.h>
#include <OxTellarSDK/LocationSet.h>
#include <OxTellarSDK/OpType.h>
#include <OxTellarSDK/OxPluginApi.h>
#include <OxTellarSDK/TellarError.h>

namespace {

using OxAttribute::DoubleAttribute;
using OxAttribute::GroupAttribute;
using OxAttribute::GroupBuilder;
using OxAttribute::IntAttribute;
using OxAttribute::StringAttribute;
using OxLocationPath::IsSelfOrBelow;
using OxLocationPath::LocationSet;
using OxLocationPath::PatternOf;

constexpr std::int32_t kMostCopies = 100000;
constexpr std::string_view kCopyName = "copy_";

// ---- Arguments ----------------------------------------------------------------------------------

/// The arguments of an Op after they were checked.
struct SpiralState : OxOpType::State {
    std::string location;
    std::int32_t count = 0;
    double radius = 0;
    double height = 0;
    double turns = 0;
};

double ReadNumber(const GroupAttribute& args, const char* name, double otherwise) {
    const OxAttribute::Attribute value = args.getChildByName(name);
    if (!value.isValid()) return otherwise;
    if (value.getType() == kAttributeTypeInt) return IntAttribute(value).getValue(0);
    const DoubleAttribute number(value);
    if (!number.isValid())
        throw TellarError::OfAttribute(name,
                                       std::string("argument \"") + name + "\": not a number");
    return number.getValue(0);
}

std::string LocationOf(const GroupAttribute& args) {
    return StringAttribute(args.getChildByName("location")).getValue("", false);
}

std::int32_t ReadCount(const GroupAttribute& args) {
    const IntAttribute count(args.getChildByName("count"));
    const std::int32_t value = count.isValid() ? count.getValue(0) : 0;
    if (value < 1 || value > kMostCopies)
        throw TellarError::OfAttribute("count", "argument \"count\": must be from 1 to 100000");
    return value;
}

// ---- Copies -------------------------------------------------------------------------------------

/// A copy, and what follows its name in a path: "" or "/mesh".
struct CopyPath {
    std::int32_t index;
    std::string rest;
};

/// The copy at or above a path below the location; nothing when the name is not that of a copy.
std::optional<CopyPath> FindCopy(const SpiralState& state, const std::string& path) {
    const std::string_view below = std::string_view(path).substr(state.location.size() + 1);
    const std::string name(below.substr(0, below.find('/')));
    for (std::size_t i = 0; i < name.size(); ++i)
        if (i < kCopyName.size() ? name[i] != kCopyName[i] : name[i] < '0' || name[i] > '9')
            return {};
    if (name.size() <= kCopyName.size() || name.size() > kCopyName.size() + 6) return {};
    const std::string digits = name.substr(kCopyName.size());
    const int index = std::stoi(digits);
    if (index >= state.count || std::to_string(index) != digits) return {};
    return CopyPath{index, std::string(below.substr(name.size()))};
}

StringAttribute CopyNames(const SpiralState& state) {
    std::vector<std::string> names;
    names.reserve(static_cast<std::size_t>(state.count));
    for (std::int32_t i = 0; i < state.count; ++i)
        names.push_back(std::string(kCopyName) + std::to_string(i));
    return StringAttribute(names, 1);
}

/// The attributes of a copy: those of the location, with its place on the spiral in front of its
/// own transform.
GroupAttribute CopyAttributes(const SpiralState& state, std::int32_t index,
                              const GroupAttribute& attributes) {
    const double part = static_cast<double>(index) / state.count;
    GroupBuilder xform;
    xform.set("rotateSpiral", DoubleAttribute({360 * state.turns * part, 0, 1, 0}, 4));
    xform.set("translateSpiral", DoubleAttribute({state.radius, state.height * part, 0}, 3));
    xform.update(GroupAttribute(attributes.getChildByName("xform")));
    GroupBuilder result;
    result.update(attributes);
    result.set("xform", xform.build());
    return result.build();
}

// ---- The op type --------------------------------------------------------------------------------

class Spiral final : public OxOpType::OpType {
public:
    Spiral() {
        about.name = "Spiral";
        about.version = 1; // to be increased whenever the results change
        about.summary = "Turns a location into a spiral of copies of itself.";
        about.inputs = "one";
        about.arguments = {
            {"location", "string", "The location. Required."},
            {"count", "int", "The number of copies, from 1 to 100000. Required."},
            {"radius", "double", "The distance of the copies from the y axis. Default: 1."},
            {"height", "double", "The height of the spiral. Default: 1."},
            {"turns", "double", "The number of turns. Default: 1."},
        };
    }

    const OxOpType::Description& description() const override { return about; }

    std::shared_ptr<const OxOpType::State> prepare(const GroupAttribute& args,
                                                   std::size_t) const override {
        auto state = std::make_shared<SpiralState>();
        state->location = LocationOf(args);
        if (state->location.rfind("/root/", 0) != 0)
            throw TellarError::OfAttribute("location",
                                           "argument \"location\": must begin with \"/root/\"");
        state->count = ReadCount(args);
        state->radius = ReadNumber(args, "radius", 1);
        state->height = ReadNumber(args, "height", 1);
        state->turns = ReadNumber(args, "turns", 1);
        return state;
    }

    void cook(OxOpType::CookContext& context) const override {
        const auto& state = static_cast<const SpiralState&>(*context.state());
        const std::string& path = context.path();
        if (!IsSelfOrBelow(path, state.location))
            context.pass(context.input(0));
        else if (path == state.location)
            cookLocation(context, state);
        else if (const std::optional<CopyPath> copy = FindCopy(state, path))
            cookCopy(context, state, *copy);
    }

    /// All copies may differ when an argument does.
    LocationSet touchedBy(const GroupAttribute& before,
                          const GroupAttribute& after) const override {
        std::vector<std::string> locations;
        for (const GroupAttribute* const args : {&before, &after})
            if (args->isValid()) locations.push_back(LocationOf(*args));
        return LocationSet::subtrees(locations);
    }

    /// A change in the location changes all of its copies.
    LocationSet touchedThrough(const GroupAttribute& args, std::size_t,
                               const LocationSet& changed) const override {
        const std::string location = LocationOf(args);
        const std::string copies = PatternOf(location) + '/' + std::string(kCopyName) + '*';
        return LocationSet::unionOf({changed, changed.movedToEach(location, copies)});
    }

private:
    /// The location becomes a group of copies.
    static void cookLocation(OxOpType::CookContext& context, const SpiralState& state) {
        if (!context.input(0).doesLocationExist()) return;
        context.setAttrs(GroupAttribute({{"type", StringAttribute("group")}}, true));
        context.setPotentialChildren(CopyNames(state));
    }

    static void cookCopy(OxOpType::CookContext& context, const SpiralState& state,
                         const CopyPath& copy) {
        const TellarRuntime::LocationData data = context.input(0, state.location + copy.rest);
        if (!data.doesLocationExist()) return;
        context.pass(data); // without a copy: all copies share what is below
        if (copy.rest.empty()) context.setAttrs(CopyAttributes(state, copy.index, data.getAttrs()));
    }

    OxOpType::Description about;
};

// ---- Entry points -------------------------------------------------------------------------------

const OxOpType::OpType* GetOpType() {
    static const auto* const type = new Spiral; // lives to the end of the process
    return type;
}

const void* GetSuite() {
    static constexpr OxOpTypePluginSuite_v3 suite = {GetOpType};
    return &suite;
}

constexpr OxPluginRecord_v1 kRecord = {OX_PLUGIN_RECORD_VERSION,
                                       "Spiral",
                                       OxOpType::kPluginApiName,
                                       OxOpType::kPluginApiVersion,
                                       1, // the version of this plug-in
                                       0,
                                       GetSuite,
                                       nullptr,
                                       nullptr};

} // namespace

unsigned int OxGetPluginCount(void) {
    return 1;
}

const OxPluginRecord_v1* OxGetPlugin(unsigned int index) {
    return index == 0 ? &kRecord : nullptr;
}
