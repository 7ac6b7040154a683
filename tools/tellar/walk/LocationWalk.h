#ifndef TELLAR_TOOL_LOCATIONWALK_H
#define TELLAR_TOOL_LOCATIONWALK_H

#include <atomic>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include <OxTellarProducers/GeometryProducer.h>

#include "LocationPrinter.h"
#include "WalkPlan.h"

namespace TellarTool {

/// A number of locations. It lags behind while a walk goes on and is exact at the end.
using LocationCount = std::atomic<std::uint64_t>;

/// Walks locations by first child and next sibling, in the order of the tree. It keeps its own
/// stack, so a scene may be of any depth. For one thread.
class LocationWalk {
public:
    /// Goes `depthLimit` levels down and hands the text to `emit` in large pieces. Some of them are
    /// empty: `emit` is called regularly so that it can end the walk by an exception.
    LocationWalk(const LocationPrinter& printer, std::size_t depthLimit, LocationCount& count,
                 std::function<void(std::string)> emit);

    /// Emits the text of the part. When an exception ends it, the text up to there is emitted
    /// first.
    void walk(const WalkPart& part);

private:
    using Ptr = TELLAR::GeometryProducer::Ptr;
    struct Level {
        Ptr location;
        Ptr nextChild;
        bool hasChildren;
    };

    void walkPart(const WalkPart& part);
    void walkSubtree(const Ptr& location);
    void walkRun(const WalkPart& part);
    void enter(const Ptr& location);
    void leave();
    Visit visitOf(TELLAR::GeometryProducer& location, bool hasChildren) const;
    void deliver();

    const LocationPrinter& printer;
    const std::size_t depthLimit;
    LocationCount& count;
    const std::function<void(std::string)> emit;
    std::vector<Level> levels;
    std::vector<bool> isLast;
    std::string text;
    std::uint64_t uncounted = 0;
};

} // namespace TellarTool

#endif
