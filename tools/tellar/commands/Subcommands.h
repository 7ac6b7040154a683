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

void AddWalkCommand(CLI::App& app);
void AddCameraCommand(CLI::App& app);
void AddProjectCommand(CLI::App& app);
void AddProceduralCommand(CLI::App& app);
void AddMaterialCommand(CLI::App& app);
void AddTexturesCommand(CLI::App& app);
void AddRenderCommand(CLI::App& app);
void AddStitchCommand(CLI::App& app);
void AddTilePathCommand(CLI::App& app);
void AddConvertCommand(CLI::App& app);
void AddOpsCommand(CLI::App& app);
void AddDelegatesCommand(CLI::App& app);
void AddDoctorCommand(CLI::App& app);

} // namespace TellarTool

#endif
