#ifndef LANTERN_DRAWING_DRAW_H
#define LANTERN_DRAWING_DRAW_H

#include <atomic>
#include <chrono>

#include "Report.h"
#include "SceneData.h"
#include "drawing/Buckets.h"
#include "drawing/Film.h"
#include "drawing/PathTracer.h"
#include "drawing/Picture.h"

namespace lantern {

struct DrawOptions {
    int samples = 0; ///< paths per pixel; 0 means those of the scene's quality
    int threads = 0; ///< 0 means one for each processor
    /// The beginning of the render, from which its time limit counts.
    std::chrono::steady_clock::time_point begin = std::chrono::steady_clock::now();
};

/// A picture that is being drawn by tracing paths through the scene. A pixel depends on the scene,
/// its place in the whole picture and the number of its paths alone: not on the window or region
/// that is drawn, nor on the number of threads.
///
/// With a noise goal, squares of 8 by 8 pixels get no more paths when they have reached it. With a
/// time limit, all pixels get the paths that there is time for, but one at least.
class Drawing {
public:
    /// Prepares the scene. Refers to it and to the report. Throws RenderError and Cancelled.
    /// `earlier` is null or the geometry of a scene whose shapes are in this one.
    Drawing(const SceneData& scene, const DrawOptions& options, Report& report,
            const EarlierGeometry* earlier = nullptr);

    enum class End {
        Complete,
        Ended,      ///< the caller asked for the picture so far
        Interrupted ///< by the report's control
    };
    /// Gives the pixels of a region all their paths. May be called again, after an interruption or
    /// for another region. Throws RenderError, and Cancelled also if it ends before any pixel has a
    /// path.
    End run(const Window& region);

    /// The picture of the scene's window after run(). Tells the caller when the time limit has
    /// ended the drawing.
    Picture develop() const;

    const EmbreeScene& geometry() const { return tracer.embreeScene(); }
    /// Any thread may read its layers at any time.
    const Film& film() const { return paths; }
    /// The number of complete passes of the last or present run().
    int completePasses() const { return passesDone; }

private:
    const SceneData& scene;
    const DrawOptions options;
    Report& report;
    const int threads;
    const int samples;
    const PathTracer tracer;
    const Buckets buckets;
    Film paths;
    std::atomic<int> passesDone{0};
    bool hasPaths = false;
    bool isTimeOver = false;
    bool isComplete = false;
};

/// Draws the whole window of the scene. If the caller asks for the picture so far, it is returned
/// as it is. Throws RenderError and Cancelled.
Picture Draw(const SceneData& scene, const DrawOptions& options, Report& report);

} // namespace lantern

#endif
