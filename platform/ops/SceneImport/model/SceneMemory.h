#ifndef SCENEIMPORT_SCENEMEMORY_H
#define SCENEIMPORT_SCENEMEMORY_H

#include <cstdint>

#include <OxTellarSDK/Attribute.h>

#include "Scene.h"

namespace TellarSceneImport {

/// About how many bytes a group takes with all that it holds.
std::uint64_t MemoryOf(const OxAttribute::GroupAttribute& group);

/// About how many bytes a scene takes. Geometry and motion that several nodes share count once.
std::uint64_t MemoryOf(const Scene& scene);

} // namespace TellarSceneImport

#endif
