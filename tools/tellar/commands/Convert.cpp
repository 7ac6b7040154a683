#include "Subcommands.h"

#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>

#include <CLI/CLI.hpp>
#include <OxTellarSDK/AttributeStream.h>
#include <OxTellarSDK/DescriptionJson.h>

#include "Output.h"
#include "Scene.h"
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

/// An op tree that imports the model. In JSON, its path counts from the folder of the description,
/// so that both can be moved together.
GroupAttribute DescribeModel(const ConvertOptions& options, SceneKind kind) {
    namespace fs = std::filesystem;
    fs::path file = fs::absolute(options.in).lexically_normal();
    if (kind == SceneKind::Json && options.out != kStandardOutput) {
        const fs::path folder = fs::absolute(options.out).lexically_normal().parent_path();
        const fs::path relative = file.lexically_relative(folder);
        if (!relative.empty()) file = relative;
    }
    return DescribeImport(file.string());
}

/// Throws std::runtime_error naming the file at fault, and then leaves `out` as it was.
void RunConvert(const ConvertOptions& options) {
    const SceneKind kind = TargetKind(options);
    if (options.compress && kind == SceneKind::Json)
        throw std::runtime_error("--compress: JSON is written uncompressed only");
    const Scene scene(options.in);
    if (scene.getKind() != SceneKind::SceneFile)
        return Write(options, kind, scene.getDescription());
    if (options.in == kStandardInput)
        throw std::runtime_error("standard input: a description cannot refer to a model there; "
                                 "give its file");
    Write(options, kind, DescribeModel(options, kind));
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
        ->check(CLI::IsMember({"json", "attributes", "ops"}))
        ->option_text("FORM");
    command.add_flag("--compress", options->compress, "Compress an attribute stream or op file");
    command.footer(kExamples);
    command.callback([options] { RunConvert(*options); });
}

} // namespace TellarTool
