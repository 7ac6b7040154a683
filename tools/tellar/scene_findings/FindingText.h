#ifndef TELLAR_TOOL_FINDINGTEXT_H
#define TELLAR_TOOL_FINDINGTEXT_H

#include <string>
#include <vector>

#include <OxTellarProducers/SceneCheck.h>

namespace TellarTool {

/// The place of a finding: its location and attribute, or the op's place in its file, type and
/// name. For a terminal.
std::string PlaceOf(const TELLAR::CheckFinding& finding);

/// One line for each finding, lines about those that are not listed, and a line of sums.
std::string TextOf(const TELLAR::CheckReport& report);

/// A document of the same.
std::string JsonOf(const TELLAR::CheckReport& report);

/// The rules as a table, and as a JSON document.
std::string RulesText();
std::string RulesJson();

} // namespace TellarTool

#endif
