#ifndef TELLAR_TOOL_FRAMERANGE_H
#define TELLAR_TOOL_FRAMERANGE_H

#include <optional>
#include <string>
#include <vector>

namespace TellarTool {

/// The frames of "A:B" or "A:B:STEP", from A on; B is the last one if the steps meet it. Throws
/// CLI::ValidationError naming --frames.
std::vector<int> FramesFromText(const std::string& text);

/// The path of a picture with the number of the frame in place of "####" (two or more), "%d" or
/// "%04d" in the file's name. Returns nothing when the name has none of them.
std::optional<std::string> WithFrame(const std::string& path, int frame);

} // namespace TellarTool

#endif
