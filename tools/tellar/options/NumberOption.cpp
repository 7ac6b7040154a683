#include "NumberOption.h"

#include <CLI/CLI.hpp>

#include "NumberText.h"

namespace TellarTool {

void AddNumber(CLI::App& command, const std::string& name, std::optional<float>& value,
               const std::string& help) {
    const auto read = [name, &value](const std::string& text) {
        float number = 0;
        if (!ReadNumber(text, number))
            throw CLI::ValidationError(name, "\"" + text + "\" is no number");
        value = number;
    };
    command.add_option_function<std::string>(name, read, help)->option_text("N");
}

void AddCount(CLI::App& command, const std::string& name, std::int32_t& value, std::int32_t most,
              const std::string& help) {
    const auto read = [name, &value, most](const std::string& text) {
        if (!ReadNumber(text, value) || value < 1 || value > most)
            throw CLI::ValidationError(name, "\"" + text + "\" is no whole number from 1 to " +
                                                 std::to_string(most));
    };
    command.add_option_function<std::string>(name, read, help)->option_text("N");
}

} // namespace TellarTool
