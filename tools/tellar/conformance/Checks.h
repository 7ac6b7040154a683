#ifndef TELLAR_TOOL_CHECKS_H
#define TELLAR_TOOL_CHECKS_H

#include <string>
#include <vector>

#include "Subject.h"
#include "Verdict.h"

namespace TellarTool {

/// A part of the contract of plug-ins, and how it is checked.
struct Check {
    const char* name;    ///< unique in its list
    const char* summary; ///< one sentence
    /// Runs in a process of its own. What it throws is a fault of the plug-in.
    void (*run)(const Subject& subject, Verdict& verdict);
    /// False for a check that measures memory, of which validation needs more with every call.
    bool isValidated = true;
};

/// The name of the first check of every API. A plug-in that fails it cannot be used at all.
constexpr const char* kLoadingCheck = "loads";

/// The checks of a plug-in by its API, in the order in which they run. Empty for other APIs than
/// those of renderers and op types.
std::vector<Check> ChecksOf(const std::string& api);

std::vector<Check> RendererChecks();
std::vector<Check> OpTypeChecks();

} // namespace TellarTool

#endif
