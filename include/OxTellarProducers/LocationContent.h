#ifndef OXTELLARPRODUCERS_LOCATIONCONTENT_H
#define OXTELLARPRODUCERS_LOCATIONCONTENT_H

#include <OxTellarProducers/Export.h>
#include <OxTellarProducers/GeometryProducer.h>
#include <OxTellarSDK/Attribute.h>

namespace TELLAR {

/// The hash of a location's attributes without "xform", and of the names of its potential children.
/// It is equal for two instances of one thing, wherever they are, and says nothing about what is
/// below them. Attributes keep their hashes, so that of a location is put together from few words
/// after the first call. Any thread may call it.
[[nodiscard]] TELLAR_API OxAttribute::Hash ContentHash(GeometryProducer& location);

/// True if two locations, of any scenes, and everything below them are known to be equal apart from
/// the "xform" of the two locations themselves. False if they differ or if it is not known. Cooks
/// nothing: the locations have no potential children, or their Ops tell that both pass on the same
/// part of a scene (OxTellarSDK/SubtreeFacts.h). Any thread may call it.
[[nodiscard]] TELLAR_API bool IsSameContent(GeometryProducer& a, GeometryProducer& b);

} // namespace TELLAR

#endif
