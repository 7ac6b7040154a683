#ifndef TELLAR_TOOL_WALKPLAN_H
#define TELLAR_TOOL_WALKPLAN_H

#include <cstddef>
#include <string>
#include <vector>

#include <OxTellarProducers/GeometryProducer.h>

namespace TellarTool {

/// A part of a walk whose text can be made by itself. The texts of the parts, in order, are the
/// text of the walk.
struct WalkPart {
    enum Kind {
        Open,    ///< only the text of `location` in front of its children
        Close,   ///< only the text of `location` behind its children
        Subtree, ///< `location` and everything below it
        Run      ///< the children of `location` named in `names`, and everything below them
    };
    Kind kind;
    TELLAR::GeometryProducer::Ptr location;
    std::vector<bool> isLast; ///< see Visit
    bool hasChildren = false;
    std::vector<std::string> names;
};

/// Cuts a walk from `start` down into parts, at least `wanted` of them with work to do where the
/// scene is wide enough for that. Cooks the upper levels on the way.
std::vector<WalkPart> PlanWalk(const TELLAR::GeometryProducer::Ptr& start, std::size_t depthLimit,
                               std::size_t wanted);

} // namespace TellarTool

#endif
