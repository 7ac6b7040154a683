#ifndef TELLAR_TOOL_LOCATIONMATERIAL_H
#define TELLAR_TOOL_LOCATIONMATERIAL_H

#include <string>
#include <vector>

#include <OxTellarProducers/GeometryProducer.h>
#include <OxTellarSDK/Attribute.h>

namespace TellarTool {

/// A material that counts for a location: its own, or that of an ancestor.
struct MaterialSource {
    std::string location;     ///< the location or the ancestor
    std::string assignedFrom; ///< the material location; empty for a material of its own
    OxAttribute::GroupAttribute material; ///< minimised
};

/// The materials that make up a location's, nearest first.
struct LocationMaterial {
    std::vector<MaterialSource> sources;
    std::vector<std::string> notes; ///< what somebody who wonders about them should know

    /// All that any of them serves, nearest first.
    std::vector<std::string> terminalNames() const;
    /// Invalid when there is nothing in any of them.
    OxAttribute::GroupAttribute flatten(const std::vector<std::string>& terminalNames) const;
};

/// Whether it is a shading network; else it is pairs of shader and parameters.
bool IsNetwork(const OxAttribute::GroupAttribute& material);
/// "network" or "legacy".
const char* StyleName(const OxAttribute::GroupAttribute& material);

/// What ends the names of those children of "terminals" that are none, but say which port of its
/// node serves a terminal: "surfacePort" beside "surface".
constexpr const char* kTerminalPort = "Port";

/// Terminals of a material by itself, in its order.
std::vector<std::string> TerminalNamesOf(const OxAttribute::GroupAttribute& material);

/// The "material" of the location and of each ancestor, as the library does it, but where
/// "materialAssign" leads to a location with a "material", it is that one.
LocationMaterial FindMaterial(TELLAR::GeometryProducer& location);

} // namespace TellarTool

#endif
