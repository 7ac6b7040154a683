#ifndef LANTERN_READING_FLATTENMATERIAL_H
#define LANTERN_READING_FLATTENMATERIAL_H

#include "reading/MaterialChain.h"
#include "reading/Place.h"

namespace lantern {

/// Combines the materials of a place and its ancestors, which `materials` lists, to one material
/// for the terminal "surface". Returns none for an empty chain.
Attribute FlattenMaterial(const Suites& suites, const Place& place,
                          const MaterialChain::Ptr& materials);

} // namespace lantern

#endif
