#include "CheckProcess.h"

#include <algorithm>
#include <cstdio>
#include <exception>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string_view>

#include <OxLoggingHost/OxLoggerGlue.h>

#include "Checks.h"
#include "HostSuites.h"
#include "Process.h"
#include "TemporaryFolder.h"
#include "Verdict.h"
#include "process/ChildProcess.h"

namespace TellarTool {

namespace {

using TellarInternal::ChildEnd;
using TellarInternal::ChildProcess;

constexpr const char* kSubjectMark = "@subject ";
constexpr const char* kValidator = "Validation"; // the logger of TELLAR_VALIDATE

struct ChildOutcome {
    std::vector<std::string> lines; // of standard output
    std::string errors;             // the beginning of standard error
    ChildEnd end;
};

ChildOutcome RunChild(const GivenPlugin& given, const ChildTask& task) {
    ChildProcess child({ProgramPath(),
                        {"conform", given.plugin, "--scene", given.scene, "--format", given.format,
                         "--child", task.api, task.name, task.check, task.folder},
                        {},
                        given.timeLimit,
                        given.isStopped});
    ChildOutcome outcome;
    std::istringstream output(OutputOf(child));
    for (std::string line; std::getline(output, line);)
        outcome.lines.push_back(line);
    outcome.end = child.wait();
    outcome.errors = child.errors();
    return outcome;
}

/// The rest of the line behind a mark at its beginning.
std::optional<std::string> After(std::string_view mark, const std::string& line) {
    if (line.compare(0, mark.size(), mark) != 0) return std::nullopt;
    return line.substr(mark.size());
}

/// The line in which a program that ended early may have written the reason: that of a sanitizer,
/// or the last one that is not empty and no summary of validation.
std::string ReasonIn(const std::string& text) {
    std::istringstream lines(text);
    std::string last;
    for (std::string line; std::getline(lines, line);) {
        if (line.find("Sanitizer: ") != std::string::npos) return line;
        if (!line.empty() && !After("TELLAR_VALIDATE: ", line)) last = line;
    }
    return last;
}

std::string TextOf(const ChildOutcome& outcome) {
    const std::string last = ReasonIn(outcome.errors);
    return "the process " + outcome.end.text() + (last.empty() ? "" : ": " + last);
}

/// "API version,version name" and, in the next line, the file.
std::string LineOf(const Subject& subject) {
    std::string versions;
    for (const unsigned int version : subject.versions)
        versions += std::to_string(version) + ',';
    return kSubjectMark + subject.api + '\t' + versions + '\t' + subject.name + '\t' +
           subject.file + '\n';
}

Subject SubjectOf(const std::string& line) {
    std::istringstream parts(line);
    Subject subject;
    std::string versions;
    std::getline(parts, subject.api, '\t');
    std::getline(parts, versions, '\t');
    std::getline(parts, subject.name, '\t');
    std::getline(parts, subject.file);
    std::istringstream numbers(versions);
    for (std::string number; std::getline(numbers, number, ',');)
        subject.versions.push_back(static_cast<unsigned int>(std::stoul(number)));
    return subject;
}

/// Findings of validation are faults of the plug-in.
void TellFindings(Verdict& verdict) {
    OxLoggingSetLevel(kValidator, OxLogLevel::info);
    OxLoggingSetSink([&verdict](const OxLogMessage& message) {
        if (message.loggerName == kValidator) verdict.fault(message.text);
    });
}

bool IsValidated(const ChildTask& task) {
    for (const Check& check : ChecksOf(task.api))
        if (check.name == task.check) return check.isValidated;
    return true;
}

void RunCheck(const Check& check, const Subject& subject, Verdict& verdict) {
    try {
        check.run(subject, verdict);
    } catch (const std::exception& error) {
        verdict.fault(error.what());
    }
}

} // namespace

std::vector<Subject> LoadInChild(const GivenPlugin& given) {
    const ChildOutcome outcome = RunChild(given, {});
    if (!outcome.end.isSuccess()) {
        const std::string last = ReasonIn(outcome.errors);
        if (outcome.end.kind == ChildEnd::Kind::Exited && !last.empty())
            throw std::runtime_error(After("tellar: ", last).value_or(last));
        throw std::runtime_error(given.plugin + ": while it is loaded, " + TextOf(outcome));
    }
    std::vector<Subject> subjects;
    for (const std::string& line : outcome.lines)
        if (const auto text = After(kSubjectMark, line)) subjects.push_back(SubjectOf(*text));
    return subjects;
}

CheckResult RunInChild(const GivenPlugin& given, const Subject& subject, const std::string& check) {
    const TemporaryFolder folder;
    const ChildOutcome outcome =
        RunChild(given, {subject.api, subject.name, check, folder.file("")});
    CheckResult result{check, {}, {}, {}};
    std::string step;
    for (const std::string& line : outcome.lines) {
        if (const auto text = After(kFaultMark, line)) result.faults.push_back(*text);
        if (const auto text = After(kNoteMark, line)) result.notes.push_back(*text);
        if (const auto text = After(kSkipMark, line)) result.reasonToSkip = *text;
        if (const auto text = After(kStepMark, line)) step = *text + ": ";
    }
    if (!outcome.end.isSuccess()) result.faults.push_back(step + TextOf(outcome));
    return result;
}

void RunAsChild(const GivenPlugin& given, const ChildTask& task) {
    // Never destroyed: validation reports leaks when the process ends.
    static auto* const verdict = new Verdict;
    KeepHostSuites();
    if (!task.check.empty() && IsValidated(task)) {
        SetEnvironment("TELLAR_VALIDATE", "1");
        TellFindings(*verdict);
    }
    for (Subject& subject : LoadSubjects(given.plugin)) {
        if (task.check.empty()) std::fputs(LineOf(subject).c_str(), stdout);
        if (subject.api != task.api || subject.name != task.name) continue;
        subject.scene = given.scene;
        subject.format = given.format;
        subject.folder = task.folder;
        for (const Check& check : ChecksOf(subject.api))
            if (check.name == task.check) RunCheck(check, subject, *verdict);
    }
}

} // namespace TellarTool
