#include "Subcommands.h"

#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>
#include <OxTellarSDK/Attribute.h>
#include <OxTellarSDK/DescriptionJson.h>
#include <OxTellarSDK/StringUtil.h>

#include "AttributeText.h"
#include "DotDrawing.h"
#include "DotText.h"
#include "JsonText.h"
#include "LocationMaterial.h"
#include "Output.h"
#include "PrintableText.h"
#include "Scene.h"
#include "SceneOptions.h"
#include "SceneWarnings.h"
#include "ShadingNetwork.h"
#include "Table.h"

namespace TellarTool {

namespace {

using namespace OxAttribute;
using TELLAR::ShadingNodeDescription;

constexpr const char* kExamples = R"(Examples:
  tellar material examples/materials.json --at /root/world/gallery/fresco
  tellar material shot.oxop --at /root/world/hero --terminals surface,displacement
  tellar material shot.oxop --at /root/world/hero --png hero.png
  tellar material shot.oxop --at /root/world/hero --dot | dot -Tsvg > hero.svg)";

struct MaterialOptions {
    std::string scene;
    std::string location;
    std::optional<std::vector<std::string>> terminals; // absent: all terminals
    std::optional<std::string> png;
    bool minimize = false;
    bool json = false;
    bool dot = false;
    bool isStrict = false;
};

/// Everything that the command prints about the material of a location.
struct MaterialReport {
    std::string path;
    LocationMaterial material;
    GroupAttribute flattened;
};

MaterialReport Look(const MaterialOptions& options, SceneWarnings& warnings) {
    const Scene scene(options.scene);
    if (options.isStrict) warnings.check(scene);
    const auto location = scene.at(options.location);
    MaterialReport report;
    report.path = location->getFullName();
    report.material = FindMaterial(*location);
    if (report.material.sources.empty()) {
        std::string error = scene.getPath() + ": " + report.path + " has no material";
        for (const std::string& note : report.material.notes)
            error += "; " + note;
        throw std::runtime_error(error);
    }
    report.flattened =
        report.material.flatten(options.terminals.value_or(report.material.terminalNames()));
    return report;
}

std::string OriginText(const MaterialSource& source) {
    return source.assignedFrom.empty() ? "" : "assigned from " + source.assignedFrom;
}

/// Appends a line for every value. Values in groups have dotted names.
void AppendValues(std::string& out, const std::string& name, const Attribute& attribute) {
    ForEachValue(name, attribute, [&](const std::string& path, const std::string& value) {
        out += "    " + path + ": " + value + '\n';
    });
}

void AppendNode(std::string& out, const ShadingNodeDescription& node) {
    AppendPrintable(out, node.getName() + " [" + node.getType() + "]");
    out += '\n';
    for (const std::string& name : node.getParameterNames()) {
        std::string printable;
        AppendPrintable(printable, name);
        AppendValues(out, printable, node.getParameter(name));
    }
    for (const std::string& name : node.getConnectionNames()) {
        const auto connection = node.getConnection(name);
        out += "    ";
        AppendPrintable(out, name + " <- " + connection->getConnectedNode() + "." +
                                 connection->getConnectedPort());
        out += '\n';
    }
}

Table TableOf(const std::vector<MaterialSource>& sources) {
    Table rows;
    for (const MaterialSource& source : sources) {
        rows.push_back({source.location, StyleName(source.material)});
        if (!source.assignedFrom.empty()) rows.back().push_back(OriginText(source));
    }
    return rows;
}

Table TableOf(const std::vector<ShadingNetwork::Terminal>& terminals) {
    if (terminals.empty()) return {{"none"}};
    Table rows;
    for (const auto& [name, node, port] : terminals) {
        rows.push_back({name, node});
        if (!port.empty()) rows.back().back().append(".").append(port);
    }
    return rows;
}

std::string TextOf(const MaterialReport& report) {
    constexpr std::size_t kIndent = 4;
    const ShadingNetwork network = ReadNetwork(report.flattened);
    std::string out;
    AppendTable(out, {{"location", report.path}, {"style", StyleName(report.flattened)}});
    out += "materials\n";
    AppendTable(out, TableOf(report.material.sources), kIndent);
    out += "terminals\n";
    AppendTable(out, TableOf(network.terminals), kIndent);
    for (const auto& [name, node] : network.nodes)
        AppendNode(out, *node);
    if (network.rest.getNumberOfChildren() > 0) {
        out += "other values\n";
        AppendValues(out, "", network.rest);
    }
    std::vector<std::string> notes = report.material.notes;
    for (const std::string& problem : network.problems())
        notes.push_back(problem);
    AppendNotes(out, notes);
    return out;
}

std::string MinimizedText(const LocationMaterial& material) {
    std::string out;
    for (const MaterialSource& source : material.sources) {
        AppendPrintable(out, source.location + "  " + StyleName(source.material));
        if (!source.assignedFrom.empty()) AppendPrintable(out, "  " + OriginText(source));
        out += '\n';
        AppendValues(out, "", source.material);
    }
    AppendNotes(out, material.notes);
    return out;
}

std::string MinimizedJson(const LocationMaterial& material) {
    std::vector<std::string> sources;
    for (const MaterialSource& source : material.sources)
        sources.push_back(JsonObject()
                              .add("location", source.location)
                              .addJson("assignedFrom", source.assignedFrom.empty()
                                                           ? "null"
                                                           : Json(source.assignedFrom))
                              .addJson("material", WriteAttributeJson(source.material, -1))
                              .line());
    std::string out = "[\n";
    for (std::size_t i = 0; i < sources.size(); ++i)
        out += "  " + sources[i] + (i + 1 < sources.size() ? ",\n" : "\n");
    return out + "]\n";
}

std::string JsonOf(const GroupAttribute& flattened) {
    return (flattened.isValid() ? WriteAttributeJson(flattened) : "null") + '\n';
}

std::string DotOf(const MaterialReport& report) {
    return DotText(ReadNetwork(report.flattened), report.path);
}

std::string Print(const MaterialReport& report, const MaterialOptions& options) {
    if (options.minimize)
        return options.json ? MinimizedJson(report.material) : MinimizedText(report.material);
    if (options.dot) return DotOf(report);
    return options.json ? JsonOf(report.flattened) : TextOf(report);
}

void RunMaterial(const MaterialOptions& options) {
    CheckLocationPath("--at", options.location);
    SceneWarnings warnings(options.isStrict);
    const MaterialReport report = Look(options, warnings);
    warnings.finish();
    if (options.png) {
        WriteDotPicture(DotOf(report), *options.png);
        return;
    }
    WriteOutput(Print(report, options));
    FlushOutput();
}

std::vector<std::string> NamesFromText(const std::string& text) {
    std::vector<std::string> names = OxStringUtil::split(text, ",");
    for (const std::string& name : names)
        if (name.empty())
            throw CLI::ValidationError("--terminals",
                                       "\"" + text + "\" is not NAME,NAME,..., such as surface");
    return names;
}

} // namespace

void AddMaterialCommand(CLI::App& app) {
    const auto options = std::make_shared<MaterialOptions>();
    CLI::App& command =
        *app.add_subcommand("material", "Print the material of a location, or draw it");
    AddScene(command, options->scene)->required();
    AddLocation(command, options->location, "The location");
    command
        .add_option_function<std::string>(
            "--terminals",
            [options](const std::string& text) { options->terminals = NamesFromText(text); },
            "What is wanted of several materials together; without it, all that they have")
        ->option_text("NAME,NAME,...");
    CLI::Option* const minimize =
        command.add_flag("--minimize", options->minimize,
                         "Print the materials one by one, as they are put together");
    CLI::Option* const json = command.add_flag("--json", options->json, "Print JSON");
    CLI::Option* const dot =
        command.add_flag("--dot", options->dot, "Print a drawing in the language of Graphviz");
    CLI::Option* const png =
        command
            .add_option("--png", options->png,
                        "Draw it into this PNG file, by Graphviz's program \"dot\"")
            ->option_text("FILE");
    dot->excludes(minimize)->excludes(json);
    png->excludes(minimize)->excludes(json)->excludes(dot);
    AddStrict(command, options->isStrict);
    command.footer(kExamples);
    command.callback([options] { RunMaterial(*options); });
}

} // namespace TellarTool
