#include "Convert.h"

#include <filesystem>
#include <stdexcept>

#include <OxTellarSDK/AttributeStream.h>
#include <OxTellarSDK/DescriptionJson.h>

#include "Output.h"
#include "Scene.h"

namespace TellarTool {

namespace {

using namespace OxAttribute;

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

} // namespace

void RunConvert(const ConvertOptions& options) {
    const SceneKind kind = TargetKind(options);
    if (options.compress && kind == SceneKind::Json)
        throw std::runtime_error("--compress: JSON is written uncompressed only");
    if (TellKind(options.in) == SceneKind::SceneFile)
        throw std::runtime_error(options.in + ": is no op-tree description");
    Write(options, kind, OpenScene(options.in).description);
}

} // namespace TellarTool
