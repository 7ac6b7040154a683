#ifndef TELLAROPS_LOCATIONSEARCH_H
#define TELLAROPS_LOCATIONSEARCH_H

#include <string>
#include <string_view>

#include "BuiltinOp.h"

namespace TellarOps {

// For checks: looks for locations in the first input of an Op.

/// Warns of each glob in an argument that matches no location.
void WarnOfUnmatchedGlobs(CheckContext& context, std::string_view argument);

/// "; did you mean "/root/world/ball"?", for a path of a location that does not exist. Empty if
/// nothing is like it.
std::string HintAboutPath(CheckContext& context, std::string_view path);

} // namespace TellarOps

#endif
