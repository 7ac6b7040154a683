#ifndef TELLAR_TOOL_TEMPORARYFOLDER_H
#define TELLAR_TOOL_TEMPORARYFOLDER_H

#include <string>

namespace TellarTool {

/// A new folder of this process, which is removed with its content at the end.
class TemporaryFolder {
public:
    /// Throws std::runtime_error when the folder cannot be made.
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    /// The path of a file in it.
    std::string file(const std::string& name) const { return path + '/' + name; }

private:
    std::string path;
};

} // namespace TellarTool

#endif
