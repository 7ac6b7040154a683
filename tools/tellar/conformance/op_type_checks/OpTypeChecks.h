#ifndef TELLAR_TOOL_OPTYPECHECKS_H
#define TELLAR_TOOL_OPTYPECHECKS_H

#include <vector>

#include "Check.h"

namespace TellarTool {

/// The checks of op types, in the order in which they run.
std::vector<Check> OpTypeChecks();

// One function for each of them.

// OpTypeChecks.cpp
void CheckThatItLoads(const Subject& subject, Verdict& verdict);
void CheckDescription(const Subject& subject, Verdict& verdict);

// OpArgumentChecks.cpp
void CheckMissingArguments(const Subject& subject, Verdict& verdict);
void CheckWrongArguments(const Subject& subject, Verdict& verdict);
void CheckOddPaths(const Subject& subject, Verdict& verdict);

// OpAnswerChecks.cpp
void CheckSameAnswer(const Subject& subject, Verdict& verdict);
void CheckEightThreads(const Subject& subject, Verdict& verdict);
void CheckFailingInput(const Subject& subject, Verdict& verdict);

// OpChangeChecks.cpp
void CheckChanges(const Subject& subject, Verdict& verdict);

// OpFactChecks.cpp
void CheckFacts(const Subject& subject, Verdict& verdict);

// OpMemoryChecks.cpp
void CheckNothingLeft(const Subject& subject, Verdict& verdict);

} // namespace TellarTool

#endif
