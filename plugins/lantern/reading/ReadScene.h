#ifndef LANTERN_READING_READSCENE_H
#define LANTERN_READING_READSCENE_H

#include <vector>

#include <OxTellarProducers/OxScenegraphIteratorHostSuite4.h>

#include "Report.h"
#include "SceneData.h"
#include "reading/Location.h"
#include "reading/ShapeMemory.h"
#include "reading/Shutter.h"

struct OxPluginHost;

namespace lantern {

struct ReadOptions {
    float frame = 0; ///< the shutter's times are relative to this frame
    int threads = 0; ///< number of threads that walk the scene; 0: one per processor
};

/// A scene with the sources of its shapes, one for each.
struct ReadResult {
    SceneData scene;
    std::vector<ShapeSource> sources;
    Shutter shutter; ///< shapes depend on it
};

/// Reads the camera and the settings of the picture. `shutter` is filled. Throws RenderError.
SceneView ReadView(const Suites& suites, const Location& root, float frame, Shutter& shutter);

/// Reads the scene below "/root" through the host's suites, with several threads. The result does
/// not depend on the number of threads. Warns through the report about everything that it ignores.
/// Throws RenderError if nothing can be drawn, and Cancelled.
SceneData ReadScene(const OxPluginHost& host, OxSgIteratorStruct* root, const ReadOptions& options,
                    Report& report);

/// The same for a revision of a scene that was read before with the same frame. Shapes that both
/// have are left empty.
ReadResult ReadScene(const Suites& suites, const Location& root, const ReadOptions& options,
                     const ReadResult& earlier, Report& report);

} // namespace lantern

#endif
