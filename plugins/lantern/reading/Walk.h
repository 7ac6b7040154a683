#ifndef LANTERN_READING_WALK_H
#define LANTERN_READING_WALK_H

#include "Report.h"
#include "reading/Delegates.h"
#include "reading/Location.h"
#include "reading/SceneParts.h"
#include "reading/Shapes.h"
#include "reading/Surfaces.h"

namespace lantern {

/// What a walk reads with, and where it puts what it finds.
struct WalkContext {
    const Suites& suites;
    const Shutter& shutter;
    const Delegates& delegates;
    Shapes& shapes;
    Surfaces& surfaces;
    SceneParts& parts;
    Warnings& warnings;
    Report& report;
};

/// Visits a location and all below it by this many threads. An attribute "visible" of 0 hides a
/// location with all below it. Throws what any of the threads threw.
void WalkScene(const Location& root, int threads, const WalkContext& context);

} // namespace lantern

#endif
