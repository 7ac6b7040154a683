#ifndef LANTERN_DRAWING_REPLACEFILE_H
#define LANTERN_DRAWING_REPLACEFILE_H

#include <string>
#include <vector>

namespace lantern {

/// Puts a file with these bytes in place of what is there, in one go: through a hidden file beside
/// it that is renamed. A file that was there keeps its permissions. Throws RenderError naming the
/// path, and the file is as it was.
void ReplaceFile(const std::string& path, const std::vector<unsigned char>& bytes);

/// Throws RenderError naming the folder of the path when it is not there.
void CheckFolderOf(const std::string& path);

} // namespace lantern

#endif
