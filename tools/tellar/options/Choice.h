#ifndef TELLAR_TOOL_CHOICE_H
#define TELLAR_TOOL_CHOICE_H

#include <string>
#include <vector>

#include <CLI/CLI.hpp>

namespace TellarTool {

/// Accepts one of the names. The error lists the names and suggests the most similar one. The
/// description lists them for completion.
CLI::Validator Choice(const std::vector<std::string>& names);

} // namespace TellarTool

#endif
