#include "Subcommands.h"

#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>

#include <CLI/CLI.hpp>
#include <OxTellarSDK/AttributeStream.h>
#include <OxTellarSDK/DescriptionFolder.h>
#include <OxTellarSDK/DescriptionJson.h>

#include "Choice.h"
#include "Output.h"
#include "PortableFiles.h"
#include "Scene.h"
#include "SceneWarnings.h"
#include "StandardInput.h"

namespace TellarTool {

namespace {

using namespace OxAttribute;

constexpr const char* kExamples = R"(Examples:
  tellar convert scene.json scene.oxop --compress
  tellar convert scene.oxop scene.json              to look at it, or change it by hand
  tellar convert model.glb model.json               a description that imports the model)";

struct ConvertOptions {
    std::string in;
    std::string out;
    std::string to; // "json", "attributes" or "ops"; empty: by the extension of `out`
    bool compress = false;
    bool isStrict = false;
};

SceneKind TargetKind(const ConvertOptions& options) {
    if (options.out == kStandardOutput && options.to != "json" && !options.to.empty())
        throw std::runtime_error("OUT: only JSON can go to standard output");
    if (options.to == "json" || options.out == kStandardOutput) return SceneKind::Json;
    if (options.to == "attributes") return SceneKind::AttributeStream;
    if (options.to == "ops") return SceneKind::OpFile;
    const std::string extension = std::filesystem::path(options.out).extension().string();
    if (extension == ".json") return SceneKind::Json;
    if (extension == ".oxattr") return SceneKind::AttributeStream;
    if (extension == ".oxop") return SceneKind::OpFile;
    throw std::runtime_error(options.out + ": the extension tells no form (.json, .oxattr, "
                                           ".oxop); give one with --to");
}

/// Throws std::runtime_error naming the file when its folder does not exist.
std::string FolderOfOutput(const std::string& out) {
    try {
        return FolderOfFile(out);
    } catch (const std::filesystem::filesystem_error& error) {
        throw std::runtime_error(out + ": cannot be written: " + error.code().message());
    }
}

void PrintJson(const GroupAttribute& description) {
    WriteOutput(WriteDescriptionJson(description));
    FlushOutput();
}

void Write(const ConvertOptions& options, SceneKind kind, const GroupAttribute& description) {
    switch (kind) {
    case SceneKind::Json:
        if (options.out == kStandardOutput) return PrintJson(description);
        WriteFile(options.out, WriteDescriptionJson(description));
        return;
    case SceneKind::AttributeStream:
        WriteAttributeFile(options.out, description, options.compress);
        return;
    default:
        WriteOpFile(options.out, description, options.compress);
        return;
    }
}

/// An op tree that imports the model from its own folder.
GroupAttribute DescribeModel(const ConvertOptions& options) {
    namespace fs = std::filesystem;
    const fs::path file = fs::absolute(options.in).lexically_normal();
    if (options.out == kStandardOutput) return TELLAR::DescribeImport(file.string());
    return TELLAR::DescribeImport(file.filename().string(), FolderOfFile(file.string()));
}

GroupAttribute DescriptionOf(const ConvertOptions& options, const Scene& scene) {
    if (scene.getKind() != SceneKind::SceneFile) return scene.getDescription();
    if (options.in == kStandardInput)
        throw std::runtime_error("standard input: a description cannot refer to a model there; "
                                 "give its file");
    return DescribeModel(options);
}

std::string Counted(std::size_t count, const std::string& one) {
    return std::to_string(count) + ' ' + one + (count == 1 ? "" : "s");
}

/// Throws std::runtime_error naming the file at fault, and then leaves `out` as it was.
void RunConvert(const ConvertOptions& options) {
    const SceneKind kind = TargetKind(options);
    if (options.compress && kind == SceneKind::Json)
        throw std::runtime_error("--compress: JSON is written uncompressed only");
    SceneWarnings warnings(options.isStrict);
    const Scene scene(options.in);
    if (options.isStrict) warnings.check(scene);
    PortableDescription portable{DescriptionOf(options, scene), 0};
    if (options.out != kStandardOutput)
        portable = WithPortableFiles(portable.description, FolderOfOutput(options.out), kind);
    Write(options, kind, portable.description);
    if (scene.getNumberOfComments() > 0)
        WriteErrorLine("info: " + options.out + " does not keep " +
                       Counted(scene.getNumberOfComments(), "comment") + " of " + scene.getPath());
    if (portable.absoluteFiles > 0)
        WriteErrorLine("info: " + options.out + " still names " +
                       Counted(portable.absoluteFiles, "file") + " by absolute paths");
}

} // namespace

void AddConvertCommand(CLI::App& app) {
    const auto options = std::make_shared<ConvertOptions>();
    CLI::App& command = *app.add_subcommand("convert", "Write an op tree in another form");
    command
        .add_option(
            "IN", options->in,
            "An op file, an op-tree description (attribute stream or JSON) or a model file; - "
            "is standard input")
        ->required()
        ->option_text(" ");
    command
        .add_option("OUT", options->out,
                    "The file to write; its extension tells the form: .json, .oxattr (attribute "
                    "stream) or .oxop (op file); - is standard output, as JSON")
        ->required()
        ->option_text(" ");
    command
        .add_option("--to", options->to, "The form, whatever the extension: json, attributes, ops")
        ->check(Choice({"json", "attributes", "ops"}))
        ->option_text("FORM");
    command.add_flag("--compress", options->compress, "Compress an attribute stream or op file");
    AddStrict(command, options->isStrict);
    command.footer(kExamples);
    command.callback([options] { RunConvert(*options); });
}

} // namespace TellarTool
