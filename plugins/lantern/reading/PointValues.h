#ifndef LANTERN_READING_POINTVALUES_H
#define LANTERN_READING_POINTVALUES_H

#include <vector>

#include "reading/ShapeReader.h"

namespace lantern {

/// The positions "point.P" at one or more steps, all finite; none if the shape cannot be drawn.
std::vector<std::vector<V3f>> ReadPositions(const ShapeReader& reader, const Attribute& geometry);

/// Halves of the diameters "point.width" or "constantWidth": one per point, or one for all. Empty
/// if there are none or their number does not fit. Returns false, and warns, if one is negative or
/// not finite.
bool ReadRadii(const ShapeReader& reader, const Attribute& geometry, std::size_t pointCount,
               std::vector<float>& radii);

} // namespace lantern

#endif
