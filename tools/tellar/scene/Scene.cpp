#include "Scene.h"

#include <filesystem>
#include <stdexcept>
#include <string_view>
#include <system_error>

#include <OxTellarProducers/ClientFactory.h>
#include <OxTellarProducers/CreateGeometryProducer.h>
#include <OxTellarProducers/OpTreeSource.h>
#include <OxTellarSDK/AttributeStream.h>
#include <OxTellarSDK/DescriptionJson.h>
#include <OxTellarSDK/FileStream.h>

namespace TellarTool {

namespace {

using namespace OxAttribute;
using TELLAR::GeometryProducer;

void CheckIsFile(const std::string& path) {
    std::error_code error;
    const auto status = std::filesystem::status(path, error);
    if (!std::filesystem::exists(status))
        throw std::runtime_error(path + ": " +
                                 (error ? error.message() : "No such file or directory"));
    if (std::filesystem::is_directory(status)) throw std::runtime_error(path + ": is a directory");
    // What a pipe held would be gone once its kind is told.
    if (!std::filesystem::is_regular_file(status))
        throw std::runtime_error(path + ": is no regular file");
}

/// True when the first character that is no white space is an opening brace.
bool BeginsWithBrace(const std::string& path) {
    FileStream stream(path, true);
    char buffer[4096];
    for (;;) {
        const std::int64_t bytes = FileStream::read(&stream, buffer, sizeof(buffer));
        if (bytes <= 0) return false;
        const std::string_view text(buffer, static_cast<std::size_t>(bytes));
        const std::size_t first = text.find_first_not_of(" \t\r\n\xEF\xBB\xBF");
        if (first != std::string_view::npos) return text[first] == '{';
    }
}

GroupAttribute ReadDescriptionStream(const std::string& path) {
    FileStream stream(path, true);
    const Attribute attribute = Attribute::readAttributeStream(&stream, FileStream::read, 0);
    GroupAttribute description(attribute);
    if (!description.isValid())
        throw std::runtime_error(path + ": holds no op-tree description, but another attribute");
    return description;
}

/// The library makes nothing of a description that is no op tree, and does not say why.
void CheckIsOpTree(const std::string& path, const GroupAttribute& description) {
    if (description.getNumberOfChildren() == 0)
        throw std::runtime_error(path + ": the op-tree description holds no op");
    for (std::int64_t i = 0; i < description.getNumberOfChildren(); ++i)
        if (description.getChildByIndex(i).getType() != kAttributeTypeGroup)
            throw std::runtime_error(path + ": is no op-tree description: \"" +
                                     description.getChildName(i) + "\" is no op");
}

using Children = std::vector<GroupAttribute::Child>;

/// One op that imports the file.
GroupAttribute DescribeImport(const std::string& path) {
    const GroupAttribute args(Children{{"file", StringAttribute(path)}}, true);
    const GroupAttribute op(Children{{"opType", StringAttribute("SceneImport")}, {"opArgs", args}},
                            true);
    return GroupAttribute(Children{{"scene", op}}, true);
}

GroupAttribute ReadDescription(const std::string& path, SceneKind kind) {
    switch (kind) {
    case SceneKind::OpFile:
        return ReadOpFile(path);
    case SceneKind::AttributeStream:
        return ReadDescriptionStream(path);
    case SceneKind::Json:
        return ReadDescriptionJsonFile(path);
    default:
        return DescribeImport(path);
    }
}

} // namespace

SceneKind TellKind(const std::string& path) {
    CheckIsFile(path);
    switch (ProbeFile(path)) {
    case FileKind::OpFile:
        return SceneKind::OpFile;
    case FileKind::AttributeStream:
        return SceneKind::AttributeStream;
    default:
        break;
    }
    const std::string extension = std::filesystem::path(path).extension().string();
    if (extension == ".oxop") throw std::runtime_error(path + ": is no op file");
    if (extension == ".oxattr") throw std::runtime_error(path + ": is no attribute stream");
    if (extension == ".json") return SceneKind::Json;
    // glTF is JSON too, but no description.
    if (extension != ".gltf" && BeginsWithBrace(path)) return SceneKind::Json;
    return SceneKind::SceneFile;
}

Scene OpenScene(const std::string& path) {
    const SceneKind kind = TellKind(path);
    Scene scene{path, ReadDescription(path, kind), kind == SceneKind::OpFile};
    CheckIsOpTree(path, scene.description);
    return scene;
}

Scene WithRenderSettings(const Scene& scene, const GroupAttribute& settings) {
    Children ops;
    for (std::int64_t i = 0; i < scene.description.getNumberOfChildren(); ++i)
        ops.emplace_back(scene.description.getChildName(i), scene.description.getChildByIndex(i));
    std::string name = "command line"; // as errors will call the op
    while (scene.description.findChild(name) >= 0)
        name += '_';
    const GroupAttribute args(Children{{"settings", settings}}, true);
    ops.emplace_back(name, GroupAttribute(Children{{"opType", StringAttribute("RenderSettings")},
                                                   {"opArgs", args},
                                                   {"opInputs", StringAttribute(ops.back().first)}},
                                          true));
    return {scene.path, GroupAttribute(ops, true), false};
}

void CheckLocationPath(const std::string& option, const std::string& path) {
    if (path.empty() || path.front() != '/')
        throw std::runtime_error(option + ": \"" + path + "\" is no absolute location path");
}

GeometryProducer::Ptr SceneEntry::threadAware(const std::string& location) const {
    if (scene.isOpFile)
        return checked(TELLAR::CreateThreadAwareGeometryProducer(scene.path, location), location);
    return checked(TELLAR::CreateThreadAwareGeometryProducer(scene.description, location),
                   location);
}

GeometryProducer::Ptr SceneEntry::sync(const std::string& location) {
    return checked(TELLAR::CreateSyncGeometryProducer(getClient(), location), location);
}

GeometryProducer::Ptr SceneEntry::async(const std::string& location) {
    return checked(TELLAR::CreateAsyncGeometryProducer(getClient(), location), location);
}

const std::shared_ptr<TellarRuntime::Client>& SceneEntry::getClient() {
    using TELLAR::OpTreeSource;
    if (client) return client;
    const OpTreeSource source = scene.isOpFile
                                    ? OpTreeSource::createFromFile(scene.path)
                                    : OpTreeSource::createFromGroupAttribute(scene.description);
    client = TELLAR::ClientCreateWithOpTree(source);
    if (!client) throw std::runtime_error(scene.path + ": no client can be made for it");
    return client;
}

GeometryProducer::Ptr SceneEntry::checked(GeometryProducer::Ptr producer,
                                          const std::string& location) const {
    if (!producer)
        throw std::runtime_error(scene.path + ": there is no location \"" + location + "\"");
    return producer;
}

} // namespace TellarTool
