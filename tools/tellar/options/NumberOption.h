#ifndef TELLAR_TOOL_NUMBEROPTION_H
#define TELLAR_TOOL_NUMBEROPTION_H

#include <cstdint>
#include <optional>
#include <string>

namespace CLI {
class App;
}

namespace TellarTool {

// Options of a subcommand whose value is a number N. `value` must outlive the parsing; what is no
// such number is an error that names the option.

/// Any finite number.
void AddNumber(CLI::App& command, const std::string& name, std::optional<float>& value,
               const std::string& help);

/// A whole number from 1 to `most`.
void AddCount(CLI::App& command, const std::string& name, std::int32_t& value, std::int32_t most,
              const std::string& help);

} // namespace TellarTool

#endif
