#ifndef TELLAR_TOOL_SUBCOMMANDS_H
#define TELLAR_TOOL_SUBCOMMANDS_H

namespace CLI {
class App;
}

namespace TellarTool {

// Each adds one subcommand to the command: its options, and what it does as the callback that
// runs when it is given. Callbacks print on standard output; they throw std::runtime_error for
// whatever cannot be done, and OutputClosed.

void AddWalk(CLI::App& app);
void AddCamera(CLI::App& app);
void AddProject(CLI::App& app);
void AddProcedural(CLI::App& app);
void AddConvert(CLI::App& app);
void AddOps(CLI::App& app);

} // namespace TellarTool

#endif
