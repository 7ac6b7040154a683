#ifndef TELLAR_TOOL_STANDARDINPUT_H
#define TELLAR_TOOL_STANDARDINPUT_H

#include <string>

#include "TemporaryFolder.h"

namespace TellarTool {

/// The scene of this name is read from standard input.
constexpr const char* kStandardInput = "-";

/// The name of standard input in messages.
constexpr const char* kInputName = "standard input";

/// Everything that standard input holds, as a file that can be read several times. Its extension is
/// told by its content, because readers of scene files go by it.
class StandardInput {
public:
    /// Throws std::runtime_error when standard input cannot be read or is a terminal.
    StandardInput();

    const std::string& getPath() const { return path; }

private:
    TemporaryFolder folder;
    std::string path;
};

} // namespace TellarTool

#endif
