#ifndef TELLAR_TOOL_SCENEFILES_H
#define TELLAR_TOOL_SCENEFILES_H

#include <string>
#include <vector>

#include "Scene.h"

namespace TellarTool {

/// A texture by its absolute path. A path with "<UDIM>" stands for all files with a number there.
struct TextureFile {
    std::string path;
    std::vector<std::string> files; ///< `path` itself unless it has "<UDIM>"

    bool operator<(const TextureFile& other) const { return path < other.path; }
};

/// A file that an op imports, and what belongs to it.
struct ImportedFile {
    std::string file;               ///< absolute and without links, as are the other paths
    std::vector<std::string> parts; ///< other files that are opened to read it
    std::vector<TextureFile> textures;
    std::vector<std::string> embedded; ///< images inside it, as files in the image cache
    std::string failure;               ///< why it cannot be read; empty if it can
};

/// All files that a scene needs.
struct SceneFiles {
    std::string scene;                 ///< empty for standard input
    std::vector<ImportedFile> imports; ///< one for each file, for all ops together
    std::vector<TextureFile> textures; ///< those that the ops name themselves
    std::string failure;               ///< why the scene cannot be cooked; empty if it can
};

/// Finds the files by reading the arguments of the ops, by asking importers what they read, and by
/// cooking the scene for the textures that its locations name.
SceneFiles FindSceneFiles(const Scene& scene);

/// The path without links of the file that an op's argument "file" names; empty if its type has no
/// such argument.
std::string FileOfOp(const OxAttribute::GroupAttribute& op);

/// The path from the working directory on, without "." and "..".
std::string AbsolutePath(const std::string& path);

/// The absolute path behind all symbolic links, as importers tell it.
std::string WithoutLinks(const std::string& path);

bool IsFile(const std::string& path);

} // namespace TellarTool

#endif
