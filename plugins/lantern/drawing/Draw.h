#ifndef LANTERN_DRAWING_DRAW_H
#define LANTERN_DRAWING_DRAW_H

#include <chrono>

#include "Report.h"
#include "SceneData.h"
#include "drawing/Picture.h"

namespace lantern {

struct DrawOptions {
    int samples = 0; ///< paths per pixel; 0 means those of the scene's quality
    int threads = 0; ///< 0 means one for each processor
    /// The beginning of the render, from which its time limit counts.
    std::chrono::steady_clock::time_point begin = std::chrono::steady_clock::now();
};

/// Traces paths through the scene. A pixel depends on the scene, its place in the whole picture and
/// the number of its paths alone: not on the window that is drawn, nor on the number of threads.
///
/// With a noise goal, squares of 8 by 8 pixels get no more paths when they have reached it. With a
/// time limit, all pixels get the paths that there is time for, but one at least. When the caller
/// asks for the picture so far, it is returned as it is.
///
/// Throws RenderError, and Cancelled.
Picture Draw(const SceneData& scene, const DrawOptions& options, Report& report);

} // namespace lantern

#endif
