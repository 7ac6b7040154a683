#ifndef TELLAR_TOOL_JUNITTEXT_H
#define TELLAR_TOOL_JUNITTEXT_H

#include <optional>
#include <string>
#include <vector>

#include <OxTellarProducers/SceneCheck.h>

namespace TellarTool {

/// What JUnit XML tells besides the report of a check.
struct JunitSuite {
    std::string scene;              ///< the name of the test suite
    std::vector<std::string> rules; ///< those that were applied: one test case each
    double seconds = 0;
    /// A rule has failed if it found something and is at least so severe. Nothing: none fails.
    std::optional<TELLAR::CheckSeverity> failOn;
};

/// The report as JUnit XML, which servers for continuous integration read. What rules found that do
/// not fail is the output of their test cases.
std::string JunitOf(const TELLAR::CheckReport& report, const JunitSuite& suite);

} // namespace TellarTool

#endif
