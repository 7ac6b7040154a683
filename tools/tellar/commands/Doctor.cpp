#include "Subcommands.h"

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "Findings.h"
#include "JsonText.h"
#include "Output.h"
#include "Table.h"

namespace TellarTool {

namespace {

using OxPluginManager::RefusedPlugin;

constexpr const char* kNotes =
    R"(The exit status is 0 when there is no problem, 1 when there are some.

Examples:
  tellar doctor
  tellar doctor --json)";

struct DoctorOptions {
    bool json = false;
};

void AppendSection(std::string& out, const std::string& heading, const Table& rows) {
    constexpr std::size_t kIndent = 4;
    out += heading + '\n';
    AppendTable(out, rows.empty() ? Table{{"none"}} : rows, kIndent);
    out += '\n';
}

Table TableOf(const std::vector<std::string>& texts) {
    Table rows;
    for (const std::string& text : texts)
        rows.push_back({text});
    return rows;
}

Table TableOf(const std::vector<Setting>& settings) {
    Table rows;
    for (const auto& [name, value] : settings)
        rows.push_back({name, value});
    return rows;
}

Table TableOf(const std::vector<LoadedLibrary>& libraries) {
    Table rows;
    for (const LoadedLibrary& library : libraries)
        rows.push_back({library.name, library.version, library.file});
    return rows;
}

Table TableOf(const std::vector<FoundPlugin>& plugins) {
    Table rows;
    for (const FoundPlugin& plugin : plugins)
        rows.push_back(
            {plugin.apiName + ' ' + std::to_string(plugin.apiVersion), plugin.name, plugin.file});
    return rows;
}

Table TableOf(const std::vector<RefusedPlugin>& refused) {
    Table rows;
    for (const RefusedPlugin& plugin : refused)
        rows.push_back({plugin.file, plugin.reason});
    return rows;
}

Table TableOf(const std::vector<const OxOpType::Description*>& types) {
    Table rows;
    for (const OxOpType::Description* type : types)
        rows.push_back({type->name, "version " + std::to_string(type->version)});
    return rows;
}

Table ProblemTable(const std::vector<std::string>& problems) {
    Table rows;
    for (const std::string& problem : problems)
        rows.push_back({std::to_string(rows.size() + 1) + '.', problem});
    return rows;
}

std::string TextOf(const Findings& findings) {
    std::string out = "tellar " TELLAR_VERSION "\n\n";
    AppendSection(out, "libraries", TableOf(findings.libraries));
    AppendSection(out, "plug-in folders", TableOf(findings.pluginFolders));
    AppendSection(out, "plug-ins", TableOf(findings.plugins));
    AppendSection(out, "passed over", TableOf(findings.refused));
    AppendSection(out, "op types", TableOf(findings.opTypes));
    AppendSection(out, "configuration files", TableOf(findings.configurationFiles));
    AppendSection(out, "configuration", TableOf(findings.configuration));
    AppendSection(out, "environment", TableOf(findings.environment));
    const std::string& file = findings.resolutionFile;
    AppendSection(out, "resolutions",
                  {{"formats", std::to_string(findings.resolutionCount)},
                   {"file", file.empty() ? "none" : file}});
    if (findings.problems.empty()) return out + "No problems were found.\n";
    out += "problems\n";
    AppendTable(out, ProblemTable(findings.problems), 4);
    return out;
}

/// JsonObject is not used, because the names of variables may have to be escaped.
std::string JsonOf(const std::vector<Setting>& settings) {
    std::string members;
    for (const auto& [name, value] : settings)
        members += (members.empty() ? "" : ", ") + Json(name) + ": " + Json(value);
    return '{' + members + '}';
}

std::string JsonOf(const LoadedLibrary& library) {
    return JsonObject()
        .add("name", library.name)
        .addJson("version", JsonOrNull(library.version))
        .add("file", library.file)
        .line();
}

std::string JsonOf(const FoundPlugin& plugin) {
    return JsonObject()
        .add("name", plugin.name)
        .add("api", plugin.apiName)
        .addJson("apiVersion", std::to_string(plugin.apiVersion))
        .add("file", plugin.file)
        .line();
}

std::string JsonOf(const RefusedPlugin& plugin) {
    return JsonObject().add("file", plugin.file).add("reason", plugin.reason).line();
}

std::string JsonOf(const OxOpType::Description* type) {
    return JsonObject().add("name", type->name).add("version", type->version).line();
}

std::string JsonOf(const std::string& text) {
    return Json(text);
}

template <typename Values>
std::string LinesOf(const Values& values) {
    std::vector<std::string> lines;
    lines.reserve(values.size());
    for (const auto& value : values)
        lines.push_back(JsonOf(value));
    return JsonLines(lines);
}

std::string JsonOf(const Findings& findings) {
    return JsonObject()
        .add("version", std::string(TELLAR_VERSION))
        .addJson("libraries", LinesOf(findings.libraries))
        .addJson("pluginFolders", LinesOf(findings.pluginFolders))
        .addJson("plugins", LinesOf(findings.plugins))
        .addJson("refused", LinesOf(findings.refused))
        .addJson("opTypes", LinesOf(findings.opTypes))
        .addJson("configurationFiles", LinesOf(findings.configurationFiles))
        .addJson("configuration", JsonOf(findings.configuration))
        .addJson("environment", JsonOf(findings.environment))
        .addJson("resolutions", JsonObject()
                                    .addJson("count", std::to_string(findings.resolutionCount))
                                    .addJson("file", JsonOrNull(findings.resolutionFile))
                                    .line())
        .addJson("problems", LinesOf(findings.problems))
        .document();
}

void RunDoctor(const DoctorOptions& options) {
    const Findings findings = Examine();
    WriteOutput(options.json ? JsonOf(findings) : TextOf(findings));
    FlushOutput();
    if (!findings.problems.empty()) throw ProblemsFound();
}

} // namespace

void AddDoctorCommand(CLI::App& app) {
    const auto options = std::make_shared<DoctorOptions>();
    CLI::App& command = *app.add_subcommand(
        "doctor", "Tell what is found where, and what is wrong with the installation");
    command.add_flag("--json", options->json, "Print a JSON object");
    command.footer(kNotes);
    command.callback([options] { RunDoctor(*options); });
}

} // namespace TellarTool
