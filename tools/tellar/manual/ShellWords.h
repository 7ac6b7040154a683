#ifndef TELLAR_TOOL_SHELLWORDS_H
#define TELLAR_TOOL_SHELLWORDS_H

#include <string>
#include <string_view>
#include <vector>

namespace TellarTool {

/// The words with a separator between them.
std::string JoinWords(const std::vector<std::string>& words, std::string_view separator = " ");

/// The text with a backslash in front of each of the characters.
std::string WithBackslashes(std::string_view text, std::string_view characters);

} // namespace TellarTool

#endif
