#ifndef LANTERN_READING_WALK_H
#define LANTERN_READING_WALK_H

#include "Report.h"
#include "reading/Delegates.h"
#include "reading/Location.h"
#include "reading/SceneParts.h"
#include "reading/Shapes.h"
#include "reading/Surfaces.h"

namespace lantern {

/// The inputs and outputs of a walk.
struct WalkContext {
    const Suites& suites;
    const Shutter& shutter;
    const Delegates& delegates;
    Shapes& shapes;
    Surfaces& surfaces;
    SceneParts& parts;
    Warnings& warnings;
    Report& report;
    bool namesLocations = false; ///< whether the scene needs the paths of its instances
};

/// Visits a location and its descendants with this many threads. The attribute "visible" of 0 hides
/// a location and its descendants. Throws the first exception of any thread.
void WalkScene(const Location& root, int threads, const WalkContext& context);

} // namespace lantern

#endif
