#ifndef TELLAR_TOOL_SUBCOMMANDS_H
#define TELLAR_TOOL_SUBCOMMANDS_H

namespace CLI {
class App;
}

namespace TellarTool {

/// Thrown when all is printed, but is not as it should be: the exit status is then 1.
struct ProblemsFound {};

// Each adds one subcommand to the command: its options, and what it does as the callback that
// runs when it is given. Callbacks print on standard output; they throw std::runtime_error for
// whatever cannot be done, OutputClosed, ProblemsFound and Stopped.

void AddWalk(CLI::App& app);
void AddCamera(CLI::App& app);
void AddProject(CLI::App& app);
void AddProcedural(CLI::App& app);
void AddMaterial(CLI::App& app);
void AddTextures(CLI::App& app);
void AddRender(CLI::App& app);
void AddStitch(CLI::App& app);
void AddTilePath(CLI::App& app);
void AddConvert(CLI::App& app);
void AddOps(CLI::App& app);
void AddDelegates(CLI::App& app);
void AddDoctor(CLI::App& app);

} // namespace TellarTool

#endif
