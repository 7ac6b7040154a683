#ifndef TELLAR_TOOL_HISTORYROWS_H
#define TELLAR_TOOL_HISTORYROWS_H

#include <string>
#include <vector>

#include <OxTellarProducers/LocationHistory.h>

namespace TellarTool {

/// A row of the table of steps. All texts are printable.
struct HistoryRow {
    std::vector<std::string> cells;   ///< number, op, type, place, action and value
    std::vector<std::string> details; ///< lines below it
    bool isDecision = false;          ///< the step LocationHistory::decidedBy
    bool isQuiet = false;             ///< the op did nothing to the subject
};

/// A row for each step. Unless `all` is true, long details are cut, and in long histories ops that
/// pass the subject one after the other share a row.
std::vector<HistoryRow> RowsOf(const TELLAR::LocationHistory& history, bool all);

} // namespace TellarTool

#endif
