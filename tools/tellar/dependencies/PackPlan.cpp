#include "PackPlan.h"

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <set>
#include <stdexcept>
#include <string_view>
#include <vector>

#include <OxTellarSDK/DescriptionJson.h>
#include <OxTellarSDK/GroupBuilder.h>

namespace TellarTool {

namespace {

namespace fs = std::filesystem;
using namespace OxAttribute;

constexpr const char* kModels = "models";
constexpr const char* kTextures = "textures";

/// A texture that is more folders above its model than this is not kept relative to the model: the
/// model probably refers to it by an absolute path.
constexpr int kMostLevelsUp = 3;

/// The number of folders to go up from `folder` to reach one that contains the file.
int LevelsUp(const std::string& file, const fs::path& folder) {
    int levels = 0;
    for (const fs::path& part : fs::path(file).lexically_relative(folder)) {
        if (part != "..") break;
        ++levels;
    }
    return levels;
}

fs::path Above(fs::path folder, int levels) {
    for (int i = 0; i < levels; ++i)
        folder = folder.parent_path();
    return folder;
}

/// The innermost folder that contains the import and the files that belong to it.
fs::path FolderAround(const ImportedFile& import) {
    const fs::path folder = fs::path(import.file).parent_path();
    int levels = 0;
    for (const std::string& part : import.parts)
        levels = std::max(levels, LevelsUp(part, folder));
    for (const TextureFile& texture : import.textures)
        if (const int up = LevelsUp(texture.path, folder); up <= kMostLevelsUp)
            levels = std::max(levels, up);
    return Above(folder, levels);
}

/// The existing files of the import's textures.
std::vector<std::string> TextureFilesOf(const ImportedFile& import) {
    std::vector<std::string> files;
    for (const TextureFile& texture : import.textures)
        std::copy_if(texture.files.begin(), texture.files.end(), std::back_inserter(files), IsFile);
    return files;
}

/// An unused name: "tree", then "tree_2".
std::string FreeName(const std::string& name, const std::set<std::string>& taken) {
    std::string free = name;
    for (int i = 2; taken.count(free) != 0; ++i)
        free = name + '_' + std::to_string(i);
    return free;
}

/// The names of a folder's entries among the places.
std::set<std::string> NamesIn(const std::string& folder,
                              const std::map<std::string, std::string>& places) {
    std::set<std::string> names;
    for (const auto& [source, place] : places) {
        const fs::path path = fs::path(place).lexically_relative(folder);
        if (!path.empty() && *path.begin() != "..") names.insert(path.begin()->string());
    }
    return names;
}

GroupAttribute WithArguments(const GroupAttribute& op, const GroupAttribute& args) {
    GroupBuilder changed;
    changed.setGroupInherit(op.getGroupInherit());
    changed.update(op);
    changed.set("opArgs", args);
    return changed.build();
}

std::string NameOfScene(const std::string& scene) {
    const std::string stem = fs::path(scene).stem().string();
    return (stem.empty() ? "scene" : stem) + ".json";
}

} // namespace

PackPlan::PackPlan(const Scene& scene, const SceneFiles& files)
    : description(scene.getDescription()),
      sceneFolder(fs::path(files.scene).parent_path().string()),
      sceneName(NameOfScene(files.scene)) {
    for (const ImportedFile& import : files.imports)
        addImport(import);
    for (const TextureFile& texture : files.textures)
        addTexture(texture);
}

void PackPlan::add(const std::string& place, const std::string& source) {
    const auto [entry, isNew] = sources.emplace(place, source);
    if (!isNew && entry->second != source)
        throw std::runtime_error("\"" + entry->second + "\" and \"" + source +
                                 "\" would both be \"" + place + "\" in the pack");
    places.emplace(source, place);
}

void PackPlan::addImport(const ImportedFile& import) {
    const std::string stem = fs::path(import.file).stem().string();
    const fs::path home = fs::path(kModels) / FreeName(stem, NamesIn(kModels, imports));
    const fs::path around = FolderAround(import);
    const auto placeOfFile = [&](const std::string& file) {
        return (home / fs::path(file).lexically_relative(around)).generic_string();
    };
    imports[import.file] = placeOfFile(import.file);
    add(placeOfFile(import.file), import.file);
    for (const std::string& part : import.parts)
        if (IsFile(part)) add(placeOfFile(part), part);
    for (const std::string& file : TextureFilesOf(import)) {
        if (LevelsUp(file, around) == 0)
            add(placeOfFile(file), file);
        else
            addBeside(import.file, file);
    }
}

void PackPlan::addBeside(const std::string& import, const std::string& texture) {
    const fs::path folder = fs::path(imports.at(import)).parent_path() / kTextures;
    add((folder / fs::path(texture).filename()).generic_string(), texture);
}

void PackPlan::addTexture(const TextureFile& texture) {
    if (!IsFile(texture.files.front())) return;
    const fs::path path = texture.path;
    const std::set<std::string> taken = NamesIn(kTextures, textures);
    // Textures with equal names get folders of their own, because the tiles of a set keep their
    // names.
    fs::path folder = kTextures;
    if (taken.count(path.filename().string()) != 0) folder /= FreeName(path.stem().string(), taken);
    textures[texture.path] = (folder / path.filename()).generic_string();
    places[texture.path] = textures[texture.path];
    for (const std::string& file : texture.files)
        add((folder / fs::path(file).filename()).generic_string(), file);
}

/// The place of the file that a text names, relative to `folder` or else to the working directory.
/// Returns any other text unchanged.
std::string PackPlan::packedText(const std::string& text, const std::string& folder) const {
    if (text.empty()) return text;
    const std::string beside = (fs::path(folder) / text).lexically_normal().string();
    for (const std::string& path : {beside, AbsolutePath(text)})
        if (const auto found = places.find(path); found != places.end()) return found->second;
    return text;
}

Attribute PackPlan::packedTexts(const StringAttribute& texts, const std::string& folder) const {
    if (texts.getNumberOfTimeSamples() != 1) return texts;
    std::vector<std::string> places;
    bool isChanged = false;
    for (const std::string_view text : texts.getNearestSample(0.0f)) {
        places.push_back(packedText(std::string(text), folder));
        isChanged = isChanged || places.back() != text;
    }
    return isChanged ? StringAttribute(places, texts.getTupleSize()) : texts;
}

/// The attribute with file names replaced by places.
Attribute PackPlan::packed(const Attribute& attribute, const std::string& folder) const {
    if (const StringAttribute texts(attribute); texts.isValid()) return packedTexts(texts, folder);
    const GroupAttribute group(attribute);
    if (!group.isValid()) return attribute;
    std::vector<GroupAttribute::Child> children;
    for (std::int64_t i = 0; i < group.getNumberOfChildren(); ++i)
        children.emplace_back(group.getChildName(i), packed(group.getChildByIndex(i), folder));
    return GroupAttribute(children, group.getGroupInherit());
}

GroupAttribute PackPlan::packedOp(const GroupAttribute& op) const {
    const GroupAttribute args(op.getChildByName("opArgs"));
    if (!args.isValid()) return op;
    const std::string directory =
        StringAttribute(args.getChildByName("directory")).getValue("", false);
    GroupBuilder changed;
    changed.setGroupInherit(args.getGroupInherit());
    changed.update(GroupAttribute(packed(args, directory.empty() ? sceneFolder : directory)));
    // Readers of JSON descriptions set "directory" to the folder of the description.
    if (!directory.empty()) changed.del("directory");
    if (const std::string file = FileOfOp(op); !file.empty())
        changed.set("file", StringAttribute(imports.at(file)));
    return WithArguments(op, changed.build());
}

std::string PackPlan::sceneText() const {
    std::vector<GroupAttribute::Child> ops;
    for (std::int64_t i = 0; i < description.getNumberOfChildren(); ++i)
        ops.emplace_back(description.getChildName(i),
                         packedOp(GroupAttribute(description.getChildByIndex(i))));
    return WriteDescriptionJson(GroupAttribute(ops, description.getGroupInherit()));
}

} // namespace TellarTool
