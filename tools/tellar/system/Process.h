#ifndef TELLAR_TOOL_PROCESS_H
#define TELLAR_TOOL_PROCESS_H

#include <string>
#include <string_view>
#include <vector>

namespace TellarInternal {
class ChildProcess;
}

namespace TellarTool {

// Other programs, and the environment that they and the library see. Only the main thread may call
// the functions, before it starts other threads. Any thread may call the last one.

/// All that a program writes to its standard output until it ends or is killed.
std::string OutputOf(TellarInternal::ChildProcess& child);

/// Runs a program that is on PATH, without a shell, and returns its standard output. Throws
/// std::runtime_error naming the program when it cannot be started, and with the first line of its
/// own error when it fails.
std::string RunProgram(const std::string& name, const std::vector<std::string>& arguments,
                       std::string_view input);

/// Replaces this process by a program that is on PATH, without a shell. Throws std::runtime_error
/// naming the program when it cannot be started.
[[noreturn]] void BecomeProgram(const std::string& name, const std::vector<std::string>& arguments);

/// The path of the program that runs. Throws std::runtime_error when the system does not tell.
std::string ProgramPath();

/// Sets an environment variable of this process. Throws std::runtime_error naming it.
void SetEnvironment(const std::string& name, const std::string& value);

/// Whether the user asks for log messages, by OX_LOG_LEVEL. The command then leaves them to the
/// library instead of printing them in its own way.
bool AreLogMessagesWanted();

} // namespace TellarTool

#endif
