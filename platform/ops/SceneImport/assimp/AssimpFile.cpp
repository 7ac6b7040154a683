#include "AssimpFile.h"

#include <cstdint>
#include <cstring>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <utility>

#include <assimp/DefaultIOStream.h>
#include <assimp/DefaultIOSystem.h>
#include <assimp/Importer.hpp>
#include <assimp/MemoryIOWrapper.h>
#include <assimp/config.h>
#include <assimp/postprocess.h>

#include "AssimpContent.h"
#include "ColladaOpacity.h"
#include "ColladaText.h"
#include "FbxSpace.h"
#include "FileText.h"
#include "ObjText.h"
#include "SourceFile.h"
#include "checks/ColladaCheck.h"
#include "checks/FbxCheck.h"
#include "checks/ObjCheck.h"
#include "files/RegularFile.h"
#include "obj/MtlFile.h"

namespace TellarSceneImport {

namespace {

// A stream of Assimp over an open file.
class OpenedFile : public Assimp::DefaultIOStream {
public:
    OpenedFile(RegularFile::Pointer file, const std::string& path)
        : DefaultIOStream(file.release(), path) {}
};

// A text in memory. It is a base so that it exists before the stream.
struct OwnedText {
    std::string text;
};

// A stream of Assimp over a text that it owns.
class TextStream : private OwnedText, public Assimp::MemoryIOStream {
public:
    explicit TextStream(std::string content)
        : OwnedText{std::move(content)},
          MemoryIOStream(reinterpret_cast<const std::uint8_t*>(text.data()), text.size()) {}
};

// Opens files for Assimp and records their stamps. The content of the scene file can be replaced.
class FileAccess : public Assimp::DefaultIOSystem {
public:
    FileAccess(const std::string& scenePath, const std::optional<std::string>& sceneContent,
               std::vector<FileStamp>& files, std::vector<ContentMaterial>& materials)
        : scenePath(scenePath), sceneContent(sceneContent), files(files), materials(materials) {}

    Assimp::IOStream* Open(const char* path, const char* mode) override {
        if (std::strpbrk(mode, "wa+")) return nullptr;
        files.push_back(StampOf(path));
        const FileStamp& stamp = files.back();
        if (!stamp.isRegularFile() || stamp.size > kMaxFileSize) return nullptr;
        // An OBJ file refers only to files of materials.
        if (path != scenePath && LowerExtension(scenePath) == ".obj") return readMaterials(stamp);
        if (sceneContent && path == scenePath)
            return new Assimp::MemoryIOStream(
                reinterpret_cast<const std::uint8_t*>(sceneContent->data()), sceneContent->size());
        RegularFile::State opened;
        std::string ignored; // Assimp does not ask why
        RegularFile::Pointer file = RegularFile::Open(path, opened, ignored);
        return file ? new OpenedFile(std::move(file), path) : nullptr;
    }

private:
    // Assimp reads the names of the materials alone.
    Assimp::IOStream* readMaterials(const FileStamp& stamp) {
        const std::string content = ToUtf8(ReadWhole(stamp));
        CheckMtl(content);
        const std::string folder = std::filesystem::path(stamp.path).parent_path().string();
        std::string names = "# materials\n"; // an empty file would be an error
        for (ContentMaterial& material : ReadMtl(content, folder)) {
            names += "newmtl " + material.name + "\n";
            materials.push_back(std::move(material));
        }
        return new TextStream(std::move(names));
    }

    const std::string& scenePath;
    const std::optional<std::string>& sceneContent; // the content of the file if there is none
    std::vector<FileStamp>& files;
    std::vector<ContentMaterial>& materials;
};

std::string FirstLine(const std::string& text) {
    return text.substr(0, text.find('\n'));
}

void Configure(Assimp::Importer& importer) {
    // Cameras and transformations of FBX become single nodes instead of chains of pivots.
    importer.SetPropertyBool(AI_CONFIG_IMPORT_FBX_PRESERVE_PIVOTS, false);
    // Files without meshes get no invented ones.
    importer.SetPropertyBool(AI_CONFIG_IMPORT_NO_SKELETON_MESHES, true);
}

// Checks everything that Assimp trusts. Returns the content that Assimp can read if it cannot read
// that of the file.
std::optional<std::string> Examine(const FileStamp& stamp, const std::string& extension) {
    if (extension == ".dae") {
        std::string content = PlainCollada(ReadWhole(stamp));
        CheckCollada(content, kMaxNodeDepth);
        return content;
    }
    if (extension == ".fbx") CheckFbx(ReadWhole(stamp), kMaxNodeDepth);
    if (extension == ".obj") {
        std::string content = WithPlainColors(ToUtf8(ReadWhole(stamp)));
        CheckObj(content, std::filesystem::path(stamp.path).filename().string());
        return content;
    }
    return std::nullopt;
}

} // namespace

bool IsAssimpExtension(const std::string& extension) {
    return !extension.empty() && Assimp::Importer().IsExtensionSupported(extension);
}

SceneContent ReadWithAssimp(const FileStamp& stamp, const std::string& extension,
                            const ReadOptions& options, std::vector<FileStamp>& files) {
    const std::optional<std::string> content = Examine(stamp, extension);
    const std::string path = stamp.path;
    Assimp::Importer importer;
    Configure(importer);
    std::vector<ContentMaterial> materials; // of files that an OBJ file refers to
    importer.SetIOHandler(new FileAccess(path, content, files, materials));
    const aiScene* scene = importer.ReadFile(path, 0);
    if (!scene) throw std::runtime_error(FirstLine(importer.GetErrorString()));
    // The post-processing of Assimp trusts indices.
    CheckScene(*scene, kMaxNodeDepth);
    scene = importer.ApplyPostProcessing(aiProcess_JoinIdenticalVertices);
    if (!scene) throw std::runtime_error("identical points could not be joined");
    if (content && extension == ".dae") RepairColladaOpacity(*scene, *content);
    SceneContent result = ContentOf(*scene, options.animation);
    if (extension == ".obj") UseMtl(result, materials);
    if (extension == ".fbx" && options.convertUnits) ConvertFbxSpace(*scene, result);
    return result;
}

} // namespace TellarSceneImport
