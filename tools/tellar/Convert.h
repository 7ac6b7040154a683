#ifndef TELLAR_TOOL_CONVERT_H
#define TELLAR_TOOL_CONVERT_H

#include <string>

namespace TellarTool {

struct ConvertOptions {
    std::string in;
    std::string out;
    std::string to; ///< "json", "attributes" or "ops"; empty: told by the extension of `out`
    bool compress = false;
};

/// Writes an op-tree description in another form. Throws std::runtime_error naming the file at
/// fault; `out` is then as it was before.
void RunConvert(const ConvertOptions& options);

} // namespace TellarTool

#endif
