#ifndef TELLAR_TOOL_SCENEFILES_H
#define TELLAR_TOOL_SCENEFILES_H

#include <map>
#include <string>
#include <vector>

#include "Scene.h"

namespace TellarTool {

/// A texture with its absolute path. "<UDIM>" in the path stands for the number of a tile.
struct TextureFile {
    std::string path;
    std::vector<std::string> files; ///< `path` itself, or the tiles of "<UDIM>"

    bool operator<(const TextureFile& other) const { return path < other.path; }
};

/// A file that an op imports, and the files that belong to it.
struct ImportedFile {
    std::string file;               ///< all paths here are absolute and without symbolic links
    std::vector<std::string> parts; ///< other files that its importer opens
    std::vector<TextureFile> textures;
    std::vector<std::string> embedded; ///< images inside the file, as paths of the image cache
    std::string failure;               ///< error message of the importer; empty without an error
};

/// All files that a scene needs.
struct SceneFiles {
    std::string scene;                 ///< empty for standard input
    std::vector<ImportedFile> imports; ///< one for each file, however many ops import it
    std::vector<TextureFile> textures; ///< textures that belong to no import
    std::string failure;               ///< error message of the cook; empty without an error
};

/// How often the files that ops import have changed, keyed by the file. Files that never changed
/// may be missing.
using ImportVersions = std::map<std::string, int>;

/// The scene with another version of the files that have changed, so that they are read again.
Scene WithVersions(const Scene& scene, const ImportVersions& versions);

/// Finds the files by reading the arguments of the ops, by asking importers what they read, and by
/// cooking the scene for the textures that its locations name.
SceneFiles FindSceneFiles(const Scene& scene);

/// The path, without symbolic links, of the file in an op's argument "file"; empty if its type has
/// no such argument.
std::string FileOfOp(const OxAttribute::GroupAttribute& op);

/// The absolute path, without "." and "..", of a path relative to the working directory.
std::string AbsolutePath(const std::string& path);

/// The absolute path without symbolic links, the form in which importers report paths.
std::string WithoutLinks(const std::string& path);

bool IsFile(const std::string& path);

} // namespace TellarTool

#endif
