#ifndef SCENEIMPORT_REFERENCEDFILE_H
#define SCENEIMPORT_REFERENCEDFILE_H

#include <string>

namespace TellarSceneImport {

/// Files that a scene file refers to. Many of its references come from another computer: with the
/// separators and drives of another system, in letters of another case, or as a URL.

/// The path that a reference says: an absolute one, or one below `folder`, that of the scene file.
/// A drive or a scheme other than "file" leaves the reference as it is, apart from separators.
std::string PathOfReference(const std::string& folder, const std::string& reference);

/// The path of the file that a reference means: the one that it says or, where capital and small
/// letters count as equal, the same path, or a file of the same name in `folder` or a folder
/// "textures" in it or beside it. Empty if there is no such file.
std::string FindReferencedFile(const std::string& folder, const std::string& reference);

} // namespace TellarSceneImport

#endif
