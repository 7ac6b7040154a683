#ifndef TELLAR_TOOL_SCENEOPTIONS_H
#define TELLAR_TOOL_SCENEOPTIONS_H

#include <string>

namespace CLI {
class App;
class Option;
} // namespace CLI

namespace TellarTool {

// The options of commands that look into a scene. What they refer to must outlive the parsing.

/// The argument SCENE, the path of the scene's file.
CLI::Option* AddScene(CLI::App& command, std::string& path);

/// The required option --at, the path of a location.
void AddLocation(CLI::App& command, std::string& location, const std::string& help);

/// An option whose value is the path of a location. A slash at the end is left out, and "/" is
/// "/root".
CLI::Option* AddLocationPath(CLI::App& command, const std::string& name, std::string& location,
                             const std::string& help);

/// Throws std::runtime_error naming the option when its value is no absolute location path.
void CheckLocationPath(const std::string& option, const std::string& path);

} // namespace TellarTool

#endif
