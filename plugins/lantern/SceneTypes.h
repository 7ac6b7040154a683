#ifndef LANTERN_SCENETYPES_H
#define LANTERN_SCENETYPES_H

#include <cstdint>

#include <Imath/ImathColor.h>
#include <Imath/ImathMatrix.h>
#include <Imath/ImathVec.h>

/// Types that all parts of SceneData share.
namespace lantern {

using Imath::M44d;
using Imath::M44f;
using Imath::V2f;
using Imath::V3f;
using Imath::V4f;

using Index = std::uint32_t;
constexpr Index kNone = ~Index(0);

/// Three floats in scene-linear light.
using Color = V3f;

} // namespace lantern

#endif
