#ifndef TELLAR_TOOL_CHECK_H
#define TELLAR_TOOL_CHECK_H

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

} // namespace TellarTool

#endif
