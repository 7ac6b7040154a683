#ifndef TELLAR_TOOL_HISTORYDRAWING_H
#define TELLAR_TOOL_HISTORYDRAWING_H

#include <memory>
#include <string>

#include <OxTellarProducers/LocationHistory.h>
#include <OxTellarSDK/TellarRuntime.h>

namespace TellarTool {

/// A drawing of the op graph in the language of Graphviz, from the sources down to `last`, with the
/// steps and what they read in colour. Of a graph with more than 300 ops only the steps are drawn,
/// and of those that pass the subject only their number.
std::string HistoryDrawing(const TELLAR::LocationHistory& history,
                           const std::shared_ptr<TellarRuntime::Op>& last);

} // namespace TellarTool

#endif
