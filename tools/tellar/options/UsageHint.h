#ifndef TELLAR_TOOL_USAGEHINT_H
#define TELLAR_TOOL_USAGEHINT_H

#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace TellarTool {

/// A hint about arguments that the command does not understand, such as "; did you mean "--depth"?"
/// for an option that is nearly one of the subcommand's. Empty when nothing is like them.
std::string HintAboutOptions(const CLI::App& app, const std::vector<std::string>& arguments);

/// The complaint about a missing or unknown subcommand. Empty when the first argument is a
/// subcommand or an option.
std::string ComplaintAboutSubcommand(const CLI::App& app,
                                     const std::vector<std::string>& arguments);

} // namespace TellarTool

#endif
