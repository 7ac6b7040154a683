#ifndef TELLAR_TOOL_LOCATIONMATERIAL_H
#define TELLAR_TOOL_LOCATIONMATERIAL_H

#include <string>
#include <vector>

#include <OxTellarProducers/GeometryProducer.h>
#include <OxTellarSDK/Attribute.h>

namespace TellarTool {

/// A material that contributes to that of a location: its own, or one of an ancestor.
struct MaterialSource {
    std::string location;     ///< the location or the ancestor
    std::string assignedFrom; ///< the material location; empty for a material of its own
    OxAttribute::GroupAttribute material; ///< minimised
};

/// The materials that a location's material is put together from, nearest first.
struct LocationMaterial {
    std::vector<MaterialSource> sources;
    std::vector<std::string> notes; ///< sentences about what is unusual

    /// The terminals of all materials, nearest first.
    std::vector<std::string> terminalNames() const;
    /// Invalid when all materials are empty.
    OxAttribute::GroupAttribute flatten(const std::vector<std::string>& terminalNames) const;
};

/// Whether it is a shading network and not pairs of shader and parameters (a legacy material).
bool IsNetwork(const OxAttribute::GroupAttribute& material);
/// "network" or "legacy".
const char* StyleName(const OxAttribute::GroupAttribute& material);

/// The end of the names of children of "terminals" that are no terminals: "surfacePort" says which
/// port of its node the terminal "surface" takes.
constexpr const char* kTerminalPort = "Port";

/// The terminals of one material, in its order.
std::vector<std::string> TerminalNamesOf(const OxAttribute::GroupAttribute& material);

/// Finds the "material" of the location and of each ancestor, as the library does. Where
/// "materialAssign" leads to a location with a "material", that one is taken instead.
LocationMaterial FindMaterial(TELLAR::GeometryProducer& location);

} // namespace TellarTool

#endif
