#include "Checks.h"

namespace TellarTool {

std::vector<Check> OpTypeChecks() {
    return {};
}

} // namespace TellarTool
