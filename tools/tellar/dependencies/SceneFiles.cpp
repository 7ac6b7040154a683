#include "SceneFiles.h"

#include <algorithm>
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

/// A producer of an op alone, with one argument more.
GeometryProducer::Ptr CookAlone(const GroupAttribute& op, const std::string& location,
                                const std::string& argument, std::int32_t value) {
    GroupBuilder changed;
    changed.update(op);
    changed.del("opInputs");
    changed.set("opArgs." + argument, IntAttribute(value));
    GroupBuilder description;
    description.set("import", changed.build());
    return TELLAR::CreateThreadAwareGeometryProducer(description.build(), location);
}

std::string LocationOf(const GroupAttribute& op, const char* argument, const char* usual) {
    const std::string location = TextAt(op, argument);
    return location.empty() ? usual : location;
}

bool IsBelow(const std::string& path, const std::string& folder) {
    return !folder.empty() && path.compare(0, folder.size() + 1, folder + '/') == 0;
}

/// Adds what the importer opened, and its textures.
void Examine(const GroupAttribute& op, ImportedFile& import) {
    constexpr const char* kArgument = "listFiles";
    const auto list = CookAlone(op, LocationOf(op, "opArgs.location", "/root/world"), kArgument, 1);
    if (!list) return;
    const StringAttribute paths(list->getAttribute("sceneFiles.paths"));
    for (const std::string_view path : paths.getNearestSample(0.0f))
        if (path != import.file) import.parts.emplace_back(path);
    import.failure = StringAttribute(list->getAttribute("sceneFiles.failure")).getValue("", false);
    if (!import.failure.empty()) return;
    const std::string cache =
        StringAttribute(list->getAttribute("sceneFiles.imageCache")).getValue("", false);
    const auto materials =
        CookAlone(op, LocationOf(op, "opArgs.materialLocation", "/root/materials"), kArgument, 0);
    for (const std::string& path : TexturesBelow(materials)) {
        if (IsBelow(path, cache))
            import.embedded.push_back(path);
        else
            import.textures.push_back(FindTextureFile(path, {}));
    }
}

ImportedFile ImportOf(const std::string& name, const GroupAttribute& op) {
    ImportedFile import;
    import.op = name;
    import.file = FileOfOp(op);
    try {
        if (HasArgument(TextAt(op, "opType"), "listFiles")) Examine(op, import);
    } catch (const std::exception& error) {
        import.failure = error.what();
    }
    return import;
}

void AddPaths(const ImportedFile& import, std::set<std::string>& known) {
    known.insert(import.embedded.begin(), import.embedded.end());
    for (const TextureFile& texture : import.textures)
        known.insert(texture.path);
}

/// Adds the textures that no import has.
void AddOwnTextures(const Scene& scene, SceneFiles& files) {
    std::set<std::string> known;
    for (const ImportedFile& import : files.imports)
        AddPaths(import, known);
    const std::string folder = fs::path(files.scene).parent_path().string();
    std::set<TextureFile> own;
    for (const std::string& path : TexturesBelow(scene.threadAware("/root")))
        if (known.count(path) == 0) own.insert(FindTextureFile(path, folder));
    for (const TextureFile& texture : own)
        if (known.count(texture.path) == 0) files.textures.push_back(texture);
}

} // namespace

std::string AbsolutePath(const std::string& path) {
    return fs::absolute(path).lexically_normal().string();
}

bool IsFile(const std::string& path) {
    std::error_code ignored;
    return fs::is_regular_file(path, ignored);
}

std::string FileOfOp(const GroupAttribute& op) {
    const std::string file = TextAt(op, "opArgs.file");
    if (file.empty() || !HasArgument(TextAt(op, "opType"), "file")) return {};
    return AbsolutePath((fs::path(TextAt(op, "opArgs.directory")) / file).string());
}

SceneFiles FindSceneFiles(const Scene& scene) {
    SceneFiles files;
    const bool isInput = scene.getPath() == kInputName;
    if (!isInput) files.scene = AbsolutePath(scene.getPath());
    const GroupAttribute& description = scene.getDescription();
    for (std::int64_t i = 0; i < description.getNumberOfChildren(); ++i) {
        const GroupAttribute op(description.getChildByIndex(i));
        if (!FileOfOp(op).empty())
            files.imports.push_back(ImportOf(std::string(description.getChildName(i)), op));
    }
    try {
        AddOwnTextures(scene, files);
    } catch (const std::exception& error) {
        files.failure = error.what();
    }
    return files;
}

} // namespace TellarTool
