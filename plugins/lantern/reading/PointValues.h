#ifndef LANTERN_READING_POINTVALUES_H
#define LANTERN_READING_POINTVALUES_H

#include <vector>

#include "reading/ShapeReader.h"

namespace lantern {

/// The positions "point.P" at one or more steps, all finite; none if the shape cannot be drawn.
std::vector<std::vector<V3f>> ReadPositions(const ShapeReader& reader, const Attribute& geometry);

/// Reads radii, half of "point.width" or "constantWidth": one per point, or one for all. `radii` is
/// empty if there are no widths, or not one per point. Returns false, and warns, if a width is
/// negative or not finite.
bool ReadRadii(const ShapeReader& reader, const Attribute& geometry, std::size_t pointCount,
               std::vector<float>& radii);

} // namespace lantern

#endif
