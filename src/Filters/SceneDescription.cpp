#include <OxTellarProducers/SceneDescription.h>

#include <cstdint>
#include <filesystem>
#include <string_view>
#include <system_error>
#include <vector>

#include <OxTellarSDK/AttributeStream.h>
#include <OxTellarSDK/Capture.h>
#include <OxTellarSDK/DescriptionFolder.h>
#include <OxTellarSDK/TellarError.h>

using namespace OxAttribute;

namespace TELLAR {

namespace {

[[noreturn]] void Refuse(const std::string& path, const std::string& reason) {
    throw TellarError::OfFile(path, path + ": " + reason);
}

void CheckIsFile(const std::string& path) {
    std::error_code error;
    const auto status = std::filesystem::status(path, error);
    if (!std::filesystem::exists(status))
        Refuse(path, error ? error.message() : "No such file or directory");
    if (std::filesystem::is_directory(status)) Refuse(path, "is a directory");
    // A pipe could not be rewound once its kind is known.
    if (!std::filesystem::is_regular_file(status)) Refuse(path, "is not a regular file");
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
    if (OxCapture::IsCapture(file)) return SceneKind::Capture;
    const std::string& path = file.getPath();
    const std::string extension = std::filesystem::path(path).extension().string();
    if (extension == ".oxop") Refuse(path, "is no op file");
    if (extension == ".oxattr") Refuse(path, "is no attribute stream");
    if (extension == ".oxcap") Refuse(path, "is no capture");
    if (extension == ".json") return SceneKind::Json;
    if (extension == ".gltf") return SceneKind::SceneFile; // JSON too, but no description
    const bool isJson = BeginsWithBrace(file);
    file.rewind();
    return isJson ? SceneKind::Json : SceneKind::SceneFile;
}

GroupAttribute ReadDescriptionStream(FileStream& file) {
    GroupAttribute description(Attribute::readAttributeStream(&file, FileStream::read, 0));
    if (!description.isValid())
        Refuse(file.getPath(), "holds no op-tree description, but another attribute");
    return description;
}

std::string ReadText(FileStream& file) {
    std::string text;
    std::string piece(1 << 16, '\0');
    for (;;) {
        const std::int64_t bytes =
            FileStream::read(&file, piece.data(), static_cast<std::int64_t>(piece.size()));
        if (bytes <= 0) return text;
        text.append(piece, 0, static_cast<std::size_t>(bytes));
    }
}

GroupAttribute ReadOps(FileStream& file, SceneKind kind, const std::string& name,
                       DescriptionText& text) {
    switch (kind) {
    case SceneKind::OpFile:
        return WithFolderOfFile(ReadOpFile(file), name);
    case SceneKind::AttributeStream:
        return WithFolderOfFile(ReadDescriptionStream(file), name);
    case SceneKind::Json:
        return ParseDescriptionJson(ReadText(file), name, FolderOfFile(name), &text);
    case SceneKind::Capture:
        OxCapture::Reader::Open(file.getPath()); // refuses a damaged one
        return OxCapture::DescribeCapture(file.getPath());
    default:
        return DescribeImport(file.getPath());
    }
}

} // namespace

std::string OpTreeDefect(const GroupAttribute& description) {
    if (description.getNumberOfChildren() == 0) return "the op-tree description holds no op";
    for (std::int64_t i = 0; i < description.getNumberOfChildren(); ++i)
        if (description.getChildByIndex(i).getType() != kAttributeTypeGroup)
            return "is no op-tree description: \"" + description.getChildName(i) + "\" is no op";
    return {};
}

GroupAttribute DescribeImport(const std::string& file, const std::string& directory) {
    using Children = std::vector<GroupAttribute::Child>;
    Children args{{"file", StringAttribute(file)}};
    if (!directory.empty()) args.emplace_back("directory", StringAttribute(directory));
    const GroupAttribute op(Children{{"opType", StringAttribute("SceneImport")},
                                     {"opArgs", GroupAttribute(args, true)}},
                            true);
    return GroupAttribute(Children{{"scene", op}}, true);
}

SceneDescription ReadSceneDescription(FileStream& file, const std::string& name) {
    SceneDescription scene;
    scene.kind = FindKind(file);
    scene.ops = ReadOps(file, scene.kind, name, scene.text);
    const std::string defect = OpTreeDefect(scene.ops);
    if (!defect.empty()) Refuse(name, defect);
    if (scene.kind != SceneKind::SceneFile)
        for (std::int64_t i = 0; i < scene.ops.getNumberOfChildren(); ++i)
            scene.text.places.emplace(scene.ops.getChildName(i), name); // keeps lines
    return scene;
}

SceneDescription ReadSceneDescription(const std::string& path) {
    CheckIsFile(path);
    FileStream file(path, true);
    return ReadSceneDescription(file, path);
}

} // namespace TELLAR
