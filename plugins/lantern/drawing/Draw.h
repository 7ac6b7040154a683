#ifndef LANTERN_DRAWING_DRAW_H
#define LANTERN_DRAWING_DRAW_H

#include "Report.h"
#include "SceneData.h"
#include "drawing/Picture.h"

namespace lantern {

struct DrawOptions {
    int samples = 0; ///< paths per pixel; 0 means those of the scene's quality
    int threads = 0; ///< 0 means one for each processor
};

/// Traces paths through the scene. A pixel depends on the scene and its place in the whole picture
/// alone: not on the window that is drawn, nor on the number of threads. Throws RenderError, and
/// Cancelled.
Picture Draw(const SceneData& scene, const DrawOptions& options, Report& report);

} // namespace lantern

#endif
