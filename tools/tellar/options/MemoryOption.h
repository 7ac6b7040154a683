#ifndef TELLAR_TOOL_MEMORYOPTION_H
#define TELLAR_TOOL_MEMORYOPTION_H

namespace CLI {
class App;
} // namespace CLI

namespace TellarTool {

/// The option --memory, which sets the limit of what the library keeps in memory, for all
/// subcommands that open scenes or draw them.
void AddMemoryOption(CLI::App& app);

} // namespace TellarTool

#endif
