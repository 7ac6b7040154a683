#include "SceneWarnings.h"

#include <CLI/CLI.hpp>
#include <OxTellarSDK/OpCheck.h>

#include "Output.h"
#include "ProblemsFound.h"
#include "Process.h"
#include "Warnings.h"

namespace TellarTool {

namespace {

constexpr const char* kPluginLogger = "PluginManager";

/// The printed line: 'warning: shot.json:14:5: MaterialAssign "red": there is no material ...'
void Print(const OxOpType::Warning& warning) {
    const std::string& place = warning.opPlace;
    PrintWarning("warning: " + (place.empty() ? place : place + ": ") + warning.opType + " \"" +
                 warning.opName + "\": " + warning.text);
    if (!warning.file.empty()) NoteMissingFile(warning.file);
}

} // namespace

void AddStrict(CLI::App& command, bool& isStrict) {
    command.add_flag("--strict", isStrict,
                     "Take warnings for errors: print all of them and end with status 1");
}

void PrintWarning(const std::string& line) {
    if (IsNewWarning(line)) WriteErrorLine(line);
}

void EndIfStrict(bool isStrict) {
    if (isStrict && GetNumberOfWarnings() > 0) throw ProblemsFound();
}

SceneWarnings::SceneWarnings(bool isStrict)
    : isStrict(isStrict), isListening(!AreLogMessagesWanted()) {
    if (isListening)
        previous = OxLoggingSetSink([this](const OxLogMessage& message) { take(message); });
}

SceneWarnings::~SceneWarnings() {
    if (isListening) OxLoggingSetSink(previous);
}

void SceneWarnings::check(const Scene& scene, std::uint64_t mostLocations) {
    for (const OxOpType::Warning& warning : scene.check(mostLocations))
        Print(warning);
    finish();
}

void SceneWarnings::finish() {
    printWaiting();
    EndIfStrict(isStrict);
}

/// Passes errors on to the previous listener too: the command's error ends with the first of them.
void SceneWarnings::take(const OxLogMessage& message) {
    const bool isAboutPlugins = message.loggerName == kPluginLogger; // tellar doctor reports these
    if (message.level < OxLogLevel::warn || isAboutPlugins) return;
    const std::lock_guard<std::mutex> guard(lock);
    waiting.push_back((message.level == OxLogLevel::warn ? "warning: " : "") + message.text);
    if (message.level > OxLogLevel::warn && previous) previous(message);
}

void SceneWarnings::printWaiting() {
    const std::lock_guard<std::mutex> guard(lock);
    for (const std::string& line : waiting)
        PrintWarning(line);
    waiting.clear();
}

} // namespace TellarTool
