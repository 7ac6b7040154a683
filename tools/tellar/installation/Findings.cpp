#include "Findings.h"

#include <algorithm>
#include <cstdlib>
#include <mutex>

#include <OxConfiguration/Configuration.h>
#include <OxLoggingHost/OxLoggerGlue.h>
#include <ResolutionTableOx/ResolutionTable.h>

#include "Renderers.h"

namespace TellarTool {

namespace {

using OxPluginManager::PluginManager;
using OxPluginManager::RefusedPlugin;

constexpr const char* kPluginLogger = "PluginManager";
constexpr const char* kResolutionLogger = "ResolutionTable";
constexpr const char* kResolutionKey = "RESOLUTION_TABLE";

// The settings and variables that the platform reads (docs/configuration.md), and the variables by
// which the system finds libraries.
constexpr const char* kKeys[] = {"ASSET_SEARCH_PATH", "MAP_FILES_ABOVE", "OMBRA_TILE_FILENAME",
                                 kResolutionKey};
constexpr const char* kVariables[] = {"OX_PLUGIN_PATH",    "OX_CONFIG_FILE",        "OX_LOG_LEVEL",
                                      "OX_ANALYTICS_FILE", "LD_LIBRARY_PATH",       "LD_PRELOAD",
                                      "NO_COLOR",          "RUNTIME_USE_CONCURRENT"};
constexpr const char* kVariablePrefix = "OX_CONFIG_";

/// Collects warnings and errors instead of printing them, because they give the reasons of
/// problems.
class LoggedProblems {
public:
    /// Makes some loggers log warnings whatever OX_LOG_LEVEL says. The sink is set first, so that
    /// it gets the message that OX_LOG_LEVEL itself is malformed.
    static void capture() {
        OxLoggingSetSink([](const OxLogMessage& message) {
            if (message.level < OxLogLevel::warn) return;
            LoggedProblems& problems = get();
            const std::lock_guard<std::mutex> guard(problems.lock);
            problems.messages.push_back(message);
        });
        for (const char* logger : {"Configuration", kPluginLogger, kResolutionLogger})
            OxLoggingSetLevel(logger, OxLogLevel::warn);
    }

    static std::vector<OxLogMessage> getMessages() {
        LoggedProblems& problems = get();
        const std::lock_guard<std::mutex> guard(problems.lock);
        return problems.messages;
    }

private:
    /// Never destroyed, because threads of the library may log until the process ends.
    static LoggedProblems& get() {
        static auto* const problems = new LoggedProblems;
        return *problems;
    }

    std::mutex lock;
    std::vector<OxLogMessage> messages; // guarded by lock
};

bool IsVariable(const std::string& source) {
    return source.rfind(kVariablePrefix, 0) == 0;
}

void FindPlugins(Findings& findings) {
    AddRendererFolder();
    findings.pluginFolders = PluginManager::searchPaths();
    findings.plugins = GetPlugins();
    findings.opTypes = OxOpType::GetDescriptions(); // may refuse some
    findings.refused = PluginManager::refused();
}

void AddVariable(Findings& findings, const std::string& name) {
    if (const char* value = std::getenv(name.c_str()))
        findings.environment.emplace_back(name, value);
}

void FindSettings(Findings& findings) {
    Config()->reload(); // it may have been read, and its errors logged, before
    for (const char* name : kVariables)
        AddVariable(findings, name);
    for (const std::string& source : Config()->sources()) {
        if (IsVariable(source))
            AddVariable(findings, source);
        else
            findings.configurationFiles.push_back(source);
    }
    for (const char* key : kKeys)
        if (Config()->has(key)) findings.configuration.emplace_back(key, Config()->get(key));
}

void FindResolutions(Findings& findings) {
    findings.resolutionFile = Config()->get(kResolutionKey);
    if (const auto table = GetResolutionTable(nullptr))
        findings.resolutionCount = table->getEntries().size();
}

void AddProblem(Findings& findings, const std::string& problem) {
    std::vector<std::string>& problems = findings.problems;
    if (std::find(problems.begin(), problems.end(), problem) == problems.end())
        problems.push_back(problem);
}

void AddLibraryProblems(Findings& findings) {
    for (std::size_t i = 1; i < findings.libraries.size(); ++i) {
        const LoadedLibrary& first = findings.libraries[i - 1];
        const LoadedLibrary& second = findings.libraries[i];
        if (first.name == second.name)
            AddProblem(findings, second.name + " is loaded twice, from " + first.file +
                                     " and from " + second.file);
    }
}

void AddPluginProblems(Findings& findings) {
    for (const RefusedPlugin& plugin : findings.refused)
        AddProblem(findings, "plug-ins: " + plugin.file + " is passed over: " + plugin.reason);
    if (findings.opTypes.empty())
        AddProblem(findings, "there are no op types, so no scene can be opened");
}

void AddResolutionProblem(Findings& findings, const std::vector<OxLogMessage>& messages) {
    if (findings.resolutionCount > 0) return;
    std::string problem = "there is no resolution table";
    for (const OxLogMessage& message : messages)
        if (message.loggerName == kResolutionLogger) problem += ": " + message.text;
    AddProblem(findings, problem);
}

/// Whether the message is already part of another problem.
bool IsToldElsewhere(const OxLogMessage& message) {
    return message.loggerName == kResolutionLogger ||
           (message.loggerName == kPluginLogger && message.text.rfind("Passed over ", 0) == 0);
}

void AddProblems(Findings& findings) {
    const std::vector<OxLogMessage> messages = LoggedProblems::getMessages();
    AddLibraryProblems(findings);
    AddPluginProblems(findings);
    AddResolutionProblem(findings, messages);
    for (const OxLogMessage& message : messages)
        if (!IsToldElsewhere(message))
            AddProblem(findings, message.loggerName + ": " + message.text);
}

} // namespace

Findings Examine() {
    LoggedProblems::capture();
    SetUpPluginHost();
    Findings findings;
    FindPlugins(findings);
    FindSettings(findings);
    FindResolutions(findings);
    findings.libraries = GetLoadedLibraries(); // last, for plug-ins load libraries too
    AddProblems(findings);
    return findings;
}

} // namespace TellarTool
