#ifndef LANTERN_READING_READCURVES_H
#define LANTERN_READING_READCURVES_H

#include <optional>

#include "reading/ShapeReader.h"

namespace lantern {

/// Reads curves:
///
///     point.P                  three numbers per control point, curve after curve
///     numVertices              the number of control points of each curve; without it, all points
///                              are one curve
///     basis                    "linear", "bezier", "bspline" or "catmull-rom"
///     degree                   1 or 3. A curve without a basis is a B-spline if its degree is 3,
///                              and else linear; a curve of degree 1 is linear
///     closed                   1: the end of each curve is joined to its beginning
///     crossSection             "round" (default) for tubes, "flat" for ribbons that face each ray
///     point.width              the diameter at each control point; or constantWidth for all.
///                              Without either, 1/1000 of the diagonal of the box of the points
///     arbitrary.st, st1, ...   texture coordinates: "scope" (point, face for one per curve,
///                              primitive), and "value", or "indexedValue" and "index"
///
/// Cubic curves need four points, closed ones three. A Bezier curve has 3 n + 1 points, a closed
/// one 3 n. Curves with less points are left out, and so are points beyond those numbers.
std::optional<Curves> ReadCurves(const ShapeReader& reader, const Attribute& geometry);

} // namespace lantern

#endif
