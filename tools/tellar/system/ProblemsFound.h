#ifndef TELLAR_TOOL_PROBLEMSFOUND_H
#define TELLAR_TOOL_PROBLEMSFOUND_H

namespace TellarTool {

/// Thrown when everything is printed and problems were found. The exit status is then 1.
struct ProblemsFound {};

} // namespace TellarTool

#endif
