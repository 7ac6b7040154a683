#ifndef TELLAR_CHECK_SHAPERULES_H
#define TELLAR_CHECK_SHAPERULES_H

#include <cstdint>
#include <optional>
#include <string_view>

#include <OxTellarSDK/Attribute.h>

#include "Drafts.h"

namespace TELLAR {

// The group "geometry" of locations that are drawn. Threads: any.

/// The number of elements of each scope along which a shape may hold values. 0 where the shape has
/// none.
struct ShapeElements {
    std::int64_t points = 0;
    std::int64_t corners = 0; ///< of all faces
    std::int64_t faces = 0;   ///< faces of meshes, single curves
};

/// Whether locations of the type have a shape that renderers draw.
bool IsShape(std::string_view type);
/// Whether locations of the type have faces.
bool IsMesh(std::string_view type);

/// Checks the geometry of a shape of the type.
void CheckShape(std::string_view type, const OxAttribute::GroupAttribute& geometry, Drafts& drafts);

/// The number of points if "point.P" holds some that can be used. Otherwise adds a draft and
/// returns nothing.
std::optional<std::int64_t> CheckPoints(const OxAttribute::GroupAttribute& geometry,
                                        Drafts& drafts);
/// Checks faces, normals and subdivision tags. Returns false if the faces cannot be used.
bool CheckFaces(const OxAttribute::GroupAttribute& geometry, ShapeElements& elements,
                Drafts& drafts);
void CheckNormals(const OxAttribute::GroupAttribute& geometry, const ShapeElements& elements,
                  Drafts& drafts);
void CheckSubdivision(const OxAttribute::GroupAttribute& geometry, const ShapeElements& elements,
                      Drafts& drafts);
/// Checks "numVertices" and "basis", and counts the curves.
void CheckCurves(const OxAttribute::GroupAttribute& geometry, ShapeElements& elements,
                 Drafts& drafts);
/// Checks the widths of points and curves.
void CheckWidths(const OxAttribute::GroupAttribute& geometry, const ShapeElements& elements,
                 Drafts& drafts);
/// Checks the values along the shape, in the group "arbitrary".
void CheckArbitrary(const OxAttribute::GroupAttribute& geometry, const ShapeElements& elements,
                    Drafts& drafts);

/// Checks the faces of a faceset against the geometry of its mesh.
void CheckFaceset(const OxAttribute::GroupAttribute& geometry,
                  const OxAttribute::GroupAttribute& meshGeometry, Drafts& drafts);

} // namespace TELLAR

#endif
