#ifndef LANTERN_READING_READSCENE_H
#define LANTERN_READING_READSCENE_H

#include <OxTellarProducers/OxScenegraphIteratorHostSuite.h>

#include "Report.h"
#include "SceneData.h"

struct OxPluginHost;

namespace lantern {

struct ReadOptions {
    float frame = 0; ///< the shutter's times are relative to this frame
    int threads = 0; ///< number of threads that walk the scene; 0: one per processor
};

/// Reads the scene below "/root" through the host's suites, with several threads. The result does
/// not depend on the number of threads. Warns through the report about everything that it ignores.
/// Throws RenderError if nothing can be drawn, and Cancelled.
SceneData ReadScene(const OxPluginHost& host, OxSgIteratorStruct* root, const ReadOptions& options,
                    Report& report);

} // namespace lantern

#endif
