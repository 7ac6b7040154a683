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

namespace TellarTool {

namespace {

using namespace OxAttribute;

constexpr const char* kExamples = R"(Examples:
  tellar convert scene.json scene.oxop --compress
  tellar convert scene.oxop scene.json              to look at it, or change it by hand)";

struct ConvertOptions {
    std::string in;
    std::string out;
    std::string to; // "json", "attributes" or "ops"; empty: by the extension of `out`
    bool compress = false;
};

SceneKind TargetKind(const ConvertOptions& options) {
    if (options.to == "json") return SceneKind::Json;
    if (options.to == "attributes") return SceneKind::AttributeStream;
    if (options.to == "ops") return SceneKind::OpFile;
    const std::string extension = std::filesystem::path(options.out).extension().string();
    if (extension == ".json") return SceneKind::Json;
    if (extension == ".oxattr") return SceneKind::AttributeStream;
    if (extension == ".oxop") return SceneKind::OpFile;
    throw std::runtime_error(options.out + ": the extension tells no form (.json, .oxattr, "
                                           ".oxop); give one with --to");
}

void Write(const ConvertOptions& options, SceneKind kind, const GroupAttribute& description) {
    switch (kind) {
    case SceneKind::Json:
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

/// Throws std::runtime_error naming the file at fault, and then leaves `out` as it was.
void RunConvert(const ConvertOptions& options) {
    const SceneKind kind = TargetKind(options);
    if (options.compress && kind == SceneKind::Json)
        throw std::runtime_error("--compress: JSON is written uncompressed only");
    const Scene scene(options.in);
    if (scene.getKind() == SceneKind::SceneFile)
        throw std::runtime_error(options.in + ": is no op-tree description");
    Write(options, kind, scene.getDescription());
}

} // namespace

void AddConvertCommand(CLI::App& app) {
    const auto options = std::make_shared<ConvertOptions>();
    CLI::App& command = *app.add_subcommand("convert", "Write an op tree in another form");
    command
        .add_option("IN", options->in,
                    "An op file or an op-tree description (attribute stream or JSON)")
        ->required()
        ->option_text(" ");
    command
        .add_option("OUT", options->out,
                    "The file to write; its extension tells the form: .json, .oxattr (attribute "
                    "stream) or .oxop (op file)")
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
