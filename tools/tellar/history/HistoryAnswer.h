#ifndef TELLAR_TOOL_HISTORYANSWER_H
#define TELLAR_TOOL_HISTORYANSWER_H

#include <string>
#include <vector>

#include <OxTellarProducers/LocationHistory.h>

namespace TellarTool {

/// The answer in sentences, a line each, without the steps.
std::vector<std::string> AnswerLines(const TELLAR::LocationHistory& history);

/// What made the subject of the history what it is, 'changed by "hazy sun" (AttributeEdit),
/// garden.json:55:5'. Empty for what was never made.
std::string DecisionText(const TELLAR::LocationHistory& history);

} // namespace TellarTool

#endif
