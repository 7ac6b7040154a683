#include "AssimpFile.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <optional>
#include <set>
#include <stdexcept>
#include <utility>

#include <assimp/DefaultIOStream.h>
#include <assimp/DefaultIOSystem.h>
#include <assimp/Importer.hpp>
#include <assimp/MemoryIOWrapper.h>
#include <assimp/config.h>

#include "AssimpContent.h"
#include "ColladaMorph.h"
#include "ColladaOpacity.h"
#include "ColladaText.h"
#include "FbxSpace.h"
#include "FileText.h"
#include "JoinPoints.h"
#include "MadeUpMaterials.h"
#include "ObjText.h"
#include "ReferencedFile.h"
#include "SceneLog.h"
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

// The list of accessed files, and the function that is called for each of them.
struct AccessedFiles {
    const FileStamp& add(const std::string& path) const {
        onAccess(path);
        stamps.push_back(StampOf(path));
        return stamps.back();
    }

    std::vector<FileStamp>& stamps;
    const std::function<void(const std::string&)>& onAccess;
};

// Opens files for Assimp and records their stamps. The content of the scene file can be replaced.
class FileAccess : public Assimp::DefaultIOSystem {
public:
    FileAccess(const std::string& scenePath, const std::optional<std::string>& sceneContent,
               AccessedFiles files, std::vector<ContentMaterial>& materials)
        : scenePath(scenePath), sceneContent(sceneContent), files(files), materials(materials) {}

    Assimp::IOStream* Open(const char* path, const char* mode) override {
        if (std::strpbrk(mode, "wa+")) return nullptr;
        // An OBJ file refers only to files of materials.
        if (path != scenePath && LowerExtension(scenePath) == ".obj") return openMaterials(path);
        const FileStamp& stamp = files.add(path);
        if (!stamp.isRegularFile() || stamp.size > kMaxFileSize) return nullptr;
        if (sceneContent && path == scenePath)
            return new Assimp::MemoryIOStream(
                reinterpret_cast<const std::uint8_t*>(sceneContent->data()), sceneContent->size());
        RegularFile::State opened;
        std::string ignored; // Assimp does not ask why
        RegularFile::Pointer file = RegularFile::Open(path, opened, ignored);
        return file ? new OpenedFile(std::move(file), path) : nullptr;
    }

private:
    // Assimp puts the folder of the scene before every name. If there is no such file, it looks for
    // one with the name of the scene.
    Assimp::IOStream* openMaterials(const std::string& path) {
        const std::string folder = std::filesystem::path(scenePath).parent_path().string();
        const bool isBelow = path.compare(0, folder.size() + 1, folder + '/') == 0;
        const std::string reference = isBelow ? path.substr(folder.size() + 1) : path;
        const std::string found = FindReferencedFile(folder, reference);
        const FileStamp& stamp = files.add(found.empty() ? path : found);
        if (stamp.isRegularFile() && stamp.size <= kMaxFileSize) return readMaterials(stamp);
        const std::string fallback = std::filesystem::path(scenePath).stem().string() + ".mtl";
        const bool isNamed = reference != fallback || missing.empty();
        if (isNamed && missing.insert(reference).second)
            WarnAboutScene(scenePath, "its file of materials \"" + reference + "\" does not exist");
        return nullptr;
    }

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
    AccessedFiles files;
    std::vector<ContentMaterial>& materials;
    std::set<std::string> missing; // names of missing MTL files
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

std::string CheckedCollada(const FileStamp& stamp) {
    std::string content = PlainCollada(ReadWhole(stamp));
    if (ShowMorphedMeshes(content)) WarnAboutScene(stamp.path, "its morph targets are left out");
    CheckCollada(content, kMaxNodeDepth);
    return content;
}

std::string CheckedObj(const FileStamp& stamp) {
    std::string content = WithPlainLines(WithPlainColors(ToUtf8(ReadWhole(stamp))));
    CheckObj(content, std::filesystem::path(stamp.path).filename().string());
    return content;
}

// Checks everything that Assimp trusts. Returns the content that Assimp can read if it cannot read
// that of the file.
std::optional<std::string> Examine(const FileStamp& stamp, const std::string& extension) {
    if (extension == ".dae") return CheckedCollada(stamp);
    if (extension == ".obj") return CheckedObj(stamp);
    if (extension == ".fbx") CheckFbx(ReadWhole(stamp), kMaxNodeDepth);
    return std::nullopt;
}

// Restores blanks in names, and replaces materials by those of the OBJ file's MTL files.
void FinishObj(const std::string& path, const std::vector<ContentMaterial>& materials,
               SceneContent& content) {
    for (ContentNode& node : content.nodes)
        std::replace(node.name.begin(), node.name.end(), kBlankInName, ' ');
    for (ContentShape& shape : content.shapes)
        std::replace(shape.name.begin(), shape.name.end(), kBlankInName, ' ');
    const std::vector<std::string> missing = UseMtl(content, materials);
    if (missing.empty() || materials.empty()) return; // a missing file has its own warning
    std::string names;
    for (const std::string& name : missing)
        names += (names.empty() ? "\"" : ", \"") + name + '"';
    WarnAboutScene(path, "its files of materials do not have " + names);
}

// Reads the scene, checks it and joins its equal points. The importer owns the result.
const aiScene& ReadChecked(Assimp::Importer& importer, const std::string& path) {
    const aiScene* scene = importer.ReadFile(path, 0);
    if (!scene) throw std::runtime_error(FirstLine(importer.GetErrorString()));
    // The post-processing of Assimp does not check indices.
    CheckScene(*scene, kMaxNodeDepth);
    scene = JoinPoints(importer);
    if (!scene) throw std::runtime_error("identical points could not be joined");
    return *scene;
}

} // namespace

bool IsAssimpExtension(const std::string& extension) {
    return !extension.empty() && Assimp::Importer().IsExtensionSupported(extension);
}

SceneContent ReadWithAssimp(const FileStamp& stamp, const std::string& extension,
                            const ReadOptions& options, std::vector<FileStamp>& files,
                            const std::function<void(const std::string&)>& onAccess) {
    const std::optional<std::string> content = Examine(stamp, extension);
    const std::string path = stamp.path;
    Assimp::Importer importer;
    Configure(importer);
    std::vector<ContentMaterial> materials; // materials of files that an OBJ file refers to
    importer.SetIOHandler(new FileAccess(path, content, {files, onAccess}, materials));
    const aiScene& scene = ReadChecked(importer, path);
    if (content && extension == ".dae") RepairColladaOpacity(scene, *content);
    SceneContent result = ContentOf(scene, options.animation, path);
    if (extension == ".obj") FinishObj(path, materials, result);
    RemoveMadeUpMaterials(extension, materials, result);
    if (extension == ".fbx" && options.convertUnits) ConvertFbxSpace(scene, result);
    return result;
}

} // namespace TellarSceneImport
