#include "AttributeChanges.h"

#include <string_view>

#include <OxTellarProducers/SceneChanges.h>
#include <OxTellarSDK/AttributeDifference.h>

namespace TELLAR {

namespace {

using OxAttribute::GroupAttribute;

struct NamedMask {
    std::string_view name;
    std::uint32_t mask;
};

constexpr NamedMask kAttributes[] = {
    {"xform", kTransformChanged},         {"bound", kGeometryChanged},
    {"material", kMaterialChanged},       {"materialAssign", kMaterialChanged},
    {"textures", kMaterialChanged},       {"visible", kVisibilityChanged},
    {"renderSettings", kSettingsChanged}, {"liveRenderSettings", kSettingsChanged},
    {"liveRender", kSettingsChanged},     {"type", kTypeChanged},
};

// The children of "geometry".
constexpr NamedMask kGeometry[] = {
    {"point", kGeometryChanged},
    {"vertex", kGeometryChanged},
    {"arbitrary", kGeometryChanged},
    {"constantWidth", kGeometryChanged},
    {"radius", kGeometryChanged},
    {"poly", kTopologyChanged},
    {"faces", kTopologyChanged},
    {"numVertices", kTopologyChanged},
    {"basis", kTopologyChanged},
    {"degree", kTopologyChanged},
    {"closed", kTopologyChanged},
    {"crossSection", kTopologyChanged},
    {"subdivisionScheme", kTopologyChanged},
    {"interpolateBoundary", kTopologyChanged},
    {"interpolateFaceVarying", kTopologyChanged},
    {"creaseIndices", kTopologyChanged},
    {"creaseLengths", kTopologyChanged},
    {"creaseSharpness", kTopologyChanged},
    {"cornerIndices", kTopologyChanged},
    {"cornerSharpness", kTopologyChanged},
    {"holeFaces", kTopologyChanged},
};

/// Groups of settings that renderers define have names such as "lanternSettings".
constexpr std::string_view kSettingsEnding = "Settings";

bool EndsWith(std::string_view text, std::string_view ending) {
    return text.size() >= ending.size() && text.substr(text.size() - ending.size()) == ending;
}

/// kOtherChanged for a name that is not in the table.
template <std::size_t Count>
std::uint32_t MaskOf(const NamedMask (&table)[Count], std::string_view name) {
    for (const NamedMask& entry : table)
        if (entry.name == name) return entry.mask;
    return kOtherChanged;
}

GroupAttribute GroupAt(const GroupAttribute& attrs, std::string_view name) {
    return attrs.getChildByIndex(attrs.findChild(name));
}

void AddGeometry(const GroupAttribute& before, const GroupAttribute& after,
                 AttributeChanges& changes) {
    const std::vector<std::string> names = OxAttribute::DifferingChildren(before, after);
    // The groups differ in another way, such as the order of their children.
    if (names.empty()) {
        changes.mask |= kOtherChanged;
        changes.attributes.emplace_back("geometry");
    }
    for (const std::string& name : names) {
        const std::uint32_t mask = MaskOf(kGeometry, name);
        changes.mask |= mask;
        if (mask == kOtherChanged) changes.attributes.push_back("geometry." + name);
    }
}

} // namespace

AttributeChanges CompareAttributes(const GroupAttribute& before, const GroupAttribute& after) {
    AttributeChanges changes;
    for (const std::string& name : OxAttribute::DifferingChildren(before, after)) {
        if (name == "geometry") {
            AddGeometry(GroupAt(before, name), GroupAt(after, name), changes);
            continue;
        }
        std::uint32_t mask = MaskOf(kAttributes, name);
        if (mask == kOtherChanged && EndsWith(name, kSettingsEnding)) mask = kSettingsChanged;
        changes.mask |= mask;
        if (mask == kOtherChanged) changes.attributes.push_back(name);
    }
    return changes;
}

} // namespace TELLAR
