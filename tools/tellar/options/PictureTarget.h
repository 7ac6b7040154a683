#ifndef TELLAR_TOOL_PICTURETARGET_H
#define TELLAR_TOOL_PICTURETARGET_H

#include <optional>
#include <string>

#include "TemporaryFolder.h"

namespace TellarTool {

/// Where a picture goes: to a file, or to standard output, a device or a pipe. For the latter three
/// the renderer writes into a temporary folder, because its files must have names.
class PictureTarget {
public:
    explicit PictureTarget(const std::string& picture);

    /// The picture's path for the renderer.
    const std::string& getPath() const { return path; }

    /// Sends a picture of the renderer to its target.
    void store(const std::string& written) const;
    /// The same, and prints where the picture is unless that is standard output.
    void deliver(const std::string& written) const;

private:
    std::string picture;
    std::optional<TemporaryFolder> folder; // absent: the renderer writes to the target
    std::string path;
};

} // namespace TellarTool

#endif
