#include "Subcommands.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <CLI/CLI.hpp>
#include <OxTellarSDK/OpType.h>
#include <OxTellarSDK/PluginManager.h>

#include "JsonText.h"
#include "Output.h"
#include "PrintableText.h"
#include "text/SimilarNames.h"

namespace TellarTool {

namespace {

using OxOpType::Argument;
using OxOpType::Description;

constexpr const char* kExamples = R"(Examples:
  tellar ops
  tellar ops Array                                  its inputs and arguments
  tellar ops --json)";

constexpr std::size_t kLineWidth = 96;

struct OpsOptions {
    std::string type; // empty: all
    bool json = false;
};

/// Appends the text in lines of kLineWidth, indented from the second one on. The first line begins
/// at `column`.
void AppendWrapped(std::string& out, std::string_view text, std::size_t column,
                   std::size_t indent) {
    while (!text.empty()) {
        const std::size_t end = std::min(text.find(' '), text.size());
        if (column + 1 + end > kLineWidth && column > indent) {
            out += '\n';
            out.append(indent, ' ');
            column = indent;
        } else if (column > indent) {
            out += ' ';
            ++column;
        }
        AppendPrintable(out, text.substr(0, end));
        column += end;
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    out += '\n';
}

/// Appends a name, and the text in a column of its own beside it.
void AppendEntry(std::string& out, const std::string& name, std::size_t nameWidth,
                 const std::string& text) {
    std::string line = "  ";
    AppendPrintable(line, name);
    const std::size_t indent = nameWidth + 4;
    line.resize(std::max(indent, line.size()), ' ');
    out += line;
    AppendWrapped(out, text, indent, indent);
}

void AppendSummary(std::string& out, const std::vector<const Description*>& types) {
    std::size_t width = 0;
    for (const Description* type : types)
        width = std::max(width, type->name.size());
    for (const Description* type : types)
        AppendEntry(out, type->name, width, type->summary);
}

void AppendDetails(std::string& out, const Description& type) {
    AppendPrintable(out, type.name);
    out += " (version " + std::to_string(type.version) + ")\n  ";
    AppendWrapped(out, type.summary, 2, 2);
    out += "\ninputs: ";
    AppendPrintable(out, type.inputs);
    out += type.arguments.empty() ? "\narguments: none\n" : "\narguments:\n";
    std::size_t width = 0;
    for (const Argument& argument : type.arguments)
        width = std::max(width, argument.name.size() + argument.type.size() + 2);
    for (const Argument& argument : type.arguments) {
        std::string name = argument.name;
        name.resize(width - argument.type.size(), ' ');
        AppendEntry(out, name + argument.type, width, argument.summary);
    }
}

/// Lists files on the plug-in path that could not be used, because a missing op type may be in one.
void AppendRefusedPlugins(std::string& out) {
    const auto refused = OxPluginManager::PluginManager::refused();
    if (refused.empty()) return;
    out += "\npassed over:\n";
    for (const OxPluginManager::RefusedPlugin& plugin : refused) {
        out += "  ";
        AppendPrintable(out, plugin.file + ": " + plugin.reason);
        out += '\n';
    }
}

std::string JsonOf(const Description& type) {
    std::string out = "{\"name\": " + Json(type.name) +
                      ", \"version\": " + std::to_string(type.version) +
                      ", \"summary\": " + Json(type.summary) +
                      ", \"inputs\": " + Json(type.inputs) + ", \"arguments\": [";
    const char* separator = "\n    ";
    for (const Argument& argument : type.arguments) {
        out += separator;
        out += "{\"name\": " + Json(argument.name) + ", \"type\": " + Json(argument.type) +
               ", \"summary\": " + Json(argument.summary) + "}";
        separator = ",\n    ";
    }
    return out + "]}";
}

std::string JsonOfAll(const std::vector<const Description*>& types) {
    std::string out = "[";
    const char* separator = "\n  ";
    for (const Description* type : types) {
        out += separator + JsonOf(*type);
        separator = ",\n  ";
    }
    return out + "\n]\n";
}

std::string DescribeAll(bool json) {
    const std::vector<const Description*> types = OxOpType::GetDescriptions();
    if (json) return JsonOfAll(types);
    std::string out;
    AppendSummary(out, types);
    AppendRefusedPlugins(out);
    return out;
}

std::string HintAbout(const std::string& missing) {
    std::vector<std::string> names;
    for (const Description* const type : OxOpType::GetDescriptions())
        names.push_back(type->name);
    const std::string hint = TellarInternal::DidYouMean(names, missing);
    return hint.empty() ? "; \"tellar ops\" lists them" : hint;
}

/// Throws std::runtime_error for an unknown type.
std::string DescribeOne(const std::string& name, bool json) {
    const Description* const type = OxOpType::FindDescription(name);
    if (!type) throw std::runtime_error("there is no op type \"" + name + '"' + HintAbout(name));
    if (json) return JsonOf(*type) + "\n";
    std::string out;
    AppendDetails(out, *type);
    return out;
}

void RunOps(const OpsOptions& options) {
    WriteOutput(options.type.empty() ? DescribeAll(options.json)
                                     : DescribeOne(options.type, options.json));
    FlushOutput();
}

} // namespace

void AddOpsCommand(CLI::App& app) {
    const auto options = std::make_shared<OpsOptions>();
    CLI::App& command =
        *app.add_subcommand("ops", "Tell which op types there are and what they take");
    command.add_option("TYPE", options->type, "Tell about this one")->option_text(" ");
    command.add_flag("--json", options->json, "Print JSON");
    command.footer(kExamples);
    command.callback([options] { RunOps(*options); });
}

} // namespace TellarTool
