#include "RequiredGroup.h"

#include <stdexcept>

namespace TellarTool {

using namespace OxAttribute;

namespace {

Attribute FindAttribute(TELLAR::GeometryProducer& location, const std::string& name,
                        Inheritance inheritance) {
    if (name.empty()) return {}; // the library would return all attributes
    return inheritance == Inheritance::FromAncestors ? location.getGlobalAttribute(name)
                                                     : location.getAttribute(name.c_str());
}

} // namespace

GroupAttribute RequiredGroup(const Scene& scene, TELLAR::GeometryProducer& location,
                             const std::string& name, Inheritance inheritance) {
    const Attribute attribute = FindAttribute(location, name, inheritance);
    GroupAttribute group(attribute);
    if (group.isValid()) return group;
    throw std::runtime_error(scene.getPath() + ": " + location.getFullName() +
                             (attribute.isValid() ? ": the attribute \"" + name + "\" is no group"
                                                  : " has no attribute \"" + name + "\""));
}

} // namespace TellarTool
