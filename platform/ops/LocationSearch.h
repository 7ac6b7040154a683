#ifndef TELLAROPS_LOCATIONSEARCH_H
#define TELLAROPS_LOCATIONSEARCH_H

#include <string>
#include <string_view>

#include "BuiltinOp.h"
#include "PathTable.h"

namespace TellarOps {

// Searches of checks for locations in the first input of an Op.

/// Warns of each glob in an argument that matches no location.
void WarnOfUnmatchedGlobs(CheckContext& context, std::string_view argument);

/// Warns of each source of an Op that repeats locations that does not exist. Sources above, at or
/// below the paths in `made` are left out, because the Op may make them.
void WarnOfMissingSources(CheckContext& context, const PathTable& sources,
                          const PathTable& made = {});

/// A suggestion for the path of a location that does not exist: "; did you mean
/// "/root/world/ball"?". Empty if no path is similar.
std::string HintAboutPath(CheckContext& context, std::string_view path);

} // namespace TellarOps

#endif
