#ifndef TELLAR_TOOL_SUBCOMMANDS_H
#define TELLAR_TOOL_SUBCOMMANDS_H

#include "ProblemsFound.h"

namespace CLI {
class App;
}

namespace TellarTool {

// Each function adds one subcommand with its options, and a callback that the parser calls when the
// subcommand is given. Callbacks print on standard output. They throw std::runtime_error for every
// failure, OutputClosed, ProblemsFound and Stopped.

void AddWalkCommand(CLI::App& app);
void AddCameraCommand(CLI::App& app);
void AddCheckCommand(CLI::App& app);
void AddProjectCommand(CLI::App& app);
void AddProceduralCommand(CLI::App& app);
void AddMaterialCommand(CLI::App& app);
void AddTexturesCommand(CLI::App& app);
void AddWhyCommand(CLI::App& app);
void AddRenderCommand(CLI::App& app);
void AddReplayCommand(CLI::App& app);
void AddSettingsCommand(CLI::App& app);
void AddStitchCommand(CLI::App& app);
void AddTilePathCommand(CLI::App& app);
void AddConvertCommand(CLI::App& app);
void AddDiffCommand(CLI::App& app);
void AddDepsCommand(CLI::App& app);
void AddPackCommand(CLI::App& app);
void AddUsdCommand(CLI::App& app);
void AddOpsCommand(CLI::App& app);
void AddDelegatesCommand(CLI::App& app);
void AddProfileCommand(CLI::App& app);
void AddConformCommand(CLI::App& app);
void AddDoctorCommand(CLI::App& app);

/// Adds `help` and `completion`, which describe the other subcommands. Call it after all others.
void AddHelpCommands(CLI::App& app);

} // namespace TellarTool

#endif
