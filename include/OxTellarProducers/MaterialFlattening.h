#ifndef OXTELLARPRODUCERS_MATERIALFLATTENING_H
#define OXTELLARPRODUCERS_MATERIALFLATTENING_H

#include <string>
#include <vector>

#include <boost/smart_ptr/intrusive_ptr.hpp>

#include <OxTellarProducers/Export.h>
#include <OxTellarProducers/GeometryProducer.h>
#include <OxTellarSDK/Attribute.h>

namespace TELLAR {

// The effective material of a location, out of those on it and on its ancestors. What is malformed
// in a material is left out; nothing here throws on account of one. Threads: any.

/// One material out of several, the nearest first.
///
/// A single one comes back as it is, and none gives an invalid group. When none of them is a
/// network
/// ("style" is "network"), the nearest one that has a child of a name gives that child. Otherwise
/// they become one network: each of `terminalNames` is served by the nearest material that has it,
/// and all nodes, interface entries and parameters of the materials that serve any stand side by
/// side, with ":0", ":1" and so on behind their names, by the material's place in the list. Legacy
/// materials among them are taken as networks of one node a terminal: the shader "<terminal>Shader"
/// with the parameters "<terminal>Params".
TELLAR_API OxAttribute::GroupAttribute
GetFlattenedMaterialAttr(const std::vector<OxAttribute::GroupAttribute>& materials,
                         const std::vector<std::string>& terminalNames);

/// The same of the "material" of a location and of its ancestors, each reduced by
/// MinimizeResolvedMaterialAttr first. Invalid for a null producer.
///
/// The answer is kept until EmptyFlattenedMaterialCache is called. Locations with the same
/// materials share one result.
///
/// Trap: the location's path is the only key. The first answer comes back for other terminal names
/// too, and for the same path in another scene. The form above that takes a list of materials
/// keeps nothing.
TELLAR_API OxAttribute::GroupAttribute
GetFlattenedMaterialAttr(boost::intrusive_ptr<GeometryProducer> producer,
                         const std::vector<std::string>& terminalNames);

/// Forgets all flattened materials; to be called when the scene or the terminal names change. What
/// another thread is flattening meanwhile it still gets, but that is not kept.
TELLAR_API void EmptyFlattenedMaterialCache();

/// A network material without all that neither flattening nor the readers of networks look at:
/// "style", "nodes", "parameters", the "src" of the interface entries of exposed parameters, and
/// "terminals", in this order. Any other material comes back as it is.
TELLAR_API OxAttribute::GroupAttribute
MinimizeResolvedMaterialAttr(const OxAttribute::GroupAttribute& material);

} // namespace TELLAR

#endif
