#ifndef LANTERN_READING_FLATTENMATERIAL_H
#define LANTERN_READING_FLATTENMATERIAL_H

#include "reading/MaterialChain.h"
#include "reading/Suites.h"

namespace lantern {

/// Combines the materials of a location and its ancestors to one material for the terminal
/// "surface". Returns none for an empty chain. Throws RenderError.
Attribute FlattenMaterial(const Suites& suites, const MaterialChain::Ptr& materials);

} // namespace lantern

#endif
