#ifndef SCENEIMPORT_REFERENCEDFILE_H
#define SCENEIMPORT_REFERENCEDFILE_H

#include <string>

namespace TellarSceneImport {

/// Files that a scene file refers to. References often come from another computer: with separators
/// or drives of another system, with names in another case, or as URLs.

/// The path in a reference. A relative path counts from `folder`, the folder of the scene file. A
/// reference with a drive or a scheme other than "file" is unchanged except for its separators.
std::string PathOfReference(const std::string& folder, const std::string& reference);

/// The existing file that a reference means: at the path in the reference, at the same path without
/// regard to case, or with the same name in `folder` or in a folder "textures" in it or beside it.
/// Empty if there is none.
std::string FindReferencedFile(const std::string& folder, const std::string& reference);

} // namespace TellarSceneImport

#endif
