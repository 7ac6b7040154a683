#ifndef TELLAR_TOOL_OPS_H
#define TELLAR_TOOL_OPS_H

#include <string>

namespace TellarTool {

struct OpsOptions {
    std::string type; ///< empty: all
    bool json = false;
};

/// Prints the op types there are. Throws std::runtime_error for an unknown type, and
/// OutputClosed.
void RunOps(const OpsOptions& options);

} // namespace TellarTool

#endif
