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

/// Counted now and then while a walk goes on, exact when it has ended.
using LocationCount = std::atomic<std::uint64_t>;

/// Walks locations by first child and next sibling, in the order of the tree. Its stack is its
/// own, so that the depth of a scene does not matter. For one thread.
class LocationWalk {
public:
    /// Text is handed to `emit` in large pieces, or with nothing in it now and then, so that
    /// an exception from there can end the walk. It goes `depthLimit` levels down.
    LocationWalk(const LocationPrinter& printer, std::size_t depthLimit, LocationCount& count,
                 std::function<void(std::string)> emit);

    /// Emits the text of the part; what it has before an exception is emitted too.
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
