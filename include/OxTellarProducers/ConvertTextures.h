#ifndef OXTELLARPRODUCERS_CONVERTTEXTURES_H
#define OXTELLARPRODUCERS_CONVERTTEXTURES_H

#include <OxTellarProducers/Export.h>
#include <OxTellarSDK/Attribute.h>

namespace TELLAR {

/// The textures of a location as arbitrary attributes. A texture is a string, or a group of "maps"
/// (strings) and "indicies" (sic; for each face, an index into the maps). With two maps or more and
/// an index it becomes {scope "face", indexedValue: the maps, index}, otherwise {value: the maps,
/// scope "primitive"}. Other children are left out. Invalid for an invalid group. Threads: any.
TELLAR_API OxAttribute::Attribute
ConvertTexturesToArbitraryAttr(const OxAttribute::GroupAttribute& textures);

} // namespace TELLAR

#endif
