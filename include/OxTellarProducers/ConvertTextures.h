#ifndef OXTELLARPRODUCERS_CONVERTTEXTURES_H
#define OXTELLARPRODUCERS_CONVERTTEXTURES_H

#include <OxTellarProducers/Export.h>
#include <OxTellarSDK/Attribute.h>

namespace TELLAR {

/// The textures of a location as arbitrary attributes. A texture is a string, or a group of "maps"
/// (strings) and "indicies" (spelled so: one index into the maps a face). With two maps or more and
/// an index it becomes {scope "face", indexedValue the maps, index}, else {value the map or maps,
/// scope "primitive"}. What is neither is left out. Invalid for an invalid group. Any thread.
TELLAR_API OxAttribute::Attribute
ConvertTexturesToArbitraryAttr(const OxAttribute::GroupAttribute& textures);

} // namespace TELLAR

#endif
