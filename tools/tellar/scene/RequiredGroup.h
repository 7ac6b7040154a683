#ifndef TELLAR_TOOL_REQUIREDGROUP_H
#define TELLAR_TOOL_REQUIREDGROUP_H

#include <string>

#include <OxTellarProducers/GeometryProducer.h>
#include <OxTellarSDK/Attribute.h>

#include "Scene.h"

namespace TellarTool {

enum class Inheritance { None, FromAncestors };

/// The attribute of this name, a group, without which a command has nothing to do. Throws
/// std::runtime_error naming the scene and the location when it is missing or no group.
OxAttribute::GroupAttribute RequiredGroup(const Scene& scene, TELLAR::GeometryProducer& location,
                                          const std::string& name, Inheritance inheritance);

} // namespace TellarTool

#endif
