#ifndef TELLAR_TOOL_WALK_H
#define TELLAR_TOOL_WALK_H

#include <cstddef>
#include <limits>
#include <optional>
#include <string>

#include "Scene.h"

namespace TellarTool {

struct WalkOptions {
    std::string scene;
    std::string start = "/root";
    std::size_t depth = std::numeric_limits<std::size_t>::max();
    Variant variant = Variant::ThreadAware;
    std::size_t threads = 1;
    /// Absent: none; empty: all; else one dotted name.
    std::optional<std::string> attributes;
    bool worldMatrix = false;
    bool json = false;
    bool quiet = false;
    bool stats = false;
};

/// Walks a scene and prints what it meets on standard output. Throws std::runtime_error for
/// whatever cannot be done, and OutputClosed.
void RunWalk(const WalkOptions& options);

} // namespace TellarTool

#endif
