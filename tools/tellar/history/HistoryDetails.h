#ifndef TELLAR_TOOL_HISTORYDETAILS_H
#define TELLAR_TOOL_HISTORYDETAILS_H

#include <cstddef>
#include <string>
#include <vector>

#include <OxTellarProducers/LocationHistory.h>

namespace TellarTool {

/// What a step changed, a line for each value that it set ("+"), changed ("~") or deleted ("-"),
/// and one for potential children. All texts are printable.
///
/// In the history of an attribute, `attribute`, names begin within it; otherwise it is empty, and
/// larger groups that are new take one line. Of more than `mostLines` the last one counts the rest.
std::vector<std::string> DetailsOf(const TELLAR::HistoryStep& step, const std::string& attribute,
                                   std::size_t mostLines);

} // namespace TellarTool

#endif
