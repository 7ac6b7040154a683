#ifndef OXTELLARPRODUCERS_MATERIALFLATTENING_H
#define OXTELLARPRODUCERS_MATERIALFLATTENING_H

#include <string>
#include <vector>

#include <OxTellarProducers/GeometryProducer.h>

namespace TELLAR {

// The effective material of a location, combined from its own and those of its ancestors. Malformed
// parts of materials are left out. Threads: any.

/// Combines several materials, the nearest first. A single one is returned as it is; an empty list
/// gives an invalid group.
///
/// If none is a network ("style" is "network"), each child comes from the nearest material that has
/// a child of this name. Otherwise the result is one network. Each of `terminalNames` is taken from
/// the nearest material that has it. The network has the nodes, interface entries and parameters of
/// all materials that supply a terminal; ":" and the material's index in the list are appended to
/// their names. A legacy material becomes a network with one node per terminal: the shader
/// "<terminal>Shader" with the parameters "<terminal>Params".
TELLAR_API OxAttribute::GroupAttribute
GetFlattenedMaterialAttr(const std::vector<OxAttribute::GroupAttribute>& materials,
                         const std::vector<std::string>& terminalNames);

/// The same for the "material" of a location and of its ancestors, each first reduced by
/// MinimizeResolvedMaterialAttr. Invalid for a null producer.
///
/// Results are cached until EmptyFlattenedMaterialCache is called or memory is short
/// (OxTellarSDK/MemoryBudget.h); equal materials share one.
///
/// Trap: the location's path is the only key. The first result is returned for other terminal names
/// too, and for the same path in another scene. FlattenMaterials has another key, and the form
/// above caches nothing.
TELLAR_API OxAttribute::GroupAttribute
GetFlattenedMaterialAttr(GeometryProducer::Ptr producer,
                         const std::vector<std::string>& terminalNames);

/// The attributes "material" of a location and of its ancestors, nearest first. Empty when there
/// are none.
TELLAR_API std::vector<OxAttribute::GroupAttribute> GetMaterials(GeometryProducer& location);

/// Combines several materials, the nearest first, each first reduced by
/// MinimizeResolvedMaterialAttr. Invalid for an empty list.
///
/// The results for a few thousand lists are cached by the content of the materials and by the
/// terminal names. Equal arguments give one value while it is cached.
TELLAR_API OxAttribute::GroupAttribute
FlattenMaterials(const std::vector<OxAttribute::GroupAttribute>& materials,
                 const std::vector<std::string>& terminalNames);

/// Empties the caches of both. A cache by path needs it when the scene or the terminal names
/// change. Results of calls in progress are returned, but not cached.
TELLAR_API void EmptyFlattenedMaterialCache();

/// A network material reduced to what flattening and the readers of networks use: "style", "nodes",
/// "parameters", the "src" of the interface entries of exposed parameters, and "terminals", in this
/// order. Any other material is returned as it is.
TELLAR_API OxAttribute::GroupAttribute
MinimizeResolvedMaterialAttr(const OxAttribute::GroupAttribute& material);

} // namespace TELLAR

#endif
