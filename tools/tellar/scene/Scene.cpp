#include "Scene.h"

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <stdexcept>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include <OxTellarProducers/ClientFactory.h>
#include <OxTellarProducers/CreateGeometryProducer.h>
#include <OxTellarProducers/OpTreeSource.h>
#include <OxTellarSDK/AttributeStream.h>
#include <OxTellarSDK/DescriptionFolder.h>
#include <OxTellarSDK/DescriptionJson.h>
#include <OxTellarSDK/FileStream.h>
#include <OxTellarSDK/GroupBuilder.h>

#include "LocationPaths.h"
#include "OpPlaces.h"
#include "StandardInput.h"

namespace TellarTool {

namespace {

using namespace OxAttribute;
using TELLAR::GeometryProducer;
using TELLAR::OpTreeSource;
using Children = std::vector<GroupAttribute::Child>;

/// Throws std::runtime_error in the form of the command's other errors, which the library's is not.
void CheckIsFile(const std::string& path) {
    std::error_code error;
    const auto status = std::filesystem::status(path, error);
    if (!std::filesystem::exists(status))
        throw std::runtime_error(path + ": " +
                                 (error ? error.message() : "No such file or directory"));
    if (std::filesystem::is_directory(status)) throw std::runtime_error(path + ": is a directory");
    // A pipe could not be rewound once its kind is known.
    if (!std::filesystem::is_regular_file(status))
        throw std::runtime_error(path + ": is not a regular file");
}

/// True when the first character that is no white space is an opening brace.
bool BeginsWithBrace(FileStream& file) {
    char buffer[4096];
    for (;;) {
        const std::int64_t bytes = FileStream::read(&file, buffer, sizeof(buffer));
        if (bytes <= 0) return false;
        const std::string_view text(buffer, static_cast<std::size_t>(bytes));
        const std::size_t first = text.find_first_not_of(" \t\r\n\xEF\xBB\xBF");
        if (first != std::string_view::npos) return text[first] == '{';
    }
}

/// Leaves the file at its first byte.
SceneKind FindKind(FileStream& file) {
    const FileKind kind = ProbeFile(file);
    if (kind == FileKind::OpFile) return SceneKind::OpFile;
    if (kind == FileKind::AttributeStream) return SceneKind::AttributeStream;
    const std::string& path = file.getPath();
    const std::string extension = std::filesystem::path(path).extension().string();
    if (extension == ".oxop") throw std::runtime_error(path + ": is no op file");
    if (extension == ".oxattr") throw std::runtime_error(path + ": is no attribute stream");
    if (extension == ".json") return SceneKind::Json;
    if (extension == ".gltf") return SceneKind::SceneFile; // JSON too, but no description
    const bool isJson = BeginsWithBrace(file);
    file.rewind();
    return isJson ? SceneKind::Json : SceneKind::SceneFile;
}

GroupAttribute ReadDescriptionStream(FileStream& file) {
    GroupAttribute description(Attribute::readAttributeStream(&file, FileStream::read, 0));
    if (!description.isValid())
        throw std::runtime_error(file.getPath() +
                                 ": holds no op-tree description, but another attribute");
    return description;
}

/// Relative files count from the folder of `path`.
GroupAttribute ReadDescription(FileStream& file, SceneKind kind, const std::string& path,
                               DescriptionText& told) {
    switch (kind) {
    case SceneKind::OpFile:
        return WithFolderOfFile(ReadOpFile(file), path);
    case SceneKind::AttributeStream:
        return WithFolderOfFile(ReadDescriptionStream(file), path);
    case SceneKind::Json:
        return ReadDescriptionJsonFile(file, &told);
    default:
        return DescribeImport(file.getPath());
    }
}

/// The description's files are looked for in the working directory.
GroupAttribute ReadDescriptionOfInput(FileStream& file, DescriptionText& told) {
    std::string text;
    char piece[4096];
    for (;;) {
        const std::int64_t bytes = FileStream::read(&file, piece, sizeof(piece));
        if (bytes <= 0) break;
        text.append(piece, static_cast<std::size_t>(bytes));
    }
    return ParseDescriptionJson(text, kInputName, std::filesystem::current_path().string(), &told);
}

/// The message with the name of standard input in place of the path.
std::string WithoutPath(std::string message, const std::string& path) {
    for (std::size_t at = message.find(path); at != std::string::npos; at = message.find(path))
        message.replace(at, path.size(), kInputName);
    return message;
}

/// The library cooks nothing from a description that is no op tree, and gives no reason.
void CheckIsOpTree(const std::string& path, const GroupAttribute& description) {
    if (description.getNumberOfChildren() == 0)
        throw std::runtime_error(path + ": the op-tree description holds no op");
    for (std::int64_t i = 0; i < description.getNumberOfChildren(); ++i)
        if (description.getChildByIndex(i).getType() != kAttributeTypeGroup)
            throw std::runtime_error(path + ": is no op-tree description: \"" +
                                     description.getChildName(i) + "\" is no op");
}

/// An op tree that grows at its end.
class OpList {
public:
    explicit OpList(const GroupAttribute& description) {
        for (std::int64_t i = 0; i < description.getNumberOfChildren(); ++i)
            ops.emplace_back(description.getChildName(i), description.getChildByIndex(i));
    }

    const std::string& lastName() const { return ops.back().first; }

    /// The name gets a suffix if it is taken.
    void add(std::string name, const std::string& opType, const GroupAttribute& args,
             const std::vector<std::string>& inputs) {
        while (std::any_of(ops.begin(), ops.end(),
                           [&name](const auto& op) { return op.first == name; }))
            name += '_';
        Children op = {{"opType", StringAttribute(opType)}, {"opArgs", args}};
        if (!inputs.empty()) op.emplace_back("opInputs", StringAttribute(inputs, 1));
        ops.emplace_back(std::move(name), GroupAttribute(op, true));
    }

    GroupAttribute getDescription() const { return GroupAttribute(ops, true); }

private:
    Children ops;
};

} // namespace

GroupAttribute DescribeImport(const std::string& file, const std::string& directory) {
    Children args{{"file", StringAttribute(file)}};
    if (!directory.empty()) args.emplace_back("directory", StringAttribute(directory));
    const GroupAttribute op(Children{{"opType", StringAttribute("SceneImport")},
                                     {"opArgs", GroupAttribute(args, true)}},
                            true);
    return GroupAttribute(Children{{"scene", op}}, true);
}

Scene::Scene(const std::string& path) : path(path) {
    if (path == kStandardInput) {
        readStandardInput();
        return;
    }
    CheckIsFile(path);
    FileStream file(path, true);
    kind = FindKind(file);
    DescriptionText told;
    description = ReadDescription(file, kind, path, told);
    CheckIsOpTree(path, description);
    remember(told);
    isOpenedByPath = kind == SceneKind::OpFile;
}

void Scene::readStandardInput() {
    path = kInputName; // its relative files count from the working directory
    input = std::make_shared<const StandardInput>();
    DescriptionText told;
    try {
        FileStream file(input->getPath(), true);
        kind = FindKind(file);
        description = kind == SceneKind::Json ? ReadDescriptionOfInput(file, told)
                                              : ReadDescription(file, kind, path, told);
    } catch (const std::runtime_error& error) {
        throw std::runtime_error(WithoutPath(error.what(), input->getPath()));
    }
    CheckIsOpTree(path, description);
    remember(told);
}

/// Remembers the comments and the places of ops. Errors about the op of a model name the file
/// already.
void Scene::remember(const DescriptionText& told) {
    comments = told.comments;
    if (kind != SceneKind::SceneFile) RememberOps(path, description, told);
}

std::vector<OxOpType::Warning> Scene::check(std::uint64_t mostLocations) const {
    const auto client = makeClient();
    if (!client) return {};
    return OxOpType::CheckOps(client->getOp(), mostLocations);
}

// Errors call the ops by these names.

Scene Scene::withRenderSettings(const GroupAttribute& settings) const {
    OpList ops(description);
    ops.add("command line", "RenderSettings",
            GroupAttribute(Children{{"settings", settings}}, true), {ops.lastName()});
    return withDescription(ops.getDescription());
}

Scene Scene::withLocation(const std::string& location, const GroupAttribute& content) const {
    OpList ops(description);
    const std::string scene = ops.lastName();
    GroupBuilder args;
    args.set("location", StringAttribute(location));
    args.update(content);
    ops.add("command line location", "StaticScene", args.build(), {});
    ops.add("command line", "Merge", GroupAttribute(true), {scene, ops.lastName()});
    return withDescription(ops.getDescription());
}

Scene Scene::withDescription(const GroupAttribute& changedDescription) const {
    Scene changed = *this;
    changed.description = changedDescription;
    changed.isOpenedByPath = false;
    return changed;
}

GeometryProducer::Ptr Scene::threadAware(const std::string& location) const {
    return checked(open(location), location);
}

GeometryProducer::Ptr Scene::open(const std::string& location) const {
    return isOpenedByPath ? TELLAR::CreateThreadAwareGeometryProducer(path, location)
                          : TELLAR::CreateThreadAwareGeometryProducer(description, location);
}

std::shared_ptr<TellarRuntime::Client> Scene::makeClient() const {
    return TELLAR::ClientCreateWithOpTree(
        isOpenedByPath ? OpTreeSource::createFromFile(path)
                       : OpTreeSource::createFromGroupAttribute(description));
}

GeometryProducer::Ptr Scene::sync(const std::string& location) const {
    const auto client = makeClient();
    if (!client) throw std::runtime_error(path + ": no client can be made for it");
    return checked(TELLAR::CreateSyncGeometryProducer(client, location), location);
}

GeometryProducer::Ptr Scene::async(GeometryProducer& sync, const std::string& location) const {
    return checked(TELLAR::CreateAsyncGeometryProducer(sync.getClient(), location), location);
}

GeometryProducer::Ptr Scene::checked(GeometryProducer::Ptr producer,
                                     const std::string& location) const {
    if (producer) return producer;
    throw std::runtime_error(path + ": there is no location \"" + location + '"' +
                             HintAboutLocation(open("/root"), location));
}

} // namespace TellarTool
