#ifndef TELLAR_TOOL_PROBEINPUT_H
#define TELLAR_TOOL_PROBEINPUT_H

#include <set>
#include <string>

namespace TellarTool {

/// An op type of this program, which stands between an op under test and its input. It passes its
/// input on, apart from what its arguments ask for:
///
///     label  int     any number, so that results are not shared with other ops
///     fail   string  the location that cannot be cooked
///     hide   string  the location that does not exist, with all below it
///     touch  string  the location that gets the attribute "probe", the label
///     add    string  the location that gets the child "probe"
constexpr const char* kProbeInput = "ProbeInput of tellar conform";

/// The error of the location "fail".
constexpr const char* kProbeError = "the input fails on purpose";

/// Registers the type unless it is registered already.
void RegisterProbeInput();

/// The locations that ops of the type were asked for since the last call of this function, by the
/// calling thread.
std::set<std::string> TakeLocationsAskedFor();

} // namespace TellarTool

#endif
