#ifndef TELLAR_TOOL_HISTORYANSWER_H
#define TELLAR_TOOL_HISTORYANSWER_H

#include <string>
#include <vector>

#include <OxTellarProducers/LocationHistory.h>

namespace TellarTool {

/// The answer in sentences, a line each, without the steps.
std::vector<std::string> AnswerLines(const TELLAR::LocationHistory& history);

} // namespace TellarTool

#endif
