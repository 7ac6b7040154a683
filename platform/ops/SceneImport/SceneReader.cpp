#include "SceneReader.h"

#include <algorithm>
#include <cctype>
#include <cstring>
#include <exception>
#include <filesystem>
#include <optional>
#include <stdexcept>

#include <boost/thread/thread.hpp>

#include <assimp/DefaultIOStream.h>
#include <assimp/DefaultIOSystem.h>
#include <assimp/Importer.hpp>
#include <assimp/MemoryIOWrapper.h>
#include <assimp/config.h>
#include <assimp/postprocess.h>

#include "ColladaCheck.h"
#include "FbxCheck.h"
#include "GltfFile.h"
#include "ObjCheck.h"
#include "PlyCheck.h"
#include "SceneBuilder.h"
#include "files/RegularFile.h"

namespace TellarSceneImport {

namespace {

// Assimp reads nodes and brackets of a file recursively, and the threads that cook may have small
// stacks. Only the used part of this size takes memory.
constexpr std::size_t kStackSize = std::size_t(256) << 20;

constexpr std::uintmax_t kMaxFileSize = std::uintmax_t(4) << 30;

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

// A stream of Assimp over an open file.
class OpenedFile : public Assimp::DefaultIOStream {
public:
    OpenedFile(RegularFile::Pointer file, const std::string& path)
        : DefaultIOStream(file.release(), path) {}
};

std::string LowerExtension(const std::string& path) {
    std::string extension = std::filesystem::path(path).extension().string();
    for (char& c : extension)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return extension;
}

std::string ReadWhole(const FileStamp& stamp) {
    std::string reason;
    std::optional<std::string> content = RegularFile::Read(stamp.path, kMaxFileSize, reason);
    if (!content) throw std::runtime_error("it cannot be read: " + reason);
    return *std::move(content);
}

// Opens files for Assimp and records their stamps. The content of the scene file can be replaced.
class FileAccess : public Assimp::DefaultIOSystem {
public:
    FileAccess(const std::string& scenePath, const std::string* sceneContent,
               std::vector<FileStamp>& files)
        : scenePath(scenePath), sceneContent(sceneContent), files(files) {}

    Assimp::IOStream* Open(const char* path, const char* mode) override {
        if (std::strpbrk(mode, "wa+")) return nullptr;
        files.push_back(StampOf(path));
        const FileStamp& stamp = files.back();
        if (!stamp.isRegularFile() || stamp.size > kMaxFileSize) return nullptr;
        // An OBJ file refers only to files of materials.
        if (path != scenePath && LowerExtension(scenePath) == ".obj") CheckMtl(ReadWhole(stamp));
        if (sceneContent && path == scenePath)
            return new Assimp::MemoryIOStream(
                reinterpret_cast<const std::uint8_t*>(sceneContent->data()), sceneContent->size());
        RegularFile::State opened;
        std::string ignored; // Assimp does not ask why
        RegularFile::Pointer file = RegularFile::Open(path, opened, ignored);
        return file ? new OpenedFile(std::move(file), path) : nullptr;
    }

private:
    const std::string& scenePath;
    const std::string* const sceneContent; // null: the content of the file
    std::vector<FileStamp>& files;
};

std::string FirstLine(const std::string& text) {
    return text.substr(0, text.find('\n'));
}

// Reasons may quote names from the file.
std::string OnOneLine(std::string text) {
    for (char& c : text)
        if (static_cast<unsigned char>(c) < ' ') c = ' ';
    return text;
}

void Configure(Assimp::Importer& importer) {
    // Cameras and transformations of FBX become single nodes instead of chains of pivots.
    importer.SetPropertyBool(AI_CONFIG_IMPORT_FBX_PRESERVE_PIVOTS, false);
    // Files without meshes get no invented ones.
    importer.SetPropertyBool(AI_CONFIG_IMPORT_NO_SKELETON_MESHES, true);
}

// Checks everything that Assimp trusts. For a glTF file, returns the content to read instead.
std::optional<GltfFile> Examine(const FileStamp& stamp, const std::string& extension) {
    if (extension == ".gltf" || extension == ".glb")
        return ReadGltf(ReadWhole(stamp), kMaxNodeDepth);
    if (extension == ".dae") CheckCollada(ReadWhole(stamp), kMaxNodeDepth);
    if (extension == ".fbx") CheckFbx(ReadWhole(stamp), kMaxNodeDepth);
    if (extension == ".ply") CheckPly(ReadWhole(stamp));
    if (extension == ".obj")
        CheckObj(ReadWhole(stamp), std::filesystem::path(stamp.path).filename().string());
    return std::nullopt;
}

std::shared_ptr<const Scene> Import(const FileStamp& stamp, std::vector<FileStamp>& files) {
    const std::string& path = stamp.path;
    const std::string extension = LowerExtension(path);
    Assimp::Importer importer;
    if (extension.empty() || !importer.IsExtensionSupported(extension))
        throw std::runtime_error("files of the kind \"" + extension + "\" are not supported");

    const std::optional<GltfFile> gltf = Examine(stamp, extension);
    Configure(importer);
    importer.SetIOHandler(new FileAccess(path, gltf ? &gltf->renamed : nullptr, files));
    const aiScene* scene = importer.ReadFile(path, 0);
    if (!scene) throw std::runtime_error(FirstLine(importer.GetErrorString()));
    // The post-processing of Assimp trusts indices.
    CheckScene(*scene, kMaxNodeDepth);
    scene = importer.ApplyPostProcessing(aiProcess_JoinIdenticalVertices);
    if (!scene) throw std::runtime_error("identical points could not be joined");
    return BuildScene(*scene, gltf ? &*gltf : nullptr, std::filesystem::path(path).parent_path());
}

} // namespace

std::shared_ptr<const Scene> ReadScene(const std::string& path, std::vector<FileStamp>& files) {
    files.push_back(StampOf(path));
    const FileStamp stamp = files.back();
    if (const std::string reason = ReasonWhyUnreadable(stamp); !reason.empty())
        throw std::runtime_error(reason);
    std::shared_ptr<const Scene> scene;
    try {
        RunOnLargeStack([&] { scene = Import(stamp, files); });
    } catch (const std::runtime_error& error) {
        throw std::runtime_error(OnOneLine(error.what()));
    }
    return scene;
}

} // namespace TellarSceneImport
