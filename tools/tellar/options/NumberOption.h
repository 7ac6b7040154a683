#ifndef TELLAR_TOOL_NUMBEROPTION_H
#define TELLAR_TOOL_NUMBEROPTION_H

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace TellarTool {

// Options whose values are numbers. A `value` must outlive the parsing. Text that is no such number
// is an error that names the option.

/// An option N: any finite number.
void AddNumber(CLI::App& command, const std::string& name, std::optional<float>& value,
               const std::string& help);

/// An option N: a whole number from 1 to `most`.
void AddCount(CLI::App& command, const std::string& name, std::int32_t& value, std::int32_t most,
              const std::string& help);

/// The numbers of a text such as "0.25,0.75". Throws CLI::ValidationError naming the option unless
/// there are as many as one of `counts`. `form` tells the user what they are, with an example.
template <typename T>
std::vector<T> NumberList(const std::string& option, const std::string& text,
                          std::initializer_list<std::size_t> counts, const std::string& form);

} // namespace TellarTool

#endif
