#include "SceneFiles.h"

#include <algorithm>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <set>
#include <string_view>
#include <system_error>
#include <utility>

#include <OxTellarProducers/CreateGeometryProducer.h>
#include <OxTellarSDK/GroupBuilder.h>
#include <OxTellarSDK/OpType.h>

#include "LocationTextures.h"
#include "StandardInput.h"

namespace TellarTool {

namespace {

namespace fs = std::filesystem;
using namespace OxAttribute;
using TELLAR::GeometryProducer;

std::string TextAt(const GroupAttribute& group, const char* name) {
    return StringAttribute(group.getChildByName(name)).getValue("", false);
}

bool HasArgument(const std::string& opType, std::string_view name) {
    const OxOpType::Description* const type = OxOpType::FindDescription(opType);
    if (!type) return false;
    return std::any_of(
        type->arguments.begin(), type->arguments.end(),
        [name](const OxOpType::Argument& argument) { return argument.name == name; });
}

/// A producer for this op alone, with the argument "listFiles".
GeometryProducer::Ptr CookAlone(const GroupAttribute& op, const std::string& location,
                                std::int32_t listFiles) {
    GroupBuilder changed;
    changed.update(op);
    changed.del("opInputs");
    changed.set("opArgs.listFiles", IntAttribute(listFiles));
    GroupBuilder description;
    description.set("import", changed.build());
    const auto scene = TELLAR::Scene::FromDescription(description.build());
    return TELLAR::CreateSyncGeometryProducer(scene->getClient(), location);
}

std::string LocationOf(const GroupAttribute& op, const char* argument, const char* usual) {
    const std::string location = TextAt(op, argument);
    return location.empty() ? usual : location;
}

bool IsBelowAny(std::string_view path, const ConstStringSample& folders) {
    for (const std::string_view folder : folders)
        if (!folder.empty() && path.size() > folder.size() && path[folder.size()] == '/' &&
            path.compare(0, folder.size(), folder) == 0)
            return true;
    return false;
}

/// Adds the textures of the materials. Textures in the folders of `imageCache` are embedded ones.
void AddTextures(const GroupAttribute& op, const StringAttribute& imageCache,
                 ImportedFile& import) {
    const ConstStringSample folders = imageCache.getNearestSample(0.0f);
    const auto materials =
        CookAlone(op, LocationOf(op, "opArgs.materialLocation", "/root/materials"), 0);
    for (const std::string& path : TexturesBelow(materials)) {
        if (IsBelowAny(path, folders))
            import.embedded.push_back(path);
        else
            import.textures.push_back(FindTextureFile(path, {}));
    }
}

/// Adds the files that the importer opened, and the textures of the import.
void Examine(const GroupAttribute& op, ImportedFile& import) {
    const auto location = CookAlone(op, LocationOf(op, "opArgs.location", "/root/world"), 1);
    if (!location) return;
    const GroupAttribute list(location->getAttribute("sceneFiles"));
    const StringAttribute paths(list.getChildByName("paths"));
    for (const std::string_view path : paths.getNearestSample(0.0f))
        if (path != import.file) import.parts.emplace_back(path);
    import.failure = TextAt(list, "failure");
    if (import.failure.empty()) AddTextures(op, list.getChildByName("imageCache"), import);
}

ImportedFile ImportOf(const GroupAttribute& op) {
    ImportedFile import;
    import.file = FileOfOp(op);
    try {
        if (HasArgument(TextAt(op, "opType"), "listFiles")) Examine(op, import);
    } catch (const std::exception& error) {
        import.failure = error.what();
    }
    return import;
}

template <typename T>
void Unite(std::vector<T>& into, const std::vector<T>& other) {
    into.insert(into.end(), other.begin(), other.end());
    std::sort(into.begin(), into.end());
    const auto isSame = [](const T& a, const T& b) { return !(a < b) && !(b < a); };
    into.erase(std::unique(into.begin(), into.end(), isSame), into.end());
}

/// Several ops can import one file, for example different variants, and need different textures.
void AddImport(std::vector<ImportedFile>& imports, const ImportedFile& import) {
    const auto known =
        std::find_if(imports.begin(), imports.end(), [&import](const ImportedFile& candidate) {
            return candidate.file == import.file;
        });
    if (known == imports.end()) return imports.push_back(import);
    Unite(known->parts, import.parts);
    Unite(known->textures, import.textures);
    Unite(known->embedded, import.embedded);
    if (known->failure.empty()) known->failure = import.failure;
}

void AddPaths(const ImportedFile& import, std::set<std::string>& known) {
    known.insert(import.embedded.begin(), import.embedded.end());
    for (const TextureFile& texture : import.textures)
        known.insert(texture.path);
}

/// Adds the textures that belong to no import.
void AddOwnTextures(const Scene& scene, SceneFiles& files) {
    std::set<std::string> known;
    for (const ImportedFile& import : files.imports)
        AddPaths(import, known);
    const std::string folder = fs::path(files.scene).parent_path().string();
    std::set<TextureFile> own;
    for (const std::string& path : TexturesBelow(scene.at("/root")))
        if (known.count(path) == 0) own.insert(FindTextureFile(path, folder));
    for (const TextureFile& texture : own)
        if (known.count(texture.path) == 0) files.textures.push_back(texture);
}

} // namespace

std::string AbsolutePath(const std::string& path) {
    return fs::absolute(path).lexically_normal().string();
}

std::string WithoutLinks(const std::string& path) {
    std::error_code error;
    const fs::path real = fs::weakly_canonical(AbsolutePath(path), error);
    return error ? AbsolutePath(path) : real.string();
}

bool IsFile(const std::string& path) {
    std::error_code ignored;
    return fs::is_regular_file(path, ignored);
}

std::string FileOfOp(const GroupAttribute& op) {
    const std::string file = TextAt(op, "opArgs.file");
    if (file.empty() || !HasArgument(TextAt(op, "opType"), "file")) return {};
    return WithoutLinks((fs::path(TextAt(op, "opArgs.directory")) / file).string());
}

Scene WithVersions(const Scene& scene, const ImportVersions& versions) {
    const GroupAttribute& description = scene.getDescription();
    std::vector<GroupAttribute::Child> ops;
    for (std::int64_t i = 0; i < description.getNumberOfChildren(); ++i) {
        GroupAttribute op(description.getChildByIndex(i));
        const auto version = versions.find(FileOfOp(op));
        if (version != versions.end() && HasArgument(TextAt(op, "opType"), "version")) {
            GroupBuilder changed;
            changed.update(op);
            changed.set("opArgs.version", StringAttribute(std::to_string(version->second)));
            op = changed.build();
        }
        ops.emplace_back(description.getChildName(i), op);
    }
    return scene.withDescription(GroupAttribute(ops, true));
}

SceneFiles FindSceneFiles(const Scene& scene) {
    SceneFiles files;
    if (scene.getPath() != kInputName) files.scene = AbsolutePath(scene.getPath());
    const GroupAttribute& description = scene.getDescription();
    for (std::int64_t i = 0; i < description.getNumberOfChildren(); ++i) {
        const GroupAttribute op(description.getChildByIndex(i));
        if (!FileOfOp(op).empty()) AddImport(files.imports, ImportOf(op));
    }
    try {
        AddOwnTextures(scene, files);
    } catch (const std::exception& error) {
        files.failure = error.what();
    }
    return files;
}

} // namespace TellarTool
