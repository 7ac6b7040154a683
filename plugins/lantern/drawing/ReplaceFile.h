#ifndef LANTERN_DRAWING_REPLACEFILE_H
#define LANTERN_DRAWING_REPLACEFILE_H

#include <string>
#include <vector>

namespace lantern {

/// Replaces a file atomically: writes a hidden file beside it, then renames that. The permissions
/// of an existing file are kept. A symbolic link stays, and the file behind it is replaced; the
/// bytes are written to a device or a pipe as it is. Throws a RenderError that names the path and
/// leaves the old file as it was.
///
/// The plug-in has a version of its own because a renderer uses nothing of the libraries but their
/// C headers.
void ReplaceFile(const std::string& path, const std::vector<unsigned char>& bytes);

/// Throws a RenderError that names the folder of the path if it does not exist.
void CheckFolderOf(const std::string& path);

} // namespace lantern

#endif
