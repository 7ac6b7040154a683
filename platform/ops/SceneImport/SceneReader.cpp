#include "SceneReader.h"

#include <filesystem>
#include <new>
#include <stdexcept>

#include "LargeStack.h"
#include "SceneFormat.h"
#include "SceneLog.h"
#include "SourceFile.h"
#include "files/RegularFile.h"
#include "gltf/GltfReader.h"
#include "materials/ResolveTextures.h"
#include "model/SceneBuilder.h"
#include "model/UpAxis.h"
#include "ply/PlyReader.h"

namespace TellarSceneImport {

namespace {

std::string ReasonWhyUnreadable(const FileStamp& stamp) {
    if (stamp.kind == std::filesystem::file_type::not_found) return "there is no such file";
    if (!stamp.isRegularFile()) return "it is not a regular file";
    if (stamp.size > kMaxFileSize) return "it is larger than 4 GiB";
    if (stamp.size == 0) return "it is empty";
    RegularFile::State opened;
    std::string reason;
    return RegularFile::Open(stamp.path, opened, reason) ? "" : "it cannot be opened: " + reason;
}

// Reasons may quote names from the file.
std::string OnOneLine(std::string text) {
    for (char& c : text)
        if (static_cast<unsigned char>(c) < ' ') c = ' ';
    return text;
}

SceneContent ReadContent(const FileStamp& stamp, const ReadOptions& options,
                         std::vector<FileStamp>& files, ForeignReader foreignReader) {
    const std::string format = SceneFormatOf(stamp);
    SceneContent content;
    if (format == ".gltf" || format == ".glb") {
        content = ReadGltf(ReadWhole(stamp), stamp.path, options, files);
    } else {
        content =
            format == ".ply" ? ReadPly(ReadWhole(stamp)) : foreignReader(stamp, options, files);
        ResolveTextures(content, stamp.path);
    }
    TurnUpright(content, options.upAxis ? options.upAxis : UpAxisOf(format));
    return content;
}

} // namespace

std::shared_ptr<const Scene> ReadScene(const std::string& path, const ReadOptions& options,
                                       std::vector<FileStamp>& files, ForeignReader foreignReader) {
    files.push_back(StampOf(path));
    const FileStamp stamp = files.back();
    if (const std::string reason = ReasonWhyUnreadable(stamp); !reason.empty())
        throw std::runtime_error(reason);
    std::shared_ptr<const Scene> scene;
    const std::string prefix = CurrentOpPrefix();
    try {
        RunOnLargeStack([&] {
            const MessagePrefix messages(prefix);
            scene = BuildScene(ReadContent(stamp, options, files, foreignReader));
        });
    } catch (const std::runtime_error& error) {
        throw std::runtime_error(OnOneLine(error.what()));
    } catch (const std::bad_alloc&) {
        throw std::runtime_error("it does not fit into memory");
    }
    return scene;
}

} // namespace TellarSceneImport
