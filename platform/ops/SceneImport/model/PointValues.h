#ifndef SCENEIMPORT_POINTVALUES_H
#define SCENEIMPORT_POINTVALUES_H

#include <cstddef>
#include <vector>

#include <OxTellarSDK/Attribute.h>

#include "Space.h"

namespace TellarSceneImport {

/// The box around `count` points of three numbers each.
Box BoundOf(const float* points, std::size_t count);
Box BoundOf(const std::vector<float>& points);

/// An entry of "geometry.arbitrary". `scope` is "point", "face" or "vertex".
OxAttribute::GroupAttribute ArbitraryValues(const char* scope, const char* inputType,
                                            const OxAttribute::FloatAttribute& value);

} // namespace TellarSceneImport

#endif
