#ifndef TELLAR_TOOL_CHANGELINES_H
#define TELLAR_TOOL_CHANGELINES_H

#include <cstddef>
#include <string>
#include <vector>

#include <OxTellarProducers/SceneChanges.h>

namespace TellarTool {

/// One line for each change, such as "changed /root/world/ball (transform, material)". After `most`
/// of them, the last line tells how many are left out.
std::vector<std::string> LinesOf(const TELLAR::SceneChanges& changes, std::size_t most);

} // namespace TellarTool

#endif
