#include "LocationMaterial.h"

#include <cstdint>
#include <cstring>
#include <set>

#include <OxTellarProducers/MaterialFlattening.h>
#include <OxTellarSDK/StringUtil.h>

namespace TellarTool {

namespace {

using namespace OxAttribute;
using TELLAR::GeometryProducer;

std::string TextOf(const Attribute& attribute) {
    return StringAttribute(attribute).getValue("", false);
}

/// The text before `ending`. Empty when the text does not end like that or has nothing before it.
std::string WithoutEnding(const std::string& text, const char* ending) {
    return OxStringUtil::endswith(text, ending) ? text.substr(0, text.size() - std::strlen(ending))
                                                : "";
}

GroupAttribute OwnMaterial(GeometryProducer& location) {
    return GroupAttribute(location.getAttribute("material"));
}

std::string Assignment(GeometryProducer& location) {
    return TextOf(location.getAttribute("materialAssign"));
}

/// The material at a path; invalid when there is none.
GroupAttribute MaterialAt(GeometryProducer& location, const std::string& path) {
    if (path.front() != '/') return {};
    const GeometryProducer::Ptr found = location.getRootProducer()->getProducerByPath(path);
    return found ? OwnMaterial(*found) : GroupAttribute();
}

/// The material at the path in the location's assignment. Adds a note when it is missing, or
/// differs from the location's own material.
GroupAttribute AssignedMaterial(LocationMaterial& found, GeometryProducer& location,
                                const std::string& assignment, const GroupAttribute& own) {
    const std::string path = location.getFullName();
    GroupAttribute assigned = MaterialAt(location, assignment);
    if (!assigned.isValid())
        found.notes.push_back(path + " is assigned \"" + assignment +
                              "\", where there is no material");
    else if (own.isValid() && !(own.getHash() == assigned.getHash()))
        found.notes.push_back("the \"material\" of " + path + " itself differs from that of " +
                              assignment + ", and is left out");
    return assigned;
}

/// Adds the location's own material, if it has one.
void AddSource(LocationMaterial& found, GeometryProducer& location) {
    GroupAttribute material = OwnMaterial(location);
    std::string assignment = Assignment(location);
    if (!assignment.empty()) {
        const GroupAttribute assigned = AssignedMaterial(found, location, assignment, material);
        if (assigned.isValid())
            material = assigned;
        else
            assignment.clear();
    }
    if (!material.isValid()) return;
    found.sources.push_back(
        {location.getFullName(), assignment, TELLAR::MinimizeResolvedMaterialAttr(material)});
}

} // namespace

bool IsNetwork(const GroupAttribute& material) {
    return TextOf(material.getChildByName("style")) == "network";
}

const char* StyleName(const GroupAttribute& material) {
    return IsNetwork(material) ? "network" : "legacy";
}

std::vector<std::string> TerminalNamesOf(const GroupAttribute& material) {
    const bool isNetwork = IsNetwork(material);
    const GroupAttribute group =
        isNetwork ? GroupAttribute(material.getChildByName("terminals")) : material;
    std::vector<std::string> names;
    for (std::int64_t i = 0; i < group.getNumberOfChildren(); ++i) {
        if (TextOf(group.getChildByIndex(i)).empty()) continue;
        const std::string name = group.getChildName(i);
        const std::string shaderOf = WithoutEnding(name, "Shader");
        const std::string portOf = WithoutEnding(name, kTerminalPort);
        if (!isNetwork) {
            if (!shaderOf.empty()) names.push_back(shaderOf);
        } else if (portOf.empty() || group.findChild(portOf) < 0) {
            names.push_back(name);
        }
    }
    return names;
}

std::vector<std::string> LocationMaterial::terminalNames() const {
    std::vector<std::string> names;
    std::set<std::string> known;
    for (const MaterialSource& source : sources)
        for (const std::string& name : TerminalNamesOf(source.material))
            if (known.insert(name).second) names.push_back(name);
    return names;
}

GroupAttribute LocationMaterial::flatten(const std::vector<std::string>& terminalNames) const {
    std::vector<GroupAttribute> materials;
    for (const MaterialSource& source : sources)
        materials.push_back(source.material);
    return TELLAR::GetFlattenedMaterialAttr(materials, terminalNames);
}

LocationMaterial FindMaterial(GeometryProducer& location) {
    LocationMaterial found;
    for (GeometryProducer* at = &location; at; at = at->getRawParentPtr())
        AddSource(found, *at);
    return found;
}

} // namespace TellarTool
