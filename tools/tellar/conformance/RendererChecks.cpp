#include "Checks.h"

namespace TellarTool {

std::vector<Check> RendererChecks() {
    return {};
}

} // namespace TellarTool
