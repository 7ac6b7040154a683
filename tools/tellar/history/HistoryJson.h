#ifndef TELLAR_TOOL_HISTORYJSON_H
#define TELLAR_TOOL_HISTORYJSON_H

#include <string>

#include <OxTellarProducers/LocationHistory.h>

namespace TellarTool {

/// The whole answer as a JSON document. Values of more than a thousand numbers or strings are
/// described and not written.
std::string HistoryJson(const TELLAR::LocationHistory& history);

} // namespace TellarTool

#endif
