#ifndef TELLAR_TOOL_CHECKPROCESS_H
#define TELLAR_TOOL_CHECKPROCESS_H

#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include "Subject.h"

namespace TellarTool {

// Checks run in processes of their own, so that a plug-in may crash, hang or exhaust the memory.
// This process never loads the plug-in.

/// A plug-in on the command line.
struct GivenPlugin {
    std::string plugin; ///< as LoadSubjects takes it
    std::string scene;  ///< for checks of op types; may be empty
    std::string format; ///< of pictures: "png"
    std::chrono::seconds timeLimit;
    std::function<bool()> isStopped; ///< true ends a check at once
};

/// The findings of a check.
struct CheckResult {
    std::string check;
    std::vector<std::string> faults;
    std::vector<std::string> notes;
    std::string reasonToSkip; ///< empty: the check applies to the plug-in

    bool isPassed() const { return faults.empty() && reasonToSkip.empty(); }
};

/// The subjects behind a plug-in. Throws std::runtime_error naming it when it cannot be loaded.
std::vector<Subject> LoadInChild(const GivenPlugin& given);

/// Runs one check of a subject.
CheckResult RunInChild(const GivenPlugin& given, const Subject& subject, const std::string& check);

/// The part of a check that the child process is asked for: empty texts for the list of subjects.
struct ChildTask {
    std::string api;
    std::string name;
    std::string check;
    std::string folder;
};

/// The work of the child process.
void RunAsChild(const GivenPlugin& given, const ChildTask& task);

} // namespace TellarTool

#endif
