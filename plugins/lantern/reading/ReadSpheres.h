#ifndef LANTERN_READING_READSPHERES_H
#define LANTERN_READING_READSPHERES_H

#include <optional>

#include "reading/ShapeReader.h"

namespace lantern {

/// Reads points: point.P and their diameters, point.width with one number per point or one for all,
/// or constantWidth. Without either, the diameter is PointDiameter().
std::optional<Spheres> ReadPoints(const ShapeReader& reader, const Attribute& geometry);

/// Reads a sphere around the origin: radius (1).
std::optional<Spheres> ReadSphere(const ShapeReader& reader, const Attribute& geometry);

/// The median distance from a point to the sixth nearest point at another place, for a sample of
/// the points. Spheres of that diameter cover the surface that they lie on and touch each other in
/// a cubic lattice; a few points far away do not matter. 0 if all points are at one place. Takes up
/// to a second for 30 million points.
float TypicalSpacing(const std::vector<V3f>& points);

/// The typical spacing, but at most a tenth of the diagonal of the box around the points, so that
/// few points stay apart.
float PointDiameter(const std::vector<V3f>& points);

} // namespace lantern

#endif
