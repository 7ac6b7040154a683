#ifndef TELLAR_TOOL_HISTORYWORDS_H
#define TELLAR_TOOL_HISTORYWORDS_H

#include <string>

#include <OxTellarProducers/LocationHistory.h>

namespace TellarTool {

/// What an op did, in a word: "made", "passed", "copied", "set", "changed", "deleted", "pruned",
/// "absent" or "failed".
const char* ActionWord(TELLAR::HistoryAction action);
/// "origin", "contributed" or "overridden".
const char* RoleWord(TELLAR::HistoryRole role);
/// "found", "inherited", "dropped", "never made", "unnamed" or "failed".
const char* OutcomeWord(TELLAR::HistoryOutcome outcome);

/// Whether the location, or the attribute, is there in the end.
bool IsThere(const TELLAR::LocationHistory& history);

/// Whether the steps are about the attribute, and not about the location.
bool IsAboutAttribute(const TELLAR::LocationHistory& history);

/// The place of the op in its file, "scene.json:14:5"; empty if it is not known.
std::string PlaceOf(const TellarRuntime::Op& op);

/// A value in a few words: at most six numbers, and of a group the names "{style, nodes}".
std::string ShortText(const OxAttribute::Attribute& value);
/// The value before and after. Of groups with the same children only their names.
std::string ChangeText(const TELLAR::HistoryChange& change);

/// "a, b, c and 7 more".
std::string NamesText(const OxAttribute::StringAttribute& names);

} // namespace TellarTool

#endif
