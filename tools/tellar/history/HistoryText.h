#ifndef TELLAR_TOOL_HISTORYTEXT_H
#define TELLAR_TOOL_HISTORYTEXT_H

#include <string>

#include <OxTellarProducers/LocationHistory.h>

namespace TellarTool {

struct HistoryTextOptions {
    bool all = false;     ///< leaves nothing out of long histories
    bool colours = false; ///< for a terminal
};

/// The answer in a sentence or two, then the history as a table: a row for each step, from the
/// sources to the last op, and below it what it changed.
std::string HistoryText(const TELLAR::LocationHistory& history, const HistoryTextOptions& options);

} // namespace TellarTool

#endif
