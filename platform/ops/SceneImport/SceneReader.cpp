#include "SceneReader.h"

#include <exception>
#include <filesystem>
#include <stdexcept>

#include <boost/thread/thread.hpp>

#include "SourceFile.h"
#include "assimp/AssimpFile.h"
#include "files/RegularFile.h"
#include "gltf/GltfReader.h"
#include "model/SceneBuilder.h"
#include "ply/PlyReader.h"

namespace TellarSceneImport {

namespace {

// Assimp and tinygltf read nodes and brackets of a file recursively, and the threads that cook may
// have small stacks. Only the used part of this size takes memory.
constexpr std::size_t kStackSize = std::size_t(256) << 20;

// Runs `body` on a thread of its own, waits for its end and passes its exception on.
template <typename Body>
void RunOnLargeStack(Body body) {
    std::exception_ptr failure;
    boost::thread::attributes attributes;
    attributes.set_stack_size(kStackSize);
    boost::thread thread(attributes, [&] {
        try {
            body();
        } catch (...) {
            failure = std::current_exception();
        }
    });
    thread.join();
    if (failure) std::rethrow_exception(failure);
}

std::string ReasonWhyUnreadable(const FileStamp& stamp) {
    if (stamp.kind == std::filesystem::file_type::not_found) return "there is no such file";
    if (!stamp.isRegularFile()) return "it is no regular file";
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
                         std::vector<FileStamp>& files) {
    const std::string extension = LowerExtension(stamp.path);
    if (extension == ".gltf" || extension == ".glb")
        return ReadGltf(ReadWhole(stamp), stamp.path, options, files);
    if (extension == ".ply")
        return ReadPly(ReadWhole(stamp), std::filesystem::path(stamp.path).parent_path());
    if (!IsAssimpExtension(extension))
        throw std::runtime_error("files of the kind \"" + extension + "\" are not supported");
    return ReadWithAssimp(stamp, extension, options, files);
}

} // namespace

std::shared_ptr<const Scene> ReadScene(const std::string& path, const ReadOptions& options,
                                       std::vector<FileStamp>& files) {
    files.push_back(StampOf(path));
    const FileStamp stamp = files.back();
    if (const std::string reason = ReasonWhyUnreadable(stamp); !reason.empty())
        throw std::runtime_error(reason);
    std::shared_ptr<const Scene> scene;
    try {
        RunOnLargeStack([&] { scene = BuildScene(ReadContent(stamp, options, files)); });
    } catch (const std::runtime_error& error) {
        throw std::runtime_error(OnOneLine(error.what()));
    }
    return scene;
}

} // namespace TellarSceneImport
