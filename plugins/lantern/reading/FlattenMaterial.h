#ifndef LANTERN_READING_FLATTENMATERIAL_H
#define LANTERN_READING_FLATTENMATERIAL_H

#include "reading/MaterialChain.h"
#include "reading/Place.h"

namespace lantern {

/// The materials of a chain as one, for surfaces; none for an empty chain. They are those of the
/// place.
Attribute FlattenMaterial(const Suites& suites, const Place& place,
                          const MaterialChain::Ptr& materials);

} // namespace lantern

#endif
