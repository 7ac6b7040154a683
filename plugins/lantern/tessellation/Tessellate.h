#ifndef LANTERN_TESSELLATION_TESSELLATE_H
#define LANTERN_TESSELLATION_TESSELLATE_H

#include "Report.h"
#include "SceneData.h"

namespace lantern {

/// Replaces the cages of all subdivision surfaces by triangles whose edges are about
/// Quality::subdivisionEdge pixels long where the camera sees them nearest. Edges are made longer,
/// with a message, if all surfaces together would need more than Quality::subdivisionMemory. The
/// result does not depend on the number of threads. Throws Cancelled.
void TessellateSubdivisions(SceneData& scene, int threads, Report& report);

} // namespace lantern

#endif
