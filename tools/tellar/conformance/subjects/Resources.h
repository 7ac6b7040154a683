#ifndef TELLAR_TOOL_RESOURCES_H
#define TELLAR_TOOL_RESOURCES_H

#include <cstdint>

namespace TellarTool {

/// Resources that this process holds. 0 where the system does not tell.
struct Resources {
    std::int64_t openFiles = 0;
    std::int64_t threads = 0;
    std::int64_t heapBytes = 0; ///< allocated and not freed
};

Resources ResourcesInUse();

} // namespace TellarTool

#endif
