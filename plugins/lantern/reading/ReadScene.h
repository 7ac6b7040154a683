#ifndef LANTERN_READING_READSCENE_H
#define LANTERN_READING_READSCENE_H

#include <OxTellarProducers/OxScenegraphIteratorHostSuite.h>

#include "Report.h"
#include "SceneData.h"

struct OxPluginHost;

namespace lantern {

struct ReadOptions {
    float frame = 0; ///< to which the shutter's opening and closing are relative
    int threads = 0; ///< that walk the scene; 0 means one for each processor
};

/// All that a scene's "/root" asks to be drawn, read through the host's suites by several threads.
/// The same scene gives the same data every time, whatever the number of threads. Warns through the
/// report of what it passes over; throws RenderError for what leaves nothing to draw, and
/// Cancelled.
SceneData ReadScene(const OxPluginHost& host, OxSgIteratorStruct* root, const ReadOptions& options,
                    Report& report);

} // namespace lantern

#endif
