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
#include "DotText.h"
#include "JsonText.h"
#include "LocationMaterial.h"
#include "Output.h"
#include "PrintableText.h"
#include "Process.h"
#include "Scene.h"
#include "SceneOptions.h"
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
    std::optional<std::vector<std::string>> terminals; // absent: all that there are
    std::optional<std::string> png;
    bool minimize = false;
    bool json = false;
    bool dot = false;
};

/// All that is told about the material of a location.
struct MaterialReport {
    std::string path;
    LocationMaterial material;
    GroupAttribute flattened;
};

MaterialReport Look(const MaterialOptions& options) {
    const Scene scene(options.scene);
    const auto location = scene.threadAware(options.location);
    MaterialReport report;
    report.path = location->getFullName();
    report.material = FindMaterial(*location);
    if (report.material.sources.empty()) {
        std::string error = scene.getPath() + ": " + report.path + " has no material";
        for (const std::string& note : report.material.notes)
            error += "; " + note;
        throw std::runtime_error(error);
    }
    report.flattened = report.material.flatten(options.terminals ? *options.terminals
                                                                 : report.material.terminalNames());
    return report;
}

std::string OriginText(const MaterialSource& source) {
    return source.assignedFrom.empty() ? "" : "assigned from " + source.assignedFrom;
}

/// A line for every value, with those of groups by dotted names.
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

std::string TextOf(const MaterialReport& report) {
    constexpr std::size_t kIndent = 4;
    const ShadingNetwork network = ReadNetwork(report.flattened);
    std::string out;
    AppendTable(out, {{"location", report.path}, {"style", StyleName(report.flattened)}});
    out += "materials\n";
    Table sources;
    for (const MaterialSource& source : report.material.sources) {
        sources.push_back({source.location, StyleName(source.material)});
        if (!source.assignedFrom.empty()) sources.back().push_back(OriginText(source));
    }
    AppendTable(out, sources, kIndent);
    out += "terminals\n";
    Table terminals;
    for (const auto& terminal : network.terminals)
        terminals.push_back({terminal.name, terminal.port.empty()
                                                ? terminal.node
                                                : terminal.node + "." + terminal.port});
    if (terminals.empty()) terminals = {{"none"}};
    AppendTable(out, terminals, kIndent);
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

void WritePicture(const MaterialReport& report, const std::string& file) {
    const std::string picture = RunProgram("dot", {"-Tpng"}, DotOf(report));
    if (picture.empty()) throw std::runtime_error("dot made no picture");
    WriteFile(file, picture);
}

void RunMaterial(const MaterialOptions& options) {
    CheckLocationPath("--at", options.location);
    const MaterialReport report = Look(options);
    if (options.png) {
        try {
            WritePicture(report, *options.png);
        } catch (const std::runtime_error& error) {
            throw std::runtime_error(std::string("--png: ") + error.what());
        }
        return;
    }
    if (options.minimize)
        WriteOutput(options.json ? MinimizedJson(report.material) : MinimizedText(report.material));
    else if (options.dot)
        WriteOutput(DotOf(report));
    else
        WriteOutput(options.json ? JsonOf(report.flattened) : TextOf(report));
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
    CLI::App* const material =
        app.add_subcommand("material", "Print the material of a location, or draw it");
    AddScene(*material, options->scene)->required();
    AddLocation(*material, options->location, "The location");
    material
        ->add_option_function<std::string>(
            "--terminals",
            [options](const std::string& text) { options->terminals = NamesFromText(text); },
            "What is wanted of several materials together; without it, all that they have")
        ->option_text("NAME,NAME,...");
    CLI::Option* const minimize =
        material->add_flag("--minimize", options->minimize,
                           "Print the materials one by one, as they are put together");
    CLI::Option* const json = material->add_flag("--json", options->json, "Print JSON");
    CLI::Option* const dot =
        material->add_flag("--dot", options->dot, "Print a drawing in the language of Graphviz");
    CLI::Option* const png =
        material
            ->add_option("--png", options->png,
                         "Draw it into this PNG file, by Graphviz's program \"dot\"")
            ->option_text("FILE");
    dot->excludes(minimize)->excludes(json);
    png->excludes(minimize)->excludes(json)->excludes(dot);
    material->footer(kExamples);
    material->callback([options] { RunMaterial(*options); });
}

} // namespace TellarTool
